// Paths, and what they mean in the schema.
#include <set>

#include "agent/views/gnmi/tests/GnmiTestSupport.h"

namespace Agent::Gnmi {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string refusalOf(std::string const& path, Purpose purpose = Purpose::read) {
  return failureOf([&] { resolve(joined({}, pathFrom(path)), purpose); });
}

// All leaves that there can be with these keys.
struct Possible {
  LeafRow const* row;
  EntryKey key;
  std::vector<PathElement> path;
};
std::vector<Possible> const& allLeaves() {
  static std::vector<Possible> const all = [] {
    std::vector<Possible> made;
    for (LeafRow const& row : leafRows()) {
      std::vector<EntryKey> keys{{}};
      std::size_t list = 0;
      for (PathStep const& step : row.steps) {
        if (step.listKey.empty()) {
          continue;
        }
        std::vector<EntryKey> further;
        for (EntryKey key : keys) {
          for (PlainKey const& plain :
               step.listKey == "name" ? std::vector<PlainKey>{std::string("E1"), std::string("E10"),
                                                              std::string("a]/b c\\\xC3\xA9")}
                                      : std::vector<PlainKey>{std::uint64_t{1}, std::uint64_t{5},
                                                              std::uint64_t{4094}}) {
            key.at(list) = plain;
            further.push_back(key);
          }
        }
        ++list;
        keys = further;
      }
      for (EntryKey const& key : keys) {
        made.push_back({&row, key, pathOf(row, key)});
      }
    }
    return made;
  }();
  return all;
}

std::set<std::string> selectedBy(RequestPath const& path) {
  Selection const selection = resolve(path).selection;
  std::set<std::string> selected;
  for (Possible const& leaf : allLeaves()) {
    if (selection.rows(leaf.key)[leaf.row->number]) {
      selected.insert(pathText(leaf.path));
    }
  }
  return selected;
}

TEST(GnmiPaths, P1SplitAnywhereIsTheSamePath) {
  RequestPath const whole = pathFrom("/stp/interfaces/interface[name=E1]/state/edge-port");
  for (std::size_t at = 0; at <= whole.elements.size(); ++at) {
    auto const middle = whole.elements.begin() + static_cast<std::ptrdiff_t>(at);
    RequestPath const prefix{"", {whole.elements.begin(), middle}};
    RequestPath const rest{"", {middle, whole.elements.end()}};
    EXPECT_EQ(joined(prefix, rest), whole) << at;
  }
  EXPECT_EQ(selectedBy({}).size(), allLeaves().size());
}

TEST(GnmiPaths, P2PatternsSelectWhatPlainRulesSelect) {
  struct Case {
    char const* path;
    std::size_t count;
  };
  constexpr std::size_t all = 6 + 3 * 13 + 17 + 3 * 19 + 14 + 3 * 13 + 9 * 17 + 12 + 3 * 19;
  constexpr std::size_t config = 3 + 3 * 6 + 5 + 3 * 2 + 7 + 3 * 3 + 9 * 2 + 1 + 3 * 2;
  // Of three ports and three instances: leaves of the bridge 6 and of each interface 13; of RSTP 17
  // and of each of its ports 19; of MSTP 14, of each instance 13 and of each of its ports 17; of
  // the CIST 12 and of each of its ports 19.
  for (auto const& [path, count] : std::vector<Case>{
           {"", all},
           {"/...", all},
           {"/*", all},
           {"/stp", all},
           {"/stp/*", all},
           {"/*/*", all},
           {"/.../...", all},
           {"/stp/global", 6},
           {"/stp/*/config", 3 + 5 + 7},
           {"/stp/*/*/config", 3 * 6 + 1},
           {"/stp/*/interfaces/interface/config", 3 * 2},
           {"/stp/.../config", config},
           {"/.../state", all - config},
           {"/.../state/...", all - config},
           {"/.../state/*", all - config},
           {"/.../bpdu-guard", 2 + 3 * 2},
           {"/.../*/bpdu-guard", 2 + 3 * 2},
           {"/.../disabled-vlan", 2},
           {"/.../stp-openconfig-disabled-vlan:disabled-vlan", 2},
           {"/stp/interfaces", 3 * 13},
           {"/stp/interfaces/interface", 3 * 13},
           {"/stp/interfaces/interface[name=*]", 3 * 13},
           {"/stp/interfaces/interface[name=E1]", 13},
           {"/stp/interfaces/interface[name=E1]/...", 13},
           {"/stp/interfaces/interface[name=E1]/.../name", 2},
           {"/stp/interfaces/*[name=E1]", 13},
           {"/stp/interfaces/*[name=E1]/state", 7},
           {"/.../*[name=E1]/state", 7 + 17 + 3 * 15 + 17},
           {"/.../interface[name=E1]", 13 + 19 + 3 * 17 + 19},
           {"/.../*[mst-id=5]", 13 + 3 * 17},
           {"/.../mst-instance[mst-id=4094]/state/vlan", 1},
           {"/stp/interfaces/interface[name=E3]", 0},
           {"/stp/interfaces/interface[name=a\\]/b c\\\\\xC3\xA9]/config/name", 1},
           {"/stp/interfaces/interface/*", 3 * 13},
           {"/stp/mstp/mst-instances/*/config/mst-id", 3},
           {"/stp/rstp/interfaces/interface[name=E1]/state/counters", 2},
           {"/.../counters/bpdu-sent", 3 + 3},
           {"/stp/mstp/mst-instances/mst-instance[mst-id=5]/interfaces", 3 * 17},
           {"/stp/mstp/mst-instances/mst-instance[mst-id=5]/interfaces/interface", 3 * 17},
           {"/stp/mstp/mst-instances/mst-instance[mst-id=5]/interfaces/interface[name=*]/state/"
            "role",
            3},
           {"/stp/mstp/mst-instances/mst-instance/interfaces/interface[name=E1]", 3 * 17},
           {"/stp/mstp/mst-instances/mst-instance[mst-id=*]/interfaces/interface[name=E1]/state/"
            "role",
            3},
           {"/stp/mstp/mst-instances/mst-instance[mst-id=*]/interfaces/interface[name=*]", 9 * 17},
           {"/stp/mstp/mst-instances/mst-instance[mst-id=5]/interfaces/interface[name=E1]", 17},
           {"/stp/mstp/mst-instances/mst-instance[mst-id=5]/.../name", 3 * 2},
           {"/stp/mstp/mst-instances/mst-instance[mst-id=7]/interfaces/interface[name=E1]", 0},
           {"/.../*[mst-id=5]/.../*[name=E1]", 17},
           {"/.../master", 3 * 3},
           {"/.../disputed", 3 + 3 * 3 + 3},
           {"/.../stp-openconfig-cist:disputed", 3 + 3 * 3 + 3},
           {"/stp/mstp/cist", 12 + 3 * 19},
           {"/stp/mstp/stp-openconfig-cist:cist/state", 11},
           {"/stp/mstp/cist/interfaces/interface[name=E10]/state/disputed", 1},
           {"/stp/*/state", 3 + 12 + 7},
       }) {
    SCOPED_TRACE(path);
    RequestPath const asked = pathFrom(path);
    std::set<std::string> plain;
    std::vector<PathElement> bare = asked.elements;
    for (PathElement& element : bare) {
      element.name = element.name.substr(element.name.find(':') + 1);
    }
    for (Possible const& leaf : allLeaves()) {
      if (selects(bare, leaf.path)) {
        plain.insert(pathText(leaf.path));
      }
    }
    EXPECT_EQ(plain.size(), count);
    EXPECT_EQ(selectedBy(asked), plain);
  }
}

TEST(GnmiPaths, P3PathsOfLeavesAreBareWithFullKeys) {
  for (Possible const& leaf : allLeaves()) {
    for (PathElement const& element : leaf.path) {
      EXPECT_EQ(element.name.find(':'), std::string::npos) << element.name;
    }
    EXPECT_EQ(pathFrom(pathText(leaf.path)).elements, leaf.path);
  }
}

TEST(GnmiPaths, TextOfAPathIsOneLineWhateverItHas) {
  EXPECT_EQ(pathText({{"a\nb/", {{"k\t=", "\x1B[2J]\x1F "}}}}), "/a?b\\/[k?\\==?[2J\\]? ]");
}

TEST(GnmiPaths, P4OriginsAndModules) {
  for (char const* const origin : {"", "openconfig", "openconfig-spanning-tree"}) {
    EXPECT_EQ(joined({}, {origin, {{"stp"}}}).origin, origin);
    EXPECT_EQ(joined({origin, {}}, {"", {{"stp"}}}).origin, origin);
  }
  EXPECT_EQ(failureOf([] {
              joined({"openconfig", {}}, {"openconfig", {}});
            }),
            "3 origin \"openconfig\": the prefix has one, too");
  EXPECT_EQ(failureOf([] {
              joined({}, {"cli", {}});
            }),
            "3 origin \"cli\": unknown, the only one is \"openconfig\"");
  EXPECT_EQ(selectedBy(pathFrom("/openconfig-spanning-tree:stp/openconfig-spanning-tree:global")),
            selectedBy(pathFrom("/stp/global")));
  EXPECT_EQ(selectedBy(pathFrom("/stp/interfaces/interface[openconfig-spanning-tree:name=E1]")),
            selectedBy(pathFrom("/stp/interfaces/interface[name=E1]")));
  for (char const* const path :
       {"/openconfig-interfaces:stp", "/stp/global/config/openconfig-spanning-tree:disabled-vlan",
        "/stp/global/config/stp-openconfig-disabled-vlan:bpdu-guard", "/:stp",
        "/stp/mstp/openconfig-spanning-tree:cist",
        "/stp/mstp/cist/openconfig-spanning-tree:state"}) {
    EXPECT_THAT(refusalOf(path), HasSubstr("is not in the model")) << path;
  }
}

TEST(GnmiPaths, P6WhatIsNotThereIsNamed) {
  struct Case {
    char const* path;
    char const* reading;
    char const* writing;
  };
  for (auto const& [path, reading, writing] : std::vector<Case>{
           {"/stp", "none", "none"},
           {"/stp/nothing/config", "3 /stp/nothing/config: \"nothing\" is not in the model",
            "5 /stp/nothing/config: \"nothing\" is not in the model"},
           {"/stp/global/config/bpdu-guard/x",
            "3 /stp/global/config/bpdu-guard/x: \"x\" is not in the model",
            "5 /stp/global/config/bpdu-guard/x: \"x\" is not in the model"},
           {"/stp/global/config/loop-guard",
            "12 /stp/global/config/loop-guard: the model has it, but it is not served",
            "12 /stp/global/config/loop-guard: the model has it, but it is not served"},
           {"/stp/rapid-pvst/vlan[vlan-id=5]/state",
            "12 /stp/rapid-pvst/vlan[vlan-id=5]/state: the model has it, but it is not served",
            "12 /stp/rapid-pvst/vlan[vlan-id=5]/state: the model has it, but it is not served"},
           {"/stp/interfaces/interface[name=E1]/name",
            "12 /stp/interfaces/interface[name=E1]/name: the model has it, but it is not served",
            "12 /stp/interfaces/interface[name=E1]/name: the model has it, but it is not served"},
           {"/stp/rstp/state/hold-time",
            "12 /stp/rstp/state/hold-time: the model has it, but it is not served",
            "12 /stp/rstp/state/hold-time: the model has it, but it is not served"},
           {"/stp/mstp/cist/state/hold-time",
            "12 /stp/mstp/cist/state/hold-time: the model has it, but it is not served",
            "12 /stp/mstp/cist/state/hold-time: the model has it, but it is not served"},
           {"/stp/rstp/state/counters",
            "3 /stp/rstp/state/counters: \"counters\" is not in the model",
            "5 /stp/rstp/state/counters: \"counters\" is not in the model"},
           {"/stp/mstp/mst-instances/mst-instance[mst-id=5]/interfaces/interface", "none",
            "3 /stp/mstp/mst-instances/mst-instance[mst-id=5]/interfaces/interface: \"interface\" "
            "is "
            "a list, and needs its key"},
           {"/stp/mstp/mst-instances/mst-instance/interfaces/interface[name=E1]", "none",
            "3 /stp/mstp/mst-instances/mst-instance/interfaces/interface[name=E1]: "
            "\"mst-instance\" "
            "is a list, and needs its key"},
           {"//stp", "3 //stp: \"\" is no name", "3 //stp: \"\" is no name"},
           {"/stp[name=E1]", "3 /stp[name=E1]: \"stp[name=E1]\" has a key, but is no list",
            "3 /stp[name=E1]: \"stp[name=E1]\" has a key, but is no list"},
           {"/...[name=E1]", "3 /...[name=E1]: \"...[name=E1]\" has a key, but is no list",
            "3 /...[name=E1]: \"...[name=E1]\" is a wildcard"},
           {"/stp/interfaces/interface[id=E1]",
            "3 /stp/interfaces/interface[id=E1]: \"interface[id=E1]\" has another key than "
            "\"name\" alone",
            "3 /stp/interfaces/interface[id=E1]: \"interface[id=E1]\" has another key than "
            "\"name\" alone"},
           {"/stp/interfaces/interface[id=1][name=E1]",
            "3 /stp/interfaces/interface[id=1][name=E1]: \"interface[id=1][name=E1]\" has another "
            "key than \"name\" alone",
            "3 /stp/interfaces/interface[id=1][name=E1]: \"interface[id=1][name=E1]\" has another "
            "key than \"name\" alone"},
           {"/stp/interfaces/interface[name=E1][openconfig-spanning-tree:name=E1]",
            "3 /stp/interfaces/interface[name=E1][openconfig-spanning-tree:name=E1]: "
            "\"interface[name=E1][openconfig-spanning-tree:name=E1]\" has another "
            "key than \"name\" alone",
            "3 /stp/interfaces/interface[name=E1][openconfig-spanning-tree:name=E1]: "
            "\"interface[name=E1][openconfig-spanning-tree:name=E1]\" has another "
            "key than \"name\" alone"},
           {"/stp/*/config", "none", "3 /stp/*/config: \"*\" is a wildcard"},
           {"/stp/...", "none", "3 /stp/...: \"...\" is a wildcard"},
           {"/stp/interfaces/interface/config", "none",
            "3 /stp/interfaces/interface/config: \"interface\" is a list, and needs its key"},
           {"/stp/interfaces/interface[name=*]", "none",
            "3 /stp/interfaces/interface[name=*]: \"interface[name=*]\" is a wildcard"},
           {"/stp/*/loop-guard", "3 /stp/*/loop-guard: \"loop-guard\" is not in the model",
            "3 /stp/*/loop-guard: \"*\" is a wildcard"},
           {"/.../loop-guard", "12 /.../loop-guard: the model has it, but it is not served",
            "3 /.../loop-guard: \"...\" is a wildcard"},
       }) {
    SCOPED_TRACE(path);
    EXPECT_EQ(refusalOf(path), reading);
    EXPECT_EQ(refusalOf(path, Purpose::write), writing);
  }
}

TEST(GnmiPaths, P8InstancesAreNumbersInTheirOnlyNotation) {
  for (char const* const id : {"1", "5", "4094", "*"}) {
    EXPECT_EQ(refusalOf(std::string("/stp/mstp/mst-instances/mst-instance[mst-id=") + id + "]"),
              "none");
  }
  for (char const* const id :
       {"", "0", "4095", "05", "+5", "-1", " 5", "5 ", "0x5", "five", "99999999999999999999999"}) {
    EXPECT_THAT(refusalOf(std::string("/stp/mstp/mst-instances/mst-instance[mst-id=") + id + "]"),
                HasSubstr("has a key that is no decimal number from 1 to 4094"))
        << id;
  }
}

TEST(GnmiPaths, A6LimitsAreNamed) {
  RequestPath path;
  path.elements.assign(deepestPath, {"..."});
  EXPECT_EQ(failureOf([&] { resolve(joined({}, path)); }), "none");
  EXPECT_EQ(failureOf([&] {
              joined({"", {{"..."}}}, path);
            }),
            "3 a path of 33 elements, the most are 32");
  path = pathFrom("/stp/interfaces/interface[name=x]");
  path.elements.back().keys["name"] = std::string(longestKey, 'x');
  EXPECT_EQ(failureOf([&] { resolve(joined({}, path)); }), "none");
  path.elements.back().keys["name"] += "x";
  EXPECT_EQ(failureOf([&] { joined({}, path); }),
            "3 \"interface\": a key of 257 bytes, the longest has 256");
}

TEST(GnmiPaths, OutermostNodesAreMeant) {
  auto const meant = [](char const* path) {
    std::vector<std::string> nodes;
    ResolvedPath const resolved = resolve(pathFrom(path));
    for (MeantNode const& node : resolved.nodes) {
      nodes.push_back(pathText(pathOf(*node.node, node.pattern)));
    }
    return nodes;
  };
  EXPECT_THAT(meant("/..."), ElementsAre("/"));
  EXPECT_THAT(meant("/stp/*"),
              ElementsAre("/stp/global", "/stp/interfaces", "/stp/rstp", "/stp/mstp"));
  EXPECT_THAT(meant("/stp/interfaces/interface[name=E1]/..."),
              ElementsAre("/stp/interfaces/interface[name=E1]"));
  EXPECT_THAT(meant("/.../config"),
              ElementsAre("/stp/global/config", "/stp/interfaces/interface/config",
                          "/stp/rstp/config", "/stp/rstp/interfaces/interface/config",
                          "/stp/mstp/config", "/stp/mstp/mst-instances/mst-instance/config",
                          "/stp/mstp/mst-instances/mst-instance/interfaces/interface/config",
                          "/stp/mstp/cist/config", "/stp/mstp/cist/interfaces/interface/config"));
  EXPECT_THAT(meant("/stp/mstp/.../*[mst-id=5]/..."),
              ElementsAre("/stp/mstp/mst-instances/mst-instance[mst-id=5]"));
  EXPECT_THAT(meant("/stp/mstp/.../interface[name=E1]/..."),
              ElementsAre("/stp/mstp/mst-instances/mst-instance/interfaces/interface[name=E1]",
                          "/stp/mstp/cist/interfaces/interface[name=E1]"));
  EXPECT_THAT(
      meant("/.../mst-instance[mst-id=5]/.../interface[name=E1]"),
      ElementsAre("/stp/mstp/mst-instances/mst-instance[mst-id=5]/interfaces/interface[name=E1]"));
}

TEST(GnmiPaths, WildIsWhatCanMeanSeveralThings) {
  for (auto const& [path, isWild] : std::map<std::string, bool>{
           {"", false},
           {"/stp/interfaces", false},
           {"/stp/interfaces/interface", true},
           {"/stp/interfaces/interface[name=*]/state", true},
           {"/stp/interfaces/interface[name=E1]/state", false},
           {"/stp/mstp/mst-instances/mst-instance[mst-id=5]/interfaces", false},
           {"/stp/mstp/mst-instances/mst-instance[mst-id=5]/interfaces/interface", true},
           {"/stp/mstp/mst-instances/mst-instance/interfaces/interface[name=E1]", true},
           {"/stp/mstp/mst-instances/mst-instance[mst-id=5]/interfaces/interface[name=E1]", false},
           {"/*", true},
           {"/...", true},
       }) {
    EXPECT_EQ(resolve(pathFrom(path)).isWild, isWild) << path;
  }
}

TEST(GnmiSelection, EqualHoweverPutTogether) {
  auto const rows = [](char const* path) { return resolve(pathFrom(path)).selection; };
  Selection one = rows("/stp/interfaces/interface[name=E1]");
  one.add(rows("/stp/interfaces/interface/config"));
  one.add(rows("/stp/interfaces/interface[name=E2]/config"));
  Selection other = rows("/stp/interfaces/interface[name=E1]/state");
  other.add(rows("/stp/interfaces/interface[name=E1]/config/name"));
  other.add(rows("/stp/interfaces/*/config"));
  EXPECT_EQ(one, other);
  EXPECT_EQ(one.byPattern().size(), 1U);
  other.add(rows("/stp/interfaces"));
  EXPECT_NE(one, other);
  EXPECT_EQ(other, rows("/stp/interfaces"));
  other.restrictTo(rowsOf(DataType::config));
  EXPECT_EQ(other, rows("/stp/interfaces/interface/config"));
}

TEST(GnmiSelection, PatternsOfNestedListsAreEqualHoweverPutTogether) {
  std::string const list = "/stp/mstp/mst-instances/mst-instance";
  std::vector<std::string> const paths{
      list + "[mst-id=5]",
      list + "[mst-id=5]/interfaces",
      list + "[mst-id=5]/interfaces/interface[name=E1]",
      list + "[mst-id=5]/interfaces/interface[name=E1]/state",
      list + "[mst-id=7]/interfaces/interface[name=E1]",
      list + "/interfaces/interface[name=E1]",
      list + "/interfaces/interface[name=E1]/state/role",
      list + "/interfaces/interface[name=E2]/state",
      list + "[mst-id=7]/state",
  };
  // Whatever the first two are, the rest adds up to the same.
  std::vector<Selection> sums;
  for (std::size_t first = 0; first < paths.size(); ++first) {
    for (std::size_t second = 0; second < paths.size(); ++second) {
      Selection sum = resolve(pathFrom(paths[first])).selection;
      sum.add(resolve(pathFrom(paths[second])).selection);
      for (std::string const& path : paths) {
        sum.add(resolve(pathFrom(path)).selection);
      }
      sums.push_back(std::move(sum));
    }
  }
  for (Selection const& sum : sums) {
    EXPECT_EQ(sum, sums.front());
  }
  // The whole of 5, E1 of all, E2's state of all, and the state of 7.
  EXPECT_EQ(sums.front().byPattern().size(), 4U);
  Selection all = sums.front();
  all.add(resolve(pathFrom("/stp")).selection);
  EXPECT_EQ(all, resolve({}).selection);
  EXPECT_TRUE(all.byPattern().empty());
}

TEST(GnmiSelection, PatternCoversTheKeysThatItHas) {
  using std::string;
  EntryKey const both{std::uint64_t{5}, string("E1")};
  EXPECT_TRUE(covers({}, {}));
  EXPECT_TRUE(covers({}, both));
  EXPECT_TRUE(covers({std::uint64_t{5}}, both));
  EXPECT_TRUE(covers({PlainKey(), string("E1")}, both));
  EXPECT_TRUE(covers(both, both));
  EXPECT_FALSE(covers({std::uint64_t{6}}, both));
  EXPECT_FALSE(covers({PlainKey(), string("E2")}, both));
  EXPECT_FALSE(covers({std::uint64_t{5}, string("E2")}, both));
  EXPECT_FALSE(covers(both, {std::uint64_t{5}}));
  EXPECT_FALSE(covers(both, {}));
}

}  // namespace
}  // namespace Agent::Gnmi
