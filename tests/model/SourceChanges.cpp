#include "SourceChanges.h"

#include "Global.h"
#include "InterfaceConfig.h"
#include "InterfaceState.h"
#include "MstpConfig.h"
#include "MstpState.h"

namespace Model {

namespace {

// Tells all mirrors of a change: the attribute's number, and the key of a collection's member.
void changed(State& state, Kind kind, Ref entity, int field, int key) {
  switch (kind) {
    case Kind::inputConfig:
      Global::inputConfigChanged(state, field);
      InterfaceConfig::inputConfigChanged(state, field, key);
      MstpConfig::inputConfigChanged(state, field, key);
      return;
    case Kind::config:
      Global::configChanged(state, field);
      InterfaceState::configChanged(state, field);
      MstpState::configChanged(state, field);
      return;
    case Kind::status:
      Global::statusChanged(state, field);
      InterfaceConfig::statusChanged(state, field, key);
      InterfaceState::statusChanged(state, field, key);
      MstpState::statusChanged(state, field);
      return;
    case Kind::vlanDir: return Global::vlanDirChanged(state, field);
    case Kind::inputPort: return InterfaceConfig::inputPortChanged(state, entity, field);
    case Kind::portConfig: return InterfaceState::portConfigChanged(state, entity, field);
    case Kind::portStatus: return InterfaceState::portStatusChanged(state, entity, field);
    case Kind::mstiStatus: return MstpState::mstiStatusChanged(state, entity, field);
    case Kind::mstiConfig: return MstpConfig::mstiConfigChanged(state, entity, field);
    case Kind::stpiConfig: return MstpConfig::stpiConfigChanged(state, entity, field, key);
    case Kind::stpiStatus:
      InterfaceConfig::stpiStatusChanged(state, entity, field, key);
      InterfaceState::stpiStatusChanged(state, entity, field, key);
      MstpState::stpiStatusChanged(state, entity, field);
      return;
  }
}

template <class Value>
bool assign(Value& stored, int value) {
  if (stored == static_cast<Value>(value)) {
    return false;
  }
  stored = static_cast<Value>(value);
  return true;
}

Ref refOf(State const& state, Kind kind, int hand) {
  auto const& refs = state.sources.hand.at(static_cast<std::size_t>(kind));
  return refs.empty() ? none : refs.at(static_cast<std::size_t>(hand));
}

BridgeConfig& configOf(State& state, Kind kind) {
  return kind == Kind::inputConfig ? state.sources.inputConfig : state.sources.config;
}

// Sets an attribute of an entity from the hand; tells whether it changed.
bool attributeIs(Sources& sources, Kind kind, Ref ref, int field, int value) {
  switch (kind) {
    case Kind::inputPort: {
      InputPort& port = at(sources.inputPorts, ref);
      switch (field) {
        case 260: return assign(port.linkType, value);
        case 261: return assign(port.edgePortEnable, value);
        case 263: return assign(port.edgePortAuto, value);
        case 265: return assign(port.edgePortDisable, value);
        default: return assign(port.bpduguard, value);
      }
    }
    case Kind::portConfig: {
      PortConfig& port = at(sources.portConfigs, ref);
      return field == 261 ? assign(port.adminEdgePort, value) : assign(port.bpduguard, value);
    }
    case Kind::portStatus: {
      PortStatus& port = at(sources.portStatuses, ref);
      return field == 260 ? assign(port.operEdgePort, value)
                          : assign(port.operPointToPointMac, value);
    }
    case Kind::mstiStatus: return assign(at(sources.mstiStatuses, ref).bridgePriority, value);
    default: {
      MstiConfig& msti = at(sources.mstiConfigs, ref);
      return field == 258 ? assign(msti.mstiId, value) : assign(msti.bridgePriority, value);
    }
  }
}

Ordered<Ref>& membersOf(Sources& sources, Members collection, Ref owner) {
  switch (collection) {
    case Members::inputPorts: return sources.inputConfig.ports;
    case Members::inputInstances: return sources.inputConfig.instances;
    case Members::runningPorts: return sources.config.ports;
    case Members::statusInstances: return sources.status.instances;
    case Members::portsOfStatus: return at(sources.stpiStatuses, owner).ports;
    case Members::mstisOfStatus: return at(sources.stpiStatuses, owner).mstis;
    default: return at(sources.stpiConfigs, owner).mstis;
  }
}

void changeMembers(State& state, Operation const& operation) {
  auto const collection = static_cast<Members>(operation.a);
  Kind const kind = ownerKind(collection);
  Ref const owner = refOf(state, kind, operation.b);
  Ordered<Ref>& members = membersOf(state.sources, collection, owner);
  if (operation.what == Do::put) {
    Ref const member = refOf(state, memberKind(collection), operation.d);
    Ref const* const present = members.find(operation.c);
    if (present == nullptr || *present != member) {
      members.put(operation.c, member);
      changed(state, kind, owner, fieldOf(collection), operation.c);
    }
    return;
  }
  for (int const key : operation.what == Do::clear ? members.keys() : std::vector{operation.c}) {
    if (members.erase(key)) {
      changed(state, kind, owner, fieldOf(collection), key);
    }
  }
}

void changeVlans(State& state, Operation const& operation) {
  auto const kind = static_cast<Kind>(operation.a);
  for (int vlan = operation.b; vlan <= operation.c; ++vlan) {
    if (operation.d == 2) {
      Global::disabledVlanDel(state, kind, vlan);
    } else {
      Global::disabledVlanIs(state, kind, vlan, operation.d == 1);
    }
  }
}

void changeVlanDir(State& state, int first, int last, bool exist) {
  for (int vlan = first; vlan <= last; ++vlan) {
    auto const id = static_cast<std::size_t>(vlan);
    if (state.sources.vlanDir[id] != exist) {
      state.sources.vlanDir[id] = exist;
      changed(state, Kind::vlanDir, none, 258, vlan);
    }
  }
}

}  // namespace

void renew(State& state, Kind kind, int hand) {
  Sources& sources = state.sources;
  auto const fresh = [&](auto& entities) {
    entities.emplace_back();
    sources.hand.at(static_cast<std::size_t>(kind)).at(static_cast<std::size_t>(hand)) =
        static_cast<Ref>(entities.size()) - 1;
  };
  switch (kind) {
    case Kind::inputPort: return fresh(sources.inputPorts);
    case Kind::portConfig: return fresh(sources.portConfigs);
    case Kind::portStatus: return fresh(sources.portStatuses);
    case Kind::mstiStatus: return fresh(sources.mstiStatuses);
    case Kind::mstiConfig: return fresh(sources.mstiConfigs);
    case Kind::stpiConfig: return fresh(sources.stpiConfigs);
    case Kind::stpiStatus: return fresh(sources.stpiStatuses);
    default: return;
  }
}

void changeSource(State& state, Operation const& operation) {
  auto const [what, a, b, c, d] = operation;
  auto const kind = static_cast<Kind>(a);
  switch (what) {
    case Do::setMode:
      if (assign(state.sources.inputConfig.mode, a)) {
        changed(state, Kind::inputConfig, none, 267, 0);
      }
      return;
    case Do::setGuard:
      if (assign(configOf(state, kind).portfastBpduguard, b)) {
        changed(state, kind, none, 294, 0);
      }
      return;
    case Do::setMap: {
      BridgeConfig& config = configOf(state, kind);
      if (config.vidToMsti != byteMap(b) || config.revision != c) {
        config.vidToMsti = byteMap(b);
        config.revision = c;
        changed(state, kind, none, 298, 0);
      }
      return;
    }
    case Do::setVlans: return changeVlans(state, operation);
    case Do::clearVlans: return Global::disabledVlanDelAll(state, kind);
    case Do::setProtocol:
      if (assign(state.sources.status.activeProtocol, a)) {
        changed(state, Kind::status, none, 258, 0);
      }
      return;
    case Do::setVlanDir: return changeVlanDir(state, a, b, c != 0);
    case Do::clearVlanDir: return changeVlanDir(state, 1, 4094, false);
    case Do::setAttribute:
      if (attributeIs(state.sources, kind, refOf(state, kind, b), c, d)) {
        changed(state, kind, refOf(state, kind, b), c, 0);
      }
      return;
    case Do::renew: return renew(state, kind, b);
    case Do::touch: return changed(state, kind, refOf(state, kind, b), c, d);
    default: return changeMembers(state, operation);
  }
}

}  // namespace Model
