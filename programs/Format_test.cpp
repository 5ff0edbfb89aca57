#include "Format.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Programs {
namespace {

using namespace std::string_view_literals;

TEST(Format, TimeIsUtcWithNanoseconds) {
  for (auto const& [given, expected] : std::vector<std::pair<std::int64_t, std::string>>{
           {0, "1970-01-01T00:00:00.000000000Z"},
           {1, "1970-01-01T00:00:00.000000001Z"},
           {-1, "1969-12-31T23:59:59.999999999Z"},
           {951'782'400'000'000'000, "2000-02-29T00:00:00.000000000Z"},
           {1'800'000'000'123'456'789, "2027-01-15T08:00:00.123456789Z"}}) {
    EXPECT_EQ(
        utcTime(std::chrono::sys_time<std::chrono::nanoseconds>(std::chrono::nanoseconds(given))),
        expected);
  }
}

TEST(Format, DigitsAreGroupedByThree) {
  for (auto const& [given, expected] : std::vector<std::pair<std::uint64_t, std::string>>{
           {0, "0"},
           {999, "999"},
           {1000, "1,000"},
           {123456, "123,456"},
           {1234567, "1,234,567"},
           {std::numeric_limits<std::uint64_t>::max(), "18,446,744,073,709,551,615"}}) {
    EXPECT_EQ(grouped(given), expected);
  }
}

TEST(Format, WhatIsNotTextIsEscaped) {
  for (auto const& [given, expected] : std::vector<std::pair<std::string_view, std::string>>{
           {"", ""},
           {"a b~():156", "a b~():156"},
           {"a\nb\t\x7f", R"(a\x0ab\x09\x7f)"},
           {"\0"sv, R"(\x00)"},
           {"\x1b[31m", R"(\x1b[31m)"},
           {R"(back\slash)", R"(back\\slash)"},
           {"caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80",
            "caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80"},
           {"\xc2\x9b", R"(\xc2\x9b)"},                  // C1 control
           {"\x9b", R"(\x9b)"},                          // lone continuation
           {"\xff\xfe", R"(\xff\xfe)"},                  // no UTF-8 at all
           {"\xc3", R"(\xc3)"},                          // cut short
           {"\xe2\x82x", R"(\xe2\x82x)"},                // broken
           {"\xc0\xaf", R"(\xc0\xaf)"},                  // overlong
           {"\xed\xa0\x80", R"(\xed\xa0\x80)"},          // surrogate
           {"\xf4\x90\x80\x80", R"(\xf4\x90\x80\x80)"},  // beyond the last code point
           {"\xe2\x80\xae", R"(\xe2\x80\xae)"}}) {       // right-to-left override
    EXPECT_EQ(printable(given), expected);
  }
}

}  // namespace
}  // namespace Programs
