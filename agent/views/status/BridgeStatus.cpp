#include "agent/views/status/BridgeStatus.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <limits>
#include <map>
#include <utility>

#include "Format.h"
#include "agent/text/Identifiers.h"
#include "agent/views/document/EntryKey.h"

namespace Agent {

namespace {

using Protocol = Stp::OcStpEnabledProtocol;

template <class Value, std::size_t count>
using Names = std::array<std::pair<Value, std::string_view>, count>;

template <class Value, std::size_t count>
std::string_view nameOf(Names<Value, count> const& names, Value value) {
  auto const found = std::ranges::find(names, value, &std::pair<Value, std::string_view>::first);
  return found == names.end() ? std::string_view() : found->second;
}

constexpr Names<Protocol, 3> protocols{{
    {Protocol::rstp, "RSTP"},
    {Protocol::mstp, "MSTP"},
    {Protocol::rapidPvst, "Rapid PVST"},
}};
constexpr Names<Stp::OcPortRole, 4> roles{{
    {Stp::OcPortRole::root, "root"},
    {Stp::OcPortRole::designated, "designated"},
    {Stp::OcPortRole::alternate, "alternate"},
    {Stp::OcPortRole::backup, "backup"},
}};
constexpr Names<Stp::OcPortState, 5> states{{
    {Stp::OcPortState::disabled, "disabled"},
    {Stp::OcPortState::listening, "listening"},
    {Stp::OcPortState::learning, "learning"},
    {Stp::OcPortState::blocking, "blocking"},
    {Stp::OcPortState::forwarding, "forwarding"},
}};

std::optional<Protocol> protocolOf(Stp::OCGlobalContainer const& container) {
  for (Protocol const protocol : container.enabledProtocol) {
    return protocol;
  }
  return std::nullopt;
}

struct NaturalLess {
  bool operator()(std::string const& a, std::string const& b) const { return naturalLess(a, b); }
};

// Gathers what stands in several targets under the same tree or port.
class Gathering {
 public:
  explicit Gathering(TargetView const& targets) : targets_(targets) {
    status_.protocol = protocolOf(targets.globalState->state());
    status_.isRunning = status_.protocol.has_value();
    if (!status_.isRunning) {
      status_.protocol = protocolOf(targets.globalConfig->config());
    }
    addParameters();
    addTrees();
    addPorts();
  }

  BridgeStatus take() { return std::move(status_); }

 private:
  void addParameters() {
    if (status_.protocol == Protocol::rstp) {
      status_.parameters = status_.isRunning ? parametersOf(*targets_.rstpState)
                                             : parametersOf(*targets_.rstpConfig);
    } else if (status_.protocol == Protocol::mstp) {
      status_.parameters = status_.isRunning ? parametersOf(*targets_.mstpState)
                                             : parametersOf(*targets_.mstpConfig);
    }
  }
  template <class Target>
  static Stp::OCProtocolParameters parametersOf(Target const& target) {
    return target.record();
  }

  // Trees that are configured alone are there, too.
  void addTrees() {
    for (auto const& [key, record] : targets_.treeConfigDir->record()) {
      tree(record->tree).bridgePriority = record->bridgePriority;
    }
    if (status_.protocol == Protocol::mstp) {
      for (auto const& [id, instance] : targets_.mstiConfigDir->mstInstance()) {
        if (id != 0) {
          tree(Stp::TreeId::mst(id)).bridgePriority = instance->config().bridgePriority.value();
        }
      }
    }
    for (auto const& [key, record] : targets_.treeStateDir->record()) {
      TreeStatus& told = tree(record->tree);
      told.state = *record;
      if (record->bridge) {
        told.bridgePriority = record->bridge->priority();
      }
    }
    for (auto const& [key, record] : targets_.treePortStateDir->record()) {
      tree(record->id.tree).ports.push_back(*record);
    }
    for (auto& [number, told] : trees_) {
      std::ranges::sort(told.ports, NaturalLess(), [](Stp::OCTreePortState const& port) {
        return port.id.port.stringValue().toString();
      });
      status_.trees.push_back(std::move(told));
    }
  }

  TreeStatus& tree(Stp::TreeId id) {
    TreeStatus& told = trees_[id.value()];
    told.state.tree = id;
    return told;
  }

  // The state of an interface outlives its port, so it doesn't say which ports there are.
  void addPorts() {
    for (auto const& [key, record] : targets_.protectionConfigDir->record()) {
      PortStatus& told = port(record->name);
      protectionIs(told, *record);
      if (auto const interface = targets_.interfaceConfigDir->interface(record->name)) {
        told.hasBpduGuard = interface->config().bpduGuard == Stp::OcBpduGuard::enabled;
      }
    }
    for (auto const& [key, record] : targets_.protectionStateDir->record()) {
      PortStatus& told = port(record->name);
      protectionIs(told, *record);
      told.isGuardedOff = record->bpduGuardError.value_or(false);
    }
    for (TreeStatus const& tree : status_.trees) {
      for (Stp::OCTreePortState const& treePort : tree.ports) {
        stateIs(port(treePort.id.port));
      }
    }
    for (auto const& [name, told] : ports_) {
      status_.ports.push_back(told);
    }
  }

  PortStatus& port(Lanx::IntfId name) {
    PortStatus& told = ports_[name.stringValue().toString()];
    told.name = name;
    return told;
  }

  template <class Record>
  static void protectionIs(PortStatus& told, Record const& record) {
    told.hasRootGuard = record.guard == Stp::OcGuard::root;
    told.hasBpduFilter = record.bpduFilter.value_or(false);
  }

  void stateIs(PortStatus& told) const {
    Stp::InterfaceState const* const state = targets_.interfaceStateDir->state(told.name);
    if (state == nullptr || told.isEdge) {
      return;
    }
    told.isEdge = state->edgePort == Stp::OcEdgePort::edgeEnable;
    told.isPointToPoint = state->linkType == Stp::OcLinkType::p2p;
    if (state->bpduGuard != Stp::OcBpduGuard::notSet) {
      told.hasBpduGuard = state->bpduGuard == Stp::OcBpduGuard::enabled;
    }
  }

  TargetView const& targets_;
  BridgeStatus status_;
  std::map<std::uint16_t, TreeStatus> trees_;
  std::map<std::string, PortStatus, NaturalLess> ports_;
};

}  // namespace

std::string TreeStatus::rootPort() const {
  if (state.rootPort.value_or(0) == 0) {
    return "";
  }
  auto const found = std::ranges::find_if(ports, [this](Stp::OCTreePortState const& port) {
    return port.port && port.port->number() == *state.rootPort;
  });
  return found == ports.end() ? "" : found->id.port.stringValue().toString();
}

BridgeStatus bridgeStatus(TargetView const& targets) {
  return Gathering(targets).take();
}

std::string_view textOf(std::optional<Protocol> protocol) {
  return protocol ? nameOf(protocols, *protocol) : "no protocol";
}

// The model has no identity for two roles, each of which something else tells.
std::string_view roleOf(Stp::OCTreePortState const& port) {
  if (port.role) {
    return nameOf(roles, *port.role);
  }
  return port.master.value_or(false)                    ? "master"
         : port.portState == Stp::OcPortState::disabled ? "disabled"
                                                        : "";
}

std::string_view stateOf(Stp::OCTreePortState const& port) {
  return port.portState ? nameOf(states, *port.portState) : "";
}

std::vector<std::string_view> guardsOf(PortStatus const& port) {
  std::vector<std::string_view> guards;
  for (auto const& [isThere, word] : {std::pair{port.hasBpduGuard, "BPDU"},
                                      {port.hasRootGuard, "root"},
                                      {port.hasBpduFilter, "filter"}}) {
    if (isThere) {
      guards.emplace_back(word);
    }
  }
  return guards;
}

std::string addressOf(Stp::BridgeId bridge) {
  constexpr std::size_t behindPriority = 6;
  return textOf(bridge).substr(behindPriority);
}

std::string bridgeText(Stp::BridgeId bridge) {
  return std::to_string(bridge.priority()) + " " + addressOf(bridge);
}

std::optional<std::string> utcSecond(std::uint64_t nanoseconds) {
  using Nanoseconds = std::chrono::nanoseconds;
  if (nanoseconds > static_cast<std::uint64_t>(std::numeric_limits<Nanoseconds::rep>::max())) {
    return std::nullopt;
  }
  std::chrono::sys_time<Nanoseconds> const time(
      Nanoseconds(static_cast<Nanoseconds::rep>(nanoseconds)));
  constexpr std::size_t second = std::string_view("2026-01-31T08:00:00").size();
  return Programs::utcTime(time).substr(0, second) + "Z";
}

}  // namespace Agent
