#include "World.h"

#include <concepts>
#include <cstdint>
#include <map>
#include <sstream>
#include <tuple>
#include <type_traits>

#include "Memory.h"
#include "Stp/tests/GlobalTestSupport.h"
#include "Stp/tests/MstTestSupport.h"

namespace Shortage {

namespace {

using BpduguardEnabledState = Stp::PortConfigBase::BpduguardEnabledState;

Stp::MstConfig mapOf(std::uint16_t vlan) {
  Stp::MstConfig config = Stp::TestSupport::mstConfig(
      {{2, 1}, {3, 1}, {7, 5}, {vlan, 6}, {static_cast<std::uint16_t>(vlan + 2), 6}});
  config.regionName = "a region whose name is new with VLAN " + std::to_string(vlan);
  return config;
}

Lumo::String nameOf(std::string_view kind, unsigned round) {
  return std::string(kind) + std::to_string(round);
}

template <class Value>
std::string valueText(Value const& value) {
  if constexpr (std::is_enum_v<Value>) {
    return std::to_string(static_cast<std::int64_t>(value));
  } else if constexpr (std::is_arithmetic_v<Value>) {
    return std::to_string(value);
  } else if constexpr (std::derived_from<Value, Stp::OCGlobalContainer>) {
    return Stp::GlobalTest::textOf(value);
  } else if constexpr (std::derived_from<Value, Stp::OCMstiRecord>) {
    return (std::ostringstream() << Stp::TestSupport::recordOf(value)).str();
  } else if constexpr (std::is_same_v<Value, Stp::MstConfig>) {
    std::string text = value.regionName.toString() + " ";
    for (std::size_t at = 0; at < value.vidToMsti.size(); ++at) {
      text += std::to_string(value.vidToMsti[at]) + ".";
    }
    return text + " " + std::to_string(value.revision);
  } else {
    return value.name.stringValue().toString() + " " + valueText(value.linkType) + " " +
           valueText(value.edgePort) + " " + valueText(value.bpduGuard);
  }
}

std::string keyText(std::uint16_t key) {
  return std::to_string(key);
}
std::string keyText(Lanx::IntfId key) {
  return key.stringValue().toString();
}
std::string keyText(Lumo::String const& key) {
  return key.toString();
}

// Members in the order of their keys: one that was made and taken back has lost its place.
template <class Members, class Text>
std::string membersText(Members const& members, Text textOf) {
  std::map<std::string, std::string> texts;
  for (auto const& member : members) {
    texts[keyText(member.key)] = textOf(*member.value);
  }
  std::string text;
  for (auto const& [key, value] : texts) {
    text += "\n" + key + ": " + value;
  }
  return text;
}

template <class Entity>
std::string contentOf(Entity const& entity) {
  std::string text;
  auto const add = [&](auto const& row) {
    text += std::string(row.name) + "=";
    if constexpr (requires { row.get; }) {
      text += valueText((entity.*row.get)());
    } else if constexpr (requires { row.members; }) {
      text += membersText((entity.*row.members)(),
                          [](auto const& member) { return contentOf(member); });
    } else if constexpr (requires { row.records; }) {
      text += membersText((entity.*row.records)(),
                          [](auto const& record) { return valueText(record); });
    } else {
      for (std::uint16_t const vlan : (entity.*row.entries)().inOrder()) {
        text += std::to_string(vlan) + " ";
      }
    }
    text += ", ";
  };
  std::apply([&](auto const&... row) { (add(row), ...); }, Entity::attributes);
  return text;
}

std::string usersOf(Lumo::Entity const& entity) {
  return std::to_string(entity.references()) + (entity.publisher().empty() ? "\n" : " watched\n");
}

template <class Entity>
std::string allUsersOf(Entity const& entity) {
  std::string text = usersOf(entity);
  auto const add = [&](auto const& row) {
    if constexpr (requires { row.members; }) {
      text += membersText((entity.*row.members)(),
                          [](auto const& member) { return allUsersOf(member); });
    }
  };
  std::apply([&](auto const&... row) { (add(row), ...); }, Entity::attributes);
  return text;
}

}  // namespace

template <class Entity>
void Readers::changed(Entity const& entity, void const* key) {
  ++changes_;
  if constexpr (std::is_same_v<Entity, Stp::OCInterfaceConfigDir>) {
    watch(entity.interface(*static_cast<Lanx::IntfId const*>(key)));
  } else if constexpr (std::is_same_v<Entity, Stp::OCMstiConfigDir>) {
    watch(entity.mstInstance(*static_cast<std::uint16_t const*>(key)));
  }
  if (refuse_ && left_-- == 0) {
    refuse_ = false;
    throw Refused();
  }
}

template <class Entity>
void Readers::watch(Lumo::Ptr<Entity> const& entity) {
  if (entity) {
    watches_.push_back(std::make_shared<Stp::TestSupport::Watch<Entity>>(
        entity, [this, &read = *entity](Lumo::FieldId, void const* key, void const*) {
          Plenty const plenty;
          changed(read, key);
        }));
  }
}
template void Readers::watch(Lumo::Ptr<Stp::Input::Config> const&);

void Readers::refuseAfter(unsigned allowed) {
  left_ = allowed;
  refuse_ = true;
}

World::World() {
  for (Stp::ConfigBase* const base :
       {static_cast<Stp::ConfigBase*>(input.get()), static_cast<Stp::ConfigBase*>(config.get())}) {
    for (std::uint16_t const vlan : {10, 11, 20}) {
      base->disabledVlanIs(vlan, true);
    }
    base->mstConfigIs(mapOf(100));
  }
  for (std::uint16_t const vlan : {1, 10, 20, 21}) {
    vlans->vlanConfigIs(vlan);
  }
  input->modeIs(Stp::Mode::mstp);
  status->activeProtocolIs(Stp::Mode::mstp);
  input->stpiConfig.is("Mst", mstInput);
  status->stpiStatus.is("Mst", mst);
  status->stpiStatus.is("Vl9", Lumo::make<Stp::StpiStatus>());
  for (Lumo::String const msti : {"Cist", "MST1", "MST9"}) {
    mstInput->mstiConfig.is(msti, Lumo::make<Stp::Input::MstiConfig>());
    mst->mstiStatus.is(msti, Lumo::make<Stp::MstiStatus>());
  }
  mstInput->mstiConfig("MST9")->mstiIdIs(9);
  for (Lumo::String const port : {"Ethernet1", "Ethernet2"}) {
    input->portConfig.is(port, Lumo::make<Stp::Input::PortConfig>());
    config->portConfig.is(port, Lumo::make<Stp::PortConfig>());
    mst->stpiPortStatus.is(port, Lumo::make<Stp::StpiPortStatus>());
  }
  input->portConfig("Ethernet1")->edgePortEnableIs(true);
  // Ports that nobody configured, each in one instance.
  mst->stpiPortStatus.is("Ethernet3", Lumo::make<Stp::StpiPortStatus>());
  status->stpiStatus("Vl9")->stpiPortStatus.is("Ethernet4", Lumo::make<Stp::StpiPortStatus>());

  readers.watch(globalConfig);
  readers.watch(globalState);
  readers.watch(interfaces);
  readers.watch(interfaceStates);
  readers.watch(mstis);
  readers.watch(mstiStates);
}

void World::change(unsigned round) {
  bool const odd = round % 2 != 0;
  for (Stp::ConfigBase* const base :
       {static_cast<Stp::ConfigBase*>(input.get()), static_cast<Stp::ConfigBase*>(config.get())}) {
    base->portfastBpduguardIs(odd);
    base->disabledVlanIs(static_cast<std::uint16_t>(20 + round), true);
    base->mstConfigIs(mapOf(static_cast<std::uint16_t>(100 + round)));
  }
  vlans->vlanConfigIs(static_cast<std::uint16_t>(20 + round));
  input->modeIs(odd ? Stp::Mode::rstp : Stp::Mode::mstp);
  for (auto const& port : input->portConfig()) {
    port.value->edgePortDisableIs(odd);
    port.value->linkTypeIs(odd ? Stp::Input::PortConfig::LinkType::shared
                               : Stp::Input::PortConfig::LinkType::pointToPoint);
    port.value->bpduguardIs(odd ? BpduguardEnabledState::bpduguardEnabled
                                : BpduguardEnabledState::bpduguardDisabled);
  }
  for (auto const& port : config->portConfig()) {
    port.value->bpduguardIs(odd ? BpduguardEnabledState::bpduguardEnabled
                                : BpduguardEnabledState::bpduguardDefault);
    port.value->adminEdgePortIs(odd);
  }
  for (auto const& port : mst->stpiPortStatus()) {
    port.value->operEdgePortIs(odd);
    port.value->operPointToPointMacIs(odd);
  }
  auto const priority = static_cast<std::uint16_t>(4096 * round);
  for (auto const& msti : mstInput->mstiConfig()) {
    msti.value->bridgePriorityIs(priority);
  }
  for (auto const& msti : mst->mstiStatus()) {
    msti.value->bridgePriorityIs(priority);
  }
  input->portConfig.is(nameOf("Ethernet1", round), Lumo::make<Stp::Input::PortConfig>());
  mst->stpiPortStatus.is(nameOf("Ethernet2", round), Lumo::make<Stp::StpiPortStatus>());
  auto const msti = Lumo::make<Stp::Input::MstiConfig>();
  msti->mstiIdIs(static_cast<std::uint16_t>(30 + round));
  mstInput->mstiConfig.is(nameOf("MST3", round), msti);
  mst->mstiStatus.is(nameOf("MST3", round), Lumo::make<Stp::MstiStatus>());
}

std::string World::sources() const {
  return contentOf(*input) + contentOf(*config) + contentOf(*status) + contentOf(*vlans);
}

std::string World::targets() const {
  return contentOf(*globalConfig) + contentOf(*globalState) + contentOf(*interfaces) +
         contentOf(*interfaceStates) + contentOf(*mstis) + contentOf(*mstiStates) + beside();
}

std::string World::footprint() const {
  return allUsersOf(*input) + allUsersOf(*config) + allUsersOf(*status) + allUsersOf(*vlans) +
         usersOf(*globalConfig) + usersOf(*globalState) + usersOf(*interfaces) +
         usersOf(*interfaceStates) + usersOf(*mstis) + usersOf(*mstiStates);
}

}  // namespace Shortage
