// What the handlers of the global and the interface mirrors trace, word by word. Values stand right
// behind their text, whose place holders stay.

#include <gtest/gtest.h>

#include "StpTypes/ConfigBase.h"
#include "TraceExpectation.h"

namespace Stp {
namespace {

using ContractTest::expectTraced;
using FrameTest::World;

TEST(HandlerTraces, OfTheGlobalConfigurationMirror) {
  World w;
  expectTraced(
      [&] {
        auto const mirror = oCGlobalConfigSmFactory(w.inputConfig, w.ocGlobalConfig);
        w.inputConfig->portfastBpduguardIs(true);
        w.inputConfig->modeIs(Mode::stp);
      },
      {
          {"Stp::OCGlobalConfigSm::handleEnabledProtocol():156",
           "OCGlobalConfigSm::handleEnabledProtocol() "},
          {"Stp::OCGlobalConfigSm::handleDisabledVlan():243",
           "OCGlobalConfigSm::handleDisabledVlan() "},
          {"Stp::OCGlobalConfigSm::handleBpduguard():212", "OCGlobalConfigSm::handleBpduguard() "},
          {"Stp::OCGlobalConfigSm::handleEnabledProtocol():156",
           "OCGlobalConfigSm::handleEnabledProtocol() "},
      });
}

TEST(HandlerTraces, OfTheVlanSyncher) {
  World w;
  expectTraced(
      [&] { oCGlobalVlanSyncherFactory(w.ocGlobalConfig, w.inputConfig)->syncDisabledVlan(); },
      {{"Stp::OCGlobalVlanSyncher::syncDisabledVlan():272",
        "OCGlobalVlanSyncher::syncDisabledVlan() "}});
}

TEST(HandlerTraces, OfTheGlobalStateMirror) {
  World w;
  expectTraced(
      [&] {
        auto const mirror = oCGlobalStateSmFactory(w.config, w.status, w.vlanDir, w.ocGlobalState);
        w.config->portfastBpduguardIs(true);
      },
      {
          {"Stp::OCGlobalStateSm::handleDisabledVlan():324",
           "OCGlobalStateSm::handleDisabledVlan() "},
          {"Stp::OCGlobalStateSm::handleEnabledProtocol():184",
           "OCGlobalStateSm::handleEnabledProtocol() "},
          {"Stp::OCGlobalStateSm::handleBpduguard():222", "OCGlobalStateSm::handleBpduguard() "},
      });
}

TEST(HandlerTraces, OfThePortConfigurationMirror) {
  World w;
  expectTraced(
      [&] {
        auto const mirror = oCPortConfigSmFactory("Ethernet1", w.inputPort, w.ocInterface);
        w.inputPort->bpduguardIs(PortConfigBase::BpduguardEnabledState::bpduguardEnabled);
        w.inputPort->linkTypeIs(Input::PortConfig::LinkType::shared);
      },
      {
          {"Stp::OCPortConfigSm::handleInitialized():428",
           "OCPortConfigSm[Ethernet1]::handleInitialized() "},
          {"Stp::OCPortConfigSm::handleEdgePort():356",
           "OCPortConfigSm[Ethernet1]::handleEdgePort() Updating edge-port on %sEthernet1"},
          {"Stp::OCPortConfigSm::handleBpduguard():383",
           "OCPortConfigSm[Ethernet1]::handleBpduguard() Updating bpdu-guard on %sEthernet1"},
          {"Stp::OCPortConfigSm::handleLinkType():400",
           "OCPortConfigSm[Ethernet1]::handleLinkType() Updating link-type on port %sEthernet1"},
      });
}

TEST(HandlerTraces, OfTheInstanceConfigurationMirror) {
  World w;
  expectTraced(
      [&] {
        auto const mirror = OCStpiStatusConfigSm::OCStpiStatusConfigSmIs(
            "Mst", w.inputConfig, w.mst, w.ocInterfaceConfigDir);
      },
      {
          {"Stp::OCStpiStatusConfigSm::handleInitialized():495",
           "OCStpiStatusConfigSm[Mst]::handleInitialized() "},
          {"Stp::OCStpiStatusConfigSm::handleStpiPortStatusConfig():476",
           "OCStpiStatusConfigSm[Mst]::handleStpiPortStatusConfig() "},
          {"Stp::OCStpiStatusConfigSm::handleStpiPortStatusConfig():476",
           "OCStpiStatusConfigSm[Mst]::handleStpiPortStatusConfig() "},
      });
}

TEST(HandlerTraces, OfTheInterfaceConfigurationDirectory) {
  World w;
  w.mst->stpiPortStatus.del("Ethernet2");
  expectTraced(
      [&] {
        auto const mirror =
            oCInterfaceConfigDirSmFactory(w.inputConfig, w.status, w.ocInterfaceConfigDir);
        w.inputConfig->portConfig.del("Ethernet1");
        w.status->stpiStatus.del("Mst");
        w.inputConfig->portConfig.is("Ethernet1", w.inputPort);
        w.inputConfig->portConfig.del("Ethernet1");
      },
      {
          {"Stp::OCInterfaceConfigDirSm::handleInitialized():547",
           "OCInterfaceConfigDirSm::handleInitialized() Starting external Stp interface Sm"},
          {"Stp::OCInterfaceConfigDirSm::maybeCleanUpExternalIntfConfigs():504",
           "OCInterfaceConfigDirSm::maybeCleanUpExternalIntfConfigs() "},
          {"Stp::OCInterfaceConfigDirSm::handleInterface():434",
           "OCInterfaceConfigDirSm::handleInterface() Updating interface %sEthernet1"},
          {"Stp::OCInterfaceConfigDirSm::handleInterface():440",
           "OCInterfaceConfigDirSm::handleInterface() "
           "Interface input config %s is updatedEthernet1"},
          {"Stp::OCPortConfigSm::handleInitialized():428",
           "OCPortConfigSm[Ethernet1]::handleInitialized() "},
          {"Stp::OCPortConfigSm::handleEdgePort():356",
           "OCPortConfigSm[Ethernet1]::handleEdgePort() Updating edge-port on %sEthernet1"},
          {"Stp::OCInterfaceConfigDirSm::handleStpiStatusConfig():529",
           "OCInterfaceConfigDirSm::handleStpiStatusConfig() "},
          {"Stp::OCStpiStatusConfigSm::handleInitialized():495",
           "OCStpiStatusConfigSm[Mst]::handleInitialized() "},
          {"Stp::OCStpiStatusConfigSm::handleStpiPortStatusConfig():476",
           "OCStpiStatusConfigSm[Mst]::handleStpiPortStatusConfig() "},
          // The port loses its configuration while the instance lists it,
          {"Stp::OCInterfaceConfigDirSm::handleInterface():434",
           "OCInterfaceConfigDirSm::handleInterface() Updating interface %sEthernet1"},
          {"Stp::OCInterfaceConfigDirSm::handleInterface():456",
           "OCInterfaceConfigDirSm::handleInterface() Interface %s is addedEthernet1"},
          // the instance goes,
          {"Stp::OCInterfaceConfigDirSm::handleStpiStatusConfig():529",
           "OCInterfaceConfigDirSm::handleStpiStatusConfig() "},
          {"Stp::OCInterfaceConfigDirSm::maybeCleanUpExternalIntfConfigs():504",
           "OCInterfaceConfigDirSm::maybeCleanUpExternalIntfConfigs() "},
          // the port is configured again,
          {"Stp::OCInterfaceConfigDirSm::handleInterface():434",
           "OCInterfaceConfigDirSm::handleInterface() Updating interface %sEthernet1"},
          {"Stp::OCInterfaceConfigDirSm::handleInterface():440",
           "OCInterfaceConfigDirSm::handleInterface() "
           "Interface input config %s is updatedEthernet1"},
          {"Stp::OCPortConfigSm::handleInitialized():428",
           "OCPortConfigSm[Ethernet1]::handleInitialized() "},
          {"Stp::OCPortConfigSm::handleEdgePort():356",
           "OCPortConfigSm[Ethernet1]::handleEdgePort() Updating edge-port on %sEthernet1"},
          // and loses that for good.
          {"Stp::OCInterfaceConfigDirSm::handleInterface():434",
           "OCInterfaceConfigDirSm::handleInterface() Updating interface %sEthernet1"},
          {"Stp::OCInterfaceConfigDirSm::handleInterface():467",
           "OCInterfaceConfigDirSm::handleInterface() Interface %s is deletedEthernet1"},
      });
}

TEST(HandlerTraces, OfThePortStateMirror) {
  World w;
  w.port->adminEdgePortIs(true);
  expectTraced(
      [&] {
        auto const mirror = oCStpiPortStatusSmFactory("Ethernet1", w.config, w.port, w.portStatus,
                                                      w.ocInterfaceStateDir);
        w.portStatus->operPointToPointMacIs(true);
        w.portStatus->operEdgePortIs(true);
        w.port->bpduguardIs(PortConfigBase::BpduguardEnabledState::bpduguardEnabled);
        w.config->portfastBpduguardIs(true);
        w.port->bpduguardIs(PortConfigBase::BpduguardEnabledState::bpduguardDisabled);
      },
      {
          {"Stp::OCStpiPortStatusSm::handleInitialized():642",
           "OCStpiPortStatusSm[Ethernet1]::handleInitialized() "},
          {"Stp::OCStpiPortStatusSm::handleLinkType():564",
           "OCStpiPortStatusSm[Ethernet1]::handleLinkType() "
           "Updating link-type state, operPointToPointMac: %b0"},
          {"Stp::OCStpiPortStatusSm::handleEdgePort():584",
           "OCStpiPortStatusSm[Ethernet1]::handleEdgePort() "
           "Updating edge-port state, operEdgePort: %b0"},
          {"Stp::OCStpiPortStatusSm::handleBpduguard():612",
           "OCStpiPortStatusSm[Ethernet1]::handleBpduguard() "
           "Updating bpdu-guard state, bpduguard: %bbpduguardDefault adminEdgePort: %b1 "
           "config->portfastBpuduguard: %b0 operEdgePort: %b0"},
          {"Stp::OCStpiPortStatusSm::handleLinkType():564",
           "OCStpiPortStatusSm[Ethernet1]::handleLinkType() "
           "Updating link-type state, operPointToPointMac: %b1"},
          {"Stp::OCStpiPortStatusSm::handleEdgePort():584",
           "OCStpiPortStatusSm[Ethernet1]::handleEdgePort() "
           "Updating edge-port state, operEdgePort: %b1"},
          {"Stp::OCStpiPortStatusSm::handleBpduguard():612",
           "OCStpiPortStatusSm[Ethernet1]::handleBpduguard() "
           "Updating bpdu-guard state, bpduguard: %bbpduguardDefault adminEdgePort: %b1 "
           "config->portfastBpuduguard: %b0 operEdgePort: %b1"},
          {"Stp::OCStpiPortStatusSm::handleBpduguard():612",
           "OCStpiPortStatusSm[Ethernet1]::handleBpduguard() "
           "Updating bpdu-guard state, bpduguard: %bbpduguardEnabled adminEdgePort: %b1 "
           "config->portfastBpuduguard: %b0 operEdgePort: %b1"},
          {"Stp::OCStpiPortStatusSm::handleBpduguard():612",
           "OCStpiPortStatusSm[Ethernet1]::handleBpduguard() "
           "Updating bpdu-guard state, bpduguard: %bbpduguardEnabled adminEdgePort: %b1 "
           "config->portfastBpuduguard: %b1 operEdgePort: %b1"},
          {"Stp::OCStpiPortStatusSm::handleBpduguard():612",
           "OCStpiPortStatusSm[Ethernet1]::handleBpduguard() "
           "Updating bpdu-guard state, bpduguard: %bbpduguardDisabled adminEdgePort: %b1 "
           "config->portfastBpuduguard: %b1 operEdgePort: %b1"},
      });
}

TEST(HandlerTraces, OfTheInstanceStateMirror) {
  World w;
  w.mst->stpiPortStatus.del("Ethernet1");
  expectTraced(
      [&] {
        auto const mirror = oCStpiStatusSmFactory("Mst", w.config, w.mst, w.ocInterfaceStateDir);
        w.mst->stpiPortStatus.del("Ethernet2");
      },
      {
          {"Stp::OCStpiStatusSm::handleInitialized():664",
           "OCStpiStatusSm[Mst]::handleInitialized() "},
          {"Stp::OCStpiStatusSm::handleStpiPortStatus():650",
           "OCStpiStatusSm[Mst]::handleStpiPortStatus() "
           "Creating external interface for %sEthernet2"},
          {"Stp::OCStpiPortStatusSm::handleInitialized():642",
           "OCStpiPortStatusSm[Ethernet2]::handleInitialized() "},
          {"Stp::OCStpiPortStatusSm::handleLinkType():564",
           "OCStpiPortStatusSm[Ethernet2]::handleLinkType() "
           "Updating link-type state, operPointToPointMac: %b0"},
          {"Stp::OCStpiPortStatusSm::handleEdgePort():584",
           "OCStpiPortStatusSm[Ethernet2]::handleEdgePort() "
           "Updating edge-port state, operEdgePort: %b0"},
          // It has no configuration, so that its BPDU guard is not even traced. It goes:
          {"Stp::OCStpiStatusSm::handleStpiPortStatus():650",
           "OCStpiStatusSm[Mst]::handleStpiPortStatus() "
           "Creating external interface for %sEthernet2"},
      });
}

TEST(HandlerTraces, OfTheInterfaceStateDirectory) {
  World w;
  w.mst->stpiPortStatus.delAll();
  expectTraced(
      [&] {
        auto const mirror = oCInterfaceStateDirSmFactory(w.config, w.status, w.ocInterfaceStateDir);
        w.status->stpiStatus.del("Mst");
      },
      {
          {"Stp::OCInterfaceStateDirSm::handleInitialized():691",
           "OCInterfaceStateDirSm::handleInitialized() "},
          {"Stp::OCInterfaceStateDirSm::handleStpiStatus():679",
           "OCInterfaceStateDirSm::handleStpiStatus() "
           "Creating external interfaces for Stpi %sMst"},
          {"Stp::OCStpiStatusSm::handleInitialized():664",
           "OCStpiStatusSm[Mst]::handleInitialized() "},
          {"Stp::OCInterfaceStateDirSm::handleStpiStatus():679",
           "OCInterfaceStateDirSm::handleStpiStatus() "
           "Creating external interfaces for Stpi %sMst"},
      });
}

}  // namespace
}  // namespace Stp
