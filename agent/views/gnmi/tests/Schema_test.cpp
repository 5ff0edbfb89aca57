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
      for (std::string_view const part : row.names) {
        name.append("/").append(part);
      }
      names.insert(name);
    }
  }
  return names;
}

TEST(GnmiRows, NodesHaveTheirTablesTogether) {
  std::vector<std::string_view> paths;
  RowNumber next = 0;
  for (NodeRows const& node : nodeRows()) {
    paths.push_back(node.path);
    EXPECT_EQ(node.first, next);
    EXPECT_EQ(node.tables.size(), 2U);
    for (LeafRow const& row : node.leaves()) {
      EXPECT_EQ(row.number, next++);
      EXPECT_EQ(row.table->node, node.path);
    }
  }
  EXPECT_EQ(next, leafRows().size());
  EXPECT_THAT(paths, ElementsAre("/stp/global", "/stp/interfaces/interface",
                                 "/stp/mstp/mst-instances/mst-instance"));
}

TEST(GnmiRows, G2TypesPartThem) {
  RowSet const config = rowsOf(DataType::config);
  RowSet const state = rowsOf(DataType::state);
  EXPECT_EQ((config | state), rowsOf(DataType::all));
  EXPECT_TRUE((config & state).none());
  EXPECT_EQ(config.count(), 10U);
  EXPECT_EQ(namesIn(config).count("/stp/interfaces/interface/config/name"), 1U);
  // Every leaf of the state is configured, too.
  EXPECT_TRUE(rowsOf(DataType::operational).none());
}

TEST(GnmiModels, G5EachHasItsRows) {
  auto const rows = [](std::vector<ModelName> const& models) { return rowsOf(models); };
  EXPECT_EQ(rows({}), rowsOf(DataType::all));
  EXPECT_EQ(rows({{"openconfig-spanning-tree", "", ""}}).count(), leafRows().size() - 2);
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

TEST(GnmiModels, OursSaysWhatItsModuleSays) {
  expectModule(models().back(), STP_YANG_DIR);
}

// The schema as yanglint draws it: paths of all nodes, each with the name of its key if it is a
// list.
std::map<std::string, std::string> nodesOf(std::string const& models) {
  std::string const command =
      "yanglint -f tree -p '" + models + "' -p '" STP_YANG_DIR "' '" + models +
      "/openconfig-spanning-tree.yang' '" STP_YANG_DIR "/stp-openconfig-disabled-vlan.yang'";
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
    to[child->path()] = child->listKey();
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

TEST(GnmiSchema, ServedLeavesHaveTheirRows) {
  std::size_t leaves = 0;
  for (LeafRow const& row : leafRows()) {
    SchemaNode const* node = &schema();
    for (std::string_view const name : row.names) {
      node = node->child(name);
      ASSERT_NE(node, nullptr) << name;
      EXPECT_TRUE(node->rows()[row.number]);
    }
    EXPECT_EQ(node->row(), &row);
    EXPECT_EQ(node->module(), row.module);
    ++leaves;
  }
  EXPECT_EQ(leaves, 20U);
  EXPECT_EQ(schema().rows(), rowsOf(DataType::all));
}

}  // namespace
}  // namespace Agent::Gnmi
