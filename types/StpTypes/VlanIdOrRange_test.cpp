#include "StpTypes/VlanIdOrRange.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

#include "Kova/UnionAccess.h"

namespace Stp {
namespace {

using Bridging::VlanId;

static_assert(sizeof(VlanIdOrRange) == 8 && std::is_trivially_copyable_v<VlanIdOrRange>);
static_assert(std::is_convertible_v<VlanId, VlanIdOrRange>);
static_assert(std::is_convertible_v<VlanRange, VlanIdOrRange>);

VlanIdOrRange range(std::uint16_t first, std::uint16_t last) {
  return VlanRange{VlanId(first), VlanId(last)};
}

template <class Read>
std::string messageOf(Read read) {
  try {
    read();
  } catch (Kova::BadUnionAccessException const& exception) {
    return exception.what();
  }
  return "no exception";
}

TEST(VlanIdOrRange, HoldsAnId) {
  VlanIdOrRange const entry = VlanId(5);
  EXPECT_EQ(entry.tag(), VlanIdOrRange::Tag::vlanId);
  EXPECT_EQ(static_cast<int>(entry.tag()), 0);
  EXPECT_EQ(entry.vlanId(), VlanId(5));
  EXPECT_EQ(messageOf([&] { static_cast<void>(entry.vlanRange()); }),
            "Stp::VlanIdOrRange with tag 0 does not hold a VlanRange");
}

TEST(VlanIdOrRange, HoldsARangeWhateverItsOrder) {
  for (auto const& [first, last] : {std::pair{10, 12}, std::pair{12, 10}, std::pair{7, 7}}) {
    VlanIdOrRange const entry =
        range(static_cast<std::uint16_t>(first), static_cast<std::uint16_t>(last));
    EXPECT_EQ(entry.tag(), VlanIdOrRange::Tag::vlanRange);
    EXPECT_EQ(static_cast<int>(entry.tag()), 1);
    EXPECT_EQ(entry.vlanRange().first.value(), first);
    EXPECT_EQ(entry.vlanRange().last.value(), last);
    EXPECT_EQ(messageOf([&] { static_cast<void>(entry.vlanId()); }),
              "Stp::VlanIdOrRange with tag 1 does not hold a VlanId");
  }
}

TEST(VlanIdOrRange, HoldsARunAsAnIdWhereItIsButOne) {
  EXPECT_EQ(VlanIdOrRange::run(7, 7), VlanIdOrRange(Bridging::VlanId(7)));
  EXPECT_EQ(VlanIdOrRange::run(1, 4094),
            VlanIdOrRange(VlanRange{Bridging::VlanId(1), Bridging::VlanId(4094)}));
  EXPECT_THROW(VlanIdOrRange::run(0, 0), Lumo::RangeException);
  EXPECT_THROW(VlanIdOrRange::run(0, 5), Lumo::RangeException);
  EXPECT_THROW(VlanIdOrRange::run(5, 4095), Lumo::RangeException);
}

TEST(VlanIdOrRange, BecomesTheRangeToALaterEnd) {
  VlanIdOrRange entry = VlanId(5);
  EXPECT_EQ(entry.last(), VlanId(5));
  EXPECT_FALSE(entry.isRangeTo(5));
  for (std::uint16_t const last : {6, 7, 4094}) {
    entry.lastIs(VlanId(last));
    EXPECT_EQ(entry, range(5, last));
    EXPECT_EQ(entry.last(), VlanId(last));
    EXPECT_TRUE(entry.isRangeTo(last));
    EXPECT_FALSE(entry.isRangeTo(static_cast<std::uint16_t>(last - 1)));
  }
}

TEST(VlanIdOrRange, ComparesWhatItHolds) {
  EXPECT_EQ(VlanIdOrRange(VlanId(5)), VlanIdOrRange(VlanId(5)));
  EXPECT_NE(VlanIdOrRange(VlanId(5)), VlanIdOrRange(VlanId(6)));
  EXPECT_NE(VlanIdOrRange(VlanId(5)), range(5, 5));
  EXPECT_EQ(range(5, 7), range(5, 7));
  EXPECT_NE(range(5, 7), range(5, 8));
  EXPECT_NE(range(5, 7), range(4, 7));
  EXPECT_NE(range(5, 7), range(7, 5));
}

// First id, second id and tag lie in this order; other software fills values byte by byte.
VlanIdOrRange fromWords(std::uint16_t first, std::uint16_t second, std::uint8_t tag) {
  VlanIdOrRange entry = VlanId(1);
  auto* const bytes = reinterpret_cast<unsigned char*>(&entry);
  std::memcpy(bytes, &first, 2);
  std::memcpy(bytes + 2, &second, 2);
  std::memcpy(bytes + 4, &tag, 1);
  return entry;
}

TEST(VlanIdOrRange, LaysItsPartsOutInOrder) {
  EXPECT_EQ(fromWords(10, 12, 1), range(10, 12));
  EXPECT_EQ(fromWords(10, 999, 0), VlanIdOrRange(VlanId(10))) << "an id has no second part";
}

TEST(VlanIdOrRange, HoldsNothingUnderAnUnknownTag) {
  VlanIdOrRange const broken = fromWords(10, 12, 2);
  EXPECT_EQ(messageOf([&] { static_cast<void>(broken.vlanId()); }),
            "Stp::VlanIdOrRange with tag 2 does not hold a VlanId");
  EXPECT_EQ(messageOf([&] { static_cast<void>(broken.vlanRange()); }),
            "Stp::VlanIdOrRange with tag 2 does not hold a VlanRange");
  EXPECT_EQ(messageOf([&] { static_cast<void>(broken.last()); }),
            "Stp::VlanIdOrRange with tag 2 does not hold a VlanRange");
  EXPECT_FALSE(broken.isRangeTo(12));
  EXPECT_NE(broken, range(10, 12));
}

}  // namespace
}  // namespace Stp
