#include "agent/sources/sonic/Mapping.h"

#include <optional>
#include <tuple>
#include <utility>

#include "Stp/vlans/InstanceName.h"
#include "agent/state/Difference.h"

namespace Agent::Sonic {

namespace {

using Input = Stp::Input::Config;
using Config = Stp::Config;
using Status = Stp::Status;
using Bridge = Stp::Operational::Bridge;
using Tree = Stp::Operational::Tree;
using TreePort = Stp::Operational::TreePort;
using TreePortTold = Stp::Operational::TreePortTold;
using TreeTold = Stp::Operational::TreeTold;

// Which attribute takes its value from which member.
using InputPort = Stp::Input::PortConfig;
constexpr std::tuple inputPort{
    told<InputPort, InputPort::Id::linkType>(&PortSettings::linkType),
    told<InputPort, InputPort::Id::edgePortEnable>(&PortSettings::edgePortEnable),
    told<InputPort, InputPort::Id::edgePortAuto>(&PortSettings::edgePortAuto),
    told<InputPort, InputPort::Id::edgePortDisable>(&PortSettings::edgePortDisable),
    told<InputPort, InputPort::Id::bpduguard>(&PortSettings::bpduguard),
};
using RunningPortConfig = Stp::PortConfig;
constexpr std::tuple runningPort{
    told<RunningPortConfig, RunningPortConfig::Id::adminEdgePort>(&PortSettings::adminEdgePort),
    told<RunningPortConfig, RunningPortConfig::Id::bpduguard>(&PortSettings::bpduguard),
};
using PortStatus = Stp::StpiPortStatus;
constexpr std::tuple portStatus{
    told<PortStatus, PortStatus::Id::operEdgePort>(&PortOperation::operEdgePort),
    told<PortStatus, PortStatus::Id::operPointToPointMac>(&PortOperation::operPointToPointMac),
};
using InputMsti = Stp::Input::MstiConfig;
constexpr std::tuple inputMsti{
    told<InputMsti, InputMsti::Id::mstiId>(&MstInstance::id),
    told<InputMsti, InputMsti::Id::bridgePriority>(&MstInstance::bridgePriority),
};
using MstiStatus = Stp::MstiStatus;
constexpr std::tuple mstiStatus{
    told<MstiStatus, MstiStatus::Id::bridgePriority>(&MstInstance::bridgePriority),
};
constexpr std::tuple tree{
    told<Tree, Tree::Id::externalRootCost>(&TreeTold::externalRootCost),
    told<Tree, Tree::Id::internalRootCost>(&TreeTold::internalRootCost),
};
constexpr std::tuple treePort{
    told<TreePort, TreePort::Id::portId>(&TreePortTold::portId),
    told<TreePort, TreePort::Id::externalCost>(&TreePortTold::externalCost),
    told<TreePort, TreePort::Id::internalCost>(&TreePortTold::internalCost),
    told<TreePort, TreePort::Id::role>(&TreePortTold::role),
    told<TreePort, TreePort::Id::state>(&TreePortTold::state),
    told<TreePort, TreePort::Id::forwardTransitions>(&TreePortTold::forwardTransitions),
    told<TreePort, TreePort::Id::bpduSent>(&TreePortTold::bpduSent),
    told<TreePort, TreePort::Id::bpduReceived>(&TreePortTold::bpduReceived),
};
constexpr std::tuple<> nothing;

Lumo::String const& nameOfInstance(MstInstance const& instance) {
  return Stp::instanceIdToMstiName(instance.id);
}
Lumo::String const& nameOfTree(RunningTree const& of) {
  return Stp::instanceIdToMstiName(of.id);
}
Lumo::String const& itself(Lumo::String const& name) {
  return name;
}

template <class Record>
Record const* pointerTo(std::optional<Record> const& record) {
  return record ? &*record : nullptr;
}

// The comparison, part by part.
class Comparison {
 public:
  Comparison(SwitchState const& state, SourceView const& sources, Dirty dirty)
      : state_(state), sources_(sources), dirty_(std::move(dirty)) {}

  Changes take() {
    configuration();
    running();
    status();
    operation();
    return changes_.take();
  }

 private:
  BridgeState const& bridge() const { return state_.bridge(); }

  // The name of the one instance, where there is one.
  std::span<Lumo::String const> instance(bool isThere) const {
    return {&bridge().instanceName, isThere ? std::size_t{1} : std::size_t{0}};
  }

  template <class Call>
  void eachVlan(Call const& call) const {
    for (unsigned vlan = dirty_.vlans.next(1); vlan <= largestVlan;
         vlan = dirty_.vlans.next(vlan + 1)) {
      call(static_cast<std::uint16_t>(vlan));
    }
  }

  void configuration() {
    eachVlan([this](std::uint16_t vlan) {
      changes_.entry<Stp::VlanConfigDir::Id::vlanConfig>(sources_.vlanConfigDir, vlan,
                                                         state_.exists(vlan));
    });
    for (Lumo::String const& name : dirty_.ports) {
      auto const settings = state_.settings(name);
      changes_.member<Input::Id::portConfig>(sources_.input, name, pointerTo(settings),
                                             Coming::bare, inputPort);
    }
    if (dirty_.instances) {
      changes_.members<Input::Id::stpiConfig>(
          sources_.input, instance(!bridge().instanceName.empty()), &itself, Coming::whole, nothing,
          [this](Lumo::Ptr<Stp::Input::StpiConfig const> const& below, Lumo::String const* name) {
            changes_.members<Stp::Input::StpiConfig::Id::mstiConfig>(
                below, toldIf(name, state_.configuredInstances()), &nameOfInstance, Coming::whole,
                inputMsti);
          });
    }
    changes_.attribute<Input::Id::mode>(sources_.input, bridge().mode);
    changes_.attribute<Input::Id::portfastBpduguard>(sources_.input, false);
    changes_.attribute<Input::Id::mstConfig>(sources_.input, bridge().configured);
    disabledVlans<Input::Id::disabledVlan>(sources_.input);
  }

  void running() {
    for (Lumo::String const& name : dirty_.ports) {
      auto const settings = state_.settings(name);
      if (settings && !sources_.config->portConfig(name)) {
        isConfigNew_.insert(name);
      }
      changes_.member<Config::Id::portConfig>(sources_.config, name, pointerTo(settings),
                                              Coming::whole, runningPort);
    }
    changes_.attribute<Config::Id::portfastBpduguard>(sources_.config, false);
    changes_.attribute<Config::Id::mstConfig>(sources_.config, bridge().running);
    disabledVlans<Config::Id::disabledVlan>(sources_.config);
  }

  // SONiC has no global BPDU guard, and no running copy of what is disabled.
  template <auto id, class Entity>
  void disabledVlans(Lumo::Ptr<Entity const> const& entity) {
    eachVlan([&](std::uint16_t vlan) {
      changes_.entry<id>(entity, vlan, entity->disabledVlan(vlan),
                         state_.isDisabled(vlan) ? std::optional(true) : std::nullopt);
    });
  }

  void status() {
    Lumo::Ptr<Stp::StpiStatus const> present =
        Stp::memberFind(sources_.status->stpiStatus(), bridge().instanceName);
    if (dirty_.instances) {
      changes_.members<Status::Id::stpiStatus>(
          sources_.status, instance(bridge().runs()), &itself, Coming::whole, nothing,
          [&](Lumo::Ptr<Stp::StpiStatus const> const& below, Lumo::String const* name) {
            changes_.members<Stp::StpiStatus::Id::mstiStatus>(
                below, toldIf(name, state_.runningInstances()), &nameOfInstance, Coming::whole,
                mstiStatus);
            if (name != nullptr) {
              present = below;
            } else {
              changes_.members<Stp::StpiStatus::Id::stpiPortStatus>(
                  below, std::span<Lumo::String const>(), &itself, Coming::whole, nothing);
            }
          });
    }
    if (bridge().runs() && present) {
      for (Lumo::String const& name : dirty_.ports) {
        statusOf(present, name);
      }
    }
    changes_.attribute<Status::Id::activeProtocol>(sources_.status, bridge().activeProtocol);
  }

  void statusOf(Lumo::Ptr<Stp::StpiStatus const> const& of, Lumo::String const& name) {
    using Of = Stp::StpiStatus;
    auto const operation = state_.operation(name);
    if (operation && isConfigNew_.contains(name) && of->stpiPortStatus(name)) {
      changes_.memberAnew<Of::Id::stpiPortStatus>(of, name, *operation, portStatus);
    } else {
      changes_.member<Of::Id::stpiPortStatus>(of, name, pointerTo(operation), Coming::whole,
                                              portStatus);
    }
  }

  void operation() {
    changes_.attribute<Bridge::Id::running>(sources_.operational, bridge().runsMst());
    std::map<std::uint16_t, Lumo::Ptr<Tree const>> coming;
    if (dirty_.instances) {
      trees(coming);
    }
    for (TreePortKey const& key : dirty_.treePorts) {
      if (!state_.hasTree(key.first)) {
        continue;  // they went with it
      }
      auto const isComing = coming.find(key.first);
      Lumo::Ptr<Tree const> const of =
          isComing != coming.end()
              ? isComing->second
              : sources_.operational->tree(Stp::instanceIdToMstiName(key.first));
      auto const told = state_.treePort(key);
      changes_.member<Tree::Id::port>(of, key.second, pointerTo(told), Coming::whole, treePort);
    }
  }

  void trees(std::map<std::uint16_t, Lumo::Ptr<Tree const>>& coming) {
    changes_.members<Bridge::Id::tree>(
        sources_.operational, std::span(state_.trees()), &nameOfTree, Coming::whole, tree,
        [&](Lumo::Ptr<Tree const> const& below, RunningTree const* told) {
          if (told == nullptr) {
            changes_.members<Tree::Id::port>(below, std::span<Lumo::String const>(), &itself,
                                             Coming::whole, nothing);
          } else if (!sources_.operational->tree(nameOfTree(*told))) {
            coming.emplace(told->id, below);
            auto const ports = state_.portsOf(told->id);
            dirty_.treePorts.insert(ports.begin(), ports.end());
          }
        });
  }

  // What is told of something: all of it, or nothing if that is not to be there.
  template <class Record>
  static std::span<Record const> toldIf(Lumo::String const* name,
                                        std::vector<Record> const& records) {
    return name != nullptr ? std::span(records) : std::span<Record const>();
  }

  SwitchState const& state_;
  SourceView const& sources_;
  Dirty dirty_;
  std::set<Lumo::String> isConfigNew_;
  Difference<SonicOwnership> changes_;
};

}  // namespace

void Mapping::scanned(std::span<RowRead const> all) {
  rows_.clear();
  complaints_.scanBegin();
  for (RowRead const& row : all) {
    rows_.take(row, dirty_, complaints_);
  }
  complaints_.scanEnd();
  dirty_.everything = true;
  settle();
}

void Mapping::changed(std::span<RowRead const> rows) {
  for (RowRead const& row : rows) {
    rows_.take(row, dirty_, complaints_);
  }
  settle();
}

void Mapping::settle() {
  if (state_.derive(dirty_.everything || dirty_.instances)) {
    dirty_.everything = true;
  }
  conflicts_.scanBegin();
  for (Conflict const& conflict : state_.conflicts()) {
    std::string const what = "VLAN " + std::to_string(conflict.vlan) + " is in instance " +
                             std::to_string(conflict.other) + ", too, and this one is left out";
    auto const* const forms = rows_.of<Instance>().find(conflict.instance);
    conflicts_.rowIs(Store::configuration, forms->begin()->first.second, {{"", {what, what}}});
  }
  conflicts_.scanEnd();
}

Changes Mapping::differences(SourceView const& sources) {
  Dirty dirty = std::exchange(dirty_, {});
  dirty_.everything = false;
  if (dirty.everything) {
    everythingAdd(dirty, sources);
  }
  return Comparison(state_, sources, std::move(dirty)).take();
}

// All that there is, and all that is to be there.
void Mapping::everythingAdd(Dirty& dirty, SourceView const& sources) const {
  dirty.instances = true;
  for (std::uint16_t vlan = 0; vlan < Stp::VlanSet::size; ++vlan) {
    dirty.vlans.insert(vlan);
  }
  auto const portsOf = [&dirty](auto const& things) {
    for (auto const& thing : things) {
      if constexpr (requires { thing.first; }) {
        dirty.ports.insert(thing.first);
      } else {
        dirty.ports.insert(thing.key);
      }
    }
  };
  portsOf(rows_.things<Port>());
  portsOf(rows_.things<RunningVlanPort>());
  portsOf(sources.input->portConfig());
  portsOf(sources.config->portConfig());
  for (auto const& instance : sources.status->stpiStatus()) {
    portsOf(instance.value->stpiPortStatus());
  }
  for (auto const& [key, forms] : rows_.things<RunningTreePort>()) {
    dirty.touch(std::type_identity<RunningTreePort>(), key);
  }
  for (RunningTree const& tree : state_.trees()) {
    if (auto const present = sources.operational->tree(nameOfTree(tree))) {
      for (auto const& port : present->port()) {
        dirty.treePorts.insert({tree.id, port.key});
      }
    }
  }
}

Stp::VlanSet Mapping::disabledVlans() const {
  Stp::VlanSet result;
  for (std::uint16_t vlan = 1; vlan <= largestVlan; ++vlan) {
    if (state_.isDisabled(vlan)) {
      result.insert(vlan);
    }
  }
  return result;
}

std::vector<std::string> Mapping::takeComplaints() {
  std::vector<std::string> result = complaints_.take();
  for (std::string& conflict : conflicts_.take()) {
    result.push_back(std::move(conflict));
  }
  return result;
}

}  // namespace Agent::Sonic
