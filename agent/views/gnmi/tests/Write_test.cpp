// What becomes of a client's write.
#include "agent/views/gnmi/Write.h"

#include "agent/views/gnmi/tests/GnmiTestSupport.h"

namespace Agent::Gnmi {
namespace {

using Kind = WriteRequest::Kind;

class GnmiWrite : public HubTest {
 protected:
  // What a write of the disabled VLANs leaves there, from left to right.
  std::string vlansAfter(std::vector<std::pair<Kind, std::string>> const& steps) {
    session.write(wish(write(steps)));
    return document("/stp/global/config/disabled-vlan")["/stp/global/config/disabled-vlan"];
  }
  static Session::Wish wish(Write const& write) {
    return [write](Stp::VlanSet present) { return write.disabledVlans(present); };
  }
  static Write write(std::vector<std::pair<Kind, std::string>> const& steps) {
    std::vector<WriteRequest> requests;
    for (auto const& [kind, value] : steps) {
      requests.push_back({kind, pathFrom("/stp/global/config/disabled-vlan"),
                          kind == Kind::remove ? Json() : Json::parse(value)});
    }
    return Write(requests);
  }
};

TEST_F(GnmiWrite, W4UpdateAddsReplaceSetsAndDeleteClears) {
  EXPECT_EQ(vlansAfter({{Kind::replace, "[5]"}, {Kind::update, "[7]"}}), "[5,7]");
  EXPECT_EQ(vlansAfter({{Kind::update, "[6]"}}), "[\"5..7\"]");
  EXPECT_EQ(vlansAfter({{Kind::replace, "[9]"}}), "[9]");
  EXPECT_EQ(vlansAfter({{Kind::remove, ""}, {Kind::update, "[\"1..2\",4]"}}), "[\"1..2\",4]");
  EXPECT_EQ(vlansAfter({{Kind::remove, ""}}), "");
}

TEST_F(GnmiWrite, W3WhatIsThereAlreadyChangesNothing) {
  auto const changes = [this](std::vector<std::pair<Kind, std::string>> const& steps) {
    printed();
    session.write(wish(write(steps)));
    return !printed().empty();
  };
  EXPECT_FALSE(changes({{Kind::remove, ""}}));
  EXPECT_TRUE(changes({{Kind::replace, "[5,6]"}}));
  EXPECT_FALSE(changes({{Kind::replace, "[\"5..6\"]"}}));
  EXPECT_FALSE(changes({{Kind::update, "[6]"}}));
  EXPECT_FALSE(changes({{Kind::remove, ""}, {Kind::update, "[6,5]"}}));
  EXPECT_TRUE(changes({{Kind::replace, "[6]"}}));
}

TEST_F(GnmiWrite, W3OneThatAsksForNothingSaysSo) {
  EXPECT_TRUE(write({}).isEmpty());
  std::array const container{
      WriteRequest{Kind::update, pathFrom("/stp/global"), Json::parse(R"({"config":{}})")}};
  EXPECT_TRUE(Write(container).isEmpty());
  EXPECT_FALSE(write({{Kind::remove, ""}}).isEmpty());
  EXPECT_FALSE(write({{Kind::update, "[]"}}).isEmpty());
}

TEST_F(GnmiWrite, W2RangesMayBeOfOneVlanAndReachBothEnds) {
  EXPECT_EQ(vlansAfter({{Kind::replace, "[\"4..4\"]"}}), "[4]");
  EXPECT_EQ(vlansAfter({{Kind::replace, "[\"1..4094\"]"}}), "[\"1..4094\"]");
  for (char const* const wrong : {"[\"0..4\"]", "[\"4..4095\"]", "[\"5..4\"]", "[0]", "[4095]"}) {
    EXPECT_THAT(failureOf([&] {
                  (void)write({{Kind::replace, wrong}});
                }),
                testing::StartsWith("3 /stp/global/config/disabled-vlan"))
        << wrong;
  }
}

TEST_F(GnmiWrite, W2ContainerTakesAnObjectOfWhatIsWritableAndNothingElse) {
  auto const written = [this](std::string const& path, std::string const& value) {
    std::array const request{WriteRequest{Kind::update, pathFrom(path), Json::parse(value)}};
    return failureOf([&] { session.write(wish(Write(request))); });
  };
  for (char const* const wrong : {"5", "\"5\"", "[5]", "null", "true"}) {
    EXPECT_THAT(written("/stp/global/config", wrong),
                testing::AllOf(testing::StartsWith("3 /stp/global/config: "),
                               testing::EndsWith(" is no object")));
  }
  EXPECT_EQ(written("/stp/global", R"({"config":{"disabled-vlan":[5]}})"), "none");
  EXPECT_EQ(written("/stp/global", R"({"config":{}})"), "none");
  EXPECT_EQ(vlansAfter({}), "[5]");
  EXPECT_THAT(written("/stp/global", R"({"config":{"disabled-vlan":[6],"bpdu-guard":true}})"),
              testing::StartsWith("7 /stp/global/config/bpdu-guard: "));
  EXPECT_THAT(written("/stp", R"({"interfaces":{"interface":[]}})"),
              testing::StartsWith("7 /stp/interfaces/interface: "));
  EXPECT_EQ(written("/stp", R"({"global":{"nope":{}}})"), "3 /stp/global/nope: not in the model");
  EXPECT_THAT(written("/stp", R"({"rapid-pvst":{}})"), testing::StartsWith("12 /stp/rapid-pvst: "));
  EXPECT_EQ(vlansAfter({}), "[5]");
}

}  // namespace
}  // namespace Agent::Gnmi
