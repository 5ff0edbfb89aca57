// An agent that is started anew: what its mirror makes of the last snapshot alone, beside what one
// that went through all snapshots has. What differs depends on history by design, and is named
// here.
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "agent/program/TestSupport.h"
#include "agent/sources/engine/EngineDifference.h"
#include "agent/sources/engine/EngineSnapshot.h"
#include "agent/state/Departed.h"
#include "agent/text/Values.h"

namespace Agent {
namespace {

// A session whose mirror was started before the first snapshot.
class Mirrored : public TestSession {
 public:
  explicit Mirrored(bool forgetDeparted = false) : TestSession(settings(forgetDeparted)) {
    apply(R"({"op":"start"})");
  }

  void follow(EngineSnapshot const& snapshot) { session.apply(differences(snapshot, sources())); }
  // When a topology changed is known to the second, as seen by whoever saw it first.
  OrderedJson shown() const {
    OrderedJson shown = entitiesView(targets());
    for (auto& state : shown.at("ocTreeStateDir")) {
      state.erase("lastTopologyChange");
    }
    return shown;
  }

 private:
  static Settings settings(bool forgetDeparted) {
    Settings settings = TestSession::settings();
    settings.forgetDeparted = forgetDeparted;
    return settings;
  }
};

// What the mirror makes of this snapshot when it is the first.
OrderedJson freshlyShown(EngineSnapshot const& snapshot) {
  Mirrored fresh;
  fresh.follow(snapshot);
  return fresh.shown();
}

std::vector<EngineSnapshot> captures() {
  std::vector<EngineSnapshot> all;
  std::vector<std::filesystem::path> folders;
  for (auto const& entry : std::filesystem::directory_iterator(STP_CAPTURES_DIR)) {
    folders.push_back(entry.path());
  }
  std::ranges::sort(folders);
  for (auto const& folder : folders) {
    all.push_back(readSnapshot(folder, "br0"));
  }
  return all;
}

EngineSnapshot mstp() {
  EngineSnapshot snapshot;
  snapshot.mode = Stp::Mode::mstp;
  snapshot.activeProtocol = Stp::Mode::mstp;
  snapshot.instanceName = "Mst";
  snapshot.mstis = {{.id = 0}, {.id = 5}};
  vlanMapPush(snapshot.mstConfig.vidToMsti, 10, 5);
  for (char const* const name : {"E1", "E2"}) {
    EngineSnapshot::Port port;
    port.name = name;
    port.edgePortAuto = true;
    snapshot.ports.push_back(port);
  }
  return snapshot;
}

TEST(Restart, LosesNothingOfTheCapturesButWhatHistoryLeaves) {
  auto const all = captures();
  ASSERT_EQ(all.size(), 11U);
  Mirrored through;
  for (std::size_t at = 0; at < all.size(); ++at) {
    SCOPED_TRACE("capture " + std::to_string(at + 1));
    through.follow(all[at]);
    OrderedJson shown = through.shown();
    if (at + 1 == 8) {  // a port left, and its state stays
      EXPECT_EQ(shown["ocInterfaceStateDir"].erase("Ethernet5"), 1U);
    }
    EXPECT_EQ(shown.dump(), freshlyShown(all[at]).dump());
  }
}

TEST(Restart, LosesNoSettingOfAPort) {
  using LinkType = Stp::Input::PortConfig::LinkType;
  using Guard = EngineSnapshot::Guard;
  Mirrored through;
  through.follow(mstp());
  for (auto const linkType : {LinkType::shared, LinkType::pointToPoint, LinkType::automatic}) {
    for (auto const guard : {Guard::bpduguardEnabled, Guard::bpduguardDefault}) {
      for (int const edge : {0, 1, 2}) {
        SCOPED_TRACE(std::to_string(static_cast<int>(linkType)) + ", " +
                     std::to_string(static_cast<int>(guard)) + ", " + std::to_string(edge));
        EngineSnapshot now = mstp();
        EngineSnapshot::Port& port = now.ports[0];
        port.linkType = linkType;
        port.bpduguard = guard;
        port.edgePortEnable = edge == 0;
        port.edgePortAuto = edge == 1;
        port.edgePortDisable = edge == 2;
        port.adminEdgePort = port.edgePortEnable;
        port.operEdgePort = port.edgePortEnable;
        port.operPointToPointMac = linkType != LinkType::shared;
        through.follow(now);
        EXPECT_EQ(through.shown().dump(), freshlyShown(now).dump());
      }
    }
  }
}

TEST(Restart, LinkTypeAndGuardFromBeforeTheAgentAreInTheConfiguration) {
  EngineSnapshot before = mstp();
  before.ports[1].linkType = Stp::Input::PortConfig::LinkType::shared;
  before.ports[1].bpduguard = EngineSnapshot::Guard::bpduguardEnabled;
  EXPECT_EQ(freshlyShown(before).at("ocInterfaceConfigDir").at("E2").dump(),
            R"({"name":"E2","linkType":1,"edgePort":2,"bpduGuard":1})");
}

TEST(Restart, SettlesTheStateOfAnInstanceThatLostItsVlans) {
  Mirrored through;
  through.follow(mstp());
  EngineSnapshot now = mstp();
  now.mstConfig.vidToMsti = {};
  through.follow(now);
  OrderedJson const kept = through.shown();
  OrderedJson const fresh = freshlyShown(now);
  EXPECT_EQ(kept.at("ocMstiConfigDir").dump(), fresh.at("ocMstiConfigDir").dump());
  EXPECT_EQ(kept.at("ocMstiStateDir").at("5").dump(),
            R"({"mstId":5,"bridgePriority":32768,"vlan":[10]})");
  EXPECT_EQ(fresh.at("ocMstiStateDir").at("5").dump(),
            R"({"mstId":5,"bridgePriority":32768,"vlan":[]})");
}

TEST(Restart, LeavesNothingToSettleOfPortsThatAreForgotten) {
  auto const all = captures();
  Mirrored through(true);
  for (std::size_t at = 0; at < all.size(); ++at) {
    SCOPED_TRACE("capture " + std::to_string(at + 1));
    through.follow(all[at]);
    EXPECT_EQ(through.shown().dump(), freshlyShown(all[at]).dump());
  }
}

TEST(ForgetDeparted, WhoIsConfiguredOrRunsIsNotForgotten) {
  Mirrored through(true);
  through.follow(mstp());
  EngineSnapshot stopped = mstp();
  stopped.activeProtocol = EngineSnapshot::notRunning;
  through.follow(stopped);
  EXPECT_EQ(through.shown().at("ocInterfaceStateDir").size(), 2U);

  // Each port but E7 is known by one source alone, and E9 by an instance that is not the last.
  through.apply(R"({"op":"create","path":["status","stpiStatus","Mst","stpiPortStatus","E9"]})");
  through.apply(R"({"op":"create","path":["status","stpiStatus","Rst"]})");
  through.apply(R"({"op":"create","path":["input","portConfig","E8"]})");
  through.apply(R"({"op":"create","path":["config","portConfig","E6"]})");
  for (char const* const name : {"E6", "E7", "E8", "E9"}) {
    through.apply(R"({"op":"set","path":["ocInterfaceStateDir","state",")" + std::string(name) +
                  R"("],"value":{}})");
  }
  auto const left = departed(through.sources(), through.targets());
  ASSERT_EQ(left.size(), 1U);
  EXPECT_EQ(left[0].kind(), Change::Kind::erase);
  EXPECT_EQ(left[0].key(), Key(Lanx::IntfId::of("E7")));
}

TEST(ForgetDeparted, PortIsForgottenAfterItsLastChangeWasTold) {
  Mirrored through(true);
  through.follow(mstp());
  EngineSnapshot without = mstp();
  without.ports.pop_back();
  through.printed();
  through.follow(without);
  EXPECT_EQ(through.printed().back(), R"({"deleted":["ocInterfaceStateDir","state","E2"]})");
  through.follow(mstp());
  EXPECT_EQ(through.shown().dump(), freshlyShown(mstp()).dump());
}

}  // namespace
}  // namespace Agent
