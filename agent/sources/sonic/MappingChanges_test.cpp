// How the sources are led: what is compared, in which order changes come, and that whoever follows
// arrives where whoever begins does.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "agent/sources/sonic/SonicTestSupport.h"
#include "agent/state/EntityPaths.h"

namespace Agent::Sonic {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SonicChanges : public SonicTest {
 protected:
  // The changes that rows make, each as "kind path", applied one by one.
  std::vector<std::string> changesOf(std::vector<RowRead> const& rows) {
    for (RowRead const& row : rows) {
      if (row.fields) {
        databases.write(row.store, row.key, *row.fields);
      } else {
        databases.erase(row.store, row.key);
      }
    }
    mapping.changed(rows);
    return oneByOne(mapping.differences(sources()));
  }
  std::vector<std::string> oneByOne(Changes const& changes) {
    constexpr std::array kinds{"set", "create", "replace", "touch", "delete", "clear"};
    std::vector<std::string> told;
    for (Change const& change : changes) {
      auto path = Json::parse(EntityPaths(session.database()).of(change.entity()));
      path.push_back(change.attribute());
      if (auto const* const name = std::get_if<Lumo::String>(&change.key())) {
        path.push_back(name->view());
      } else if (auto const* const id = std::get_if<std::uint16_t>(&change.key())) {
        path.push_back(std::to_string(*id));
      }
      std::string text = kinds.at(static_cast<std::size_t>(change.kind()));
      for (auto const& step : path) {
        text += (text.find(' ') == std::string::npos ? " " : ".") + step.get<std::string>();
      }
      told.push_back(text);
      session.apply(Changes{change});
    }
    return told;
  }

  std::vector<RowRead> mst() const {
    return {{configuration, "STP|GLOBAL", Fields{{"mode", "mst"}}},
            {configuration, "STP_PORT|E1", Fields{{"bpdu_guard", "true"}}},
            {configuration, "STP_MST_INST|5", Fields{{"vlan@", "10"}}},
            {application, "_STP_MST_INST_TABLE:5", Fields{}},
            {application, "_STP_MST_INST_TABLE:0", Fields{}},
            {application, "_STP_MST_PORT_TABLE:0:E1", Fields{}},
            {configuration, "VLAN|Vlan10", Fields{}}};
  }
};

TEST_F(SonicChanges, WhatAppearsComesBeforeWhatUsesItAndGoesAfterIt) {
  EXPECT_THAT(
      changesOf(mst()),
      ElementsAre("create vlanConfigDir.vlanConfig.10", "create input.portConfig.E1",
                  "set input.portConfig.E1.bpduguard", "create input.stpiConfig.Mst",
                  "create input.stpiConfig.Mst.mstiConfig.MST5", "set input.mode",
                  "set input.mstConfig", "create config.portConfig.E1",
                  "create status.stpiStatus.Mst", "create status.stpiStatus.Mst.mstiStatus.Cist",
                  "create status.stpiStatus.Mst.mstiStatus.MST5",
                  "create status.stpiStatus.Mst.stpiPortStatus.E1", "set status.activeProtocol",
                  "set operational.running", "create operational.tree.Cist",
                  "create operational.tree.MST5", "create operational.tree.Cist.port.E1"));
  mapping.scanned({});
  databases = {};
  EXPECT_THAT(
      oneByOne(mapping.differences(sources())),
      ElementsAre("set input.mode", "set input.mstConfig", "set status.activeProtocol",
                  "set operational.running", "delete operational.tree.MST5",
                  "delete operational.tree.Cist.port.E1", "delete operational.tree.Cist",
                  "delete status.stpiStatus.Mst.stpiPortStatus.E1",
                  "delete status.stpiStatus.Mst.mstiStatus.MST5",
                  "delete status.stpiStatus.Mst.mstiStatus.Cist", "delete status.stpiStatus.Mst",
                  "delete config.portConfig.E1", "delete input.stpiConfig.Mst.mstiConfig.MST5",
                  "delete input.stpiConfig.Mst", "delete input.portConfig.E1",
                  "delete vlanConfigDir.vlanConfig.10"));
}

TEST_F(SonicChanges, AChangeCostsWhatItIs) {
  changesOf(mst());
  EXPECT_THAT(
      changesOf({{configuration, "STP_PORT|E1", Fields{{"bpdu_guard", "false"}}}}),
      ElementsAre("set input.portConfig.E1.bpduguard", "set config.portConfig.E1.bpduguard"));
  EXPECT_THAT(changesOf({{application, "_STP_MST_PORT_TABLE:0:E1", Fields{{"role", "ROOT"}}}}),
              ElementsAre("set operational.tree.Cist.port.E1.role"));
  EXPECT_THAT(changesOf({{application, "_STP_MST_PORT_TABLE:0:E1",
                          Fields{{"role", "ROOT"}, {"rem_time", "5"}}}}),
              IsEmpty());
  EXPECT_THAT(changesOf({{application, "_STP_MST_INST_TABLE:5", Fields{{"vlan@", "10,"}}}}),
              ElementsAre("set config.mstConfig"));
}

TEST_F(SonicChanges, AStatusThatWasThereFirstIsMadeAnewAfterTheConfiguration) {
  apply(R"({"op":"start"})");
  changesOf(mst());
  changesOf({{configuration, "STP_PORT|E1", std::nullopt}});
  EXPECT_THAT(
      changesOf({{configuration, "STP_PORT|E1", Fields{{"bpdu_guard", "true"}}}}),
      ElementsAre("create input.portConfig.E1", "set input.portConfig.E1.bpduguard",
                  "create config.portConfig.E1", "delete status.stpiStatus.Mst.stpiPortStatus.E1",
                  "create status.stpiStatus.Mst.stpiPortStatus.E1"));
  EXPECT_EQ(Json::parse(target("ocInterfaceStateDir")).at("E1").at("bpduGuard"), 1);
  changesOf({{configuration, "STP_PORT|E1", Fields{{"bpdu_guard", "false"}}}});
  EXPECT_NE(Json::parse(target("ocInterfaceStateDir")).at("E1").at("bpduGuard"), 1);
}

// The status of a port is there, and its configuration is not.
class SonicLateConfiguration : public SonicChanges {
 protected:
  SonicLateConfiguration() {
    apply(R"({"op":"start"})");
    changesOf(mst());
    changesOf({{configuration, "STP_PORT|E1", std::nullopt}});
  }

  Json guard() const { return Json::parse(target("ocInterfaceStateDir")).at("E1").at("bpduGuard"); }
  // What the configuration says is followed from when it came.
  void expectFollowed() {
    EXPECT_EQ(guard(), 1);
    changesOf({{configuration, "STP_PORT|E1", Fields{{"bpdu_guard", "false"}}}});
    EXPECT_EQ(guard(), 0);
  }

  RowRead const port{configuration, "STP_PORT|E1", Fields{{"bpdu_guard", "true"}}};
};

TEST_F(SonicLateConfiguration, ComesWithAScan) {
  databases.write(port.store, port.key, *port.fields);
  mapping.scanned(databases.all());
  EXPECT_THAT(
      oneByOne(mapping.differences(sources())),
      ElementsAre("create input.portConfig.E1", "set input.portConfig.E1.bpduguard",
                  "create config.portConfig.E1", "delete status.stpiStatus.Mst.stpiPortStatus.E1",
                  "create status.stpiStatus.Mst.stpiPortStatus.E1"));
  expectFollowed();
}

TEST_F(SonicLateConfiguration, ComesAsTheStatusGoes) {
  RowRead status{application, "_STP_MST_PORT_TABLE:0:E1", std::nullopt};
  EXPECT_THAT(changesOf({port, status}),
              ElementsAre("create input.portConfig.E1", "set input.portConfig.E1.bpduguard",
                          "create config.portConfig.E1", "delete operational.tree.Cist.port.E1",
                          "delete status.stpiStatus.Mst.stpiPortStatus.E1"));
  status.fields.emplace();
  changesOf({status});
  expectFollowed();
}

TEST_F(SonicLateConfiguration, ComesWithAnotherMode) {
  changesOf({{configuration, "STP|GLOBAL", Fields{{"mode", "pvst"}}},
             {application, "_STP_VLAN_TABLE:Vlan10", Fields{}},
             {application, "_STP_VLAN_PORT_TABLE:Vlan10:E1", Fields{}},
             port});
  expectFollowed();
  changesOf({{configuration, "STP_PORT|E1", std::nullopt}});
  changesOf({{configuration, "STP|GLOBAL", Fields{{"mode", "mst"}}}, port});
  expectFollowed();
}

TEST_F(SonicChanges, AModeThatChangesLeavesThePortsOfTheNewOne) {
  apply(R"({"op":"start"})");
  changesOf(mst());
  changesOf({{application, "_STP_VLAN_TABLE:Vlan10", Fields{}},
             {application, "_STP_VLAN_PORT_TABLE:Vlan10:E1", Fields{}},
             {application, "_STP_PORT_TABLE:E1", Fields{{"port_fast", "yes"}}}});
  auto const port = [this] { return Json::parse(target("ocInterfaceStateDir")).at("E1"); };
  auto const instances = [this] { return Json::parse(target("ocMstiConfigDir")).size(); };
  for (char const* const guard : {"false", "true"}) {
    SCOPED_TRACE(guard);
    changesOf({{configuration, "STP|GLOBAL", Fields{{"mode", "pvst"}}}});
    EXPECT_EQ(port().at("edgePort"), 0);
    EXPECT_EQ(instances(), 1U);  // that of all VLANs, which is always there
    changesOf({{configuration, "STP|GLOBAL", Fields{{"mode", "mst"}}}});
    EXPECT_EQ(port().at("edgePort"), 1);
    EXPECT_EQ(instances(), 2U);
    // It is still followed.
    changesOf({{configuration, "STP_PORT|E1", Fields{{"bpdu_guard", guard}}}});
    EXPECT_EQ(port().at("bpduGuard"), guard == std::string_view("true") ? 1 : 0);
  }
}

TEST_F(SonicChanges, AScanComparesAllWhateverWasWrittenMeanwhile) {
  changesOf(mst());
  apply(R"({"op":"delete","path":["config","portConfig","E1"]})");
  apply(R"({"op":"set","path":["input","disabledVlan",7],"value":true})");
  apply(R"({"op":"create","path":["status","stpiStatus","Mst","stpiPortStatus","E9"]})");
  apply(R"({"op":"create","path":["operational","tree","Cist","port","E9"]})");
  apply(R"({"op":"create","path":["vlanConfigDir","vlanConfig",9]})");
  mapping.scanned(databases.all());
  follow();
  EXPECT_EQ(ShownSources::of(sources()), fresh());
}

TEST_F(SonicChanges, OfARowGivenTwiceTheLastCounts) {
  std::vector<RowRead> const rows{{configuration, "STP|GLOBAL", Fields{{"mode", "mst"}}},
                                  {configuration, "STP|GLOBAL", Fields{{"mode", "rstp"}}}};
  mapping.scanned(rows);
  follow();
  EXPECT_EQ(at("/input/mode"), 2);
}

TEST_F(SonicChanges, WhoFollowsArrivesWhereWhoBeginsDoes) {
  apply(R"({"op":"start"})");
  RandomRows random(13);
  for (int step = 0; step < 500; ++step) {
    std::vector<RowRead> batch;
    do {
      batch.push_back(random.next(databases));
    } while (!random.oneIn(3));
    mapping.changed(batch);
    if (random.oneIn(20)) {
      mapping.scanned(databases.all());
    }
    if (random.oneIn(4)) {
      continue;  // the next batch comes before the sources are compared
    }
    follow();
    ASSERT_EQ(ShownSources::of(sources()), fresh()) << "step " << step;
  }
}

}  // namespace
}  // namespace Agent::Sonic
