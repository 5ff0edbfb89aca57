#include "Lumo/RangeException.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace Lumo {
namespace {

template <class Exception, class Use>
std::string messageOf(Use use) {
  try {
    use();
  } catch (Exception const& exception) {
    return exception.what();
  }
  return "no such exception";
}

TEST(RangeException, CarriesItsTextUnchanged) {
  auto const raise = [] { RangeException::throwException("value < 1 or > 4094 not allowed"); };
  EXPECT_EQ(messageOf<RangeException>(raise), "value < 1 or > 4094 not allowed");
  EXPECT_EQ(messageOf<std::range_error>(raise), "value < 1 or > 4094 not allowed");
}

TEST(VectorOutOfRangeException, NamesIndexAndSize) {
  auto const raise = [] { VectorOutOfRangeException::throwException(3, 2); };
  EXPECT_EQ(messageOf<VectorOutOfRangeException>(raise), "index 3 of a list of 2");
  EXPECT_EQ(messageOf<RangeException>(raise), "index 3 of a list of 2");
}

TEST(AbsentPointerException, NamesTheType) {
  auto const raise = [] { AbsentPointerException::throwException("Stp::Status"); };
  EXPECT_EQ(messageOf<AbsentPointerException>(raise), "the Lumo::Ptr to Stp::Status is absent");
  EXPECT_EQ(messageOf<std::logic_error>(raise), "the Lumo::Ptr to Stp::Status is absent");
}

}  // namespace
}  // namespace Lumo
