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

std::string encoded(unsigned codePoint) {
  auto const byte = [](unsigned value) { return static_cast<char>(value); };
  auto const further = [&](unsigned shift) { return byte(0x80U | (codePoint >> shift & 0x3FU)); };
  if (codePoint < 0x80) {
    return {byte(codePoint)};
  }
  if (codePoint < 0x800) {
    return {byte(0xC0U | codePoint >> 6U), further(0)};
  }
  if (codePoint < 0x10000) {
    return {byte(0xE0U | codePoint >> 12U), further(6), further(0)};
  }
  return {byte(0xF0U | codePoint >> 18U), further(12), further(6), further(0)};
}

// Control characters, and what breaks or reorders a line, by first and last; around them is text.
TEST(Format, WhatCommandsATerminalIsEscapedToTheEdgesOfItsRanges) {
  struct Range {
    unsigned first;
    unsigned last;
    bool escaped;
  };
  for (Range const& range : {Range{0x00, 0x1F, true},
                             {0x20, 0x5B, false},
                             {0x5D, 0x7E, false},
                             {0x7F, 0x9F, true},
                             {0xA0, 0x200D, false},
                             {0x200E, 0x200F, true},
                             {0x2010, 0x2027, false},
                             {0x2028, 0x202E, true},
                             {0x202F, 0x2065, false},
                             {0x2066, 0x2069, true},
                             {0x206A, 0xD7FF, false},
                             {0xE000, 0x10FFFF, false}}) {
    for (unsigned codePoint = range.first; codePoint <= range.last; ++codePoint) {
      std::string const text = encoded(codePoint);
      ASSERT_EQ(printable(text) != text, range.escaped) << "U+" << std::hex << codePoint;
    }
  }
}

TEST(Format, SequencesAreValidToTheEdgesOfTheirForms) {
  for (std::string_view const valid :
       {"\xc2\xa0"sv, "\xdf\xbf"sv, "\xe0\xa0\x80"sv, "\xed\x9f\xbf"sv, "\xee\x80\x80"sv,
        "\xef\xbf\xbf"sv, "\xf0\x90\x80\x80"sv, "\xf4\x8f\xbf\xbf"sv}) {
    EXPECT_EQ(printable(valid), valid);
  }
  for (auto const& [invalid, expected] : std::vector<std::pair<std::string_view, std::string>>{
           {"\xc1\xbf", R"(\xc1\xbf)"},
           {"\xdf", R"(\xdf)"},
           {"\xe0\x9f\xbf", R"(\xe0\x9f\xbf)"},
           {"\xed\xbf\xbf", R"(\xed\xbf\xbf)"},
           {"\xef\xbf", R"(\xef\xbf)"},
           {"\xf0\x8f\xbf\xbf", R"(\xf0\x8f\xbf\xbf)"},
           {"\xf0\x90\x80", R"(\xf0\x90\x80)"},
           {"\xf5\x80\x80\x80", R"(\xf5\x80\x80\x80)"},
           {"\xf8\x88\x80\x80\x80", R"(\xf8\x88\x80\x80\x80)"},
           {"\xc3\xc3\xa9", "\\xc3\xc3\xa9"}}) {
    EXPECT_EQ(printable(invalid), expected);
  }
}

// What stands behind the text is none of it.
TEST(Format, SequenceThatTheTextEndsInIsNone) {
  std::string_view const face = "\xf0\x9f\x98\x80";
  EXPECT_EQ(printable(face.substr(0, 1)), R"(\xf0)");
  EXPECT_EQ(printable(face.substr(0, 2)), R"(\xf0\x9f)");
  EXPECT_EQ(printable(face.substr(0, 3)), R"(\xf0\x9f\x98)");
  EXPECT_EQ(printable(std::string_view("\xc3\xa9").substr(0, 1)), R"(\xc3)");
}

}  // namespace
}  // namespace Programs
