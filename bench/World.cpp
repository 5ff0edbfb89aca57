#include "bench/World.h"

namespace Bench {

std::uint64_t heapAllocations = 0;

}  // namespace Bench

// NOLINTBEGIN(misc-new-delete-overloads): counts, and leaves the rest to malloc
void* operator new(std::size_t size) {
  ++Bench::heapAllocations;
  if (void* const memory = std::malloc(size)) {
    return memory;
  }
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
// NOLINTEND(misc-new-delete-overloads)
