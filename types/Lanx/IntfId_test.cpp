#include "Lanx/IntfId.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <type_traits>

namespace Lanx {
namespace {

static_assert(sizeof(IntfId) == 4 && std::is_trivially_copyable_v<IntfId>);

IntfId idOf(Lumo::String const& name) {
  IntfId id;
  id.handleInitialized(name);
  return id;
}

TEST(IntfId, StartsInvalidWithAllBitsSet) {
  constexpr IntfId id;
  EXPECT_FALSE(id.valid());
  EXPECT_EQ(id.value(), 0xFFFFFFFFU);
  EXPECT_EQ(id.stringValue(), Lumo::String());
}

TEST(IntfId, StaysAsItIsForTheEmptyName) {
  IntfId id;
  id.handleInitialized("");
  EXPECT_EQ(id, IntfId());
  id.handleInitialized("Ethernet1");
  id.handleInitialized("");
  EXPECT_EQ(id.stringValue(), Lumo::String("Ethernet1"));
}

TEST(IntfId, GoesToTheNameAndBack) {
  std::set<std::uint32_t> values;
  for (int number = 0; number < 2000; ++number) {
    std::string const name = "Ethernet" + std::to_string(number) + "/1";
    IntfId const id = idOf(name);
    ASSERT_TRUE(id.valid());
    ASSERT_EQ(id.stringValue().view(), name);
    ASSERT_EQ(idOf(name), id);
    values.insert(id.value());
  }
  EXPECT_EQ(values.size(), 2000U);
}

TEST(IntfId, TellsCaseApart) {
  EXPECT_NE(idOf("Ethernet1"), idOf("ethernet1"));
}

TEST(IntfId, BecomesTheIdOfAnotherName) {
  IntfId id = idOf("Ethernet1");
  id.handleInitialized("Ethernet2");
  EXPECT_EQ(id, idOf("Ethernet2"));
  EXPECT_EQ(id, IntfId::of("Ethernet2"));
  EXPECT_EQ(IntfId::of(""), IntfId());
}

}  // namespace
}  // namespace Lanx
