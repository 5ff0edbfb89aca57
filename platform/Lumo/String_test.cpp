#include "Lumo/String.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Lumo/RangeException.h"

namespace Lumo {
namespace {

using namespace std::string_literals;

static_assert(sizeof(String) == sizeof(void*));
static_assert(std::is_nothrow_copy_constructible_v<String>);
static_assert(std::is_nothrow_move_constructible_v<String>);
static_assert(std::is_nothrow_copy_assignable_v<String>);
static_assert(std::is_convertible_v<char const*, String>);
static_assert(std::is_convertible_v<std::string, String>);
static_assert(std::is_convertible_v<std::string_view, String>);

TEST(String, IsOneTextHoweverItIsMade) {
  String const literal = "Ethernet1";
  String const text = "Ethernet"s + "1";
  String const view = std::string_view("Ethernet1/2").substr(0, 9);
  EXPECT_EQ(literal, text);
  EXPECT_EQ(literal, view);
  EXPECT_EQ(literal.identity(), text.identity());
  EXPECT_EQ(literal.identity(), view.identity());
  EXPECT_EQ(literal.view().data(), view.view().data());
  EXPECT_EQ(literal.hash(), text.hash());
  EXPECT_NE(literal.identity(), String("Ethernet2").identity());
}

TEST(String, KeepsCaseAndBlanksApart) {
  EXPECT_NE(String("Mst"), String("MST"));
  EXPECT_NE(String("Mst"), String("Mst "));
  EXPECT_NE(String("Mst"), String("Ms"));
}

TEST(String, IsEmptyByDefault) {
  String const none;
  for (String const& empty :
       {none, String(""), String(std::string()), String(std::string_view())}) {
    EXPECT_TRUE(empty.empty());
    EXPECT_EQ(empty.size(), 0U);
    EXPECT_EQ(empty.view(), "");
    EXPECT_EQ(empty.toString(), "");
    EXPECT_EQ(empty, none);
    EXPECT_EQ(empty.hash(), none.hash());
    EXPECT_EQ(empty.identity(), none.identity());
    EXPECT_LT(empty, String("a"));
  }
}

TEST(String, HoldsEveryByte) {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) {
    bytes.push_back(static_cast<char>(byte));
  }
  String const name = bytes;
  EXPECT_EQ(name.toString(), bytes);
  EXPECT_EQ(name.size(), 256U);
  EXPECT_NE(String("a\0b"s), String("a\0c"s));
  EXPECT_NE(String("a\0b"s), String("a"));
}

TEST(String, HoldsALongText) {
  std::string const text(1'000'000, 'x');
  EXPECT_EQ(String(text).toString(), text);
  EXPECT_EQ(String(text), String(text));
}

TEST(String, IsOrderedByContentByteByByte) {
  std::vector<std::string> const ascending = {"",     "\0"s,  "A",       "Ethernet10", "Ethernet2",
                                              "a",    "a\0"s, "a\x01",   "ab",         "b",
                                              "\x7f", "\x80", "\xc3\xa4"};
  for (std::size_t a = 0; a < ascending.size(); ++a) {
    for (std::size_t b = 0; b < ascending.size(); ++b) {
      SCOPED_TRACE(ascending[a] + " and " + ascending[b]);
      EXPECT_EQ(String(ascending[a]) <=> String(ascending[b]), a <=> b);
      EXPECT_EQ(String(ascending[a]) == String(ascending[b]), a == b);
    }
  }
}

TEST(String, SurvivesAssignmentToItselfAndMoves) {
  String name = "Ethernet1";
  auto& same = name;
  name = same;
  EXPECT_EQ(name.view(), "Ethernet1");
  name = std::move(same);
  EXPECT_EQ(name.view(), "Ethernet1");
  String const moved = std::move(name);
  EXPECT_TRUE(name.empty());  // NOLINT(bugprone-use-after-move): a moved name is empty
  EXPECT_EQ(moved.view(), "Ethernet1");
  name = "Ethernet2";
  EXPECT_EQ(name.view(), "Ethernet2");
}

TEST(String, KeepsItsCharactersWhileACopyLives) {
  auto first = std::make_unique<String>("kept by the copy");
  std::string_view const view = first->view();
  String const copy = *first;
  first.reset();
  EXPECT_EQ(view, "kept by the copy");
  EXPECT_EQ(copy.view().data(), view.data());
}

TEST(String, ServesStandardContainers) {
  std::unordered_set<String> const set = {"a", "b", "a", ""};
  EXPECT_EQ(set.size(), 3U);
  EXPECT_TRUE(set.contains("b"));
  EXPECT_EQ(std::hash<String>()(String("b")), String("b").hash());
  std::map<String, int> const map = {{"b", 2}, {"a", 1}};
  EXPECT_EQ(map.begin()->first.view(), "a");
}

TEST(String, IsWrittenAsItsText) {
  std::ostringstream out;
  out << String("Cist") << '|' << String();
  EXPECT_EQ(out.str(), "Cist|");
}

TEST(String, GivesEachNameADenseNumberThatStays) {
  std::uint32_t const first = String("numbered first").ordinal();
  std::uint32_t const second = String("numbered second").ordinal();
  EXPECT_EQ(second, first + 1);
  EXPECT_EQ(String("numbered first").ordinal(), first);
  EXPECT_EQ(String("numbered second").ordinal(), second);
  EXPECT_EQ(String::ofOrdinal(first).view(), "numbered first");
  EXPECT_EQ(String::ofOrdinal(second), String("numbered second"));
}

TEST(String, RefusesNumbersOfNoName) {
  EXPECT_THROW(static_cast<void>(String().ordinal()), RangeException);
  try {
    static_cast<void>(String::ofOrdinal(4'000'000'000U));
    FAIL() << "no exception";
  } catch (RangeException const& exception) {
    EXPECT_STREQ(exception.what(), "no name has the number 4000000000");
  }
  static int names = 0;  // the last one has its number from now on
  std::uint32_t const last = String("numbered last " + std::to_string(++names)).ordinal();
  EXPECT_THROW(static_cast<void>(String::ofOrdinal(last + 1)), RangeException);
}

// Texts come and go in any order while the table grows and shrinks: names are equal exactly when
// their texts are, and no text is lost or mixed up.
TEST(String, AgreesWithPlainTextsUnderRandomUse) {
  for (unsigned const seed : {1U, 2U, 3U}) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::vector<std::pair<std::string, String>> names;
    for (int step = 0; step < 20'000; ++step) {
      auto const choice = random() % 8;
      if (choice < 4 || names.empty()) {
        std::string const text = "name " + std::to_string(random() % 3000);
        names.emplace_back(text, text);
      } else if (choice == 4) {
        names.push_back(names[random() % names.size()]);
      } else {
        std::swap(names[random() % names.size()], names.back());
        names.pop_back();
      }
    }
    std::map<std::string, std::uintptr_t> identities;
    std::unordered_set<std::uintptr_t> distinct;
    for (auto const& [text, name] : names) {
      ASSERT_EQ(name.view(), text);
      ASSERT_EQ(identities.emplace(text, name.identity()).first->second, name.identity());
      distinct.insert(name.identity());
    }
    EXPECT_EQ(distinct.size(), identities.size());
  }
}

}  // namespace
}  // namespace Lumo
