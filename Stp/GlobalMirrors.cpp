#include "Stp/GlobalMirrors.h"

#include "Stp/frame/Records.h"
#include "Stp/vlans/VlanList.h"

namespace Stp {

namespace {

// STP and RSTP are one identity of the public model; a mode that it does not know is no protocol.
void enabledProtocolIs(OCGlobalContainer& container, Mode mode) {
  container.enabledProtocolPopAll();
  switch (mode) {
    case Mode::stp:
    case Mode::rstp: container.enabledProtocolPush(OcStpEnabledProtocol::rstp); break;
    case Mode::mstp: container.enabledProtocolPush(OcStpEnabledProtocol::mstp); break;
    case Mode::rapidPvst: container.enabledProtocolPush(OcStpEnabledProtocol::rapidPvst); break;
  }
}

}  // namespace

OCGlobalConfigSm::OCGlobalConfigSm(Lumo::Ptr<Input::Config const> const& stpInputConfig,
                                   Lumo::Ptr<OCGlobalConfig> const& ocGlobalConfig)
    : Reactor(stpInputConfig, ocGlobalConfig) {
  synchronise(&Self::handleEnabledProtocol, &Self::handleDisabledVlan);
}

void OCGlobalConfigSm::handleEnabledProtocol() {
  auto const traced = trace<"handleEnabledProtocol", 156>();
  rewrite(*ocGlobalConfig.pointer(), [this](OCGlobalConfigContainer& config) {
    enabledProtocolIs(config, stpInputConfig->mode());
  });
}

void OCGlobalConfigSm::handleBpduguard() {
  auto const traced = trace<"handleBpduguard", 212>();
  rewrite(*ocGlobalConfig.pointer(), [this](OCGlobalConfigContainer& config) {
    config.bpduGuard = stpInputConfig->portfastBpduguard();
  });
}

void OCGlobalConfigSm::handleDisabledVlan() {
  auto const traced = trace<"handleDisabledVlan", 243>();
  rewrite(*ocGlobalConfig.pointer(), [this](OCGlobalConfigContainer& config) {
    compressDisabledVlans(config, stpInputConfig->disabledVlan().trueEntries());
  });
}

Lumo::Ptr<OCGlobalConfigSm> oCGlobalConfigSmFactory(
    Lumo::Ptr<Input::Config const> const& stpInputConfig,
    Lumo::Ptr<OCGlobalConfig> const& ocGlobalConfig) {
  return OCGlobalConfigSm::OCGlobalConfigSmIs(stpInputConfig, ocGlobalConfig);
}

OCGlobalVlanSyncher::OCGlobalVlanSyncher(Lumo::Ptr<OCGlobalConfig> const& ocGlobalConfig,
                                         Lumo::Ptr<Input::Config> const& stpInputConfig)
    : Reactor(ocGlobalConfig, stpInputConfig) {
}

void OCGlobalVlanSyncher::syncDisabledVlan() {
  auto const traced = trace<"syncDisabledVlan", 272>();
  // Writing the table and the list can drop this object from inside.
  Lumo::Ptr<OCGlobalConfig> const target = ocGlobalConfig;
  Lumo::Ptr<Input::Config> const input = stpInputConfig;
  OCGlobalConfigContainer config = target->config();

  input->disabledVlanDelAll();
  for (VlanIdOrRange const& entry : config.disabledVlan) {
    expandVlans(
        entry, [&](std::uint16_t vlan) { input->disabledVlanIs(vlan, true); }, Module::sourcePath,
        285, "void Stp::OCGlobalVlanSyncher::syncDisabledVlan()");
  }
  compressDisabledVlans(config, input->disabledVlan().trueEntries());
  target->configIs(config);
}

Lumo::Ptr<OCGlobalVlanSyncher> oCGlobalVlanSyncherFactory(
    Lumo::Ptr<OCGlobalConfig> const& ocGlobalConfig,
    Lumo::Ptr<Input::Config> const& stpInputConfig) {
  return OCGlobalVlanSyncher::OCGlobalVlanSyncherIs(ocGlobalConfig, stpInputConfig);
}

OCGlobalStateSm::OCGlobalStateSm(Lumo::Ptr<Config const> const& stpConfig,
                                 Lumo::Ptr<Status const> const& stpStatus,
                                 Lumo::Ptr<VlanConfigDir const> const& stpVlanConfigDir,
                                 Lumo::Ptr<OCGlobalState> const& ocGlobalState)
    : Reactor(stpConfig, stpStatus, stpVlanConfigDir, ocGlobalState) {
  synchronise(&Self::handleDisabledVlan, &Self::handleEnabledProtocol);
}

void OCGlobalStateSm::handleEnabledProtocol() {
  auto const traced = trace<"handleEnabledProtocol", 184>();
  rewrite(*ocGlobalState.pointer(), [this](OCGlobalStateContainer& state) {
    enabledProtocolIs(state, stpStatus->activeProtocol());
  });
}

void OCGlobalStateSm::handleBpduguard() {
  auto const traced = trace<"handleBpduguard", 222>();
  rewrite(*ocGlobalState.pointer(), [this](OCGlobalStateContainer& state) {
    state.bpduGuard = stpConfig->portfastBpduguard();
  });
}

void OCGlobalStateSm::handleDisabledVlan() {
  auto const traced = trace<"handleDisabledVlan", 324>();
  // Only VLANs that exist are state: one that is configured but missing splits a run. The directory
  // is asked about disabled VLANs alone: while there are none it may be absent.
  rewrite(*ocGlobalState.pointer(), [this](OCGlobalStateContainer& state) {
    VlanSet const& disabled = stpConfig->disabledVlan().trueEntries();
    bool const any = disabled.next(Bridging::VlanId::first) <= Bridging::VlanId::last;
    compressDisabledVlans(state, any ? disabled & stpVlanConfigDir->vlanConfig() : VlanSet());
  });
}

Lumo::Ptr<OCGlobalStateSm> oCGlobalStateSmFactory(
    Lumo::Ptr<Config const> const& stpConfig, Lumo::Ptr<Status const> const& stpStatus,
    Lumo::Ptr<VlanConfigDir const> const& stpVlanConfigDir,
    Lumo::Ptr<OCGlobalState> const& ocGlobalState) {
  return OCGlobalStateSm::OCGlobalStateSmIs(stpConfig, stpStatus, stpVlanConfigDir, ocGlobalState);
}

}  // namespace Stp
