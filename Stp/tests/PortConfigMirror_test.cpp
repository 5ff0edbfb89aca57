// One port's settings, as they reach the interface.
#include <gtest/gtest.h>

#include <array>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "Stp/tests/InterfaceConfigTestSupport.h"

namespace Stp::InterfaceTest {
namespace {

using LinkType = Input::PortConfig::LinkType;
using Guard = PortConfigBase::BpduguardEnabledState;

constexpr std::array<unsigned, 3> presentLinkTypes{0, 1, 255};

class PortConfigMirror : public LeavesNothing {
 protected:
  void watch() { mirror = oCPortConfigSmFactory("Ethernet1", port, interface); }

  /// Starts the interface from a record, and forgets the change.
  void given(InterfaceConfig const& config) {
    interface->configIs(config);
    written.changes();
  }
  void given(Settings const& settings) { given(recordOf("Ethernet1", settings)); }

  /// Expects one change of the interface since the last look, which left it so.
  void expectWritten(Settings const& settings) {
    EXPECT_EQ(written.changes(), 1);
    expectInterface(settings);
  }
  void expectUntouched(Settings const& settings) {
    EXPECT_EQ(written.changes(), 0);
    expectInterface(settings);
  }
  void expectInterface(Settings const& settings) const {
    EXPECT_EQ(settingsOf(interface->config()), settings);
    EXPECT_EQ(interface->config().name.stringValue(), "Ethernet1");
  }

  Lumo::Ptr<Input::PortConfig> port = Lumo::make<Input::PortConfig>();
  Lumo::Ptr<OCInterface> interface = Lumo::make<OCInterface>();
  Watch<OCInterface> written{interface};
  Lumo::Ptr<OCPortConfigSm> mirror;
};

struct EdgeCase {
  bool enable;
  bool automatic;
  bool disable;
  unsigned edgePort;
};

constexpr std::array<EdgeCase, 8> edgeCases{{
    {false, false, false, 255},
    {false, true, false, 2},
    {false, false, true, 1},
    {false, true, true, 1},
    {true, false, false, 0},
    {true, true, false, 0},
    {true, false, true, 0},
    {true, true, true, 0},
}};

std::string describe(EdgeCase const& flags) {
  return std::string(flags.enable ? "enable " : "") + (flags.automatic ? "auto " : "") +
         (flags.disable ? "disable" : "");
}

TEST_F(PortConfigMirror, EnableBeatsDisableAndBothBeatAuto) {
  for (EdgeCase const& flags : edgeCases) {
    SCOPED_TRACE(describe(flags));
    port->edgePortEnableIs(flags.enable);
    port->edgePortAutoIs(flags.automatic);
    port->edgePortDisableIs(flags.disable);
    watch();
    expectWritten({.edgePort = flags.edgePort});
    mirror = nullptr;
  }
}

TEST_F(PortConfigMirror, FollowsEachEdgeSettingFromEveryCombination) {
  watch();
  auto const edgePortOf = [](bool enable, bool automatic, bool disable) {
    for (EdgeCase const& flags : edgeCases) {
      if (flags.enable == enable && flags.automatic == automatic && flags.disable == disable) {
        return flags.edgePort;
      }
    }
    return 0xBADU;
  };
  for (EdgeCase const& from : edgeCases) {
    for (EdgeCase const& to : edgeCases) {
      SCOPED_TRACE(describe(from) + " to " + describe(to));
      port->edgePortEnableIs(from.enable);
      port->edgePortAutoIs(from.automatic);
      port->edgePortDisableIs(from.disable);
      written.changes();
      expectInterface({.edgePort = from.edgePort});

      port->edgePortEnableIs(to.enable);
      EXPECT_EQ(written.changes(), from.enable == to.enable ? 0 : 1);
      expectInterface({.edgePort = edgePortOf(to.enable, from.automatic, from.disable)});
      port->edgePortAutoIs(to.automatic);
      EXPECT_EQ(written.changes(), from.automatic == to.automatic ? 0 : 1);
      expectInterface({.edgePort = edgePortOf(to.enable, to.automatic, from.disable)});
      port->edgePortDisableIs(to.disable);
      EXPECT_EQ(written.changes(), from.disable == to.disable ? 0 : 1);
      expectInterface({.edgePort = to.edgePort});
    }
  }
}

TEST_F(PortConfigMirror, WritesOnlyTheEdgePortAtStart) {
  port->linkTypeIs(LinkType::shared);
  port->bpduguardIs(Guard::bpduguardEnabled);
  port->edgePortAutoIs(true);
  watch();
  expectWritten({.linkType = 255, .edgePort = 2, .bpduGuard = 255});

  // The two others follow when they change.
  port->linkTypeIs(LinkType::pointToPoint);
  expectWritten({.linkType = 0, .edgePort = 2, .bpduGuard = 255});
  port->bpduguardIs(Guard::bpduguardDisabled);
  expectWritten({.linkType = 0, .edgePort = 2, .bpduGuard = 0});
}

TEST_F(PortConfigMirror, LeavesWhatTheInterfaceHadAtStart) {
  port->linkTypeIs(LinkType::pointToPoint);
  port->bpduguardIs(Guard::bpduguardDisabled);
  given({.linkType = 1, .edgePort = 1, .bpduGuard = 1});
  watch();
  expectWritten({.linkType = 1, .edgePort = 255, .bpduGuard = 1});
}

TEST_F(PortConfigMirror, MapsEveryBpduGuardSetting) {
  watch();
  for (unsigned const present : {0U, 1U, 255U}) {
    for (unsigned setting = 0; setting <= 255; ++setting) {
      SCOPED_TRACE("setting " + std::to_string(setting) + " on " + std::to_string(present));
      port->bpduguardIs(static_cast<Guard>(setting ^ 1U));  // so that the setting is a change
      given({.linkType = 1, .edgePort = 2, .bpduGuard = present});
      port->bpduguardIs(static_cast<Guard>(setting));
      unsigned const expected = setting == 1 ? 1 : setting == 2 ? 0 : 255;
      expectWritten({.linkType = 1, .edgePort = 2, .bpduGuard = expected});
    }
  }
}

TEST_F(PortConfigMirror, MapsEveryLinkTypeAndKeepsTheOldOneForAnUnknown) {
  watch();
  for (unsigned const present : presentLinkTypes) {
    for (unsigned linkType = 0; linkType <= 255; ++linkType) {
      SCOPED_TRACE("link type " + std::to_string(linkType) + " on " + std::to_string(present));
      port->linkTypeIs(static_cast<LinkType>(linkType ^ 1U));
      given({.linkType = present, .edgePort = 1, .bpduGuard = 0});
      port->linkTypeIs(static_cast<LinkType>(linkType));
      unsigned const expected = linkType == 0   ? 255
                                : linkType == 1 ? 0
                                : linkType == 2 ? 1
                                                : present;
      expectWritten({.linkType = expected, .edgePort = 1, .bpduGuard = 0});
    }
  }
}

TEST_F(PortConfigMirror, EveryUpdateRefreshesTheName) {
  watch();
  for (Lumo::String const& name : {Lumo::String(), Lumo::String("Ethernet2")}) {
    auto const givenUnder = [&] { given(recordOf(name, {.linkType = 1})); };
    givenUnder();
    port->linkTypeIs(static_cast<LinkType>(port->linkType() == LinkType(3) ? 4 : 3));
    expectWritten({.linkType = 1});
    givenUnder();
    port->edgePortAutoIs(!port->edgePortAuto());
    expectWritten({.linkType = 1, .edgePort = port->edgePortAuto() ? 2U : 255U});
    givenUnder();
    port->bpduguardIs(static_cast<Guard>(port->bpduguard() == Guard(3) ? 4 : 3));
    expectWritten({.linkType = 1});
  }
}

TEST_F(PortConfigMirror, NamesTheRecordAtStart) {
  given(InterfaceConfig());
  watch();
  expectWritten({});
}

TEST_F(PortConfigMirror, LeavesTheRecordNamelessForThePortWithoutAName) {
  mirror = oCPortConfigSmFactory("", port, interface);
  EXPECT_FALSE(interface->config().name.valid());
  EXPECT_EQ(mirror->keyInfo(), "[]");
}

TEST_F(PortConfigMirror, StoresAnEqualRecordAgain) {
  port->linkTypeIs(LinkType::shared);
  port->bpduguardIs(Guard::bpduguardEnabled);
  watch();
  mirror->handleLinkType();
  mirror->handleBpduguard();
  Settings const all{.linkType = 1, .bpduGuard = 1};
  EXPECT_EQ(written.changes(), 3);
  for (auto const handler : {&OCPortConfigSm::handleInitialized, &OCPortConfigSm::handleEdgePort,
                             &OCPortConfigSm::handleBpduguard, &OCPortConfigSm::handleLinkType}) {
    ((*mirror).*handler)();
    expectWritten(all);
  }
  for (Lumo::FieldId const field : {260, 261, 263, 265, 270}) {
    port->publisher().publishChangeRecursive(field, nullptr, nullptr);
    expectWritten(all);
  }
}

TEST_F(PortConfigMirror, RunsTheListedHandlerForEveryField) {
  std::map<unsigned, std::string> const listed{{260, "handleLinkType"},
                                               {261, "handleEdgePort"},
                                               {263, "handleEdgePort"},
                                               {265, "handleEdgePort"},
                                               {270, "handleBpduguard"}};
  watch();
  written.changes();
  HandlerLines trace;
  publishEveryField(*port, nullptr, [&](unsigned field) {
    std::vector<std::string> expected;
    if (listed.contains(field)) {
      expected.push_back(listed.at(field));
    }
    EXPECT_EQ(trace.handlers(), expected) << field;
    EXPECT_EQ(written.changes(), static_cast<int>(expected.size())) << field;
  });
}

TEST_F(PortConfigMirror, ReadsThePresentValueWhateverTheNotificationSays) {
  watch();
  given({.linkType = 1});
  auto const oldValue = LinkType::shared;
  auto const newValue = LinkType::pointToPoint;
  port->publisher().publishChangeRecursive(260, &oldValue, &newValue);
  expectWritten({.linkType = 255});
}

TEST_F(PortConfigMirror, TracesEachHandler) {
  HandlerLines text;
  FastTrace const fast;
  watch();
  EXPECT_EQ(text.lines(),
            (std::vector{handlerLine(428, "OCPortConfigSm[Ethernet1]::handleInitialized() "),
                         handlerLine(356,
                                     "OCPortConfigSm[Ethernet1]::handleEdgePort() "
                                     "Updating edge-port on %sEthernet1")}));
  port->bpduguardIs(Guard::bpduguardEnabled);
  port->linkTypeIs(LinkType::shared);
  EXPECT_EQ(text.lines(), (std::vector{handlerLine(383,
                                                   "OCPortConfigSm[Ethernet1]::handleBpduguard() "
                                                   "Updating bpdu-guard on %sEthernet1"),
                                       handlerLine(400,
                                                   "OCPortConfigSm[Ethernet1]::handleLinkType() "
                                                   "Updating link-type on port %sEthernet1")}));
  mirror = nullptr;
  EXPECT_TRUE(text.lines().empty());
  EXPECT_EQ(fast.blocks(), (std::vector<std::string>{"Stp::OCPortConfigSm::handleEdgePort():356",
                                                     "Stp::OCPortConfigSm::handleInitialized():428",
                                                     "Stp::OCPortConfigSm::handleBpduguard():383",
                                                     "Stp::OCPortConfigSm::handleLinkType():400"}));
}

TEST_F(PortConfigMirror, DropsChangesWhileMarked) {
  watch();
  written.changes();
  mirror->velDoZombieReactors(true);
  mirror->velDoZombieReactors(true);
  port->edgePortEnableIs(true);
  port->linkTypeIs(LinkType::shared);
  expectUntouched({});
  mirror->velDoZombieReactors(false);
  expectUntouched({});
  port->bpduguardIs(Guard::bpduguardEnabled);
  expectWritten({.bpduGuard = 1});
  port->edgePortAutoIs(true);
  expectWritten({.edgePort = 0, .bpduGuard = 1});
}

TEST_F(PortConfigMirror, IsDeafWhileInactive) {
  watch();
  EXPECT_TRUE(mirror->hasNotificationActive());
  written.changes();
  mirror->hasNotificationActiveIs(true);
  port->edgePortAutoIs(true);
  expectWritten({.edgePort = 2});

  mirror->hasNotificationActiveIs(false);
  EXPECT_TRUE(port->publisher().empty());
  mirror->hasNotificationActiveIs(false);
  port->edgePortEnableIs(true);
  expectUntouched({.edgePort = 2});

  mirror->hasNotificationActiveIs(true);
  EXPECT_FALSE(mirror->markAndSweepFlag());
  expectUntouched({.edgePort = 2});  // what was missed stays missed until the next change
  port->edgePortAutoIs(false);
  expectWritten({.edgePort = 0});
}

TEST_F(PortConfigMirror, KeepsTheMarkWhileSwitching) {
  watch();
  mirror->velDoZombieReactors(true);
  mirror->hasNotificationActiveIs(false);
  EXPECT_TRUE(mirror->markAndSweepFlag());
  mirror->hasNotificationActiveIs(true);
  EXPECT_TRUE(mirror->markAndSweepFlag());
}

TEST_F(PortConfigMirror, HoldsItsEntitiesAndLetsThemGo) {
  auto const portReferences = port->references();
  auto const interfaceReferences = interface->references();
  watch();
  EXPECT_EQ(port->references(), portReferences + 1);
  EXPECT_EQ(interface->references(), interfaceReferences + 1);
  EXPECT_EQ(mirror->references(), 1U);
  EXPECT_EQ(liveCount<OCPortConfigSm>(), 1U);
  mirror = nullptr;
  EXPECT_EQ(port->references(), portReferences);
  EXPECT_EQ(interface->references(), interfaceReferences);
  EXPECT_TRUE(port->publisher().empty());
}

TEST_F(PortConfigMirror, KnowsItsKeyAndClass) {
  auto const byCreator = OCPortConfigSm::OCPortConfigSmIs("E1", port, interface);
  EXPECT_EQ(byCreator->keyInfo(), "[E1]");
  EXPECT_EQ(byCreator->typeData(),
            (Lumo::VelTypeBase{&_StpOpenConfigSm_a888b7c7e663556e_velModule, 3}));
  EXPECT_TRUE(byCreator->hasNotificationActive());
}

TEST_F(PortConfigMirror, CannotStartWithoutPortOrInterface) {
  EXPECT_THROW(oCPortConfigSmFactory("Ethernet1", nullptr, interface),
               Lumo::AbsentPointerException);
  EXPECT_EQ(written.changes(), 0);
  EXPECT_THROW(oCPortConfigSmFactory("Ethernet1", port, nullptr), Lumo::AbsentPointerException);
  EXPECT_TRUE(port->publisher().empty());
  EXPECT_EQ(port->references(), 1U);
}

TEST_F(PortConfigMirror, LeavesNothingBehindWhenItsFirstWriteFails) {
  Watch<OCInterface> const failing(interface, [](auto...) { throw 7; });
  EXPECT_THROW(watch(), int);
  EXPECT_TRUE(port->publisher().empty());
  EXPECT_EQ(port->references(), 1U);
  EXPECT_EQ(liveCount<OCPortConfigSm>(), 0U);
}

TEST_F(PortConfigMirror, PassesAFailureOfTheInterfaceOn) {
  watch();
  auto const references = interface->references();
  Watch<OCInterface> const failing(interface, [](auto...) { throw 7; });
  EXPECT_THROW(mirror->handleLinkType(), int);
  EXPECT_EQ(interface->references(), references + 1);  // the watcher's own
}

TEST_F(PortConfigMirror, MayBeDroppedFromItsOwnWrite) {
  watch();
  Watch<OCInterface> const dropping(interface, [this](auto...) { mirror = nullptr; });
  HandlerLines const trace;
  written.changes();
  port->edgePortEnableIs(true);
  expectWritten({.edgePort = 0});
  EXPECT_EQ(liveCount<OCPortConfigSm>(), 0U);
  port->edgePortEnableIs(false);
  expectUntouched({.edgePort = 0});
}

TEST_F(PortConfigMirror, SharesAPortWithAnother) {
  auto const other = Lumo::make<OCInterface>();
  watch();
  auto const second = oCPortConfigSmFactory("Ethernet2", port, other);
  port->linkTypeIs(LinkType::shared);
  EXPECT_EQ(settingsOf(interface->config()), (Settings{.linkType = 1}));
  EXPECT_EQ(settingsOf(other->config()), (Settings{.linkType = 1}));
  EXPECT_EQ(other->config().name.stringValue(), "Ethernet2");
  mirror = nullptr;
  port->linkTypeIs(LinkType::automatic);
  EXPECT_EQ(settingsOf(interface->config()), (Settings{.linkType = 1}));
  EXPECT_EQ(settingsOf(other->config()), Settings());
}

using PortConfigMirrorDeathTest = PortConfigMirror;

TEST_F(PortConfigMirrorDeathTest, EndsTheProcessWhenAHandlerThrowsInADispatch) {
  watch();
  Watch<OCInterface> const failing(interface, [](auto...) { throw std::runtime_error("refused"); });
  EXPECT_DEATH(port->edgePortEnableIs(true), "refused");
}

}  // namespace
}  // namespace Stp::InterfaceTest
