#include "Kova/UnionAccess.h"

#include <gtest/gtest.h>

#include <string>

namespace Kova {
namespace {

template <class Exception>
std::string message() {
  try {
    throwRangeExceptionBadUnionAccess("Stp::VlanIdOrRange", "VlanRange", 0);
  } catch (Exception const& exception) {
    return exception.what();
  }
}

TEST(BadUnionAccess, NamesUnionAlternativeAndTag) {
  EXPECT_EQ(message<BadUnionAccessException>(),
            "Stp::VlanIdOrRange with tag 0 does not hold a VlanRange");
}

TEST(BadUnionAccess, IsARangeError) {
  EXPECT_EQ(message<Lumo::RangeException>(), message<BadUnionAccessException>());
  EXPECT_EQ(message<std::range_error>(), message<BadUnionAccessException>());
}

}  // namespace
}  // namespace Kova
