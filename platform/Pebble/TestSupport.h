// What tests look at in the slabs, which all tests of a process share.
#pragma once

#include <cstddef>
#include <stdexcept>

#include "Pebble/Slab.h"

namespace Pebble {

/// The counters of the class that serves `size`; all zero for one that was never used.
inline SlabCounters countersOf(std::size_t size) {
  for (SlabCounters const& counters : slabCounters()) {
    if (counters.pieceSize >= size) {
      return counters.pieceSize == (size + 7) / 8 * 8 ? counters : SlabCounters{};
    }
  }
  return {};
}

/// A size of which no piece was taken yet.
inline std::size_t unusedSize() {
  for (std::size_t size = 1016; size > 500; size -= 8) {
    if (countersOf(size).chunks == 0) {
      return size;
    }
  }
  throw std::runtime_error("all sizes are used");
}

}  // namespace Pebble
