// The mirrors of the operation beside a plain reference: whatever an engine tells, in whatever
// order, the records are those that follow from what is told now, and what is announced is what
// changed.
#include <gtest/gtest.h>

#include <array>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>

#include "StpOper/tests/OperTestSupport.h"

namespace Stp::Oper {
namespace {

using Operational::BridgeTold;
using Operational::PortTold;
using Operational::TreePortTold;
using Operational::TreeTold;

// What an engine tells, without entities.
struct PlainTree {
  TreeTold told;
  std::map<std::string, TreePortTold> ports;
};
struct Plain {
  int mode = 0;
  BridgeTold bridge;
  std::map<std::string, PlainTree> trees;
  std::map<std::string, PortTold> ports;
};

// The records, by the numbers of their keys.
struct Records {
  OCProtocolParameters rstpConfig, rstpState, mstpConfig, mstpState;
  std::map<std::uint64_t, OCTreeConfig> treeConfig;
  std::map<std::uint64_t, OCTreeState> treeState;
  std::map<std::uint64_t, OCTreePortConfig> portConfig;
  std::map<std::uint64_t, OCTreePortState> portState;
  std::map<std::uint64_t, OCTreePortCounters> portCounters;
  std::map<std::uint64_t, OCProtectionConfig> protectionConfig;
  std::map<std::uint64_t, OCProtectionState> protectionState;

  friend bool operator==(Records const&, Records const&) = default;
};

template <class Value, class Member>
std::optional<Member> part(std::optional<Value> const& value, Member (Value::*get)() const) {
  return value ? std::optional(((*value).*get)()) : std::nullopt;
}

void portReferred(Records& records, TreeId tree, bool isMst, bool running, std::string const& name,
                  TreePortTold const& told) {
  TreePortId const id{tree, Lanx::IntfId::of(name)};
  OCTreePortConfig config;
  config.id = id;
  if (told.portId) {
    config.portPriority = told.portId->priority();
  }
  records.portConfig[id.value()] = config;
  if (!running) {
    return;
  }
  OCTreePortState state;
  state.id = id;
  state.port = told.portId;
  state.cost = isMst ? told.internalCost : told.externalCost;
  constexpr std::array<std::optional<OcPortRole>, 6> roles{
      std::nullopt,          OcPortRole::root,   OcPortRole::designated,
      OcPortRole::alternate, OcPortRole::backup, std::nullopt};
  constexpr std::array states{OcPortState::blocking, OcPortState::listening, OcPortState::learning,
                              OcPortState::forwarding};
  if (told.role) {
    state.role = roles.at(static_cast<std::size_t>(*told.role));
  }
  if (told.state) {
    state.portState = states.at(static_cast<std::size_t>(*told.state));
  }
  if (told.role == PortRole::disabled) {
    state.portState = OcPortState::disabled;
  }
  state.designatedRoot = isMst ? told.designatedRegionalRoot : told.designatedRoot;
  state.designatedCost = isMst ? told.designatedInternalCost : told.designatedExternalCost;
  state.designatedBridge = told.designatedBridge;
  state.designatedPort = told.designatedPort;
  state.disputed = told.disputed;
  if (isMst) {
    state.master = told.role == PortRole::master;
  } else {
    state.forwardTransitions = told.forwardTransitions;
    if (told.bpduSent || told.bpduReceived) {
      records.portCounters[id.value()] = {id, told.bpduSent, told.bpduReceived};
    }
  }
  records.portState[id.value()] = state;
}

void treeReferred(Records& records, Plain const& plain, std::string const& name,
                  PlainTree const& tree) {
  bool const isRstp = plain.mode == 0 || plain.mode == 2;
  bool const isCist = plain.mode == 3 && name == "Cist";
  bool const isMst = plain.mode == 3 && name != "Cist";
  if (!isCist && !isMst && !(isRstp && name == "Cist")) {
    return;
  }
  TreeId const id = isRstp   ? TreeId::rst()
                    : isCist ? TreeId()
                             : TreeId::mst(static_cast<std::uint16_t>(std::stoi(name.substr(3))));
  if (!isMst) {
    records.treeConfig[id.value()] = {id, part(tree.told.bridgeId, &BridgeId::priority)};
  }
  if (plain.bridge.running) {
    OCTreeState state;
    state.tree = id;
    state.bridge = tree.told.bridgeId;
    state.designatedRoot = isMst ? tree.told.regionalRoot : tree.told.designatedRoot;
    state.rootCost = isMst ? tree.told.internalRootCost : tree.told.externalRootCost;
    state.rootPort = tree.told.rootPort;
    state.topologyChanges = tree.told.topologyChanges;
    state.lastTopologyChange = tree.told.lastTopologyChange;
    if (isCist) {
      state.regionalRoot = tree.told.regionalRoot;
      state.regionalRootCost = tree.told.internalRootCost;
    }
    records.treeState[id.value()] = state;
  }
  for (auto const& [portName, told] : tree.ports) {
    portReferred(records, id, isMst, plain.bridge.running, portName, told);
  }
}

Records reference(Plain const& plain) {
  Records records;
  BridgeTold const& told = plain.bridge;
  if (plain.mode == 3) {
    records.mstpConfig = {told.helloTime,   told.bridgeMaxAge, told.bridgeForwardDelay,
                          told.txHoldCount, told.maxHops,      told.regionName,
                          told.revision};
    if (told.running) {
      records.mstpState = {told.helloTime, told.maxAge,     told.forwardDelay, told.txHoldCount,
                           told.maxHops,   told.regionName, told.revision};
    }
  } else if (plain.mode == 0 || plain.mode == 2) {
    records.rstpConfig = {
        told.helloTime, told.bridgeMaxAge, told.bridgeForwardDelay, told.txHoldCount, {}, {}, {}};
    if (told.running) {
      records.rstpState = {
          told.helloTime, told.maxAge, told.forwardDelay, told.txHoldCount, {}, {}, {}};
    }
  }
  for (auto const& [name, tree] : plain.trees) {
    treeReferred(records, plain, name, tree);
  }
  for (auto const& [name, port] : plain.ports) {
    Lanx::IntfId const id = Lanx::IntfId::of(name);
    std::optional<OcGuard> guard;
    if (port.restrictedRole) {
      guard = *port.restrictedRole ? OcGuard::root : OcGuard::none;
    }
    records.protectionConfig[id.value()] = {id, guard, port.bpduFilter};
    if (told.running) {
      records.protectionState[id.value()] = {id, guard, port.bpduFilter, port.bpduGuardError};
    }
  }
  return records;
}

class OperationalModel : public OperTest, public testing::WithParamInterface<unsigned> {
 protected:
  template <class Directory>
  static auto held(Lumo::Ptr<Directory> const& directory) {
    std::map<std::uint64_t, typename Directory::Record> all;
    for (auto const& each : directory->record()) {
      all.emplace(each.key.value(), *each.value);
    }
    return all;
  }
  Records present() const {
    return {rstpConfig->record(), rstpState->record(),    mstpConfig->record(), mstpState->record(),
            held(treeConfig),     held(treeState),        held(portConfig),     held(portState),
            held(portCounters),   held(protectionConfig), held(protectionState)};
  }

  unsigned below(unsigned limit) { return std::uniform_int_distribution(0U, limit - 1)(random); }
  bool oneIn(unsigned of) { return below(of) == 0; }
  std::string port() { return "E" + std::to_string(below(3)); }
  std::string tree() { return std::array{"Cist", "MST1", "MST5"}.at(below(3)); }

  template <class Value>
  void pick(std::optional<Value>& value) {
    if (oneIn(4)) {
      value.reset();
    } else if constexpr (std::is_same_v<Value, BridgeId>) {
      value = BridgeId(static_cast<std::uint16_t>(below(3) * 4096), 0, below(2));
    } else if constexpr (std::is_same_v<Value, PortId>) {
      value =
          PortId(static_cast<std::uint8_t>(below(3) * 16), static_cast<std::uint16_t>(below(3)));
    } else if constexpr (std::is_same_v<Value, PortRole>) {
      value = static_cast<PortRole>(below(6));
    } else if constexpr (std::is_same_v<Value, PortState>) {
      value = static_cast<PortState>(below(4));
    } else {
      value = static_cast<Value>(below(2));
    }
  }
  void pick(bool& value) { value = !oneIn(3); }
  void pick(Lumo::String& value) { value = oneIn(2) ? "" : "region"; }

  // Another value for one attribute of an entity, and of what stands for it in the reference.
  template <class Entity, class Told>
  void change(Lumo::Ptr<Entity> const& entity, Told& told) {
    unsigned const chosen = below(std::tuple_size_v<decltype(Entity::attributes)>);
    unsigned at = 0;
    auto const one = [&](auto const& row) {
      if constexpr (requires { row.set; }) {
        if (at++ == chosen) {
          auto value = ((*entity).*row.get)();
          pick(value);
          ((*entity).*row.set)(value);
          told = entity->told();
        }
      }
    };
    std::apply([&](auto const&... row) { (one(row), ...); }, Entity::attributes);
  }

  void step() {
    onlyAValue = false;
    switch (below(12)) {
      case 0:
        plain.mode = std::array{0, 2, 3, 3, 3, 101, -1}.at(below(7));
        input->modeIs(Mode{plain.mode});
        break;
      case 1:
        change(bridge, plain.bridge);
        onlyAValue = true;
        break;
      case 2: {
        std::string const name = tree();
        if (oneIn(2)) {
          bridge->tree.del(name);
          plain.trees.erase(name);
        } else {
          auto const fresh = Lumo::make<Tree>();
          PlainTree& told = plain.trees[name] = {};
          for (unsigned count = below(3); count > 0; --count) {
            std::string const portName = port();
            auto const portOf = Lumo::make<TreePort>();
            change(portOf, told.ports[portName]);
            fresh->port.is(portName, portOf);
          }
          change(fresh, told.told);
          bridge->tree.is(name, fresh);
        }
        break;
      }
      case 3: {
        std::string const name = port();
        if (oneIn(2)) {
          bridge->port.del(name);
          plain.ports.erase(name);
        } else {
          bridge->port.is(name, Lumo::make<Port>());
          plain.ports[name] = {};
        }
        break;
      }
      case 4:
        if (!plain.ports.empty()) {
          auto& [name, told] = *std::next(plain.ports.begin(), below(plain.ports.size()));
          change(bridge->port(name), told);
          onlyAValue = true;
        }
        break;
      case 5: sleepAndWake(); break;
      default: stepInTree(); break;
    }
  }
  void stepInTree() {
    if (plain.trees.empty()) {
      return;
    }
    auto& [treeName, told] = *std::next(plain.trees.begin(), below(plain.trees.size()));
    auto const of = bridge->tree(treeName);
    if (oneIn(6)) {
      change(of, told.told);
      onlyAValue = true;
    } else if (oneIn(4)) {
      std::string const name = port();
      if (oneIn(2)) {
        of->port.del(name);
        told.ports.erase(name);
      } else {
        of->port.is(name, Lumo::make<TreePort>());
        told.ports[name] = {};
      }
    } else if (!told.ports.empty()) {
      auto& [name, portTold] = *std::next(told.ports.begin(), below(told.ports.size()));
      change(of->port(name), portTold);
      onlyAValue = true;
    }
  }
  // The mirrors go and come again; what they wrote stays meanwhile.
  void sleepAndWake() {
    Records const before = present();
    dropped();
    EXPECT_EQ(present(), before);
    mirrored();
  }
  void mirrored() {
    treesMirrored();
    parameters =
        oCProtocolParametersSmFactory(input, bridge, rstpConfig, rstpState, mstpConfig, mstpState);
    protections = oCProtectionDirSmFactory(bridge, protectionConfig, protectionState);
  }
  void dropped() {
    trees = nullptr;
    parameters = nullptr;
    protections = nullptr;
  }

  std::mt19937 random{GetParam()};
  Plain plain;
  bool onlyAValue = false;  // whether the last step changed no more than one attribute
  Lumo::Ptr<OCProtocolParametersSm> parameters;
  Lumo::Ptr<OCProtectionDirSm> protections;
};

// Notes which records are announced.
template <class Directory>
class Announced {
 public:
  explicit Announced(Lumo::Ptr<Directory> const& directory)
      : watch_(directory, [this](Lumo::FieldId, void const* key, void const*) {
          keys_.insert(static_cast<typename Directory::Key const*>(key)->value());
        }) {}

  std::set<std::uint64_t> take() { return std::exchange(keys_, {}); }

 private:
  std::set<std::uint64_t> keys_;
  Watch<Directory> watch_;
};

// The keys under which two collections differ.
template <class Map>
std::set<std::uint64_t> different(Map const& before, Map const& after) {
  std::set<std::uint64_t> keys;
  for (Map const* const each : {&before, &after}) {
    for (auto const& [key, record] : *each) {
      auto const was = before.find(key);
      auto const is = after.find(key);
      if (was == before.end() || is == after.end() || !(was->second == is->second)) {
        keys.insert(key);
      }
    }
  }
  return keys;
}

TEST_P(OperationalModel, RecordsAreThoseThatFollowFromWhatIsTold) {
  mirrored();
  Announced announced(portState);
  for (int count = 0; count < 4000; ++count) {
    Records const before = present();
    step();
    Records const after = present();
    ASSERT_EQ(after.portState, reference(plain).portState) << "step " << count;
    ASSERT_TRUE(after == reference(plain)) << "step " << count;
    std::set<std::uint64_t> const changed = different(before.portState, after.portState);
    std::set<std::uint64_t> const heard = announced.take();
    for (std::uint64_t const key : changed) {
      ASSERT_TRUE(heard.contains(key)) << "step " << count;
    }
    // What takes the place of something else, or goes to another place, may end as it was.
    if (onlyAValue) {
      ASSERT_EQ(heard, changed) << "step " << count;
    }
  }
  dropped();
}

INSTANTIATE_TEST_SUITE_P(Seeds, OperationalModel, testing::Range(1U, 9U));

}  // namespace
}  // namespace Stp::Oper
