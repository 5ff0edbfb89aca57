// Slab memory, counted by class.
#pragma once

#include <cstddef>

#include "Base/Api.h"
#include "Lumo/TypeName.h"
#include "Pebble/Slab.h"
#include "Vel/AllocTrack.h"

namespace Stp {

/// Base of a class whose objects come from the slab allocator and are counted. Both are undone
/// when a constructor throws, since `new` then frees what it took.
template <class Derived>
class STP_API Tracked {
 public:
  static void* operator new(std::size_t size) {
    memAllocationTracker_.allocated();
    try {
      return Pebble::slabAlloc(size);
    } catch (...) {
      memAllocationTracker_.uncounted();
      throw;
    }
  }
  static void operator delete(void* memory, std::size_t size) noexcept {
    memAllocationTracker_.released();
    Pebble::slabFree(memory, size);
  }

  static Vel::AllocTrackTypeInfo memAllocationTracker_;
};

template <class Derived>
Vel::AllocTrackTypeInfo Tracked<Derived>::memAllocationTracker_{Lumo::typeName<Derived>()};

}  // namespace Stp
