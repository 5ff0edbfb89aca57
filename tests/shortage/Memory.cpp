#include "Memory.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <new>
#include <utility>

#include "Pebble/Slab.h"

namespace Shortage {

namespace {

constexpr unsigned unlimited = std::numeric_limits<unsigned>::max();

constinit unsigned left = unlimited;
constinit std::int64_t inUse = 0;
constinit std::size_t largest = 0;

void* allocate(std::size_t size) noexcept {
  if (left == 0) {
    return nullptr;
  }
  left -= left == unlimited ? 0 : 1;
  largest = std::max(largest, size);
  void* const memory = std::malloc(size == 0 ? 1 : size);
  inUse += memory == nullptr ? 0 : 1;
  return memory;
}

void* allocateOrThrow(std::size_t size) {
  void* const memory = allocate(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

void release(void* memory) noexcept {
  inUse -= memory == nullptr ? 0 : 1;
  std::free(memory);
}

}  // namespace

std::int64_t allocationsInUse() noexcept {
  return inUse;
}

std::size_t largestAllocation() noexcept {
  return std::exchange(largest, 0);
}

Limit::Limit(unsigned allowed) noexcept {
  left = allowed;
}
Limit::~Limit() {
  left = unlimited;
}

Plenty::Plenty() noexcept : before_(std::exchange(left, unlimited)) {
}
Plenty::~Plenty() {
  left = before_;
}

}  // namespace Shortage

void* operator new(std::size_t size) {
  return Shortage::allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
  return Shortage::allocateOrThrow(size);
}
void* operator new(std::size_t size, std::nothrow_t const& /*tag*/) noexcept {
  return Shortage::allocate(size);
}
void* operator new[](std::size_t size, std::nothrow_t const& /*tag*/) noexcept {
  return Shortage::allocate(size);
}
void operator delete(void* memory) noexcept {
  Shortage::release(memory);
}
void operator delete[](void* memory) noexcept {
  Shortage::release(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  Shortage::release(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
  Shortage::release(memory);
}

// The definitions of the executable come before those of the platform's library. Pieces of a slab
// come in chunks: the second one of a chunk could not fail.
void* Pebble::slabAlloc(std::size_t size) {
  return Shortage::allocateOrThrow(size);
}
void Pebble::slabFree(void* memory, std::size_t /*size*/) noexcept {
  Shortage::release(memory);
}
