// Two sources beside each other, each with what it owns.
#include "agent/state/Ownership.h"

#include <gtest/gtest.h>

#include <span>
#include <tuple>
#include <vector>

#include "agent/sources/engine/EngineDifference.h"
#include "agent/state/Difference.h"

namespace Agent {
namespace {

using Input = Stp::Input::Config;
using Running = Stp::Config;

// A source of what no engine knows: the bridge-wide guard.
using OtherOwnership = Ownership<Owned<Input, Input::Id::portfastBpduguard>,
                                 Owned<Running, Running::Id::portfastBpduguard>>;

Changes otherDifferences(bool guard, SourceView const& sources) {
  Difference<OtherOwnership> changes;
  changes.attribute<Input::Id::portfastBpduguard>(sources.input, guard);
  changes.attribute<Running::Id::portfastBpduguard>(sources.config, guard);
  return changes.take();
}

EngineSnapshot withPorts(std::vector<Lumo::String> const& names) {
  EngineSnapshot snapshot;
  snapshot.activeProtocol = snapshot.mode = Stp::Mode::rstp;
  for (Lumo::String const& name : names) {
    snapshot.ports.emplace_back().name = name;
  }
  return snapshot;
}

TEST(Ownership, IsToldByRootAndAttribute) {
  EXPECT_TRUE((EngineOwnership::has<Input, Input::Id::portConfig>()));
  EXPECT_TRUE((EngineOwnership::has<Running, Running::Id::mstConfig>()));
  EXPECT_FALSE((EngineOwnership::has<Input, Input::Id::portfastBpduguard>()));
  EXPECT_FALSE((EngineOwnership::has<Input, Input::Id::disabledVlan>()));
  EXPECT_FALSE((EngineOwnership::has<Running, Running::Id::disabledVlan>()));
  EXPECT_FALSE((EngineOwnership::has<Stp::VlanConfigDir, Stp::VlanConfigDir::Id::vlanConfig>()));
  EXPECT_TRUE((OtherOwnership::has<Running, Running::Id::portfastBpduguard>()));
  EXPECT_FALSE((OtherOwnership::has<Running, Running::Id::mstConfig>()));
}

TEST(Ownership, EachSourceLeavesWhatIsTheOthers) {
  Database database;
  SourceTree const& tree = database.sourceTree();
  tree.vlanConfigDir->vlanConfigIs(7);
  tree.input->disabledVlanIs(7, true);
  tree.config->disabledVlanIs(8, true);
  database.apply(otherDifferences(true, database.sources()));
  database.apply(differences(withPorts({"E1", "E2"}), database.sources()));
  EXPECT_TRUE(otherDifferences(true, database.sources()).empty());

  // The engine loses its ports; the other changes its mind. Neither touches what is left.
  database.apply(differences(withPorts({}), database.sources()));
  EXPECT_TRUE(tree.input->portConfig().empty());
  EXPECT_TRUE(tree.input->portfastBpduguard());
  EXPECT_TRUE(tree.config->portfastBpduguard());
  EXPECT_TRUE(tree.vlanConfigDir->vlanConfig(7));
  EXPECT_EQ(tree.input->disabledVlan(7), true);
  EXPECT_EQ(tree.config->disabledVlan(8), true);

  database.apply(differences(withPorts({"E3"}), database.sources()));
  database.apply(otherDifferences(false, database.sources()));
  EXPECT_FALSE(tree.input->portfastBpduguard());
  EXPECT_TRUE(tree.input->portConfig("E3"));
  EXPECT_TRUE(differences(withPorts({"E3"}), database.sources()).empty());
  EXPECT_EQ(tree.input->disabledVlan(7), true);
}

}  // namespace
}  // namespace Agent
