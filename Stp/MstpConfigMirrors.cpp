#include "Stp/MstpConfigMirrors.h"

#include <cstddef>

#include "Stp/frame/Records.h"
#include "Stp/vlans/InstanceName.h"
#include "Stp/vlans/VidToMsti.h"

namespace Stp {

namespace {

// Whether VLANs belong to an instance. For the CIST the entries are only counted: a map with one
// for every VLAN leaves it none, whichever instances they name.
bool mapNeeds(Lumo::Bytes const& vidToMsti, std::uint16_t instanceId) {
  constexpr std::uint16_t allVlans = Bridging::VlanId::last;
  VidToMstiEntries const entries(vidToMsti);
  if (instanceId == 0) {
    return entries.count() != allVlans;
  }
  for (std::size_t at = 0; at < entries.count(); ++at) {
    if (entries[at].instance == instanceId) {
      return true;
    }
  }
  return false;
}

}  // namespace

OCMstiConfigSm::OCMstiConfigSm(Lumo::String const& name,
                               Lumo::Ptr<Input::MstiConfig const> const& mstiConfig,
                               Lumo::Ptr<OCMsti> const& externalMsti)
    : Reactor(name, mstiConfig, externalMsti) {
  synchronise(&Self::handleBridgePriority);
}

void OCMstiConfigSm::handleBridgePriority() {
  auto const traced = trace<"handleBridgePriority", 706>();
  rewrite(*externalMsti.pointer(), [this](OCMstiConfig& config) {
    config.bridgePriority = OCBridgePriority(mstiConfig->bridgePriority());
  });
}

Lumo::Ptr<OCMstiConfigSm> oCMstiConfigSmFactory(
    Lumo::String const& name, Lumo::Ptr<Input::MstiConfig const> const& mstiConfig,
    Lumo::Ptr<OCMsti> const& externalMsti) {
  return OCMstiConfigSm::OCMstiConfigSmIs(name, mstiConfig, externalMsti);
}

OCMstpConfigSm::OCMstpConfigSm(Lumo::String const& name,
                               Lumo::Ptr<Input::StpiConfig const> const& mst,
                               Lumo::Ptr<Input::Config const> const& stpInputConfig,
                               Lumo::Ptr<OCMstiConfigDir> const& ocMstiConfigDir)
    : Reactor(name, mst, stpInputConfig, ocMstiConfigDir) {
  synchronise(&Self::handleInitialized);
}

void OCMstpConfigSm::handleInitialized() {
  auto const traced = trace<"handleInitialized", 741>();
  for (auto const& instance : ocMstiConfigDir->mstInstance()) {
    std::uint16_t const id = instance.key;
    Lumo::String const& mstiName = instanceIdToMstiName(id);
    if (!mst->mstiConfig(mstiName) && !mapNeeds(stpInputConfig->mstConfig().vidToMsti, id)) {
      ocMstiConfigDir->mstInstanceDel(id);
    }
  }
  for (auto const& config : mst->mstiConfig()) {
    Lumo::String const mstiName = config.key;
    handleMstiConfig(mstiName);
  }
}

void OCMstpConfigSm::handleMstiConfig(Lumo::String const& mstiName) {
  auto const traced = trace<"handleMstiConfig(const String&)", 715>();
  Lumo::Ptr<Input::MstiConfig> const config = mst->mstiConfig(mstiName);
  std::uint16_t const id = mstiNameToInstanceId(mstiName);
  if (config) {
    if (!ocMstiConfigDir->mstInstance(id)) {
      Lumo::Ptr<OCMsti> const added = ocMstiConfigDir->mstInstanceIs(id);
      rewrite(*added, [&config](OCMstiConfig& record) { record.mstId = config->mstiId(); });
    }
    ocMstiConfigSmIs(mstiName, config, ocMstiConfigDir->mstInstance(id));
  } else {
    ocMstiConfigSmDel(mstiName);
    // Also when VLANs still map to it: it comes back with the next pass over the VLAN map.
    ocMstiConfigDir->mstInstanceDel(id);
  }
}

Lumo::Ptr<OCMstpConfigSm> oCMstpConfigSmFactory(
    Lumo::String const& name, Lumo::Ptr<Input::StpiConfig const> const& mst,
    Lumo::Ptr<Input::Config const> const& stpInputConfig,
    Lumo::Ptr<OCMstiConfigDir> const& ocMstiConfigDir) {
  return OCMstpConfigSm::OCMstpConfigSmIs(name, mst, stpInputConfig, ocMstiConfigDir);
}

OCMstpConfigWrapperSm::OCMstpConfigWrapperSm(Lumo::Ptr<Input::Config const> const& stpInputConfig,
                                             Lumo::Ptr<OCMstiConfigDir> const& ocMstiConfigDir)
    : Reactor(stpInputConfig, ocMstiConfigDir) {
  synchronise(&Self::handleInitialized, &Self::handleMstVlanMapping);
}

void OCMstpConfigWrapperSm::handleInitialized() {
  auto const traced = trace<"handleInitialized", 836>();
  if (stpInputConfig->stpiConfig(mstpInstanceName())) {
    handleMstpConfigSm(mstpInstanceName());
    return;
  }
  // Without an instance that runs MSTP nothing that an earlier run left is worth keeping.
  for (auto const& instance : ocMstiConfigDir->mstInstance()) {
    ocMstiConfigDir->mstInstanceDel(std::uint16_t{instance.key});
  }
}

void OCMstpConfigWrapperSm::handleMstpConfigSm(Lumo::String const& stpiName) {
  if (stpiName != mstpInstanceName()) {
    return;
  }
  auto const traced = trace<"handleMstpConfigSm(const String&)", 822>();
  if (Lumo::Ptr<Input::StpiConfig> const mst = stpInputConfig->stpiConfig(stpiName)) {
    ocMstpConfigSmIs(stpiName, mst, stpInputConfig, ocMstiConfigDir);
  } else {
    ocMstpConfigSmDel(stpiName);
  }
  handleMstVlanMapping();
}

void OCMstpConfigWrapperSm::handleMstVlanMapping() {
  auto const traced = trace<"handleMstVlanMapping", 764>();
  MstiToVid const vlans = mstiToVidFromBytes(stpInputConfig->mstConfig().vidToMsti);
  for (auto const& [id, ofInstance] : vlans) {
    Lumo::Ptr<OCMsti> const instance = ocMstiConfigDir->mstInstanceIs(id);
    OCMstiConfig config;
    config.mstId = id;
    config.bridgePriority = instance->config().bridgePriority;
    config.vlan = ofInstance.list();
    instance->configIs(config);
  }
  for (auto const& member : ocMstiConfigDir->mstInstance()) {
    std::uint16_t const id = member.key;
    if (vlans.find(id) != nullptr) {
      continue;
    }
    rewrite(*member.value, [](OCMstiConfig& config) { config.vlanPopAll(); });
    Lumo::String const& mstiName = instanceIdToMstiName(id);
    Lumo::Ptr<Input::StpiConfig> const mst = stpInputConfig->stpiConfig(mstpInstanceName());
    if (!mst || !mst->mstiConfig(mstiName)) {
      ocMstiConfigDir->mstInstanceDel(id);
    }
  }
}

Lumo::Ptr<OCMstpConfigWrapperSm> oCMstpConfigWrapperSmFactory(
    Lumo::Ptr<Input::Config const> const& stpInputConfig,
    Lumo::Ptr<OCMstiConfigDir> const& ocMstiConfigDir) {
  return OCMstpConfigWrapperSm::OCMstpConfigWrapperSmIs(stpInputConfig, ocMstiConfigDir);
}

}  // namespace Stp
