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
std::vector<std::vector<PathElement>> allLeaves() {
  std::vector<std::vector<PathElement>> all;
  for (LeafRow const& row : leafRows()) {
    if (row.keyed == row.names.size()) {
      all.push_back(pathOf(row, {}));
    } else if (row.table->listKey == "name") {
      for (char const* const name : {"E1", "E10", "a]/b c\\\xC3\xA9"}) {
        all.push_back(pathOf(row, std::string(name)));
      }
    } else {
      for (std::uint64_t const id : {1U, 5U, 4094U}) {
        all.push_back(pathOf(row, id));
      }
    }
  }
  return all;
}

EntryKey keyOf(std::vector<PathElement> const& leaf) {
  for (PathElement const& element : leaf) {
    for (auto const& [name, value] : element.keys) {
      return name == "name" ? EntryKey(value) : EntryKey(std::uint64_t{std::stoull(value)});
    }
  }
  return {};
}

LeafRow const& rowOf(std::vector<PathElement> const& leaf) {
  SchemaNode const* node = &schema();
  for (PathElement const& element : leaf) {
    node = node->child(element.name);
  }
  return *node->row();
}

std::set<std::string> selectedBy(RequestPath const& path) {
  Selection const selection = resolve(path).selection;
  std::set<std::string> selected;
  for (auto const& leaf : allLeaves()) {
    if (selection.rows(keyOf(leaf))[rowOf(leaf).number]) {
      selected.insert(pathText(leaf));
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
  // Of 6 leaves of the bridge, 8 of each of three interfaces, 6 of each of three instances.
  for (auto const& [path, count] : std::vector<Case>{
           {"", 48},
           {"/...", 48},
           {"/*", 48},
           {"/stp", 48},
           {"/stp/*", 48},
           {"/*/*", 48},
           {"/.../...", 48},
           {"/stp/global", 6},
           {"/stp/*/config", 3},
           {"/stp/*/*/config", 12},
           {"/stp/.../config", 24},
           {"/.../state", 24},
           {"/.../state/...", 24},
           {"/.../state/*", 24},
           {"/.../bpdu-guard", 8},
           {"/.../*/bpdu-guard", 8},
           {"/.../disabled-vlan", 2},
           {"/.../stp-openconfig-disabled-vlan:disabled-vlan", 2},
           {"/stp/interfaces", 24},
           {"/stp/interfaces/interface", 24},
           {"/stp/interfaces/interface[name=*]", 24},
           {"/stp/interfaces/interface[name=E1]", 8},
           {"/stp/interfaces/interface[name=E1]/...", 8},
           {"/stp/interfaces/interface[name=E1]/.../name", 2},
           {"/stp/interfaces/*[name=E1]", 8},
           {"/stp/interfaces/*[name=E1]/state", 4},
           {"/.../*[name=E1]/state", 4},
           {"/.../interface[name=E1]", 8},
           {"/.../*[mst-id=5]", 6},
           {"/.../mst-instance[mst-id=4094]/state/vlan", 1},
           {"/stp/interfaces/interface[name=E3]", 0},
           {"/stp/interfaces/interface[name=a\\]/b c\\\\\xC3\xA9]/config/name", 1},
           {"/stp/interfaces/interface/*", 24},
           {"/stp/mstp/mst-instances/*/config/mst-id", 3},
       }) {
    SCOPED_TRACE(path);
    RequestPath const asked = pathFrom(path);
    std::set<std::string> plain;
    for (auto const& leaf : allLeaves()) {
      std::vector<PathElement> bare = asked.elements;
      for (PathElement& element : bare) {
        element.name = element.name.substr(element.name.find(':') + 1);
      }
      if (selects(bare, leaf)) {
        plain.insert(pathText(leaf));
      }
    }
    EXPECT_EQ(plain.size(), count);
    EXPECT_EQ(selectedBy(asked), plain);
  }
}

TEST(GnmiPaths, P3PathsOfLeavesAreBareWithFullKeys) {
  for (auto const& leaf : allLeaves()) {
    for (PathElement const& element : leaf) {
      EXPECT_EQ(element.name.find(':'), std::string::npos) << element.name;
    }
    EXPECT_EQ(pathFrom(pathText(leaf)).elements, leaf);
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
        "/stp/global/config/stp-openconfig-disabled-vlan:bpdu-guard", "/:stp"}) {
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
      nodes.push_back(node.node->path() + (keyText(node.key).empty() ? "" : " ") +
                      keyText(node.key));
    }
    return nodes;
  };
  EXPECT_THAT(meant("/..."), ElementsAre(""));
  EXPECT_THAT(meant("/stp/*"), ElementsAre("/stp/global", "/stp/interfaces", "/stp/mstp"));
  EXPECT_THAT(meant("/stp/interfaces/interface[name=E1]/..."),
              ElementsAre("/stp/interfaces/interface E1"));
  EXPECT_THAT(meant("/.../config"),
              ElementsAre("/stp/global/config", "/stp/interfaces/interface/config",
                          "/stp/mstp/mst-instances/mst-instance/config"));
}

TEST(GnmiPaths, WildIsWhatCanMeanSeveralThings) {
  for (auto const& [path, isWild] : std::map<std::string, bool>{
           {"", false},
           {"/stp/interfaces", false},
           {"/stp/interfaces/interface", true},
           {"/stp/interfaces/interface[name=*]/state", true},
           {"/stp/interfaces/interface[name=E1]/state", false},
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
  EXPECT_EQ(one.byKey().size(), 1U);
  other.add(rows("/stp/interfaces"));
  EXPECT_NE(one, other);
  EXPECT_EQ(other, rows("/stp/interfaces"));
  other.restrictTo(rowsOf(DataType::config));
  EXPECT_EQ(other, rows("/stp/interfaces/interface/config"));
}

}  // namespace
}  // namespace Agent::Gnmi
