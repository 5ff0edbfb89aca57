// The base of what lies in the state database: a node with attributes that announces changes.
#pragma once

#include <type_traits>
#include <utility>

#include "Base/Api.h"
#include "Lumo/FieldId.h"
#include "Lumo/Node.h"
#include "Lumo/Publisher.h"

namespace Lumo {

/// A concrete entity numbers its attributes in `enum class Id : FieldId` and gives each a getter
/// and a setter line by the helpers below. Every setter returns only after all subscribers have
/// run; any of them may have dropped the entity, so a setter touches nothing after publishing.
class STP_API Entity : public Node {
 public:
  /// The publisher of this entity's changes. Watching does not change an entity, so those who may
  /// only read it have the publisher, too.
  Publisher& publisher() const noexcept { return publisher_; }

  /// Calls one subscriber for every present value, as for a change of it.
  virtual void presentValuesNotify(Subscriber& subscriber) const = 0;

 protected:
  Entity() : publisher_(this) {}

  /// Announces a change of an attribute, with its old and new value where there are such.
  template <class Id>
  requires std::is_enum_v<Id>
  void publish(Id id, void const* oldValue, void const* newValue) const {
    publisher_.publishChangeRecursive(static_cast<FieldId>(id), oldValue, newValue);
  }

  /// Sets a plain attribute; setting the value that it already has changes and announces nothing.
  /// If copying the value throws, nothing is changed.
  template <class Id, class Value>
  void attributeIs(Id id, Value& stored, std::type_identity_t<Value> const& value) {
    if (stored == value) {
      return;
    }
    Value after = value;  // copied first: when memory is short the stored one stays whole
    Value const before = std::exchange(stored, std::move(after));
    publish(id, &before, &stored);
  }

  /// Stores a target's whole record and announces one change, also for an equal record.
  template <class Id, class Record>
  void recordIs(Id id, Record& stored, Record const& value) {
    static_assert(std::is_nothrow_copy_assignable_v<Record>, "a record is stored whole");
    stored = value;
    publish(id, nullptr, &stored);
  }

 private:
  mutable Publisher publisher_;
};

}  // namespace Lumo
