// Which files of a snapshot tell of ports in MST instances.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "agent/sources/engine/SnapshotTestSupport.h"

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// The costs that are told of the ports of an instance, by name.
std::vector<std::string> costsIn(EngineSnapshot const& snapshot, std::size_t tree) {
  std::vector<std::string> costs;
  for (auto const& port : snapshot.trees.at(tree).ports) {
    costs.push_back(port.name.toString() + " " + std::to_string(port.internalCost.value()));
  }
  return costs;
}

std::string entry(std::string const& port, std::string const& cost) {
  return R"({"port":")" + port + R"(","bridge":"br4","mstid":"5","internal-port-cost":")" + cost +
         "\"}";
}

class TreePortFiles : public testing::Test {
 protected:
  TreePortFiles() { files.erase("showtreeport-5.json"); }

  std::vector<std::string> costs() const { return costsIn(parsed(files, "br4"), 2); }
  std::string refusal() const { return refusalOf(files, "br4"); }

  Files files = filesOf(operationalCaptures / "01-converged");
};

TEST_F(TreePortFiles, WithoutThemAnInstanceHasNoPorts) {
  EXPECT_THAT(costs(), IsEmpty());
  EXPECT_THAT(costsIn(parsed(files, "br4"), 1), testing::SizeIs(3));
}

TEST_F(TreePortFiles, EachPortMayHaveItsOwn) {
  files["showtreeport-Eth2-5.json"] = entry("Eth2", "12");
  EXPECT_THAT(costs(), ElementsAre("Eth2 12"));
  files["showtreeport-Eth1-5.json"] = entry("Eth1", "11");
  EXPECT_THAT(costs(), ElementsAre("Eth1 11", "Eth2 12"));
}

TEST_F(TreePortFiles, ListIsInTheOrderOfTheBridgesPorts) {
  files["showtreeport-5.json"] = "[" + entry("Eth3", "3") + "," + entry("Eth1", "1") + "]";
  EXPECT_THAT(costs(), ElementsAre("Eth1 1", "Eth3 3"));
}

TEST_F(TreePortFiles, OwnFileOfAPortCountsBeforeTheList) {
  files["showtreeport-5.json"] = "[" + entry("Eth1", "1") + "," + entry("Eth2", "2") + "]";
  files["showtreeport-Eth2-5.json"] = entry("Eth2", "12");
  EXPECT_THAT(costs(), ElementsAre("Eth1 1", "Eth2 12"));
}

TEST_F(TreePortFiles, BothFormsSayTheSameOfTheSameMoment) {
  auto const list = filesOf(captures / "01-converged");
  auto lists = list;
  for (std::string const id : {"1", "5"}) {
    std::string all;
    for (std::string const port : {"1", "2", "3", "4", "5"}) {
      std::string const file = "showtreeport-Ethernet" + port + "-" + id + ".json";
      all += (all.empty() ? "[" : ",") + lists.at(file);
      lists.erase(file);
    }
    lists["showtreeport-" + id + ".json"] = all + "]";
  }
  EXPECT_TRUE(parsed(lists) == parsed(list));
}

TEST_F(TreePortFiles, PortsThatTheBridgeDoesNotHaveAreIgnored) {
  files["showtreeport-5.json"] = "[" + entry("Eth9", "9") + "," + entry("Eth1", "1") + "]";
  files["showtreeport-Eth8-5.json"] = "nonsense";
  EXPECT_THAT(costs(), ElementsAre("Eth1 1"));
}

TEST_F(TreePortFiles, EmptyListTellsOfNoPort) {
  files["showtreeport-5.json"] = "[]";
  EXPECT_THAT(costs(), IsEmpty());
}

TEST_F(TreePortFiles, RefusalNamesTheEntryAtFault) {
  auto const refusalOf = [this](std::string const& list) {
    files["showtreeport-5.json"] = list;
    return refusal();
  };
  EXPECT_EQ(refusalOf("{}"), "showtreeport-5.json: a list is expected");
  EXPECT_EQ(refusalOf("[" + entry("Eth1", "1") + ",{}]"),
            R"(showtreeport-5.json: entry 2: member "port" is missing)");
  EXPECT_EQ(refusalOf("[" + entry("Eth1", "-") + "]"),
            R"(showtreeport-5.json: port "Eth1": member "internal-port-cost" is "-", no number)");
  EXPECT_EQ(refusalOf("[" + entry("Eth1", "1") + "," + entry("Eth1", "1") + "]"),
            R"(showtreeport-5.json: port "Eth1": listed twice)");
  EXPECT_EQ(refusalOf(R"([{"port":"Eth1","bridge":"br4","mstid":"1"}])"),
            R"(showtreeport-5.json: port "Eth1": member "mstid" is "1", not "5")");
}

TEST_F(TreePortFiles, NameWithASlashIsNoNameOfAFile) {
  auto& ports = files.at("showportdetail.json");
  ports.replace(ports.find(R"("Eth1")"), 6, R"("x/../E")");
  std::vector<std::string> asked;
  parseSnapshot(
      [&](std::string const& file) {
        asked.push_back(file);
        auto const found = files.find(file);
        return found == files.end() ? std::nullopt : std::optional(found->second);
      },
      "br4");
  EXPECT_THAT(asked, testing::Each(testing::Not(testing::HasSubstr("/"))));
  EXPECT_THAT(asked, testing::Contains("showtreeport-Eth2-5.json"));
}

TEST_F(TreePortFiles, NameTooLongForAFileIsLookedForInTheList) {
  auto const folder = std::filesystem::path(testing::TempDir()) / "LongPortName";
  std::filesystem::remove_all(folder);
  std::filesystem::copy(operationalCaptures / "01-converged", folder);
  std::string const name(300, 'e');
  for (char const* const file : {"showportdetail.json", "showtreeport-5.json"}) {
    auto text = filesOf(folder).at(file);
    text.replace(text.find("Eth1"), 4, name);
    std::ofstream(folder / file) << text;
  }
  EXPECT_EQ(readSnapshot(folder, "br4").trees.at(2).ports.at(0).name, name);
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace Agent
