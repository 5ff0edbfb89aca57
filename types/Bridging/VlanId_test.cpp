#include "Bridging/VlanId.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace Bridging {
namespace {

static_assert(sizeof(VlanId) == 2 && std::is_trivially_copyable_v<VlanId>);
static_assert(!std::is_convertible_v<std::uint16_t, VlanId>, "a number is checked first");
static_assert(!std::is_default_constructible_v<VlanId>, "there is no VLAN 0");
static_assert(VlanId(1).value() == 1 && VlanId(4094).value() == 4094);
static_assert(VlanId(1) < VlanId(2) && VlanId(7) == VlanId(7) && VlanId(4094) > VlanId(256));

TEST(VlanId, TakesOneTo4094Only) {
  for (unsigned value = 0; value <= 65535; ++value) {
    auto const id = static_cast<std::uint16_t>(value);
    bool const expected = value >= 1 && value <= 4094;
    ASSERT_EQ(VlanId::valid(id), expected) << value;
    if (expected) {
      ASSERT_EQ(VlanId(id).value(), value);
      continue;
    }
    try {
      static_cast<void>(VlanId(id));
      FAIL() << value << " was accepted";
    } catch (Lumo::RangeException const& exception) {
      ASSERT_STREQ(exception.what(), "Bridging::VlanId::value < 1 or > 4094 not allowed");
    }
  }
}

}  // namespace
}  // namespace Bridging
