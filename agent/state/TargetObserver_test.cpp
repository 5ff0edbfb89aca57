#include "agent/state/TargetObserver.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "agent/text/Values.h"

namespace Agent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using From = ObservedTargets::From;

std::string text(TargetPlace const& place) {
  OrderedJson const key = std::visit(
      [](auto const& of) -> OrderedJson {
        if constexpr (requires { plainKey(of); }) {
          return plainKey(of);
        }
        return nullptr;
      },
      place.key);
  return std::string(place.target) + "." + std::string(place.attribute) +
         (key.is_string() ? " " + key.get<std::string>()
          : key.is_null() ? ""
                          : " " + key.dump());
}

// Keeps what it is told, and does something each time, if asked to.
class Keeper final : public TargetObserver {
 public:
  void recordIs(TargetPlace const& place, TargetRecord const& record) noexcept override {
    std::string const value = std::visit([](auto const& r) { return showValue(r).dump(); }, record);
    told.push_back(withValues ? text(place) + " " + value : text(place));
    act();
  }
  void recordGone(TargetPlace const& place) noexcept override {
    told.push_back("gone " + text(place));
    act();
  }
  void changeSetEnds() noexcept override {
    told.push_back("end");
    act();
  }

  std::vector<std::string> take() { return std::exchange(told, {}); }

  std::vector<std::string> told;
  std::function<void()> once;  // done the next time, and then no more
  bool withValues = false;

 private:
  void act() {
    if (auto const now = std::exchange(once, nullptr)) {
      now();
    }
  }
};

class Observed : public testing::Test {
 protected:
  static Lanx::IntfId id(char const* name) { return Lanx::IntfId::of(name); }
  void stateIs(char const* name) { tree.interfaceStateDir->stateIs({id(name)}); }
  bool isWatched() const { return !tree.globalConfig->publisher().empty(); }

  TargetTree tree;
  ObservedTargets targets{tree};
  Keeper first;
  Keeper second;
};

TEST_F(Observed, EveryRecordIsToldWithPlaceAndValue) {
  first.withValues = true;
  targets.observerAdd(first, From::now);
  tree.globalState->stateIs({});
  tree.interfaceConfigDir->interfaceIs(id("E1"))->configIs({id("E1")});
  stateIs("E1");
  tree.mstiConfigDir->mstInstanceIs(5);
  tree.mstiStateDir->stateIs(Stp::OCMstiState(5));
  tree.mstiStateDir->stateDel(5);
  tree.mstiConfigDir->mstInstanceDel(5);
  std::string const global = R"({"enabledProtocol":[],"bpduGuard":false,"disabledVlan":[]})";
  EXPECT_THAT(
      first.take(),
      ElementsAre(
          "ocGlobalState.state " + global,
          R"(ocInterfaceConfigDir.interface E1 {"name":"","linkType":255,"edgePort":255,"bpduGuard":255})",
          R"(ocInterfaceConfigDir.interface E1 {"name":"E1","linkType":255,"edgePort":255,"bpduGuard":255})",
          R"(ocInterfaceStateDir.state E1 {"name":"E1","linkType":0,"edgePort":2,"bpduGuard":255})",
          R"(ocMstiConfigDir.mstInstance 5 {"mstId":0,"bridgePriority":32768,"vlan":[]})",
          R"(ocMstiStateDir.state 5 {"mstId":5,"bridgePriority":32768,"vlan":[]})",
          "gone ocMstiStateDir.state 5", "gone ocMstiConfigDir.mstInstance 5"));
}

TEST_F(Observed, RecordsOfTreesAreToldByTreeAndPort) {
  auto const mst5 = Stp::TreeId::mst(5);
  targets.observerAdd(first, From::now);
  tree.mstpState->recordIs({});
  tree.treeStateDir->recordIs({mst5});
  tree.treePortCountersDir->recordIs({{mst5, id("E1")}});
  tree.treePortCountersDir->recordIs({{mst5, id("E2")}});
  tree.protectionStateDir->recordIs({id("E1")});
  tree.treePortCountersDir->recordDel({mst5, id("E1")});
  tree.treeStateDir->recordDelAll();
  EXPECT_THAT(
      first.take(),
      ElementsAre("ocMstpState.record", "ocTreeStateDir.record MST5",
                  "ocTreePortCountersDir.record MST5/E1", "ocTreePortCountersDir.record MST5/E2",
                  "ocProtectionStateDir.record E1", "gone ocTreePortCountersDir.record MST5/E1",
                  "gone ocTreeStateDir.record MST5"));
  targets.observerAdd(second, From::presentState);
  EXPECT_THAT(
      second.take(),
      ElementsAre("ocGlobalConfig.config", "ocGlobalState.state", "ocRstpConfig.record",
                  "ocRstpState.record", "ocMstpConfig.record", "ocMstpState.record",
                  "ocTreePortCountersDir.record MST5/E2", "ocProtectionStateDir.record E1"));
}

TEST_F(Observed, LateComerIsToldThePresentStateFirst) {
  stateIs("E1");
  tree.interfaceConfigDir->interfaceIs(id("E1"));
  tree.mstiConfigDir->mstInstanceIs(7);
  targets.observerAdd(first, From::presentState);
  EXPECT_THAT(first.take(),
              ElementsAre("ocGlobalConfig.config", "ocGlobalState.state",
                          "ocInterfaceConfigDir.interface E1", "ocInterfaceStateDir.state E1",
                          "ocMstiConfigDir.mstInstance 7", "ocRstpConfig.record",
                          "ocRstpState.record", "ocMstpConfig.record", "ocMstpState.record"));
  targets.observerAdd(second, From::now);
  EXPECT_THAT(second.take(), IsEmpty());
  tree.mstiConfigDir->mstInstance(7)->configIs({});
  EXPECT_THAT(first.take(), ElementsAre("ocMstiConfigDir.mstInstance 7"));
  EXPECT_THAT(second.take(), ElementsAre("ocMstiConfigDir.mstInstance 7"));
}

TEST_F(Observed, WhatLeftTheTreeIsNoPartOfIt) {
  targets.observerAdd(first, From::now);
  auto const interface = tree.interfaceConfigDir->interfaceIs(id("E1"));
  tree.interfaceConfigDir->interfaceDel(id("E1"));
  first.take();
  interface->configIs({});
  EXPECT_THAT(first.take(), IsEmpty());
  tree.interfaceConfigDir->interfaceIs(id("E1"));
  first.take();
  interface->configIs({});
  EXPECT_THAT(first.take(), IsEmpty());
}

TEST_F(Observed, NobodyWatchesWhileThereIsNoObserver) {
  EXPECT_FALSE(isWatched());
  targets.observerAdd(first, From::now);
  targets.observerAdd(second, From::now);
  EXPECT_TRUE(isWatched());
  targets.observerDel(first);
  EXPECT_TRUE(isWatched());
  targets.observerDel(second);
  EXPECT_FALSE(isWatched());
  targets.observerDel(second);
  stateIs("E1");
  EXPECT_THAT(first.take(), IsEmpty());
  targets.observerAdd(first, From::now);
  stateIs("E2");
  EXPECT_THAT(first.take(), ElementsAre("ocInterfaceStateDir.state E2"));
}

TEST_F(Observed, WhoLeavesWhileItIsToldIsToldNoMore) {
  targets.observerAdd(first, From::now);
  targets.observerAdd(second, From::now);
  first.once = [this] {
    targets.observerDel(second);
    targets.observerDel(first);
    stateIs("E2");
  };
  stateIs("E1");
  EXPECT_THAT(first.take(), ElementsAre("ocInterfaceStateDir.state E1"));
  EXPECT_THAT(second.take(), IsEmpty());
  EXPECT_FALSE(isWatched());
}

TEST_F(Observed, WhoLeavesTakesNobodysTurn) {
  targets.observerAdd(first, From::now);
  targets.observerAdd(second, From::now);
  first.once = [this] { targets.observerDel(first); };
  stateIs("E1");
  EXPECT_THAT(second.take(), ElementsAre("ocInterfaceStateDir.state E1"));
  stateIs("E2");
  EXPECT_THAT(first.take(), ElementsAre("ocInterfaceStateDir.state E1"));
  EXPECT_THAT(second.take(), ElementsAre("ocInterfaceStateDir.state E2"));
}

TEST_F(Observed, LastOneLeavesFromWithinTheChangeOfAMember) {
  targets.observerAdd(first, From::now);
  auto const interface = tree.interfaceConfigDir->interfaceIs(id("E1"));
  first.take();
  first.once = [this] {
    tree.interfaceConfigDir->interfaceDel(id("E1"));
    targets.observerDel(first);
  };
  interface->configIs({});
  EXPECT_THAT(first.take(), ElementsAre("ocInterfaceConfigDir.interface E1"));
  EXPECT_FALSE(isWatched());
}

TEST_F(Observed, WhoComesWhileAnotherIsToldHearsOfWhatFollows) {
  targets.observerAdd(first, From::now);
  first.once = [this] { targets.observerAdd(second, From::now); };
  stateIs("E1");
  EXPECT_THAT(second.take(), IsEmpty());
  stateIs("E2");
  EXPECT_THAT(second.take(), ElementsAre("ocInterfaceStateDir.state E2"));
}

TEST_F(Observed, EndsOfChangeSetsAreToldBehindWhatTheyEnd) {
  targets.changeSetEnds();
  targets.observerAdd(first, From::now);
  targets.observerAdd(second, From::now);
  stateIs("E1");
  targets.changeSetEnds();
  targets.changeSetEnds();
  EXPECT_THAT(first.take(), ElementsAre("ocInterfaceStateDir.state E1", "end", "end"));
  EXPECT_THAT(second.take(), ElementsAre("ocInterfaceStateDir.state E1", "end", "end"));
}

TEST_F(Observed, WhatHappensAtTheEndOfAChangeSetIsInTheNext) {
  targets.observerAdd(first, From::now);
  targets.observerAdd(second, From::now);
  first.once = [this] {
    stateIs("E1");
    targets.observerDel(first);
  };
  targets.changeSetEnds();
  EXPECT_THAT(first.take(), ElementsAre("end"));
  EXPECT_THAT(second.take(), ElementsAre("end", "ocInterfaceStateDir.state E1"));
}

TEST_F(Observed, PresentStateHasWhatOthersAreStillToHear) {
  targets.observerAdd(first, From::now);
  first.once = [this] {
    stateIs("E2");
    targets.observerAdd(second, From::presentState);
    stateIs("E3");
  };
  stateIs("E1");
  EXPECT_THAT(first.take(),
              ElementsAre("ocInterfaceStateDir.state E1", "ocInterfaceStateDir.state E2",
                          "ocInterfaceStateDir.state E3"));
  EXPECT_THAT(
      second.take(),
      ElementsAre("ocGlobalConfig.config", "ocGlobalState.state", "ocInterfaceStateDir.state E1",
                  "ocInterfaceStateDir.state E2", "ocRstpConfig.record", "ocRstpState.record",
                  "ocMstpConfig.record", "ocMstpState.record", "ocInterfaceStateDir.state E3"));
}

TEST_F(Observed, EveryoneHearsInTheOrderInWhichThingsHappen) {
  targets.observerAdd(first, From::now);
  targets.observerAdd(second, From::now);
  first.once = [this] { tree.interfaceStateDir->stateDel(id("E1")); };
  stateIs("E1");
  for (Keeper* const keeper : {&first, &second}) {
    EXPECT_THAT(keeper->take(),
                ElementsAre("ocInterfaceStateDir.state E1", "gone ocInterfaceStateDir.state E1"));
  }
}

TEST_F(Observed, WhoLeavesWhileItIsToldThePresentStateIsToldNoMoreOfIt) {
  stateIs("E1");
  first.once = [this] {
    stateIs("E2");
    targets.observerDel(first);
  };
  targets.observerAdd(first, From::presentState);
  EXPECT_THAT(first.take(), ElementsAre("ocGlobalConfig.config"));
  EXPECT_FALSE(isWatched());
}

TEST_F(Observed, ChangesMadeWhileThePresentStateIsToldFollowIt) {
  stateIs("E1");
  first.once = [this] { tree.interfaceStateDir->stateDel(id("E1")); };
  targets.observerAdd(first, From::presentState);
  EXPECT_THAT(first.take(), ElementsAre("ocGlobalConfig.config", "ocGlobalState.state",
                                        "ocInterfaceStateDir.state E1", "ocRstpConfig.record",
                                        "ocRstpState.record", "ocMstpConfig.record",
                                        "ocMstpState.record", "gone ocInterfaceStateDir.state E1"));
}

}  // namespace
}  // namespace Agent
