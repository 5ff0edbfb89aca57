#include "Lumo/Members.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>
#include <type_traits>

#include "Lumo/Ptr.h"
#include "Lumo/Publisher.h"
#include "Lumo/String.h"

namespace Lumo {
namespace {

struct None {};
struct One {
  String name;
};
struct Two {
  int first = 1;
  std::unique_ptr<int> second;
};
struct Inner {
  int a = 0;
  int b = 0;
};
struct Three {
  Inner inner;
  Subscriber slot;
  Ptr<Node const> node;
};
struct Eight {
  char a = 'a', b = 'b', c = 'c', d = 'd', e = 'e', f = 'f', g = 'g', h = 'h';
};

static_assert(memberCount<None> == 0 && memberCount<One> == 1 && memberCount<Two> == 2);
static_assert(memberCount<Three> == 3, "a member that is an aggregate itself counts once");
static_assert(memberCount<Eight> == 8);
static_assert(std::is_same_v<decltype(membersOf(std::declval<Two const&>())),
                             std::tuple<int const&, std::unique_ptr<int> const&>>);

// The values of all members, as one text.
template <class Aggregate>
std::string lettersOf(Aggregate aggregate) {
  std::string letters;
  std::apply([&](auto&... member) { (letters.push_back(member), ...); }, membersOf(aggregate));
  return letters;
}

template <std::size_t count>
struct Letters;
template <>
struct Letters<1> {
  char a = 'a';
};
template <>
struct Letters<2> {
  char a = 'a', b = 'b';
};
template <>
struct Letters<3> {
  char a = 'a', b = 'b', c = 'c';
};
template <>
struct Letters<4> {
  char a = 'a', b = 'b', c = 'c', d = 'd';
};
template <>
struct Letters<5> {
  char a = 'a', b = 'b', c = 'c', d = 'd', e = 'e';
};
template <>
struct Letters<6> {
  char a = 'a', b = 'b', c = 'c', d = 'd', e = 'e', f = 'f';
};
template <>
struct Letters<7> {
  char a = 'a', b = 'b', c = 'c', d = 'd', e = 'e', f = 'f', g = 'g';
};

TEST(Members, AreReachedInDeclarationOrder) {
  EXPECT_EQ(lettersOf(Letters<1>()), "a");
  EXPECT_EQ(lettersOf(Letters<2>()), "ab");
  EXPECT_EQ(lettersOf(Letters<3>()), "abc");
  EXPECT_EQ(lettersOf(Letters<4>()), "abcd");
  EXPECT_EQ(lettersOf(Letters<5>()), "abcde");
  EXPECT_EQ(lettersOf(Letters<6>()), "abcdef");
  EXPECT_EQ(lettersOf(Letters<7>()), "abcdefg");
  EXPECT_EQ(lettersOf(Eight()), "abcdefgh");
}

TEST(Members, AreReferences) {
  Two two;
  std::get<0>(membersOf(two)) = 5;
  std::get<1>(membersOf(two)) = std::make_unique<int>(6);
  EXPECT_EQ(two.first, 5);
  EXPECT_EQ(*two.second, 6);

  Three three;
  EXPECT_EQ(&std::get<1>(membersOf(three)), &three.slot);
  None none;
  EXPECT_EQ(membersOf(none), std::tuple<>());
}

}  // namespace
}  // namespace Lumo
