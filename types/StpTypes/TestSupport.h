// What the tests of the entity types share.
#pragma once

#include <cstdint>
#include <functional>
#include <utility>

#include "Lumo/Entity.h"
#include "Pebble/Slab.h"

namespace Stp::TestSupport {

/// Subscribes for its life, counts the changes, and hands each to a function.
class Watcher {
 public:
  /// Gets the attribute, and the two values that the entity announces with it.
  using Heard = std::function<void(Lumo::FieldId, void const*, void const*)>;

  /// With `present` it is first told of the values that the entity has.
  explicit Watcher(Lumo::Entity const& entity, Heard heard = {}, bool present = false)
      : publisher_(entity.publisher()), heard_(std::move(heard)) {
    slot_.routineIs(&called, this);
    publisher_.subscriberAdd(slot_, present);
  }
  Watcher(Watcher const&) = delete;
  Watcher& operator=(Watcher const&) = delete;
  ~Watcher() { slot_.unsubscribeFrom(publisher_); }

  void heardIs(Heard heard) { heard_ = std::move(heard); }

  bool subscribed() const { return slot_.subscribed(); }
  int changes() const { return changes_; }
  Lumo::FieldId lastField() const { return lastField_; }

 private:
  static void called(Lumo::Publisher*, Lumo::Subscriber* slot, Lumo::FieldId field,
                     void const* oldValue, void const* newValue) {
    auto& self = *static_cast<Watcher*>(slot->owner());
    ++self.changes_;
    self.lastField_ = field;
    // A copy: the function may put another in its place.
    if (Heard const heard = self.heard_) {
      heard(field, oldValue, newValue);
    }
  }

  Lumo::Publisher& publisher_;
  Heard heard_;
  Lumo::Subscriber slot_;
  int changes_ = 0;
  Lumo::FieldId lastField_ = 0;
};

/// How many pieces of the slabs are handed out.
inline std::uint64_t slabPiecesInUse() {
  std::uint64_t sum = 0;
  for (Pebble::SlabCounters const& counters : Pebble::slabCounters()) {
    sum += counters.inUse;
  }
  return sum;
}

}  // namespace Stp::TestSupport
