#include "Pebble/Slab.h"

#include <algorithm>
#include <array>
#include <bit>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#define PEBBLE_POISON 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define PEBBLE_POISON 1
#endif
#endif
#ifdef PEBBLE_POISON
#include <sanitizer/asan_interface.h>
#include <sanitizer/lsan_interface.h>
#endif

namespace Pebble {

namespace {

// Small sizes have a class every 8 bytes, so that objects waste next to nothing. Larger ones,
// mostly lists, have a class for each power of two plus a cache line: a list of a power of two fits
// with its header, and lists that are written in turn do not compete for the same few places of the
// cache. Anything larger goes to the global heap.
constexpr std::size_t step = 8;
constexpr std::size_t fineLimit = 1024;
constexpr std::size_t line = 64;
constexpr std::size_t limit = (std::size_t{64} << 10) + line;
constexpr std::size_t fineClasses = fineLimit / step;
constexpr std::size_t classes = fineClasses + std::bit_width(limit / fineLimit) - 1;

constexpr std::size_t firstChunk = 4096;
constexpr std::size_t largestChunk = std::size_t{1} << 20;

constexpr std::size_t classOf(std::size_t size) {
  return size <= fineLimit
             ? (std::max<std::size_t>(size, 1) - 1) / step
             : fineClasses - 1 +
                   std::bit_width((std::max(size - line, fineLimit + 1) - 1) / fineLimit);
}
constexpr std::size_t pieceSizeOf(std::size_t index) {
  return index < fineClasses ? (index + 1) * step : (fineLimit << (index - fineClasses + 1)) + line;
}
static_assert(pieceSizeOf(classOf(1)) == 8 && pieceSizeOf(classOf(152)) == 152);
static_assert(pieceSizeOf(classOf(1024)) == 1024 && pieceSizeOf(classOf(1025)) == 2112);
static_assert(pieceSizeOf(classOf(2112)) == 2112 && pieceSizeOf(classOf(2113)) == 4160);
static_assert(pieceSizeOf(classOf(limit)) == limit && classOf(limit) == classes - 1);

// Under the address sanitizer a freed piece can't be touched until it is handed out again.
void poison([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t size) {
#ifdef PEBBLE_POISON
  ASAN_POISON_MEMORY_REGION(memory, size);
#endif
}
void unpoison([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t size) {
#ifdef PEBBLE_POISON
  ASAN_UNPOISON_MEMORY_REGION(memory, size);
#endif
}

// Chunks are kept for good. The leak sanitizer finds no way to those whose pieces are all free,
// since it does not look into poisoned memory.
void keep([[maybe_unused]] void* chunk) {
#ifdef PEBBLE_POISON
  __lsan_ignore_object(chunk);
#endif
}

class SizeClass {
 public:
  void* take(std::size_t pieceSize) {
    void* piece = free_;
    if (free_ != nullptr) {
      unpoison(free_, pieceSize);
      free_ = free_->next;
    } else {
      if (untouched_ == end_) {
        grow(pieceSize);
      }
      piece = untouched_;
      untouched_ += pieceSize;
      unpoison(piece, pieceSize);
    }
    ++inUse_;
    ++allocated_;
    return piece;
  }

  void give(void* piece, std::size_t pieceSize) noexcept {
    free_ = new (piece) FreePiece{free_};
    poison(piece, pieceSize);
    --inUse_;
  }

  SlabCounters counters(std::size_t pieceSize) const {
    return {pieceSize, inUse_, allocated_, chunks_, chunkBytes_};
  }

 private:
  struct FreePiece {
    FreePiece* next;
  };

  void grow(std::size_t pieceSize) {
    std::size_t const wanted =
        std::min(firstChunk << std::min<std::uint64_t>(chunks_, 8), largestChunk);
    std::size_t const pieces = std::max<std::size_t>(wanted / pieceSize, 1);
    untouched_ = static_cast<std::byte*>(::operator new(pieces* pieceSize));
    end_ = untouched_ + pieces * pieceSize;
    keep(untouched_);
    poison(untouched_, pieces * pieceSize);
    ++chunks_;
    chunkBytes_ += pieces * pieceSize;
  }

  FreePiece* free_ = nullptr;
  std::byte* untouched_ = nullptr;
  std::byte* end_ = nullptr;
  std::uint64_t inUse_ = 0;
  std::uint64_t allocated_ = 0;
  std::uint64_t chunks_ = 0;
  std::uint64_t chunkBytes_ = 0;
};

constinit std::array<SizeClass, classes> sizeClasses;

}  // namespace

void* slabAlloc(std::size_t size) {
  if (size > limit) [[unlikely]] {
    return ::operator new(size);
  }
  std::size_t const index = classOf(size);
  return sizeClasses[index].take(pieceSizeOf(index));
}

void slabFree(void* memory, std::size_t size) noexcept {
  if (memory == nullptr) {
    return;
  }
  if (size > limit) [[unlikely]] {
    ::operator delete(memory);
    return;
  }
  std::size_t const index = classOf(size);
  sizeClasses[index].give(memory, pieceSizeOf(index));
}

std::vector<SlabCounters> slabCounters() {
  std::vector<SlabCounters> result;
  for (std::size_t index = 0; index < classes; ++index) {
    SlabCounters const counters = sizeClasses[index].counters(pieceSizeOf(index));
    if (counters.allocated != 0) {
      result.push_back(counters);
    }
  }
  return result;
}

}  // namespace Pebble
