// What clients may name, beside the public model.
#include "agent/views/gnmi/Schema.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "agent/views/gnmi/Failure.h"

namespace Agent::Gnmi {
namespace {

using testing::ElementsAre;

std::set<std::string> namesIn(RowSet const& rows) {
  std::set<std::string> names;
  for (LeafRow const& row : leafRows()) {
    if (rows[row.number]) {
      std::string name;
      for (PathStep const& step : row.steps) {
        name.append("/").append(step.name);
      }
      names.insert(name);
    }
  }
  return names;
}

TEST(GnmiRows, NodesHaveTheirTablesTogether) {
  struct Node {
    std::string_view path;
    std::size_t tables;
    std::size_t rows;
    std::optional<std::uint16_t> outer;

    bool operator==(Node const&) const = default;
  };
  std::vector<Node> nodes;
  RowNumber next = 0;
  for (NodeRows const& node : nodeRows()) {
    nodes.push_back({node.path, node.tables.size(), node.rows.count(), node.outer});
    EXPECT_EQ(node.first, next);
    for (LeafRow const& row : node.leaves()) {
      EXPECT_EQ(row.number, next++);
      EXPECT_EQ(row.table->node, node.path);
    }
  }
  EXPECT_EQ(next, leafRows().size());
  EXPECT_EQ(
      nodes,
      (std::vector<Node>{
          {"/stp/global", 2, 6, {}},
          {"/stp/interfaces/interface[name]", 4, 13, {}},
          {"/stp/rstp", 4, 17, {}},
          {"/stp/rstp/interfaces/interface[name]", 3, 19, {}},
          {"/stp/mstp", 2, 14, {}},
          {"/stp/mstp/mst-instances/mst-instance[mst-id]", 3, 13, {}},
          {"/stp/mstp/mst-instances/mst-instance[mst-id]/interfaces/interface[name]", 2, 17, 5},
          {"/stp/mstp/stp-openconfig-cist:cist", 2, 12, {}},
          {"/stp/mstp/stp-openconfig-cist:cist/interfaces/interface[name]", 3, 19, {}},
      }));
}

TEST(GnmiRows, G2TypesPartThem) {
  RowSet const config = rowsOf(DataType::config);
  RowSet const state = rowsOf(DataType::state);
  EXPECT_EQ((config | state), rowsOf(DataType::all));
  EXPECT_TRUE((config & state).none());
  EXPECT_EQ(config.count(), 31U);
  EXPECT_EQ(namesIn(config).count("/stp/interfaces/interface/config/name"), 1U);
  RowSet const operational = rowsOf(DataType::operational);
  EXPECT_TRUE((operational & config).none());
  std::set<std::string> const names = namesIn(operational);
  EXPECT_EQ(names.count("/stp/rstp/state/bridge-priority"), 0U);
  EXPECT_EQ(names.count("/stp/rstp/state/bridge-address"), 1U);
  EXPECT_EQ(names.count("/stp/rstp/interfaces/interface/state/port-priority"), 0U);
  EXPECT_EQ(names.count("/stp/rstp/interfaces/interface/state/cost"), 1U);
  EXPECT_EQ(names.count("/stp/rstp/interfaces/interface/state/counters/bpdu-sent"), 1U);
  EXPECT_EQ(names.count("/stp/interfaces/interface/state/bpdu-guard-error"), 1U);
  // Of RSTP and its ports 7 and 15, of instances and their ports 7 and 13, of the CIST and its
  // ports 10 and 15, and an interface's trouble.
  EXPECT_EQ(names.size(), 68U);
}

TEST(GnmiRows, S10CountersAreThoseOfThePackets) {
  std::string const counters = "/interfaces/interface/state/counters/bpdu-";
  EXPECT_EQ(namesIn(counterRows()),
            (std::set<std::string>{
                "/stp/rstp" + counters + "sent", "/stp/rstp" + counters + "received",
                "/stp/mstp/cist" + counters + "sent", "/stp/mstp/cist" + counters + "received"}));
}

TEST(GnmiModels, G5EachHasItsRows) {
  auto const rows = [](std::vector<ModelName> const& models) { return rowsOf(models); };
  EXPECT_EQ(rows({}), rowsOf(DataType::all));
  auto const cist = rows({{"stp-openconfig-cist", "StpOpenConfig project", "0.1.0"}});
  EXPECT_EQ(rows({{"openconfig-spanning-tree", "", ""}}).count(),
            leafRows().size() - 2 - cist.count());
  std::set<std::string> const ofCist = namesIn(cist);
  EXPECT_EQ(ofCist.count("/stp/mstp/cist/state/bridge-priority"), 1U);
  EXPECT_EQ(ofCist.count("/stp/rstp/interfaces/interface/state/disputed"), 1U);
  EXPECT_EQ(ofCist.count("/stp/rstp/interfaces/interface/state/role"), 0U);
  // Of the CIST and its ports 12 and 19, of RSTP's ports 1, of instances' 2, of interfaces 1.
  EXPECT_EQ(ofCist.size(), 35U);
  EXPECT_EQ(namesIn(rows({{"stp-openconfig-disabled-vlan", "StpOpenConfig project", "0.1.0"}})),
            (std::set<std::string>{"/stp/global/config/disabled-vlan",
                                   "/stp/global/state/disabled-vlan"}));
  EXPECT_TRUE(rows({{"openconfig-spanning-tree-types", "", "0.4.1"}}).none());
  auto const refusal = [&](ModelName const& model) -> std::string {
    try {
      rows({model});
      return "none";
    } catch (Failure const& failure) {
      EXPECT_EQ(failure.code(), Code::invalidArgument);
      return failure.what();
    }
  };
  EXPECT_EQ(refusal({"openconfig-lldp", "", ""}),
            R"(use_models: "openconfig-lldp": unknown model)");
  EXPECT_EQ(refusal({"openconfig-spanning-tree", "", "0.3.0"}),
            R"(use_models: "openconfig-spanning-tree": version "0.3.0", only 0.3.1 is served)");
  EXPECT_EQ(refusal({"openconfig-spanning-tree", "someone", "0.3.1"}),
            R"(use_models: "openconfig-spanning-tree": organization "someone", only OpenConfig )"
            R"(working group is served)");
}

std::string fileText(std::filesystem::path const& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

std::string statement(std::string const& module, char const* keyword) {
  std::smatch found;
  std::regex const pattern(std::string(keyword) + "\\s+\"([^\"]*)\"");
  return std::regex_search(module, found, pattern) ? found[1].str() : "";
}

void expectModule(Model const& model, std::filesystem::path const& folder) {
  SCOPED_TRACE(model.name);
  std::string const text = fileText(folder / (std::string(model.name) + ".yang"));
  EXPECT_EQ(statement(text, "openconfig-version"), model.version);
  EXPECT_EQ(statement(text, "organization"), model.organization);
}

TEST(GnmiModels, OursAreAllOfOurModulesAndSayWhatTheseSay) {
  std::size_t files = 0;
  for (auto const& file : std::filesystem::directory_iterator(STP_YANG_DIR)) {
    files += file.path().extension() == ".yang" ? 1 : 0;
  }
  EXPECT_EQ(models().size(), 2 + files);
  for (Model const& model : models().subspan(2)) {
    expectModule(model, STP_YANG_DIR);
  }
}

// The schema as yanglint draws it: paths of all nodes, each with the name of its key if it is a
// list.
std::map<std::string, std::string> nodesOf(std::string const& models) {
  std::string const command = "yanglint -f tree -p '" + models + "' -p '" STP_YANG_DIR "' '" +
                              models + "/openconfig-spanning-tree.yang' '" STP_YANG_DIR "'/*.yang";
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> const output(::popen(command.c_str(), "r"),
                                                               &::pclose);
  std::map<std::string, std::string> nodes;
  std::vector<std::pair<std::size_t, std::string>> open;  // column and path of the nodes above
  std::array<char, 512> buffer{};
  std::regex const node("\\+--r[wo] (?:[a-z-]+:)?([a-z0-9-]+)[?*]?(?: +\\[([a-z-]+)\\])?");
  while (output && std::fgets(buffer.data(), buffer.size(), output.get()) != nullptr) {
    std::string const line = buffer.data();
    std::smatch found;
    if (!std::regex_search(line, found, node)) {
      continue;
    }
    auto const column = static_cast<std::size_t>(found.position());
    while (!open.empty() && open.back().first >= column) {
      open.pop_back();
    }
    std::string const path = (open.empty() ? "" : open.back().second) + "/" + found[1].str();
    open.emplace_back(column, path);
    nodes[path] = found[2].str();
  }
  return nodes;
}

void addNodes(SchemaNode const& node, std::map<std::string, std::string>& to) {
  for (auto const& child : node.children()) {
    to[child->path()] = child->step().listKey;
    addNodes(*child, to);
  }
}

TEST(GnmiSchema, P6HasTheNodesOfThePublicModelAndNoOthers) {
  char const* const folder = std::getenv("OPENCONFIG_YANG_DIR");
  if (folder == nullptr) {
    GTEST_SKIP() << "OPENCONFIG_YANG_DIR doesn't name a folder with the public models";
  }
  std::map<std::string, std::string> ours;
  addNodes(schema(), ours);
  auto const theirs = nodesOf(folder);
  ASSERT_GT(theirs.size(), 150U);
  EXPECT_EQ(ours, theirs);
  expectModule(models()[0], folder);
  expectModule(models()[1], folder);
}

TEST(GnmiSchema, ModulesAreThoseOfTheNodes) {
  auto const moduleOf = [](std::vector<std::string_view> const& names) {
    SchemaNode const* node = &schema();
    for (std::string_view const name : names) {
      node = node->child(name);
    }
    return std::string(node->module());
  };
  EXPECT_EQ(moduleOf({"stp", "mstp"}), "openconfig-spanning-tree");
  EXPECT_EQ(moduleOf({"stp", "mstp", "cist"}), "stp-openconfig-cist");
  EXPECT_EQ(moduleOf({"stp", "mstp", "cist", "interfaces", "interface", "state", "role"}),
            "stp-openconfig-cist");
  EXPECT_EQ(moduleOf({"stp", "mstp", "cist", "state", "hold-time"}), "stp-openconfig-cist");
  EXPECT_EQ(moduleOf({"stp", "rstp", "interfaces", "interface", "state", "disputed"}),
            "stp-openconfig-cist");
}

TEST(GnmiSchema, ListsAreCountedFromTheRoot) {
  SchemaNode const& instances = *schema().child("stp")->child("mstp")->child("mst-instances");
  SchemaNode const& instance = *instances.child("mst-instance");
  EXPECT_EQ(instances.lists(), 0U);
  EXPECT_EQ(instance.lists(), 1U);
  EXPECT_EQ(instance.child("interfaces")->lists(), 1U);
  EXPECT_EQ(instance.child("interfaces")->child("interface")->child("state")->lists(), 2U);
}

TEST(GnmiSchema, ServedLeavesHaveTheirRows) {
  std::size_t leaves = 0;
  for (LeafRow const& row : leafRows()) {
    SchemaNode const* node = &schema();
    for (PathStep const& step : row.steps) {
      node = node->child(step.name);
      ASSERT_NE(node, nullptr) << step.name;
      EXPECT_TRUE(node->rows()[row.number]);
      EXPECT_EQ(node->step(), step);
    }
    EXPECT_EQ(node->row(), &row);
    EXPECT_EQ(node->module(), row.module());
    ++leaves;
  }
  EXPECT_EQ(leaves, 130U);
  EXPECT_EQ(schema().rows(), rowsOf(DataType::all));
}

}  // namespace
}  // namespace Agent::Gnmi
