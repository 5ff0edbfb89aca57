// The slab allocator: memory for the many small objects of few sizes that reactors are.
//
// Sizes are rounded up to a class; each class takes chunks that grow from 4 KiB and cuts them into
// pieces. A freed piece is the next to be handed out. Chunks are kept for the life of the process.
// The slabs belong to the notification thread: no other thread may allocate or free here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Base/Api.h"

namespace Pebble {

/// Memory of at least `size` bytes, aligned to 8; `size` 0 counts as 1. Throws std::bad_alloc.
[[nodiscard]] STP_API void* slabAlloc(std::size_t size);

/// Gives back memory of `slabAlloc(size)`; the size must be the same. Null is ignored.
STP_API void slabFree(void* memory, std::size_t size) noexcept;

/// For the standard containers of the notification thread.
template <class T>
class Allocator {
 public:
  using value_type = T;

  Allocator() = default;
  template <class U>
  Allocator(Allocator<U> const& /*other*/) noexcept {}  // NOLINT(google-explicit-constructor)

  T* allocate(std::size_t count) { return static_cast<T*>(slabAlloc(count * sizeof(T))); }
  void deallocate(T* memory, std::size_t count) noexcept { slabFree(memory, count * sizeof(T)); }

  friend bool operator==(Allocator const&, Allocator const&) noexcept { return true; }
};

/// What one size class holds.
struct SlabCounters {
  std::size_t pieceSize = 0;    ///< bytes
  std::uint64_t inUse = 0;      ///< pieces handed out now
  std::uint64_t allocated = 0;  ///< pieces handed out ever
  std::uint64_t chunks = 0;
  std::uint64_t chunkBytes = 0;
};

/// The classes that were ever used, in ascending order of their size.
STP_API std::vector<SlabCounters> slabCounters();

}  // namespace Pebble
