// How operations change the library's sources.
#include "Library.h"

namespace Harness {

namespace {

using Model::Do;
using Model::Kind;
using Model::Members;
using Model::Operation;

Stp::ConfigBase& configOf(Sources& sources, int kind) {
  if (static_cast<Kind>(kind) == Kind::inputConfig) {
    return *sources.inputConfig;
  }
  return *sources.config;
}

Lumo::Entity& entityOf(Sources& sources, Kind kind, int hand) {
  switch (kind) {
    case Kind::inputConfig: return *sources.inputConfig;
    case Kind::config: return *sources.config;
    case Kind::status: return *sources.status;
    case Kind::vlanDir: return *sources.vlanDir;
    case Kind::inputPort: return *sources.at<Stp::Input::PortConfig>(hand);
    case Kind::portConfig: return *sources.at<Stp::PortConfig>(hand);
    case Kind::portStatus: return *sources.at<Stp::StpiPortStatus>(hand);
    case Kind::mstiStatus: return *sources.at<Stp::MstiStatus>(hand);
    case Kind::mstiConfig: return *sources.at<Stp::Input::MstiConfig>(hand);
    case Kind::stpiConfig: return *sources.at<Stp::Input::StpiConfig>(hand);
    default: return *sources.at<Stp::StpiStatus>(hand);
  }
}

void renew(Sources& sources, Kind kind, int hand) {
  auto const fresh = [](auto& entity) {
    entity = Lumo::make<std::remove_reference_t<decltype(*entity)>>();
  };
  switch (kind) {
    case Kind::inputPort: return fresh(sources.at<Stp::Input::PortConfig>(hand));
    case Kind::portConfig: return fresh(sources.at<Stp::PortConfig>(hand));
    case Kind::portStatus: return fresh(sources.at<Stp::StpiPortStatus>(hand));
    case Kind::mstiStatus: return fresh(sources.at<Stp::MstiStatus>(hand));
    case Kind::mstiConfig: return fresh(sources.at<Stp::Input::MstiConfig>(hand));
    case Kind::stpiConfig: return fresh(sources.at<Stp::Input::StpiConfig>(hand));
    case Kind::stpiStatus: return fresh(sources.at<Stp::StpiStatus>(hand));
    default: return;
  }
}

void inputPortAttributeIs(Stp::Input::PortConfig& port, int field, int value) {
  switch (field) {
    case 260: return port.linkTypeIs(static_cast<Stp::Input::PortConfig::LinkType>(value));
    case 261: return port.edgePortEnableIs(value != 0);
    case 263: return port.edgePortAutoIs(value != 0);
    case 265: return port.edgePortDisableIs(value != 0);
    default:
      return port.bpduguardIs(static_cast<Stp::PortConfigBase::BpduguardEnabledState>(value));
  }
}

void attributeIs(Sources& sources, Kind kind, int hand, int field, int value) {
  auto const number = static_cast<std::uint16_t>(value);
  switch (kind) {
    case Kind::inputPort:
      return inputPortAttributeIs(*sources.at<Stp::Input::PortConfig>(hand), field, value);
    case Kind::portConfig: {
      Stp::PortConfig& port = *sources.at<Stp::PortConfig>(hand);
      if (field == 261) {
        return port.adminEdgePortIs(value != 0);
      }
      return port.bpduguardIs(static_cast<Stp::PortConfigBase::BpduguardEnabledState>(value));
    }
    case Kind::portStatus: {
      Stp::StpiPortStatus& port = *sources.at<Stp::StpiPortStatus>(hand);
      return field == 260 ? port.operEdgePortIs(value != 0)
                          : port.operPointToPointMacIs(value != 0);
    }
    case Kind::mstiStatus: return sources.at<Stp::MstiStatus>(hand)->bridgePriorityIs(number);
    default: {
      Stp::Input::MstiConfig& msti = *sources.at<Stp::Input::MstiConfig>(hand);
      return field == 258 ? msti.mstiIdIs(number) : msti.bridgePriorityIs(number);
    }
  }
}

Lumo::String const& nameOf(Members collection, int key) {
  switch (Model::memberKind(collection)) {
    case Kind::mstiConfig:
    case Kind::mstiStatus: return mstiName(key);
    case Kind::stpiConfig:
    case Kind::stpiStatus: return instanceName(key);
    default: return portName(key);
  }
}

// Puts a member into a collection, deletes it, or deletes all.
template <class Member>
void change(Sources& sources, Stp::Members<Lumo::String, Member>& members,
            Operation const& operation) {
  auto const collection = static_cast<Members>(operation.a);
  if (operation.what == Do::put) {
    members.is(nameOf(collection, operation.c), sources.at<Member>(operation.d));
  } else if (operation.what == Do::remove) {
    members.del(nameOf(collection, operation.c));
  } else {
    members.delAll();
  }
}

void changeMembers(Sources& sources, Operation const& operation) {
  switch (static_cast<Members>(operation.a)) {
    case Members::inputPorts: return change(sources, sources.inputConfig->portConfig, operation);
    case Members::inputInstances:
      return change(sources, sources.inputConfig->stpiConfig, operation);
    case Members::runningPorts: return change(sources, sources.config->portConfig, operation);
    case Members::statusInstances: return change(sources, sources.status->stpiStatus, operation);
    case Members::portsOfStatus:
      return change(sources, sources.at<Stp::StpiStatus>(operation.b)->stpiPortStatus, operation);
    case Members::mstisOfStatus:
      return change(sources, sources.at<Stp::StpiStatus>(operation.b)->mstiStatus, operation);
    case Members::mstisOfConfig:
      return change(sources, sources.at<Stp::Input::StpiConfig>(operation.b)->mstiConfig,
                    operation);
  }
}

// Announces a change without making one, with the key where the attribute is a collection.
void touch(Sources& sources, Operation const& operation) {
  auto const kind = static_cast<Kind>(operation.a);
  auto const field = static_cast<Lumo::FieldId>(operation.c);
  Lumo::Publisher& publisher = entityOf(sources, kind, operation.b).publisher();
  for (int number = 0; number < Model::collections; ++number) {
    auto const collection = static_cast<Members>(number);
    if (Model::ownerKind(collection) == kind && Model::fieldOf(collection) == operation.c) {
      Lumo::String const key = nameOf(collection, operation.d);
      publisher.publishChangeRecursive(field, &key, nullptr);
      return;
    }
  }
  publisher.publishChangeRecursive(field, nullptr, nullptr);
}

void mapIs(Stp::ConfigBase& config, int map, int revision) {
  Stp::MstConfig value;
  value.vidToMsti = Lumo::Bytes(Model::byteMap(map));
  value.revision = static_cast<std::uint64_t>(revision);
  config.mstConfigIs(value);
}

void vlansAre(Stp::ConfigBase& config, int first, int last, int what) {
  for (int vlan = first; vlan <= last; ++vlan) {
    auto const id = static_cast<std::uint16_t>(vlan);
    if (what == 2) {
      config.disabledVlanDel(id);
    } else {
      config.disabledVlanIs(id, what == 1);
    }
  }
}

void vlanDirIs(Stp::VlanConfigDir& directory, int first, int last, bool exist) {
  for (int vlan = first; vlan <= last; ++vlan) {
    auto const id = static_cast<std::uint16_t>(vlan);
    if (exist) {
      directory.vlanConfigIs(id);
    } else {
      directory.vlanConfigDel(id);
    }
  }
}

}  // namespace

void changeSource(Sources& sources, Operation const& operation) {
  auto const [what, a, b, c, d] = operation;
  switch (what) {
    case Do::setMode: return sources.inputConfig->modeIs(static_cast<Stp::Mode>(a));
    case Do::setGuard: return configOf(sources, a).portfastBpduguardIs(b != 0);
    case Do::setMap: return mapIs(configOf(sources, a), b, c);
    case Do::setVlans: return vlansAre(configOf(sources, a), b, c, d);
    case Do::clearVlans: return configOf(sources, a).disabledVlanDelAll();
    case Do::setProtocol: return sources.status->activeProtocolIs(static_cast<Stp::Mode>(a));
    case Do::setVlanDir: return vlanDirIs(*sources.vlanDir, a, b, c != 0);
    case Do::clearVlanDir: return sources.vlanDir->vlanConfigDelAll();
    case Do::setAttribute: return attributeIs(sources, static_cast<Kind>(a), b, c, d);
    case Do::renew: return renew(sources, static_cast<Kind>(a), b);
    case Do::touch: return touch(sources, operation);
    default: return changeMembers(sources, operation);
  }
}

}  // namespace Harness
