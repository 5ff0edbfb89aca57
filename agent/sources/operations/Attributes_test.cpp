// The attributes of the sources: their defaults, ranges and types.
#include <cstdint>
#include <string>
#include <vector>

#include "agent/program/TestSupport.h"

namespace Agent {
namespace {

using Number = std::int64_t;

struct Case {
  char const* path;
  Number (*get)(SourceView const& sources);
  Number fresh;
  std::vector<char const*> accepted;
  std::vector<char const*> refused;
};

Stp::Input::PortConfig const& inputPort(SourceView const& sources) {
  return *sources.input->portConfig("E1");
}
Stp::Input::MstiConfig const& inputMsti(SourceView const& sources) {
  return *sources.input->stpiConfig("Mst")->mstiConfig("MST7");
}
Stp::PortConfig const& configPort(SourceView const& sources) {
  return *sources.config->portConfig("E1");
}
Stp::StpiStatus const& statusMst(SourceView const& sources) {
  return *sources.status->stpiStatus("Mst");
}
Stp::StpiPortStatus const& statusPort(SourceView const& sources) {
  return *statusMst(sources).stpiPortStatus("E1");
}
template <class Value>
Number number(Value value) {
  return static_cast<Number>(value);
}

std::vector<char const*> const flags{"true", "false"};
std::vector<char const*> const noFlags{"0", "1", "\"true\"", "null", "[]", "{}"};
std::vector<char const*> const bytes{"1", "255", "0"};
std::vector<char const*> const noBytes{"256", "-1", "1.0", "1e1", "true", "\"1\"", "null", "[1]"};
std::vector<char const*> const modes{"3", "2147483647", "-2147483648", "-0"};
std::vector<char const*> const noModes{"2147483648", "-2147483649", "18446744073709551616",
                                       "3.0",        "3e0",         "\"mstp\""};
std::vector<char const*> const priorities{"61440", "4097", "0"};
std::vector<char const*> const noPriorities{"61441", "65536", "-1", "0.5"};

std::vector<Case> const cases{
    {R"(["input","mode"])", [](auto& s) { return number(s.input->mode()); }, 0, modes, noModes},
    {R"(["input","portfastBpduguard"])",
     [](auto& s) { return number(s.input->portfastBpduguard()); }, 0, flags, noFlags},
    {R"(["input","portConfig","E1","linkType"])",
     [](auto& s) { return number(inputPort(s).linkType()); }, 0, bytes, noBytes},
    {R"(["input","portConfig","E1","edgePortEnable"])",
     [](auto& s) { return number(inputPort(s).edgePortEnable()); }, 0, flags, noFlags},
    {R"(["input","portConfig","E1","edgePortAuto"])",
     [](auto& s) { return number(inputPort(s).edgePortAuto()); }, 0, flags, noFlags},
    {R"(["input","portConfig","E1","edgePortDisable"])",
     [](auto& s) { return number(inputPort(s).edgePortDisable()); }, 0, flags, noFlags},
    {R"(["input","portConfig","E1","bpduguard"])",
     [](auto& s) { return number(inputPort(s).bpduguard()); }, 0, bytes, noBytes},
    {R"(["input","stpiConfig","Mst","mstiConfig","MST7","mstiId"])",
     [](auto& s) { return number(inputMsti(s).mstiId()); },
     7,
     {"4095", "0"},
     {"4096", "-1", "7.0"}},
    {R"(["input","stpiConfig","Mst","mstiConfig","MST7","bridgePriority"])",
     [](auto& s) { return number(inputMsti(s).bridgePriority()); }, 32768, priorities,
     noPriorities},
    {R"(["config","portfastBpduguard"])",
     [](auto& s) { return number(s.config->portfastBpduguard()); }, 0, flags, noFlags},
    {R"(["config","portConfig","E1","adminEdgePort"])",
     [](auto& s) { return number(configPort(s).adminEdgePort()); }, 0, flags, noFlags},
    {R"(["config","portConfig","E1","bpduguard"])",
     [](auto& s) { return number(configPort(s).bpduguard()); }, 0, bytes, noBytes},
    {R"(["status","activeProtocol"])", [](auto& s) { return number(s.status->activeProtocol()); },
     0, modes, noModes},
    {R"(["status","stpiStatus","Mst","stpiPortStatus","E1","operEdgePort"])",
     [](auto& s) { return number(statusPort(s).operEdgePort()); }, 0, flags, noFlags},
    {R"(["status","stpiStatus","Mst","stpiPortStatus","E1","operPointToPointMac"])",
     [](auto& s) { return number(statusPort(s).operPointToPointMac()); }, 0, flags, noFlags},
    {R"(["status","stpiStatus","Mst","mstiStatus","MST7","bridgePriority"])",
     [](auto& s) { return number(statusMst(s).mstiStatus("MST7")->bridgePriority()); }, 32768,
     priorities, noPriorities},
};

class Attributes : public SessionTest {
 protected:
  Attributes() {
    for (char const* const path :
         {R"(["input","portConfig","E1"])", R"(["input","stpiConfig","Mst"])",
          R"(["input","stpiConfig","Mst","mstiConfig","MST7"])", R"(["config","portConfig","E1"])",
          R"(["status","stpiStatus","Mst"])",
          R"(["status","stpiStatus","Mst","stpiPortStatus","E1"])",
          R"(["status","stpiStatus","Mst","mstiStatus","MST7"])"}) {
      apply(R"({"op":"create","path":)" + std::string(path) + "}");
    }
  }

  static std::string set(std::string const& path, std::string const& value) {
    return R"({"op":"set","path":)" + path + R"(,"value":)" + value + "}";
  }
};

TEST_F(Attributes, HaveTheirDefaults) {
  for (Case const& given : cases) {
    SCOPED_TRACE(given.path);
    EXPECT_EQ(given.get(sources()), given.fresh);
  }
}

TEST_F(Attributes, TakeTheValuesOfTheirRange) {
  for (Case const& given : cases) {
    for (std::string const value : given.accepted) {
      SCOPED_TRACE(set(given.path, value));
      apply(set(given.path, value));
      Number const expected = value == "true" ? 1 : value == "false" ? 0 : std::stoll(value);
      EXPECT_EQ(given.get(sources()), expected);
    }
  }
}

TEST_F(Attributes, RefuseEverythingElseAndStayAsTheyAre) {
  for (Case const& given : cases) {
    for (char const* const value : given.refused) {
      SCOPED_TRACE(set(given.path, value));
      EXPECT_THAT(refusalOf(set(given.path, value)), testing::StartsWith("value: "));
      EXPECT_EQ(given.get(sources()), given.fresh);
    }
  }
}

TEST_F(Attributes, RefusalNamesValueAndLimit) {
  EXPECT_EQ(refusalOf(set(R"(["input","portConfig","E1","linkType"])", "256")),
            "value: 256 is not an integer from 0 to 255");
  EXPECT_EQ(refusalOf(set(R"(["input","portConfig","E1","linkType"])", "1.0")),
            "value: 1.0 is not an integer from 0 to 255 (written without fraction or exponent)");
  EXPECT_EQ(refusalOf(set(R"(["input","mode"])", "\"mstp\"")),
            "value: \"mstp\" is not an integer from -2147483648 to 2147483647");
  for (char const* const large :
       {"2147483648", "9223372036854775807", "9223372036854775808", "18446744073709551615"}) {
    EXPECT_EQ(refusalOf(set(R"(["status","activeProtocol"])", large)),
              std::string("value: ") + large + " is not an integer from -2147483648 to 2147483647");
  }
  EXPECT_EQ(refusalOf(set(R"(["input","portfastBpduguard"])", "1")),
            "value: 1 is not true or false");
}

TEST_F(Attributes, MstConfigKeepsWhatItIsNotGiven) {
  for (std::string const root : {"input", "config"}) {
    std::string const path = R"([")" + root + R"(","mstConfig"])";
    auto const present = [&] {
      return root == "input" ? sources().input->mstConfig() : sources().config->mstConfig();
    };
    EXPECT_EQ(present(), Stp::MstConfig());
    apply(set(path, R"({"revision":-0})"));
    EXPECT_EQ(present(), Stp::MstConfig());
    apply(set(path, R"({"regionName":"west \u00e9","revision":18446744073709551615})"));
    apply(set(path, R"({"vidToMsti":[[10,5],[258,4095],[65535,0],[0,1]]})"));
    Stp::MstConfig expected;
    expected.regionName = "west \xC3\xA9";
    expected.revision = ~std::uint64_t{0};
    expected.vidToMsti = {0, 10, 0, 5, 1, 2, 15, 255, 255, 255, 0, 0, 0, 0, 0, 1};
    EXPECT_EQ(present(), expected);
    apply(set(path, R"({"regionName":"","vidToMsti":[]})"));
    expected.regionName = "";
    expected.vidToMsti = {};
    EXPECT_EQ(present(), expected);
  }
}

TEST_F(Attributes, MstConfigIsRefusedAsAWhole) {
  struct Refused {
    char const* value;
    char const* reason;
  };
  apply(set(R"(["input","mstConfig"])", R"({"regionName":"west","vidToMsti":[[1,1]]})"));
  Stp::MstConfig const before = sources().input->mstConfig();
  for (auto const& [value, reason] : std::vector<Refused>{
           {"7", "value: 7 is not an object"},
           {R"({"regionName":"east","region":1})", "value.region: unknown member"},
           {R"({"regionName":"east","revision":-1})",
            "value.revision: -1 is not an integer from 0 to 18446744073709551615"},
           {R"({"regionName":"east","revision":18446744073709551616})",
            "value.revision: 1.8446744073709552e+19 is not an integer from 0 to "
            "18446744073709551615"},
           {R"({"regionName":5,"revision":1})", "value.regionName: 5 is not a string"},
           {R"({"regionName":"east","vidToMsti":5})", "value.vidToMsti: 5 is not an array"},
           {R"({"regionName":"east","vidToMsti":[[1,1],[2]]})",
            "value.vidToMsti[1]: an array of 1 is not a pair [vlan, instance]"},
           {R"({"regionName":"east","vidToMsti":[5]})",
            "value.vidToMsti[0]: 5 is not a pair [vlan, instance]"},
           {R"({"regionName":"east","vidToMsti":[[65536,1]]})",
            "value.vidToMsti[0][0]: 65536 is not an integer from 0 to 65535"},
           {R"({"regionName":"east","vidToMsti":[[1,4096]]})",
            "value.vidToMsti[0][1]: 4096 is not an integer from 0 to 4095"},
       }) {
    SCOPED_TRACE(value);
    EXPECT_EQ(refusalOf(set(R"(["input","mstConfig"])", value)), reason);
    EXPECT_EQ(sources().input->mstConfig(), before);
  }
}

TEST_F(Attributes, VlanMapHasAtMost65535Pairs) {
  std::string pairs = "[1,1]";
  for (int count = 1; count < 65535; ++count) {
    pairs += ",[1,1]";
  }
  apply(set(R"(["input","mstConfig"])", R"({"vidToMsti":[)" + pairs + "]}"));
  EXPECT_EQ(sources().input->mstConfig().vidToMsti.size(), 65535U * 4);
  EXPECT_EQ(refusalOf(set(R"(["input","mstConfig"])", R"({"vidToMsti":[)" + pairs + ",[1,1]]}")),
            "value.vidToMsti: 65536 pairs, at most 65535");
}

TEST_F(Attributes, AreGivenWithTheirEntity) {
  apply(R"({"op":"create","path":["input","portConfig","E2"],
            "value":{"linkType":2,"edgePortAuto":true,"bpduguard":1}})");
  auto const port = sources().input->portConfig("E2");
  EXPECT_EQ(number(port->linkType()), 2);
  EXPECT_FALSE(port->edgePortEnable());
  EXPECT_TRUE(port->edgePortAuto());
  EXPECT_EQ(number(port->bpduguard()), 1);

  apply(R"({"op":"replace","path":["input","portConfig","E2"],"value":{"linkType":1}})");
  auto const second = sources().input->portConfig("E2");
  EXPECT_NE(second, port);
  EXPECT_EQ(number(second->linkType()), 1);
  EXPECT_FALSE(second->edgePortAuto());
}

TEST_F(Attributes, InstanceIdIsThatOfTheNameUnlessGiven) {
  auto const mst = sources().input->stpiConfig("Mst");
  apply(R"({"op":"create","path":["input","stpiConfig","Mst","mstiConfig","Cist"]})");
  apply(R"({"op":"create","path":["input","stpiConfig","Mst","mstiConfig","MST4095"]})");
  apply(R"({"op":"create","path":["input","stpiConfig","Mst","mstiConfig","MST8"],
            "value":{"mstiId":9,"bridgePriority":4096}})");
  EXPECT_EQ(mst->mstiConfig("Cist")->mstiId(), 0);
  EXPECT_EQ(mst->mstiConfig("MST4095")->mstiId(), 4095);
  EXPECT_EQ(mst->mstiConfig("MST8")->mstiId(), 9);
  EXPECT_EQ(mst->mstiConfig("MST8")->bridgePriority(), 4096);
  apply(R"({"op":"replace","path":["input","stpiConfig","Mst","mstiConfig","MST8"]})");
  EXPECT_EQ(mst->mstiConfig("MST8")->mstiId(), 8);
}

TEST_F(Attributes, EntityWithAWrongOneIsNotCreated) {
  struct Refused {
    char const* line;
    char const* reason;
  };
  for (auto const& [line, reason] : std::vector<Refused>{
           {R"({"op":"create","path":["input","portConfig","E2"],"value":{"linkType":300}})",
            "value.linkType: 300 is not an integer from 0 to 255"},
           {R"({"op":"create","path":["input","portConfig","E2"],"value":{"a b":1}})",
            "value.\"a b\": unknown attribute"},
           {R"({"op":"create","path":["input","stpiConfig","Rst"],"value":{"mstiConfig":{}}})",
            "value.mstiConfig: a collection can't be given here"},
           {R"({"op":"replace","path":["input","portConfig","E1"],"value":{"linkType":-1}})",
            "value.linkType: -1 is not an integer from 0 to 255"},
           {R"({"op":"create","path":["vlanConfigDir","vlanConfig",5],"value":{"name":1}})",
            "value.name: unknown attribute"},
           {R"({"op":"replace","path":["vlanConfigDir","vlanConfig",5],"value":{"name":1}})",
            "value.name: unknown attribute"},
           {R"({"op":"create","path":["input","portConfig","E2"],"value":5})",
            "value: 5 is not an object"},
           {R"({"op":"create","path":["input","portConfig","E2"],"value":null})",
            "value: null is not an object"},
       }) {
    auto const port = sources().input->portConfig("E1");
    SCOPED_TRACE(line);
    EXPECT_EQ(refusalOf(line), reason);
    EXPECT_EQ(sources().input->portConfig().size(), 1U);
    EXPECT_EQ(sources().input->portConfig("E1"), port);
    EXPECT_EQ(sources().input->stpiConfig().size(), 1U);
    EXPECT_FALSE(sources().vlanConfigDir->vlanConfig(5));
  }
}

TEST_F(Attributes, NamesAreAnyTextAndCaseCounts) {
  apply(R"({"op":"create","path":["input","portConfig","e1"]})");
  apply(R"({"op":"create","path":["input","portConfig","a\u0000b \"\u00fc"]})");
  EXPECT_TRUE(sources().input->portConfig("e1"));
  EXPECT_TRUE(sources().input->portConfig(std::string("a\0b \"\xC3\xBC", 7)));
  EXPECT_EQ(sources().input->portConfig().size(), 3U);
}

}  // namespace
}  // namespace Agent
