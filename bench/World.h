// What the benchmarks share: names, a counting reader, and the hand-written floor of a change.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "Lumo/Entity.h"
#include "Lumo/Ptr.h"
#include "Lumo/Publisher.h"
#include "Lumo/String.h"

namespace Bench {

/// Calls of the global operator new in this process.
extern std::uint64_t heapAllocations;

inline Lumo::String portName(unsigned port) {
  return Lumo::String("Ethernet" + std::to_string(port + 1));
}

/// Counts the changes of one entity, as a reader of the switch would see them.
class Reader {
 public:
  explicit Reader(Lumo::Entity const& entity) : entity_(&entity) {
    slot_.routineIs(&changed, this);
    entity.publisher().subscriberAdd(slot_, false);
  }
  Reader(Reader const&) = delete;
  Reader& operator=(Reader const&) = delete;
  ~Reader() { slot_.unsubscribeFrom(entity_->publisher()); }

  std::uint64_t seen() const { return seen_; }

 private:
  static void changed(Lumo::Publisher* /*publisher*/, Lumo::Subscriber* slot,
                      Lumo::FieldId /*field*/, void const* /*old*/, void const* /*now*/) {
    ++static_cast<Reader*>(slot->owner())->seen_;
  }

  Lumo::Ptr<Lumo::Entity const> entity_;
  Lumo::Subscriber slot_;
  std::uint64_t seen_ = 0;
};

/// The least that a change can cost, whatever tells of it: copy the record, set its name and one
/// member, store it, and make one indirect call.
template <class Record>
struct FloorTarget {
  Record record;
  void (*changed)(void* reader) = nullptr;
  void* reader = nullptr;
};

inline void countSeen(void* reader) {
  ++*static_cast<std::uint64_t*>(reader);
}

}  // namespace Bench
