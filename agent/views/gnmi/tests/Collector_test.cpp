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
    std::uint64_t const version = hub.snapshot().version();
    replay(capture);
    client.drain(*stream);
    EXPECT_EQ(client.leaves, document());
    EXPECT_EQ(client.updates + client.deletes - told, difference(before, client.leaves));
    EXPECT_EQ(hub.snapshot().version(), version + (client.leaves == before ? 0 : 1));
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
  auto const stream = subscribe({"/stp/interfaces/interface/config"});
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
  taken(*stream);
  std::uint64_t const version = hub.snapshot().version();
  session.start();
  hub.step();
  EXPECT_EQ(hub.snapshot().version(), version + 1);
  EXPECT_EQ(taken(*stream).size(), 1U);
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
