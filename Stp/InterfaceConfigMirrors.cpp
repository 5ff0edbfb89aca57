#include "Stp/InterfaceConfigMirrors.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "Lanx/IntfId.h"
#include "Stp/frame/Records.h"

namespace Stp {

namespace {

// Where several settings are on, enable beats disable and both beat auto.
OcEdgePort edgePortOf(Input::PortConfig const& port) {
  if (port.edgePortEnable()) {
    return OcEdgePort::edgeEnable;
  }
  if (port.edgePortDisable()) {
    return OcEdgePort::edgeDisable;
  }
  return port.edgePortAuto() ? OcEdgePort::edgeAuto : OcEdgePort::notSet;
}

// The default of the bridge is no setting of the port, and neither is an unknown value.
OcBpduGuard bpduGuardOf(PortConfigBase::BpduguardEnabledState state) {
  switch (state) {
    case PortConfigBase::BpduguardEnabledState::bpduguardEnabled: return OcBpduGuard::enabled;
    case PortConfigBase::BpduguardEnabledState::bpduguardDisabled: return OcBpduGuard::disabled;
    case PortConfigBase::BpduguardEnabledState::bpduguardDefault: break;
  }
  return OcBpduGuard::notSet;
}

// An unknown link type is not mapped: the interface keeps what it has.
OcLinkType linkTypeOf(Input::PortConfig::LinkType linkType, OcLinkType present) {
  switch (linkType) {
    case Input::PortConfig::LinkType::pointToPoint: return OcLinkType::p2p;
    case Input::PortConfig::LinkType::shared: return OcLinkType::shared;
    case Input::PortConfig::LinkType::automatic: return OcLinkType::notSet;
  }
  return present;
}

// The interface under `id`, a new one where there is none, whose record says so.
Lumo::Ptr<OCInterface> namedInterface(OCInterfaceConfigDir& directory, Lanx::IntfId id) {
  Lumo::Ptr<OCInterface> interface = directory.interfaceIs(id);
  rewrite(*interface, [id](InterfaceConfig& config) { config.name = id; });
  return interface;
}

// A set of interfaces, as one bit each, since ids are dense. The invalid id wraps round to bit 0.
class InterfaceMarks {
 public:
  void insert(Lanx::IntfId id) {
    std::size_t const word = wordOf(id);
    if (word >= marks_.size()) [[unlikely]] {
      marks_.resize(word * 2 + 1);
    }
    marks_[word] |= maskOf(id);
  }
  bool contains(Lanx::IntfId id) const {
    return wordOf(id) < marks_.size() && (marks_[wordOf(id)] & maskOf(id)) != 0;
  }

 private:
  static std::uint32_t bitOf(Lanx::IntfId id) { return id.value() + 1; }
  static std::size_t wordOf(Lanx::IntfId id) { return bitOf(id) / 64; }
  static std::uint64_t maskOf(Lanx::IntfId id) { return std::uint64_t{1} << (bitOf(id) % 64); }

  std::vector<std::uint64_t> marks_;
};

// All interfaces that any instance lists.
InterfaceMarks listedInterfaces(Status const& status) {
  InterfaceMarks marks;
  for (auto const& instance : status.stpiStatus()) {
    instance.value->stpiPortStatus().eachMember(
        [&marks](auto const& port) { marks.insert(Lanx::IntfId::of(port.key)); });
  }
  return marks;
}

bool anyInstanceLists(Status const& status, Lumo::String const& portName) {
  for (auto const& instance : status.stpiStatus()) {
    if (instance.value->stpiPortStatus(portName)) {
      return true;
    }
  }
  return false;
}

}  // namespace

OCPortConfigSm::OCPortConfigSm(Lumo::String const& name,
                               Lumo::Ptr<Input::PortConfig const> const& portConfig,
                               Lumo::Ptr<OCInterface> const& externalIntf)
    : Reactor(name, portConfig, externalIntf) {
  synchronise(&Self::handleInitialized);
}

void OCPortConfigSm::handleInitialized() {
  auto const traced = trace<"handleInitialized", 428>();
  handleEdgePort();
}

void OCPortConfigSm::handleEdgePort() {
  auto const traced = trace<"handleEdgePort", 356>("Updating edge-port on %s", name);
  amend([this](InterfaceConfig& config) { config.edgePort = edgePortOf(*portConfig.pointer()); });
}

void OCPortConfigSm::handleBpduguard() {
  auto const traced = trace<"handleBpduguard", 383>("Updating bpdu-guard on %s", name);
  amend(
      [this](InterfaceConfig& config) { config.bpduGuard = bpduGuardOf(portConfig->bpduguard()); });
}

void OCPortConfigSm::handleLinkType() {
  auto const traced = trace<"handleLinkType", 400>("Updating link-type on port %s", name);
  amend([this](InterfaceConfig& config) {
    config.linkType = linkTypeOf(portConfig->linkType(), config.linkType);
  });
}

template <class Edit>
void OCPortConfigSm::amend(Edit edit) {
  Lanx::IntfId const id = Lanx::IntfId::of(name);
  rewrite(*externalIntf.pointer(), [&](InterfaceConfig& config) {
    config.name = id;
    edit(config);
  });
}

Lumo::Ptr<OCPortConfigSm> oCPortConfigSmFactory(
    Lumo::String const& name, Lumo::Ptr<Input::PortConfig const> const& portConfig,
    Lumo::Ptr<OCInterface> const& externalIntf) {
  return OCPortConfigSm::OCPortConfigSmIs(name, portConfig, externalIntf);
}

OCStpiStatusConfigSm::OCStpiStatusConfigSm(
    Lumo::String const& name, Lumo::Ptr<Input::Config const> const& stpInputConfig,
    Lumo::Ptr<StpiStatus const> const& stpiStatus,
    Lumo::Ptr<OCInterfaceConfigDir> const& externalIntfConfigDir)
    : Reactor(name, stpInputConfig, stpiStatus, externalIntfConfigDir) {
  synchronise(&Self::handleInitialized);
}

void OCStpiStatusConfigSm::handleInitialized() {
  auto const traced = trace<"handleInitialized", 495>();
  for (auto const& port : stpiStatus->stpiPortStatus()) {
    Lumo::String const portName = port.key;
    handleStpiPortStatusConfig(portName);
  }
}

void OCStpiStatusConfigSm::handleStpiPortStatusConfig(Lumo::String const& portName) {
  auto const traced = trace<"handleStpiPortStatusConfig", 476>();
  Lumo::Ptr<OCInterfaceConfigDir> const directory = externalIntfConfigDir;
  Lanx::IntfId const id = Lanx::IntfId::of(portName);
  if (stpiStatus->stpiPortStatus(portName) && !directory->interface(id)) {
    namedInterface(*directory, id);
    return;
  }
  // So a listed port whose interface exists, but that nobody configured, loses it here: the
  // decision for a port that a second instance lists, too, takes away what the first one gave.
  if (!stpInputConfig->portConfig(portName)) {
    directory->interfaceDel(id);
  }
}

OCInterfaceConfigDirSm::OCInterfaceConfigDirSm(
    Lumo::Ptr<Input::Config const> const& stpInputConfig, Lumo::Ptr<Status> const& stpStatus,
    Lumo::Ptr<OCInterfaceConfigDir> const& externalIntfConfigDir)
    : Reactor(stpInputConfig, stpStatus, externalIntfConfigDir) {
  synchronise(&Self::handleInitialized);
}

void OCInterfaceConfigDirSm::handleInitialized() {
  auto const traced = trace<"handleInitialized", 547>("Starting external Stp interface Sm");
  maybeCleanUpExternalIntfConfigs();
  for (auto const& port : stpInputConfig->portConfig()) {
    Lumo::String const portName = port.key;
    handleInterface(portName);
  }
  for (auto const& instance : stpStatus->stpiStatus()) {
    Lumo::String const stpiName = instance.key;
    handleStpiStatusConfig(stpiName);
  }
}

void OCInterfaceConfigDirSm::handleInterface(Lumo::String const& portName) {
  auto const traced = trace<"handleInterface", 434>("Updating interface %s", portName);
  // A changed input configuration always gets a new child.
  portConfigSmDel(portName);
  Lanx::IntfId const id = Lanx::IntfId::of(portName);
  if (stpInputConfig && stpInputConfig->portConfig(portName)) {
    auto const tracedUpdate =
        trace<"handleInterface", 440>("Interface input config %s is updated", portName);
    Lumo::Ptr<OCInterface> const interface = namedInterface(*externalIntfConfigDir.pointer(), id);
    portConfigSmIs(portName, stpInputConfig->portConfig(portName), interface);
  } else if (anyInstanceLists(*stpStatus.pointer(), portName)) {
    auto const tracedAdd = trace<"handleInterface", 456>("Interface %s is added", portName);
    // An interface that loses its input configuration starts again from a fresh record, so that no
    // configured setting survives.
    externalIntfConfigDir->interfaceDel(id);
    namedInterface(*externalIntfConfigDir.pointer(), id);
  } else {
    auto const tracedDelete = trace<"handleInterface", 467>("Interface %s is deleted", portName);
    externalIntfConfigDir->interfaceDel(id);
  }
}

void OCInterfaceConfigDirSm::handleStpiStatusConfig(Lumo::String const& stpiName) {
  auto const traced = trace<"handleStpiStatusConfig", 529>();
  if (Lumo::Ptr<StpiStatus> const instance = stpStatus->stpiStatus(stpiName)) {
    // Unlike a port's, an instance's child is kept: another entity under the same name is an error.
    stpiStatusConfigSmIs(stpiName, stpInputConfig, instance, externalIntfConfigDir);
  } else {
    maybeCleanUpExternalIntfConfigs();
    stpiStatusConfigSmDel(stpiName);
  }
}

void OCInterfaceConfigDirSm::maybeCleanUpExternalIntfConfigs() {
  auto const traced = trace<"maybeCleanUpExternalIntfConfigs", 504>();
  // Gathered before the first removal, and only if there is an interface that nobody configured.
  std::optional<InterfaceMarks> listed;
  for (auto const& interface : externalIntfConfigDir->interface()) {
    Lanx::IntfId const id = interface.key;
    if (stpInputConfig->portConfig(id.stringValue())) {
      continue;
    }
    if (!listed) {
      listed = listedInterfaces(*stpStatus.pointer());
    }
    if (!listed->contains(id)) {
      externalIntfConfigDir->interfaceDel(id);
    }
  }
}

Lumo::Ptr<OCInterfaceConfigDirSm> oCInterfaceConfigDirSmFactory(
    Lumo::Ptr<Input::Config const> const& stpInputConfig, Lumo::Ptr<Status> const& stpStatus,
    Lumo::Ptr<OCInterfaceConfigDir> const& externalIntfConfigDir) {
  return OCInterfaceConfigDirSm::OCInterfaceConfigDirSmIs(stpInputConfig, stpStatus,
                                                          externalIntfConfigDir);
}

}  // namespace Stp
