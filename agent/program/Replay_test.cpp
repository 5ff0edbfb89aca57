// The captures of a real engine, and what the mirror has to make of the bridge's settings in each.
// What is expected was read off the captures by hand.
#include <algorithm>
#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "agent/program/TestSupport.h"
#include "agent/sources/engine/EngineDifference.h"
#include "agent/sources/engine/EngineSnapshot.h"

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> const captures{"01-converged",
                                        "02-admin-edge",
                                        "03-bpdu-guard",
                                        "04-msti5-root-moves",
                                        "05-vlans-to-msti1",
                                        "06-link-down",
                                        "07-link-up",
                                        "08-port-removed",
                                        "09-port-back-shared-link",
                                        "10-msti5-deleted",
                                        "11-rstp"};

class Replay : public MirroredSessionTest {
 protected:
  // Applies the captures up to and with the one of this number; what that one alone printed is
  // kept.
  void replayTo(std::size_t number) {
    while (applied_ < number) {
      printed();
      EngineSnapshot const snapshot =
          readSnapshot(std::filesystem::path(STP_CAPTURES_DIR) / captures.at(applied_), "br0");
      session.apply(differences(snapshot, sources()));
      ++applied_;
    }
    lines_ = printed();
    std::erase_if(lines_, isAboutOperation);
  }

  // Roles, states and counters change in nearly every capture.
  static bool isAboutOperation(std::string const& line) {
    auto const target = Json::parse(line).front().front().get<std::string>();
    return std::ranges::any_of(
        std::array{"ocRstp", "ocMstpConfig", "ocMstpState", "ocTree", "ocProtection"},
        [&target](char const* const beginning) { return target.starts_with(beginning); });
  }

  // Those of the printed lines that are about one target.
  std::vector<std::string> linesAbout(std::string const& target) const {
    std::vector<std::string> about;
    for (std::string const& line : lines_) {
      if (line.find("[\"" + target + "\"") != std::string::npos) {
        about.push_back(line);
      }
    }
    return about;
  }

  std::vector<std::string> const& lines() const { return lines_; }

 private:
  std::size_t applied_ = 0;
  std::vector<std::string> lines_;
};

std::string global(std::string const& protocols) {
  return R"({"enabledProtocol":)" + protocols + R"(,"bpduGuard":false,"disabledVlan":[]})";
}

// A record of one of the two interface directories.
std::string interface(std::string const& name, int linkType, int edgePort, int bpduGuard) {
  return R"({"name":")" + name + R"(","linkType":)" + std::to_string(linkType) + R"(,"edgePort":)" +
         std::to_string(edgePort) + R"(,"bpduGuard":)" + std::to_string(bpduGuard) + "}";
}

std::string instance(int id, int bridgePriority, std::string const& vlan) {
  return R"({"mstId":)" + std::to_string(id) + R"(,"bridgePriority":)" +
         std::to_string(bridgePriority) + R"(,"vlan":)" + vlan + "}";
}

std::string changed(std::string const& path, std::string const& value) {
  return R"({"changed":)" + path + R"(,"value":)" + value + "}";
}

std::string interfaceChanged(std::string const& name, int linkType, int edgePort, int bpduGuard,
                             std::string const& shownName) {
  return changed(R"(["ocInterfaceConfigDir","interface",")" + name + R"("])",
                 interface(shownName, linkType, edgePort, bpduGuard));
}
std::string interfaceChanged(std::string const& name, int linkType, int edgePort, int bpduGuard) {
  return interfaceChanged(name, linkType, edgePort, bpduGuard, name);
}
std::string interfaceStateChanged(std::string const& name, int linkType, int edgePort,
                                  int bpduGuard) {
  return changed(R"(["ocInterfaceStateDir","state",")" + name + R"("])",
                 interface(name, linkType, edgePort, bpduGuard));
}

// An object of interface records by name.
std::string byName(std::vector<std::vector<int>> const& interfaces) {
  std::string text = "{";
  for (std::size_t at = 0; at < interfaces.size(); ++at) {
    std::string const name = "Ethernet" + std::to_string(at + 1);
    text += (at == 0 ? "\"" : ",\"") + name +
            "\":" + interface(name, interfaces[at][0], interfaces[at][1], interfaces[at][2]);
  }
  return text + "}";
}

// What is expected after one capture, in the notation of `--show entities`.
struct Expected {
  std::string protocols;
  std::string interfaceConfigs;
  std::string interfaceStates;
  std::string instanceConfigs;
  std::string instanceStates;
};

std::vector<Expected> expectations() {
  // Every port's edge is automatic, and Ethernet3 to 5 operate as edge ports.
  std::string const configs01 =
      byName({{255, 2, 255}, {255, 2, 255}, {255, 2, 255}, {255, 2, 255}, {255, 2, 255}});
  std::string const states01 = byName({{0, 1, 0}, {0, 1, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}});
  // Ethernet3 becomes an edge port by configuration, Ethernet4 none.
  std::string const configs02 =
      byName({{255, 2, 255}, {255, 2, 255}, {255, 0, 255}, {255, 1, 255}, {255, 2, 255}});
  std::string const states02 = byName({{0, 1, 0}, {0, 1, 0}, {0, 0, 0}, {0, 1, 0}, {0, 0, 0}});
  // Ethernet3 is guarded.
  std::string const configs03 =
      byName({{255, 2, 255}, {255, 2, 255}, {255, 0, 1}, {255, 1, 255}, {255, 2, 255}});
  std::string const states03 = byName({{0, 1, 0}, {0, 1, 0}, {0, 0, 1}, {0, 1, 0}, {0, 0, 0}});
  // Ethernet5 leaves; its state stays.
  std::string const configs08 = byName({{255, 2, 255}, {255, 2, 255}, {255, 0, 1}, {255, 1, 255}});
  // Ethernet5 is back, and Ethernet2's link is shared.
  std::string const configs09 =
      byName({{255, 2, 255}, {1, 2, 255}, {255, 0, 1}, {255, 1, 255}, {255, 2, 255}});
  std::string const states09 = byName({{0, 1, 0}, {1, 1, 0}, {0, 0, 1}, {0, 1, 0}, {0, 0, 0}});

  // The bridge's priority is 4 times 4096 in the CIST, 8 times 4096 in the instances.
  std::string const instances01 = R"({"0":)" + instance(0, 16384, "[[1,9],[21,4094]]") +
                                  R"(,"1":)" + instance(1, 32768, "[]") + R"(,"5":)" +
                                  instance(5, 32768, "[[10,20]]") + "}";
  // VLANs 30 and 40 to 45 move to instance 1.
  std::string const instances05 =
      R"({"0":)" + instance(0, 16384, "[[1,9],[21,29],[31,39],[46,4094]]") + R"(,"1":)" +
      instance(1, 32768, "[30,[40,45]]") + R"(,"5":)" + instance(5, 32768, "[[10,20]]") + "}";
  // Instance 5 goes, and its VLANs go back to the CIST.
  std::string const cistVlans10 = "[[1,29],[31,39],[46,4094]]";
  std::string const instances10 = R"({"0":)" + instance(0, 16384, cistVlans10) + R"(,"1":)" +
                                  instance(1, 32768, "[30,[40,45]]") + "}";
  // Without MSTP only the VLAN map keeps the instances, which start anew.
  std::string const instances11 = R"({"0":)" + instance(0, 32768, cistVlans10) + R"(,"1":)" +
                                  instance(1, 32768, "[30,[40,45]]") + "}";
  return {
      {"[1]", configs01, states01, instances01, instances01},
      {"[1]", configs02, states02, instances01, instances01},
      {"[1]", configs03, states03, instances01, instances01},
      {"[1]", configs03, states03, instances01, instances01},
      {"[1]", configs03, states03, instances05, instances05},
      {"[1]", configs03, states03, instances05, instances05},
      {"[1]", configs03, states03, instances05, instances05},
      {"[1]", configs08, states03, instances05, instances05},
      {"[1]", configs09, states09, instances05, instances05},
      {"[1]", configs09, states09, instances10, instances10},
      {"[0]", configs09, states09, instances11, "{}"},
  };
}

TEST_F(Replay, EveryCaptureLeavesTheTargetsThatItTells) {
  std::size_t number = 0;
  for (Expected const& expected : expectations()) {
    SCOPED_TRACE(captures[number]);
    replayTo(++number);
    EXPECT_EQ(target("ocGlobalConfig"), global(expected.protocols));
    EXPECT_EQ(target("ocGlobalState"), global(expected.protocols));
    EXPECT_EQ(target("ocInterfaceConfigDir"), expected.interfaceConfigs);
    EXPECT_EQ(target("ocInterfaceStateDir"), expected.interfaceStates);
    EXPECT_EQ(target("ocMstiConfigDir"), expected.instanceConfigs);
    EXPECT_EQ(target("ocMstiStateDir"), expected.instanceStates);
  }
}

TEST_F(Replay, ProtocolIsTheOnlyGlobalChange) {
  for (std::size_t number = 1; number <= captures.size(); ++number) {
    SCOPED_TRACE(captures[number - 1]);
    replayTo(number);
    if (number == 1 || number == 11) {
      std::string const now = global(number == 1 ? "[1]" : "[0]");
      EXPECT_THAT(linesAbout("ocGlobalConfig"),
                  ElementsAre(changed(R"(["ocGlobalConfig","config"])", now)));
      EXPECT_THAT(linesAbout("ocGlobalState"),
                  ElementsAre(changed(R"(["ocGlobalState","state"])", now)));
    } else {
      EXPECT_THAT(linesAbout("ocGlobalConfig"), IsEmpty());
      EXPECT_THAT(linesAbout("ocGlobalState"), IsEmpty());
    }
  }
}

TEST_F(Replay, EdgeSettingsOfTwoPortsChange) {
  replayTo(2);
  EXPECT_THAT(linesAbout("ocInterfaceConfigDir"),
              ElementsAre(interfaceChanged("Ethernet3", 255, 0, 255),
                          interfaceChanged("Ethernet3", 255, 0, 255),
                          interfaceChanged("Ethernet4", 255, 255, 255),
                          interfaceChanged("Ethernet4", 255, 1, 255)));
  EXPECT_THAT(linesAbout("ocInterfaceStateDir"),
              ElementsAre(interfaceStateChanged("Ethernet3", 0, 0, 0),
                          interfaceStateChanged("Ethernet4", 0, 1, 0),
                          interfaceStateChanged("Ethernet4", 0, 1, 0)));
  EXPECT_EQ(lines().size(), 7U);
}

TEST_F(Replay, OnePortIsGuarded) {
  replayTo(3);
  EXPECT_THAT(lines(), ElementsAre(interfaceChanged("Ethernet3", 255, 0, 1),
                                   interfaceStateChanged("Ethernet3", 0, 0, 1)));
}

TEST_F(Replay, NothingChangesWhereTheEngineOnlyRecomputedRoles) {
  for (std::size_t const number : {4, 6, 7}) {
    SCOPED_TRACE(captures[number - 1]);
    replayTo(number);
    EXPECT_THAT(lines(), IsEmpty());
  }
}

TEST_F(Replay, VlansMoveToAnotherInstance) {
  replayTo(5);
  EXPECT_THAT(
      linesAbout("ocMstiConfigDir"),
      testing::UnorderedElementsAre(
          changed(R"(["ocMstiConfigDir","mstInstance",0])",
                  instance(0, 16384, "[[1,9],[21,29],[31,39],[46,4094]]")),
          changed(R"(["ocMstiConfigDir","mstInstance",1])", instance(1, 32768, "[30,[40,45]]")),
          changed(R"(["ocMstiConfigDir","mstInstance",5])", instance(5, 32768, "[[10,20]]"))));
  EXPECT_THAT(linesAbout("ocInterfaceConfigDir"), IsEmpty());
  EXPECT_THAT(linesAbout("ocInterfaceStateDir"), IsEmpty());
}

TEST_F(Replay, PortLeaves) {
  replayTo(8);
  EXPECT_THAT(lines(),
              ElementsAre(R"({"deleted":["ocInterfaceConfigDir","interface","Ethernet5"]})"));
}

TEST_F(Replay, PortComesBackAndALinkBecomesShared) {
  replayTo(9);
  EXPECT_THAT(linesAbout("ocInterfaceConfigDir"),
              ElementsAre(interfaceChanged("Ethernet2", 1, 2, 255),
                          interfaceChanged("Ethernet5", 255, 255, 255, ""),
                          interfaceChanged("Ethernet5", 255, 255, 255),
                          interfaceChanged("Ethernet5", 255, 255, 255),
                          interfaceChanged("Ethernet5", 255, 2, 255)));
  EXPECT_THAT(linesAbout("ocInterfaceStateDir"),
              ElementsAre(interfaceStateChanged("Ethernet2", 1, 1, 0),
                          interfaceStateChanged("Ethernet5", 0, 0, 0),
                          interfaceStateChanged("Ethernet5", 0, 0, 0),
                          interfaceStateChanged("Ethernet5", 0, 0, 0)));
}

TEST_F(Replay, InstanceIsDeleted) {
  replayTo(10);
  EXPECT_EQ(linesAbout("ocMstiConfigDir").back(),
            R"({"deleted":["ocMstiConfigDir","mstInstance",5]})");
  EXPECT_EQ(linesAbout("ocMstiStateDir").back(), R"({"deleted":["ocMstiStateDir","state",5]})");
  EXPECT_THAT(linesAbout("ocInterfaceConfigDir"), IsEmpty());
  EXPECT_THAT(linesAbout("ocInterfaceStateDir"), IsEmpty());
}

TEST_F(Replay, LeavingMstpEmptiesTheInstanceStates) {
  replayTo(11);
  auto const about = linesAbout("ocMstiStateDir");
  ASSERT_GE(about.size(), 2U);
  EXPECT_THAT(std::vector(about.end() - 2, about.end()),
              ElementsAre(R"({"deleted":["ocMstiStateDir","state",0]})",
                          R"({"deleted":["ocMstiStateDir","state",1]})"));
  EXPECT_THAT(linesAbout("ocInterfaceConfigDir"), IsEmpty());
}

}  // namespace
}  // namespace Agent
