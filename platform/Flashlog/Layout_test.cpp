// What other readers of trace files rely on, as literals. What differs is another version.

#include "Flashlog/Layout.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>

namespace Flashlog::Layout {
namespace {

static_assert(version == 1 && headerBytes == 4096 && entryAlignment == 8 && maxMessageId == 262144);
static_assert(offsetof(Header, magic) == 0 && offsetof(Header, version) == 8);
static_assert(offsetof(Header, headerBytes) == 12 && offsetof(Header, messageAreaBytes) == 16);
static_assert(offsetof(Header, ringCapacity) == 24 && offsetof(Header, slotBytes) == 32);
static_assert(offsetof(Header, processId) == 36 && offsetof(Header, messageBytesUsed) == 40);
static_assert(offsetof(Header, lap) == 48 && offsetof(Header, clockGeneration) == 56);
static_assert(offsetof(Header, firstClock) == 64 && offsetof(Header, latestClocks) == 88);
static_assert(offsetof(ClockPair, ticks) == 0 && offsetof(ClockPair, realtime) == 8 &&
              offsetof(ClockPair, monotonic) == 16);
static_assert(offsetof(EntryHeader, id) == 0 && offsetof(EntryHeader, line) == 4 &&
              offsetof(EntryHeader, pathBytes) == 8 && offsetof(EntryHeader, textBytes) == 12);
static_assert(offsetof(Slot, start) == 0 && offsetof(Slot, duration) == 8 &&
              offsetof(Slot, tag) == 16);

TEST(Layout, TagsOfLapsAreNeverZeroAndRepeatLate) {
  std::uint64_t const laps = 0xFFFFFFFF;
  EXPECT_EQ(lapTag(0), 0x0000000100000000U);
  EXPECT_EQ(lapTag(1), 0x0000000200000000U);
  EXPECT_EQ(lapTag(laps - 1), 0xFFFFFFFF00000000U);
  EXPECT_EQ(lapTag(laps), 0x0000000100000000U);
  EXPECT_EQ(lapTag(laps + 1), 0x0000000200000000U);
  EXPECT_EQ(lapTag(~std::uint64_t{0}), lapTag(~std::uint64_t{0} % laps));
}

TEST(Layout, EntriesAreAligned) {
  EXPECT_EQ(entryBytes(0, 0), 16U);
  EXPECT_EQ(entryBytes(0, 1), 24U);
  EXPECT_EQ(entryBytes(3, 5), 24U);
  EXPECT_EQ(entryBytes(4, 5), 32U);
}

TEST(Layout, FilesEndBeforeTheirSizeOverflows) {
  std::uint64_t const most = 0x7FFFFFFFFFFFFFFF;
  EXPECT_EQ(fileBytes(0, 0), 4096U);
  EXPECT_EQ(fileBytes(8, 2), 4096U + 8 + 48);
  EXPECT_EQ(fileBytes(most - 4096, 0), most);
  EXPECT_EQ(fileBytes(most - 4095, 0), std::nullopt);
  EXPECT_EQ(fileBytes(~std::uint64_t{0}, 1), std::nullopt);
  std::uint64_t const records = (most - 4096) / 24;
  EXPECT_EQ(fileBytes(0, records), 4096 + records * 24);
  EXPECT_EQ(fileBytes(0, records + 1), std::nullopt);
  EXPECT_EQ(fileBytes(0, ~std::uint64_t{0}), std::nullopt);
}

}  // namespace
}  // namespace Flashlog::Layout
