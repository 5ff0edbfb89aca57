#include "StpOper/TreePortMirror.h"

#include "StpOper/Amendment.h"

namespace Stp::Oper {

namespace {

using Operational::PortRole;
using Operational::PortState;
using Told = OCTreePortSm::Told;
using Kind = TreeId::Kind;

std::optional<OcPortRole> roleOf(Told const& told) {
  switch (told.role.value_or(PortRole::disabled)) {
    case PortRole::root: return OcPortRole::root;
    case PortRole::designated: return OcPortRole::designated;
    case PortRole::alternate: return OcPortRole::alternate;
    case PortRole::backup: return OcPortRole::backup;
    case PortRole::disabled:
    case PortRole::master: break;  // no role of the public model
  }
  return std::nullopt;
}

std::optional<OcPortState> stateOf(Told const& told) {
  if (told.role == PortRole::disabled) {
    return OcPortState::disabled;
  }
  if (told.state) {
    switch (*told.state) {
      case PortState::discarding: return OcPortState::blocking;
      case PortState::listening: return OcPortState::listening;
      case PortState::learning: return OcPortState::learning;
      case PortState::forwarding: return OcPortState::forwarding;
    }
  }
  return std::nullopt;
}

// Within a region, what counts is the way to the regional root.
template <class Value>
Value const& byTree(Kind kind, Value const& common, Value const& regional) {
  return kind == Kind::mst ? regional : common;
}

// The rules, one a leaf.
using State = OCTreePortState;

void portId(Amendment& amendment, State& state, Told const& told, Kind /*kind*/) {
  amendment.set(state.port, told.portId);
}
void cost(Amendment& amendment, State& state, Told const& told, Kind kind) {
  amendment.set(state.cost, byTree(kind, told.externalCost, told.internalCost));
}
void role(Amendment& amendment, State& state, Told const& told, Kind /*kind*/) {
  amendment.set(state.role, roleOf(told));
}
void master(Amendment& amendment, State& state, Told const& told, Kind kind) {
  if (kind == Kind::mst) {
    amendment.set(state.master, told.role == PortRole::master);
  }
}
void portState(Amendment& amendment, State& state, Told const& told, Kind /*kind*/) {
  amendment.set(state.portState, stateOf(told));
}
void designatedRoot(Amendment& amendment, State& state, Told const& told, Kind kind) {
  amendment.set(state.designatedRoot,
                byTree(kind, told.designatedRoot, told.designatedRegionalRoot));
}
void designatedCost(Amendment& amendment, State& state, Told const& told, Kind kind) {
  amendment.set(state.designatedCost,
                byTree(kind, told.designatedExternalCost, told.designatedInternalCost));
}
void designatedBridge(Amendment& amendment, State& state, Told const& told, Kind /*kind*/) {
  amendment.set(state.designatedBridge, told.designatedBridge);
}
void designatedPort(Amendment& amendment, State& state, Told const& told, Kind /*kind*/) {
  amendment.set(state.designatedPort, told.designatedPort);
}
void forwardTransitions(Amendment& amendment, State& state, Told const& told, Kind kind) {
  if (kind != Kind::mst) {
    amendment.set(state.forwardTransitions, told.forwardTransitions);
  }
}
void disputed(Amendment& amendment, State& state, Told const& told, Kind /*kind*/) {
  amendment.set(state.disputed, told.disputed);
}

}  // namespace

OCTreePortSm::OCTreePortSm(Lumo::String const& name, Lumo::Ptr<TreeScope const> const& scope,
                           Lumo::Ptr<Operational::TreePort const> const& port,
                           Lumo::Ptr<OCTreePortConfigDir> const& ocTreePortConfigDir,
                           Lumo::Ptr<OCTreePortStateDir> const& ocTreePortStateDir,
                           Lumo::Ptr<OCTreePortCountersDir> const& ocTreePortCountersDir)
    : Reactor(name, scope, port, ocTreePortConfigDir, ocTreePortStateDir, ocTreePortCountersDir),
      id_{scope->told().tree, Lanx::IntfId::of(name)} {
  synchronise(&Self::handleConfig, &Self::handleState, &Self::handleCounters);
}

void OCTreePortSm::handleConfig() {
  auto const traced = trace<"handleConfig", 101>();
  ocTreePortConfigDir->recordAmend(id_, [this](OCTreePortConfig& config) {
    auto const& told = port->told().portId;
    return Amendment()
        .set(config.portPriority, told ? std::optional(told->priority()) : std::nullopt)
        .made();
  });
}

void OCTreePortSm::handleState() {
  auto const traced = trace<"handleState", 109>("running: ", scope->told().running);
  if (scope->told().running) {
    amend<portId, cost, role, master, portState, designatedRoot, designatedCost, designatedBridge,
          designatedPort, forwardTransitions, disputed>();
  } else {
    ocTreePortStateDir->recordDel(id_);
  }
}

void OCTreePortSm::handlePortId() {
  auto const traced = trace<"handlePortId", 119>();
  amend<portId>();
}

void OCTreePortSm::handleCost() {
  auto const traced = trace<"handleCost", 124>();
  amend<cost>();
}

void OCTreePortSm::handleRole() {
  auto const traced = trace<"handleRole", 129>();
  amend<role, master, portState>();
}

void OCTreePortSm::handlePortState() {
  auto const traced = trace<"handlePortState", 134>();
  amend<portState>();
}

void OCTreePortSm::handleDesignatedRoot() {
  auto const traced = trace<"handleDesignatedRoot", 139>();
  amend<designatedRoot>();
}

void OCTreePortSm::handleDesignatedCost() {
  auto const traced = trace<"handleDesignatedCost", 144>();
  amend<designatedCost>();
}

void OCTreePortSm::handleDesignatedBridge() {
  auto const traced = trace<"handleDesignatedBridge", 149>();
  amend<designatedBridge>();
}

void OCTreePortSm::handleDesignatedPort() {
  auto const traced = trace<"handleDesignatedPort", 154>();
  amend<designatedPort>();
}

void OCTreePortSm::handleForwardTransitions() {
  auto const traced = trace<"handleForwardTransitions", 159>();
  amend<forwardTransitions>();
}

void OCTreePortSm::handleDisputed() {
  auto const traced = trace<"handleDisputed", 164>();
  amend<disputed>();
}

void OCTreePortSm::handleCounters() {
  auto const traced = trace<"handleCounters", 169>();
  Told const& told = port->told();
  bool const isCounted = told.bpduSent || told.bpduReceived;
  if (!scope->told().running || id_.tree.kind() == Kind::mst || !isCounted) {
    ocTreePortCountersDir->recordDel(id_);
    return;
  }
  ocTreePortCountersDir->recordAmend(id_, [&told](OCTreePortCounters& counters) {
    return Amendment()
        .set(counters.bpduSent, told.bpduSent)
        .set(counters.bpduReceived, told.bpduReceived)
        .made();
  });
}

template <auto... rules>
void OCTreePortSm::amend() {
  if (scope->told().running) {
    ocTreePortStateDir->recordAmend(
        id_, [&told = port->told(), kind = id_.tree.kind()](OCTreePortState& state) {
          Amendment amendment;
          (rules(amendment, state, told, kind), ...);
          return amendment.made();
        });
  }
}

Lumo::Ptr<OCTreePortSm> oCTreePortSmFactory(
    Lumo::String const& name, Lumo::Ptr<TreeScope const> const& scope,
    Lumo::Ptr<Operational::TreePort const> const& port,
    Lumo::Ptr<OCTreePortConfigDir> const& ocTreePortConfigDir,
    Lumo::Ptr<OCTreePortStateDir> const& ocTreePortStateDir,
    Lumo::Ptr<OCTreePortCountersDir> const& ocTreePortCountersDir) {
  return OCTreePortSm::OCTreePortSmIs(name, scope, port, ocTreePortConfigDir, ocTreePortStateDir,
                                      ocTreePortCountersDir);
}

}  // namespace Stp::Oper
