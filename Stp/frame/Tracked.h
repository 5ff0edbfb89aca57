// Slab memory, counted by class.
#pragma once

#include <cstddef>

#include "Base/Api.h"
#include "Lumo/TypeName.h"
#include "Pebble/Slab.h"
#include "Vel/AllocTrack.h"

namespace Stp {

/// Base of a class whose objects come from the slab allocator and are counted.
template <class Derived>
class STP_API Tracked {
 public:
  /// A new object, to be deleted by its owner. What the constructor throws passes, and the object
  /// then counts as never allocated.
  template <class... Argument>
  static Derived* make(Argument const&... arguments) {
    memAllocationTracker_.allocated();
    void* memory = nullptr;
    try {
      memory = Pebble::slabAlloc(sizeof(Derived));
      return ::new (memory) Derived(arguments...);
    } catch (...) {
      Pebble::slabFree(memory, sizeof(Derived));
      memAllocationTracker_.uncounted();
      throw;
    }
  }

  static void* operator new(std::size_t size) = delete;
  static void operator delete(void* memory, std::size_t size) noexcept {
    memAllocationTracker_.released();
    Pebble::slabFree(memory, size);
  }

  static Vel::AllocTrackTypeInfo memAllocationTracker_;
};

template <class Derived>
Vel::AllocTrackTypeInfo Tracked<Derived>::memAllocationTracker_{Lumo::typeName<Derived>()};

}  // namespace Stp
