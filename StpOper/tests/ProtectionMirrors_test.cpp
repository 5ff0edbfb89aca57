// What protects a port beyond its trees.
#include <gtest/gtest.h>

#include "StpOper/tests/OperTestSupport.h"

namespace Stp::Oper {
namespace {

class ProtectionMirrors : public OperTest {
 protected:
  Lumo::Ptr<Port> portIs(char const* name) {
    auto const port = Lumo::make<Port>();
    bridge->port.is(name, port);
    return port;
  }
  void mirrored() { mirrors = oCProtectionDirSmFactory(bridge, protectionConfig, protectionState); }

  Lanx::IntfId const e1 = Lanx::IntfId::of("E1");
  Lumo::Ptr<OCProtectionDirSm> mirrors;
};

TEST_F(ProtectionMirrors, GuardIsRootWhereTheRoleIsRestricted) {
  tell<Bridge::Id::running>(bridge, true);
  auto const port = portIs("E1");
  mirrored();
  EXPECT_EQ(*protectionConfig->record(e1), OCProtectionConfig{.name = e1});
  EXPECT_EQ(*protectionState->record(e1), OCProtectionState{.name = e1});
  tell<Port::Id::restrictedRole>(port, true);
  EXPECT_EQ(protectionConfig->record(e1)->guard, OcGuard::root);
  EXPECT_EQ(protectionState->record(e1)->guard, OcGuard::root);
  tell<Port::Id::restrictedRole>(port, false);
  EXPECT_EQ(protectionConfig->record(e1)->guard, OcGuard::none);
  EXPECT_EQ(protectionState->record(e1)->guard, OcGuard::none);
}

TEST_F(ProtectionMirrors, FilterIsConfiguredTroubleIsNot) {
  tell<Bridge::Id::running>(bridge, true);
  auto const port = portIs("E1");
  mirrored();
  Watch config(protectionConfig);
  tell<Port::Id::bpduFilter>(port, true);
  EXPECT_EQ(protectionConfig->record(e1)->bpduFilter, true);
  EXPECT_EQ(protectionState->record(e1)->bpduFilter, true);
  EXPECT_EQ(config.changes(), 1);
  tell<Port::Id::bpduGuardError>(port, true);
  EXPECT_EQ(protectionState->record(e1)->bpduGuardError, true);
  EXPECT_EQ(config.changes(), 0);
}

TEST_F(ProtectionMirrors, StateIsThereWhileTheProtocolRuns) {
  auto const port = portIs("E1");
  tell<Port::Id::restrictedRole>(port, true);
  mirrored();
  EXPECT_EQ(protectionState->record(e1), nullptr);
  EXPECT_EQ(protectionConfig->record(e1)->guard, OcGuard::root);
  tell<Port::Id::bpduGuardError>(port, true);
  EXPECT_EQ(protectionState->record(e1), nullptr);
  tell<Bridge::Id::running>(bridge, true);
  EXPECT_EQ(*protectionState->record(e1), (OCProtectionState{e1, OcGuard::root, {}, true}));
  tell<Bridge::Id::running>(bridge, false);
  EXPECT_EQ(protectionState->record(e1), nullptr);
}

TEST_F(ProtectionMirrors, WhatWasSaidOfAPortGoesWithIt) {
  tell<Bridge::Id::running>(bridge, true);
  mirrored();
  auto const old = portIs("E1");
  tell<Port::Id::bpduFilter>(old, true);
  auto const port = portIs("E1");
  EXPECT_EQ(protectionState->record(e1)->bpduFilter, std::nullopt);
  tell<Port::Id::restrictedRole>(old, true);
  EXPECT_EQ(protectionState->record(e1)->guard, std::nullopt);
  bridge->port.del("E1");
  EXPECT_EQ(protectionState->record(e1), nullptr);
  EXPECT_EQ(protectionConfig->record(e1), nullptr);
  tell<Port::Id::restrictedRole>(port, true);
  EXPECT_EQ(protectionConfig->record(e1), nullptr);
}

TEST_F(ProtectionMirrors, AnAnnouncementWithoutAChangeChangesNothing) {
  auto const port = portIs("E1");
  mirrored();
  Watch config(protectionConfig);
  publishMember(*bridge, Bridge::Id::port, Lumo::String("E1"));
  EXPECT_EQ(config.changes(), 0);
}

TEST_F(ProtectionMirrors, ChildrenCanBeTakenOut) {
  auto const port = portIs("E1");
  mirrored();
  mirrors->ocProtectionSmDelAll();
  tell<Port::Id::restrictedRole>(port, true);
  EXPECT_EQ(protectionConfig->record(e1)->guard, std::nullopt);
  auto const mirror = oCProtectionSmFactory("E1", bridge, port, protectionConfig, protectionState);
  EXPECT_EQ(protectionConfig->record(e1)->guard, OcGuard::root);
}

TEST_F(ProtectionMirrors, AReaderMayTakeAwayWhatIsJustBroughtIn) {
  tell<Bridge::Id::running>(bridge, true);
  mirrored();
  Watch written(protectionConfig, [this](auto&&...) { bridge->port.del("E1"); });
  portIs("E1");
  EXPECT_EQ(protectionConfig->record(e1), nullptr);
  EXPECT_EQ(protectionState->record(e1), nullptr);
}

}  // namespace
}  // namespace Stp::Oper
