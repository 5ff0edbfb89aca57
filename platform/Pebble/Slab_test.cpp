#include "Pebble/Slab.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "Pebble/TestSupport.h"

namespace Pebble {
namespace {

TEST(Slab, HandsOutAFreedPieceNext) {
  void* const first = slabAlloc(152);
  void* const second = slabAlloc(152);
  EXPECT_NE(first, second);
  slabFree(first, 152);
  EXPECT_EQ(slabAlloc(152), first);
  slabFree(second, 152);
  slabFree(first, 152);
  EXPECT_EQ(slabAlloc(150), first) << "150 is served by the same class";
  EXPECT_EQ(slabAlloc(149), second);
  slabFree(first, 149);
  slabFree(second, 150);
}

TEST(Slab, CountsPiecesByClass) {
  SlabCounters const before = countersOf(232);
  void* const first = slabAlloc(225);
  void* const second = slabAlloc(232);
  void* const other = slabAlloc(233);
  SlabCounters const during = countersOf(232);
  EXPECT_EQ(during.pieceSize, 232U);
  EXPECT_EQ(during.inUse, before.inUse + 2);
  EXPECT_EQ(during.allocated, before.allocated + 2);
  slabFree(first, 225);
  EXPECT_EQ(countersOf(232).inUse, before.inUse + 1);
  EXPECT_EQ(countersOf(232).allocated, before.allocated + 2);
  slabFree(second, 232);
  slabFree(other, 233);
  EXPECT_EQ(countersOf(232).inUse, before.inUse);
  slabFree(slabAlloc(232), 232);
  EXPECT_EQ(countersOf(232).allocated, before.allocated + 3) << "one that was used before counts";
}

TEST(Slab, TakesNothingForOneByte) {
  SlabCounters const before = countersOf(8);
  void* const nothing = slabAlloc(0);
  EXPECT_EQ(countersOf(8).inUse, before.inUse + 1);
  slabFree(nothing, 0);
  EXPECT_EQ(countersOf(8).inUse, before.inUse);
  EXPECT_EQ(slabAlloc(8), nothing);
  slabFree(nothing, 8);
}

TEST(Slab, ListsClassesInAscendingOrder) {
  slabFree(slabAlloc(3000), 3000);
  slabFree(slabAlloc(16), 16);
  auto const counters = slabCounters();
  EXPECT_TRUE(std::ranges::is_sorted(counters, std::less_equal(), &SlabCounters::pieceSize));
  EXPECT_TRUE(std::ranges::any_of(counters,
                                  [](SlabCounters const& each) { return each.pieceSize == 4160; }));
}

TEST(Slab, TakesChunksThatGrowFrom4KiBTo1MiB) {
  std::size_t const size = unusedSize();
  std::vector<void*> pieces;
  std::size_t expected = 4096;
  std::uint64_t bytes = 0;
  for (int chunk = 1; chunk <= 10; ++chunk) {
    SCOPED_TRACE(chunk);
    std::size_t const fit = expected / size;
    for (std::size_t count = 0; count < fit; ++count) {
      pieces.push_back(slabAlloc(size));
    }
    SlabCounters const counters = countersOf(size);
    EXPECT_EQ(counters.chunks, static_cast<std::uint64_t>(chunk));
    EXPECT_EQ(counters.chunkBytes - bytes, fit * size);
    bytes = counters.chunkBytes;
    expected = std::min<std::size_t>(expected * 2, std::size_t{1} << 20);
  }
  // All go, and as many come again: no further chunk is taken.
  for (int round = 0; round < 2; ++round) {
    for (void*& piece : pieces) {
      slabFree(piece, size);
    }
    for (void*& piece : pieces) {
      piece = slabAlloc(size);
    }
  }
  EXPECT_EQ(countersOf(size).chunks, 10U);
  EXPECT_EQ(std::set<void*>(pieces.begin(), pieces.end()).size(), pieces.size());
  for (void* const piece : pieces) {
    slabFree(piece, size);
  }
  EXPECT_EQ(countersOf(size).inUse, 0U);
}

TEST(Slab, LeavesLargeSizesToTheGlobalHeap) {
  auto const before = slabCounters();
  for (std::size_t const size : {(std::size_t{64} << 10) + 65, std::size_t{1} << 24}) {
    void* const memory = slabAlloc(size);
    std::memset(memory, 0x5A, size);
    slabFree(memory, size);
  }
  auto const after = slabCounters();
  ASSERT_EQ(after.size(), before.size());
  for (std::size_t at = 0; at < after.size(); ++at) {
    EXPECT_EQ(after[at].allocated, before[at].allocated);
  }
}

TEST(Slab, IgnoresNull) {
  auto const before = countersOf(8);
  slabFree(nullptr, 8);
  slabFree(nullptr, 1 << 20);
  EXPECT_EQ(countersOf(8).inUse, before.inUse);
}

// Pieces of all sizes, each filled from end to end, come and go: none overlaps another, all are
// aligned and large enough.
TEST(Slab, KeepsPiecesApartUnderRandomUse) {
  struct Piece {
    unsigned char* memory;
    std::size_t size;
    unsigned char fill;
  };
  for (unsigned seed = 0; seed < 5; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::vector<Piece> pieces;
    auto const take = [&](std::size_t size) {
      auto* const memory = static_cast<unsigned char*>(slabAlloc(size));
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 8, 0U);
      auto const fill = static_cast<unsigned char>(random());
      std::memset(memory, fill, size);
      pieces.push_back({memory, size, fill});
    };
    auto const give = [&](std::size_t at) {
      Piece const piece = pieces[at];
      pieces[at] = pieces.back();
      pieces.pop_back();
      EXPECT_TRUE(std::all_of(piece.memory, piece.memory + piece.size,
                              [&](unsigned char byte) { return byte == piece.fill; }))
          << "size " << piece.size;
      slabFree(piece.memory, piece.size);
    };
    for (std::size_t const size :
         {0U, 1U, 7U, 8U, 9U, 1024U, 1025U, 2112U, 2113U, 65600U, 65601U}) {
      take(size);
    }
    for (int step = 0; step < 20'000; ++step) {
      if (pieces.empty() || random() % 2 == 0) {
        take(random() % (random() % 20 == 0 ? 70'000 : 300));
      } else {
        give(random() % pieces.size());
      }
    }
    while (!pieces.empty()) {
      give(0);
    }
  }
}

}  // namespace
}  // namespace Pebble
