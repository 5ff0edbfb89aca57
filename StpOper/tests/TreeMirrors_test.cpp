// Trees and their ports: which of them have records, and where.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "StpOper/tests/OperTestSupport.h"

namespace Stp::Oper {
namespace {

class TreeMirrors : public OperTest {
 protected:
  // The keys that have a record, in the order in which they came.
  template <class Directory>
  static std::vector<std::uint64_t> keys(Directory const& directory) {
    std::vector<std::uint64_t> all;
    for (auto const& each : directory->record()) {
      all.push_back(each.key.value());
    }
    return all;
  }
  static std::uint64_t key(TreePortId id) { return id.value(); }
  static std::uint64_t key(TreeId id) { return id.value(); }
};

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(TreeMirrors, NothingIsSaidWithoutAWordOfAnEngine) {
  treesMirrored();
  for (Mode const mode : {Mode::mstp, Mode::rstp, Mode::stp}) {
    input->modeIs(mode);
    EXPECT_THAT(keys(treeConfig), IsEmpty());
    EXPECT_THAT(keys(treeState), IsEmpty());
  }
}

TEST_F(TreeMirrors, MstpHasTheCistAndItsInstances) {
  mstpRuns();
  treeIs("Cist");
  treesMirrored();
  portIs(treeIs("MST5"), "E1");
  EXPECT_THAT(keys(treeState), ElementsAre(key(TreeId()), key(TreeId::mst(5))));
  EXPECT_THAT(keys(treeConfig), ElementsAre(key(TreeId())));
  EXPECT_THAT(keys(portState), ElementsAre(key(at(TreeId::mst(5), "E1"))));
}

TEST_F(TreeMirrors, StpAndRstpHaveOneTree) {
  tell<Bridge::Id::running>(bridge, true);
  portIs(treeIs("Cist"), "E1");
  treeIs("MST5");
  treesMirrored();
  for (Mode const mode : {Mode::stp, Mode::rstp}) {
    input->modeIs(mode);
    EXPECT_THAT(keys(treeState), ElementsAre(key(TreeId::rst())));
    EXPECT_THAT(keys(treeConfig), ElementsAre(key(TreeId::rst())));
    EXPECT_THAT(keys(portConfig), ElementsAre(key(at(TreeId::rst(), "E1"))));
  }
}

TEST_F(TreeMirrors, OtherProtocolsHaveNone) {
  mstpRuns();
  portIs(treeIs("Cist"), "E1");
  treesMirrored();
  for (Mode const mode : {Mode::rapidPvst, Mode{-1}, Mode{7}}) {
    input->modeIs(Mode::mstp);
    EXPECT_THAT(keys(treeState), ElementsAre(0));
    input->modeIs(mode);
    EXPECT_THAT(keys(treeState), IsEmpty());
    EXPECT_THAT(keys(treeConfig), IsEmpty());
    EXPECT_THAT(keys(portConfig), IsEmpty());
    EXPECT_THAT(keys(portState), IsEmpty());
  }
}

TEST_F(TreeMirrors, AnotherProtocolMovesAllToAnotherPlace) {
  mstpRuns();
  auto const cist = treeIs("Cist");
  auto const port = portIs(cist, "E1");
  tell<TreePort::Id::bpduSent>(port, std::uint64_t{3});
  portIs(treeIs("MST5"), "E1");
  treesMirrored();
  input->modeIs(Mode::rstp);
  EXPECT_THAT(keys(treeState), ElementsAre(key(TreeId::rst())));
  EXPECT_THAT(keys(portState), ElementsAre(key(at(TreeId::rst(), "E1"))));
  EXPECT_THAT(keys(portCounters), ElementsAre(key(at(TreeId::rst(), "E1"))));
  input->modeIs(Mode::mstp);
  EXPECT_THAT(keys(treeState), ElementsAre(key(TreeId()), key(TreeId::mst(5))));
  EXPECT_THAT(keys(portState), ElementsAre(key(at(TreeId(), "E1")), key(at(TreeId::mst(5), "E1"))));
  EXPECT_THAT(keys(portCounters), ElementsAre(key(at(TreeId(), "E1"))));
}

TEST_F(TreeMirrors, CistShowsBothRoots) {
  mstpRuns();
  auto const tree = treeIs("Cist");
  treesMirrored();
  tell<Tree::Id::bridgeId>(tree, otherBridge);
  tell<Tree::Id::designatedRoot>(tree, rootBridge);
  tell<Tree::Id::externalRootCost>(tree, 20U);
  tell<Tree::Id::regionalRoot>(tree, otherBridge);
  tell<Tree::Id::internalRootCost>(tree, 2000U);
  tell<Tree::Id::rootPort>(tree, std::uint16_t{1});
  tell<Tree::Id::topologyChanges>(tree, std::uint64_t{2});
  tell<Tree::Id::lastTopologyChange>(tree, std::uint64_t{1'700'000'000'000'000'000});
  EXPECT_EQ(*treeState->record(TreeId()),
            (OCTreeState{.tree = TreeId(),
                         .bridge = otherBridge,
                         .designatedRoot = rootBridge,
                         .rootPort = 1,
                         .rootCost = 20,
                         .topologyChanges = 2,
                         .lastTopologyChange = 1'700'000'000'000'000'000,
                         .regionalRoot = otherBridge,
                         .regionalRootCost = 2000}));
  EXPECT_EQ(*treeConfig->record(TreeId()), (OCTreeConfig{TreeId(), 32768}));
}

TEST_F(TreeMirrors, InstanceShowsTheRegionalRoot) {
  mstpRuns();
  auto const tree = treeIs("MST5");
  tell<Tree::Id::bridgeId>(tree, otherBridge);
  tell<Tree::Id::designatedRoot>(tree, otherBridge);
  tell<Tree::Id::externalRootCost>(tree, 20U);
  tell<Tree::Id::regionalRoot>(tree, rootBridge);
  tell<Tree::Id::internalRootCost>(tree, 2000U);
  treesMirrored();
  EXPECT_EQ(*treeState->record(TreeId::mst(5)), (OCTreeState{.tree = TreeId::mst(5),
                                                             .bridge = otherBridge,
                                                             .designatedRoot = rootBridge,
                                                             .rootCost = 2000}));
}

TEST_F(TreeMirrors, RstpHasNoRegion) {
  tell<Bridge::Id::running>(bridge, true);
  auto const tree = treeIs("Cist");
  treesMirrored();
  Watch written(treeState);
  tell<Tree::Id::regionalRoot>(tree, otherBridge);
  tell<Tree::Id::internalRootCost>(tree, 2000U);
  EXPECT_EQ(written.changes(), 0);
  tell<Tree::Id::designatedRoot>(tree, rootBridge);
  tell<Tree::Id::externalRootCost>(tree, 20U);
  EXPECT_EQ(*treeState->record(TreeId::rst()),
            (OCTreeState{.tree = TreeId::rst(), .designatedRoot = rootBridge, .rootCost = 20}));
}

TEST_F(TreeMirrors, BridgePriorityIsConfiguredWhateverRuns) {
  input->modeIs(Mode::mstp);
  auto const tree = treeIs("Cist");
  treesMirrored();
  EXPECT_EQ(treeConfig->record(TreeId())->bridgePriority, std::nullopt);
  tell<Tree::Id::bridgeId>(tree, rootBridge);
  EXPECT_EQ(treeConfig->record(TreeId())->bridgePriority, 4096);
  EXPECT_THAT(keys(treeState), IsEmpty());
}

TEST_F(TreeMirrors, StateIsThereWhileTheProtocolRuns) {
  mstpRuns();
  portIs(treeIs("Cist"), "E1");
  treesMirrored();
  Watch config(treeConfig);
  Watch ports(portConfig);
  for (int again = 0; again < 2; ++again) {
    EXPECT_THAT(keys(treeState), ElementsAre(0));
    EXPECT_THAT(keys(portState), ElementsAre(key(at(TreeId(), "E1"))));
    tell<Bridge::Id::running>(bridge, false);
    EXPECT_THAT(keys(treeState), IsEmpty());
    EXPECT_THAT(keys(portState), IsEmpty());
    EXPECT_THAT(keys(treeConfig), ElementsAre(0));
    EXPECT_THAT(keys(portConfig), ElementsAre(key(at(TreeId(), "E1"))));
    tell<Bridge::Id::running>(bridge, true);
  }
  EXPECT_EQ(config.changes(), 0);
  EXPECT_EQ(ports.changes(), 0);
}

TEST_F(TreeMirrors, WhatWasSaidOfAPortGoesWithIt) {
  mstpRuns();
  auto const tree = treeIs("Cist");
  tell<TreePort::Id::bpduSent>(portIs(tree, "E1"), std::uint64_t{1});
  portIs(tree, "E2");
  treesMirrored();
  tree->port.del("E1");
  EXPECT_THAT(keys(portConfig), ElementsAre(key(at(TreeId(), "E2"))));
  EXPECT_THAT(keys(portState), ElementsAre(key(at(TreeId(), "E2"))));
  EXPECT_THAT(keys(portCounters), IsEmpty());
}

TEST_F(TreeMirrors, WhatWasSaidOfATreeGoesWithIt) {
  mstpRuns();
  tell<TreePort::Id::bpduSent>(portIs(treeIs("Cist"), "E1"), std::uint64_t{1});
  portIs(treeIs("MST5"), "E1");
  treesMirrored();
  bridge->tree.del("Cist");
  EXPECT_THAT(keys(treeConfig), IsEmpty());
  EXPECT_THAT(keys(treeState), ElementsAre(5));
  EXPECT_THAT(keys(portConfig), ElementsAre(key(at(TreeId::mst(5), "E1"))));
  EXPECT_THAT(keys(portCounters), IsEmpty());
  bridge->tree.delAll();
  EXPECT_THAT(keys(treeState), IsEmpty());
  EXPECT_THAT(keys(portState), IsEmpty());
}

TEST_F(TreeMirrors, AnotherEntityUnderTheNameIsMirroredInstead) {
  mstpRuns();
  auto const old = treeIs("Cist");
  tell<Tree::Id::rootPort>(old, std::uint16_t{3});
  auto const oldPort = portIs(old, "E1");
  treesMirrored();
  auto const port = portIs(old, "E1");
  tell<TreePort::Id::role>(oldPort, PortRole::root);
  EXPECT_EQ(portState->record(at(TreeId(), "E1"))->role, std::nullopt);
  tell<TreePort::Id::role>(port, PortRole::backup);
  EXPECT_EQ(portState->record(at(TreeId(), "E1"))->role, OcPortRole::backup);
  auto const tree = treeIs("Cist");
  EXPECT_THAT(keys(portState), IsEmpty());
  EXPECT_EQ(treeState->record(TreeId())->rootPort, std::nullopt);
  tell<Tree::Id::rootPort>(old, std::uint16_t{4});
  EXPECT_EQ(treeState->record(TreeId())->rootPort, std::nullopt);
  tell<Tree::Id::rootPort>(tree, std::uint16_t{5});
  EXPECT_EQ(treeState->record(TreeId())->rootPort, 5);
}

TEST_F(TreeMirrors, AnAnnouncementWithoutAChangeChangesNothing) {
  mstpRuns();
  auto const tree = treeIs("Cist");
  portIs(tree, "E1");
  treesMirrored();
  Watch written(treeState);
  Watch ports(portState);
  publishMember(*bridge, Bridge::Id::tree, Lumo::String("Cist"));
  publishMember(*tree, Tree::Id::port, Lumo::String("E1"));
  EXPECT_EQ(written.changes() + ports.changes(), 0);
}

TEST_F(TreeMirrors, ChildrenCanBeTakenOut) {
  mstpRuns();
  auto const tree = treeIs("Cist");
  auto const port = portIs(tree, "E1");
  auto const mirror = oCTreeSmFactory("Cist", input, bridge, tree, treeConfig, treeState,
                                      portConfig, portState, portCounters);
  mirror->ocTreePortSmDelAll();
  tell<TreePort::Id::role>(port, PortRole::root);
  EXPECT_EQ(portState->record(at(TreeId(), "E1"))->role, std::nullopt);
  treesMirrored();
  trees->ocTreeSmDelAll();
  tell<Tree::Id::rootPort>(tree, std::uint16_t{1});
  EXPECT_FALSE(trees->ocTreeSmDel("Cist"));
}

TEST_F(TreeMirrors, ANameThatIsNoneOfAnInstanceIsRefused) {
  input->modeIs(Mode::mstp);
  treeIs("Tree");
  EXPECT_THROW(treesMirrored(), Lumo::RangeException);
}

TEST_F(TreeMirrors, NothingIsWrittenOnceTheyAreGone) {
  mstpRuns();
  auto const tree = treeIs("Cist");
  auto const port = portIs(tree, "E1");
  treesMirrored();
  trees = nullptr;
  Watch written(treeState);
  Watch ports(portState);
  tell<Tree::Id::rootPort>(tree, std::uint16_t{5});
  tell<TreePort::Id::role>(port, PortRole::backup);
  tell<Bridge::Id::running>(bridge, false);
  input->modeIs(Mode::rstp);
  EXPECT_EQ(written.changes() + ports.changes(), 0);
}

TEST_F(TreeMirrors, ATreeThatTheProtocolHasNotCannotBeMirrored) {
  for (auto const& [mode, name] :
       {std::pair{Mode::rstp, "MST5"}, {Mode::rapidPvst, "Cist"}, {Mode::mstp, "Tree"}}) {
    input->modeIs(mode);
    EXPECT_THROW(oCTreeSmFactory(name, input, bridge, Lumo::make<Tree>(), treeConfig, treeState,
                                 portConfig, portState, portCounters),
                 Lumo::RangeException);
  }
}

TEST_F(TreeMirrors, AReaderMayChangeTheProtocolWhileATreeIsBroughtIn) {
  mstpRuns();
  treesMirrored();
  bool once = true;
  Watch written(treeConfig, [&](auto&&...) {
    if (std::exchange(once, false)) {
      input->modeIs(Mode::rstp);
    }
  });
  treeIs("Cist");
  EXPECT_THAT(keys(treeConfig), ElementsAre(key(TreeId::rst())));
  EXPECT_THAT(keys(treeState), ElementsAre(key(TreeId::rst())));
}

TEST_F(TreeMirrors, AReaderMayReplaceAPortWhileItIsBroughtIn) {
  mstpRuns();
  auto const tree = treeIs("Cist");
  treesMirrored();
  auto const port = Lumo::make<TreePort>();
  tell<TreePort::Id::role>(port, PortRole::root);
  bool once = true;
  Watch written(portConfig, [&](auto&&...) {
    if (std::exchange(once, false)) {
      tree->port.is("E1", port);
    }
  });
  portIs(tree, "E1");
  EXPECT_EQ(portState->record(at(TreeId(), "E1"))->role, OcPortRole::root);
  tell<TreePort::Id::role>(port, PortRole::backup);
  EXPECT_EQ(portState->record(at(TreeId(), "E1"))->role, OcPortRole::backup);
}

TEST_F(TreeMirrors, AReaderMayTakeAwayWhatIsJustBroughtIn) {
  mstpRuns();
  treesMirrored();
  Watch ports(portConfig, [&](auto&&...) {
    if (auto const tree = bridge->tree("Cist")) {
      bridge->tree.del("Cist");
    }
  });
  auto const tree = Lumo::make<Tree>();
  portIs(tree, "E1");
  portIs(tree, "E2");
  bridge->tree.is("Cist", tree);
  EXPECT_THAT(keys(treeState), IsEmpty());
  EXPECT_THAT(keys(portConfig), IsEmpty());
  EXPECT_THAT(keys(portState), IsEmpty());
}

}  // namespace
}  // namespace Stp::Oper
