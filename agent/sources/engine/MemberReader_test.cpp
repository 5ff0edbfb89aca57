#include "agent/sources/engine/MemberReader.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace Agent {
namespace {

std::string kept(std::string const& text) {
  constexpr std::array<std::string_view, 2> names{"a", "b"};
  return parseMembers(text, names).dump();
}

TEST(MemberReader, NamedMembersAreKeptAtEveryDepth) {
  EXPECT_EQ(kept(R"({"a":1,"x":2,"b":{"x":1,"a":[{"x":3,"b":"c"},[true,null,-1,0.5]]}})"),
            R"({"a":1,"b":{"a":[{"b":"c"},[true,null,-1,0.5]]}})");
  EXPECT_EQ(kept(R"(["x",{"x":1},{"b":2}])"), R"(["x",{},{"b":2}])");
  EXPECT_EQ(kept(R"([{"x":{}},{"b":2},{"x":[]},[3],4])"), R"([{},{"b":2},{},[3],4])");
  EXPECT_EQ(kept("7"), "7");
}

TEST(MemberReader, NothingBelowAnotherMemberIsKept) {
  EXPECT_EQ(kept(R"({"x":{"a":1,"b":[1,{"a":2}]},"a":3})"), R"({"a":3})");
  EXPECT_EQ(kept(R"({"x":[[],{"a":1},{}],"b":4,"y":[],"z":{}})"), R"({"b":4})");
}

TEST(MemberReader, LastOfSeveralCounts) {
  EXPECT_EQ(kept(R"({"a":[1],"b":1,"a":{"b":2}})"), R"({"a":{"b":2},"b":1})");
}

TEST(MemberReader, AllOfTheTextIsChecked) {
  for (char const* const text :
       {"", "{", R"({"x":})", R"({"x":[1}})", R"({"a":1} 2)", R"({"x":01})"}) {
    SCOPED_TRACE(text);
    EXPECT_THROW(kept(text), Json::parse_error);
  }
}

}  // namespace
}  // namespace Agent
