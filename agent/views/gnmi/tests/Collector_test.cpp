// From the targets to change sets: a real engine's run, and a plain document beside it.
#include "agent/views/gnmi/Collector.h"

#include <filesystem>

#include "agent/sources/engine/EngineDifference.h"
#include "agent/sources/engine/EngineSnapshot.h"
#include "agent/views/document/OpenConfigView.h"
#include "agent/views/gnmi/tests/GnmiTestSupport.h"

namespace Agent::Gnmi {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class GnmiCollector : public HubTest {
 protected:
  static std::vector<std::filesystem::path> captures() {
    std::vector<std::filesystem::path> all;
    for (auto const& entry : std::filesystem::directory_iterator(STP_CAPTURES_DIR)) {
      all.push_back(entry.path());
    }
    std::ranges::sort(all);
    return all;
  }
  void replay(std::filesystem::path const& capture) {
    time.pass(std::chrono::seconds(1));
    session.apply(differences(readSnapshot(capture, "br0"), sources()));
    hub.step();
  }

  // What differs between two sets of leaves.
  static std::size_t difference(Leaves const& before, Leaves const& after) {
    std::size_t count = 0;
    for (auto const& [path, value] : after) {
      auto const found = before.find(path);
      count += found == before.end() || found->second != value ? 1 : 0;
    }
    for (auto const& [path, value] : before) {
      count += after.contains(path) ? 0 : 1;
    }
    return count;
  }
};

TEST_F(GnmiCollector, S4CapturesTellJustTheLeavesThatDiffer) {
  apply(R"({"op":"start"})");
  auto const stream = subscribe({""});
  Client client;
  client.drain(*stream);
  ASSERT_EQ(captures().size(), 11U);
  for (auto const& capture : captures()) {
    SCOPED_TRACE(capture.filename());
    Leaves const before = client.leaves;
    std::uint64_t const told = client.updates + client.deletes;
    std::uint64_t const changeSets = client.changeSets;
    replay(capture);
    client.drain(*stream);
    EXPECT_EQ(client.leaves, document());
    EXPECT_EQ(client.updates + client.deletes - told, difference(before, client.leaves));
    EXPECT_EQ(client.changeSets - changeSets, client.leaves == before ? 0U : 1U);
    EXPECT_EQ(subtreesOf(hub.snapshot(), resolve({}), rowsOf(DataType::all)).at(0).value.dump(),
              openConfigView(targets()).dump());
  }
  EXPECT_EQ(client.duplicates, 0U);
}

TEST_F(GnmiCollector, S5APortThatLeavesIsDeleted) {
  apply(R"({"op":"start"})");
  for (auto const& capture : captures()) {
    if (capture.filename().string() >= "08") {
      break;
    }
    replay(capture);
  }
  Leaves const before = document("/stp/interfaces");
  auto const stream = subscribe({"/stp/interfaces"});
  taken(*stream);
  replay(captures().at(7));
  std::vector<std::string> gone;
  for (auto const& [path, value] : before) {
    if (!document("/stp/interfaces").contains(path)) {
      gone.push_back(path);
    }
  }
  ASSERT_FALSE(gone.empty());
  auto const told = taken(*stream);
  ASSERT_EQ(told.size(), 1U);
  for (std::string const& path : gone) {
    EXPECT_NE(told[0].find("-" + path), std::string::npos) << path;
  }
}

TEST_F(GnmiCollector, S6TheMirrorsStartIsOneChangeSet) {
  apply(R"({"op":"create","path":["input","portConfig","E1"]})");
  apply(R"({"op":"create","path":["input","portConfig","E2"]})");
  auto const stream = subscribe({""});
  Client client;
  client.drain(*stream);
  session.start();
  hub.step();
  client.drain(*stream);
  EXPECT_EQ(client.changeSets, 1U);
  EXPECT_GT(client.updates, 0U);
}

TEST_F(GnmiCollector, WhatIsThereBeforeItComesIsPublishedAtOnce) {
  apply(stateIs("E1", "{}"));
  ManualTime later;
  later.wall = 5'000;
  Hub other({}, later.clocks());
  Collector const collecting(session.observed(), other);
  EXPECT_EQ(leavesIn(other.snapshot().leaves(resolve({}).selection)), document());
  for (LeafRef const& leaf : other.snapshot().leaves(resolve({}).selection)) {
    EXPECT_EQ(leaf.changed(), 5'000);
    EXPECT_EQ(leaf.created(), 5'000);
  }
}

TEST_F(GnmiCollector, TheKeyInTheConfigurationStandsAsLongAsTheEntry) {
  std::string const name = "/stp/interfaces/interface[name=E1]/config/name";
  apply(stateIs("E1", "{}"));
  EXPECT_TRUE(document().contains(name));
  apply(R"({"op":"create","path":["ocInterfaceConfigDir","interface","E1"]})");
  apply(stateGone("E1"));
  EXPECT_TRUE(document().contains(name));
  auto const stream = subscribe({name});
  taken(*stream);
  apply(stateIs("E1", "{}"));
  apply(R"({"op":"delete","path":["ocInterfaceConfigDir","interface","E1"]})");
  hub.step();
  EXPECT_THAT(taken(*stream), IsEmpty());
  applyAt(9'000, stateGone("E1"));
  EXPECT_THAT(taken(*stream), ElementsAre("9000: -" + name));
}

TEST_F(GnmiCollector, WhatTheModelHasNoKeyForIsNotThere) {
  auto const stream = subscribe({""});
  taken(*stream);
  apply(R"({"op":"set","path":["ocMstiStateDir","state",0],"value":{}})");
  apply(R"({"op":"set","path":["ocMstiStateDir","state",4095],"value":{}})");
  apply(stateIs("bell\a", "{}"));
  hub.step();
  EXPECT_THAT(taken(*stream), IsEmpty());
}

TEST_F(GnmiCollector, AnInstanceIsThereAsLongAsOneOfItsPorts) {
  std::string const instance = "/stp/mstp/mst-instances/mst-instance[mst-id=5]";
  std::string const port = instance + "/interfaces/interface[name=";
  auto const stream = subscribe({""});
  taken(*stream);
  applyAt(2'000, recordIs("ocTreePortConfigDir", "MST5/E1", "{}"));
  EXPECT_THAT(taken(*stream), ElementsAre("2000: " + instance + "/config/mst-id=5, " + port +
                                          "E1]/config/name=\"E1\""));
  applyAt(3'000, recordIs("ocTreePortStateDir", "MST5/E2", R"({"master":true})"));
  EXPECT_THAT(taken(*stream),
              ElementsAre("3000: " + port + "E2]/config/name=\"E2\", " + port +
                          "E2]/state/name=\"E2\", " + port + "E2]/state/master=true"));
  applyAt(4'000, recordGone("ocTreePortConfigDir", "MST5/E1"));
  EXPECT_THAT(taken(*stream), ElementsAre("4000: -" + port + "E1]/config/name"));
  applyAt(5'000, recordGone("ocTreePortStateDir", "MST5/E2"));
  EXPECT_THAT(taken(*stream),
              ElementsAre("5000: -" + instance + "/config/mst-id, -" + port + "E2]/config/name, -" +
                          port + "E2]/state/name, -" + port + "E2]/state/master"));
  EXPECT_THAT(document("/stp/mstp"), IsEmpty());
}

TEST_F(GnmiCollector, AnInstanceStaysWithItsOwnRecord) {
  std::string const id = "/stp/mstp/mst-instances/mst-instance[mst-id=5]/config/mst-id";
  apply(recordIs("ocTreePortConfigDir", "MST5/E1", "{}"));
  apply(recordIs("ocTreeStateDir", "MST5", R"({"rootPort":3})"));
  hub.step();
  auto const stream = subscribe({id});
  taken(*stream);
  apply(recordGone("ocTreePortConfigDir", "MST5/E1"));
  apply(recordIs("ocTreePortConfigDir", "MST5/E2", "{}"));
  apply(recordGone("ocTreeStateDir", "MST5"));
  hub.step();
  EXPECT_THAT(taken(*stream), IsEmpty());
  applyAt(9'000, recordGone("ocTreePortConfigDir", "MST5/E2"));
  EXPECT_THAT(taken(*stream), ElementsAre("9000: -" + id));
}

TEST_F(GnmiCollector, TheKeyInTheStateStandsBesideAnyOther) {
  std::string const state = "/stp/interfaces/interface[name=E1]/state/";
  auto const stream = subscribe({"/stp/interfaces/interface/state"});
  taken(*stream);
  applyAt(2'000, recordIs("ocProtectionStateDir", "E1", R"({"bpduFilter":false})"));
  EXPECT_THAT(taken(*stream),
              ElementsAre("2000: " + state + "name=\"E1\", " + state + "bpdu-filter=false"));
  apply(stateIs("E1", R"({"edgePort":0})"));
  hub.step();
  EXPECT_EQ(taken(*stream).size(), 1U);
  applyAt(4'000, recordGone("ocProtectionStateDir", "E1"));
  EXPECT_THAT(taken(*stream), ElementsAre("4000: -" + state + "bpdu-filter"));
}

TEST_F(GnmiCollector, WhatIsNoListGoesWithItsLastLeaf) {
  std::string const path = "/stp/rstp/config/";
  auto const stream = subscribe({"/stp/rstp"});
  taken(*stream);
  applyAt(2'000, R"({"op":"set","path":["ocRstpConfig","record"],"value":{"helloTime":2}})");
  EXPECT_THAT(taken(*stream), ElementsAre("2000: " + path + "hello-time=2"));
  applyAt(3'000, recordIs("ocTreeConfigDir", "Rst", R"({"bridgePriority":4096})"));
  EXPECT_THAT(taken(*stream), ElementsAre("3000: " + path + "bridge-priority=4096"));
  applyAt(4'000, R"({"op":"set","path":["ocRstpConfig","record"],"value":{"helloTime":null}})");
  EXPECT_THAT(taken(*stream), ElementsAre("4000: -" + path + "hello-time"));
  applyAt(5'000, recordGone("ocTreeConfigDir", "Rst"));
  EXPECT_THAT(taken(*stream), ElementsAre("5000: -" + path + "bridge-priority"));
  EXPECT_THAT(document("/stp/rstp"), IsEmpty());
  applyAt(6'000, recordIs("ocTreeConfigDir", "Rst", R"({"bridgePriority":0})"));
  EXPECT_THAT(taken(*stream), ElementsAre("6000: " + path + "bridge-priority=0"));
}

TEST_F(GnmiCollector, RecordsUnderDifferentKeysAreOneEntryOfTheModel) {
  apply(R"({"op":"set","path":["ocRstpConfig","record"],"value":{"helloTime":2}})");
  apply(recordIs("ocTreeConfigDir", "Rst", R"({"bridgePriority":4096})"));
  apply(R"({"op":"create","path":["ocMstiConfigDir","mstInstance",5]})");
  apply(recordIs("ocTreeStateDir", "MST5", R"({"rootPort":0})"));
  Hub other({}, time.clocks());
  Collector const collecting(session.observed(), other);
  for (char const* const path : {"/stp/rstp", "/stp/mstp/mst-instances/mst-instance"}) {
    auto const leaves = other.snapshot().leaves(resolve(pathFrom(path)).selection);
    ASSERT_GE(leaves.size(), 2U) << path;
    for (LeafRef const& leaf : leaves) {
      EXPECT_EQ(&leaf.entry(), &leaves.front().entry()) << textOf(leaf);
    }
  }
}

TEST_F(GnmiCollector, SubscriptionsToNestedListsAreToldTheirs) {
  std::string const list = "/stp/mstp/mst-instances/mst-instance";
  std::string const role = "/state/role";
  auto const stream = [&](std::string const& path) {
    auto made = subscribe({path});
    taken(*made);
    return made;
  };
  auto const outer = stream(list + "[mst-id=*]/interfaces/interface[name=E1]" + role);
  auto const inner = stream(list + "[mst-id=5]/interfaces/interface[name=*]" + role);
  auto const both = stream(list + "/interfaces/interface" + role);
  auto const one = stream(list + "[mst-id=5]/interfaces/interface[name=E1]" + role);
  auto const entry = stream(list + "[mst-id=6]");
  auto const written = [&](char const* key, int number) {
    std::string const record = R"({"role":)" + std::to_string(number) + "}";
    apply(recordIs("ocTreePortStateDir", key, record));
  };
  auto const told = [](Stream& to) {
    Client client;
    client.drain(to);
    return std::pair(client.updates, client.deletes);
  };
  for (char const* const key : {"MST5/E1", "MST5/E2", "MST6/E1", "MST6/E2", "Cist/E1", "MST6/E3"}) {
    written(key, 1);
  }
  hub.step();
  using Counts = std::pair<std::uint64_t, std::uint64_t>;
  EXPECT_EQ(told(*outer), Counts(2, 0));
  EXPECT_EQ(told(*inner), Counts(2, 0));
  EXPECT_EQ(told(*both), Counts(5, 0));
  EXPECT_EQ(told(*one), Counts(1, 0));
  EXPECT_EQ(told(*entry), Counts(1 + 3 * 3, 0));
  written("MST5/E1", 0);
  apply(recordGone("ocTreePortStateDir", "MST6/E1"));
  hub.step();
  EXPECT_EQ(told(*outer), Counts(1, 1));
  EXPECT_EQ(told(*inner), Counts(1, 0));
  EXPECT_EQ(told(*both), Counts(1, 1));
  EXPECT_EQ(told(*one), Counts(1, 0));
  EXPECT_EQ(told(*entry), Counts(0, 3));
  apply(R"({"op":"clear","path":["ocTreePortStateDir","record"]})");
  hub.step();
  EXPECT_EQ(told(*outer), Counts(0, 1));
  EXPECT_EQ(told(*inner), Counts(0, 2));
  EXPECT_EQ(told(*both), Counts(0, 4));
  EXPECT_EQ(told(*one), Counts(0, 1));
  EXPECT_EQ(told(*entry), Counts(0, 1 + 2 * 3));
}

TEST_F(GnmiCollector, S10CountersAreSampledWhereItIsLeftToTheTarget) {
  apply(recordIs("ocTreePortCountersDir", "Cist/E1", R"({"bpduSent":1})"));
  apply(recordIs("ocTreePortStateDir", "Cist/E1", R"({"forwardTransitions":1})"));
  hub.step();
  std::string const state = "/stp/mstp/cist/interfaces/interface[name=E1]/state/";
  auto const stream = subscribe({"/stp/mstp/cist"}, PathMode::targetDefined);
  taken(*stream);
  applyAt(5'000, recordIs("ocTreePortCountersDir", "Cist/E1", R"({"bpduSent":2})"));
  EXPECT_THAT(taken(*stream), IsEmpty());
  applyAt(6'000, recordIs("ocTreePortStateDir", "Cist/E1", R"({"forwardTransitions":2})"));
  EXPECT_THAT(taken(*stream), ElementsAre("6000: " + state + "forward-transisitions=\"2\""));
  pass(std::chrono::seconds(10));
  EXPECT_THAT(taken(*stream), ElementsAre("10000006000: " + state + "counters/bpdu-sent=\"2\""));
}

TEST_F(GnmiCollector, UnchangedValuesAreShared) {
  apply(R"({"op":"set","path":["ocMstiStateDir","state",5],"value":{"vlan":[[1,100],200]}})");
  Snapshot const before = hub.snapshot();
  apply(R"({"op":"set","path":["ocMstiStateDir","state",5],"value":{"bridgePriority":4096}})");
  Snapshot const after = hub.snapshot();
  auto const vlan = resolve(pathFrom("/stp/mstp/mst-instances/mst-instance[mst-id=5]/state/vlan"));
  LeafRef const one = before.leaves(vlan.selection).at(0);
  LeafRef const other = after.leaves(vlan.selection).at(0);
  EXPECT_EQ(&one.value(), &other.value());
  EXPECT_NE(&one.entry(), &other.entry());
}

TEST_F(GnmiCollector, WhoGoesIsToldNothingMore) {
  {
    Hub other({}, time.clocks());
    Collector const collecting(session.observed(), other);
  }
  apply(stateIs("E1", "{}"));
  EXPECT_TRUE(document().contains("/stp/interfaces/interface[name=E1]/state/name"));
}

}  // namespace
}  // namespace Agent::Gnmi
