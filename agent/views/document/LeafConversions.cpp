#include "agent/views/document/LeafConversions.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/text/Identifiers.h"

namespace Agent::Conversions {

namespace {

// How the values of a member are named in the model.
template <class Enumeration>
struct Named {
  Enumeration value;
  std::string_view name;
};
template <class Enumeration>
Named(Enumeration, char const*) -> Named<Enumeration>;

constexpr std::array protocols{
    Named{Stp::OcStpEnabledProtocol::rstp, "openconfig-spanning-tree-types:RSTP"},
    Named{Stp::OcStpEnabledProtocol::mstp, "openconfig-spanning-tree-types:MSTP"},
    Named{Stp::OcStpEnabledProtocol::rapidPvst, "openconfig-spanning-tree-types:RAPID_PVST"},
};
constexpr std::array edgePorts{
    Named{Stp::OcEdgePort::edgeEnable, "openconfig-spanning-tree-types:EDGE_ENABLE"},
    Named{Stp::OcEdgePort::edgeDisable, "openconfig-spanning-tree-types:EDGE_DISABLE"},
    Named{Stp::OcEdgePort::edgeAuto, "openconfig-spanning-tree-types:EDGE_AUTO"},
};
constexpr std::array linkTypes{
    Named{Stp::OcLinkType::p2p, "P2P"},
    Named{Stp::OcLinkType::shared, "SHARED"},
};
constexpr std::array guards{
    Named{Stp::OcGuard::root, "ROOT"},
    Named{Stp::OcGuard::loop, "LOOP"},
    Named{Stp::OcGuard::none, "NONE"},
};
constexpr std::array portRoles{
    Named{Stp::OcPortRole::root, "openconfig-spanning-tree-types:ROOT"},
    Named{Stp::OcPortRole::designated, "openconfig-spanning-tree-types:DESIGNATED"},
    Named{Stp::OcPortRole::alternate, "openconfig-spanning-tree-types:ALTERNATE"},
    Named{Stp::OcPortRole::backup, "openconfig-spanning-tree-types:BACKUP"},
};
constexpr std::array portStates{
    Named{Stp::OcPortState::disabled, "openconfig-spanning-tree-types:DISABLED"},
    Named{Stp::OcPortState::listening, "openconfig-spanning-tree-types:LISTENING"},
    Named{Stp::OcPortState::learning, "openconfig-spanning-tree-types:LEARNING"},
    Named{Stp::OcPortState::blocking, "openconfig-spanning-tree-types:BLOCKING"},
    Named{Stp::OcPortState::forwarding, "openconfig-spanning-tree-types:FORWARDING"},
};

template <class Names, class Enumeration>
std::optional<std::string_view> nameOf(Names const& names, Enumeration value) {
  auto const* const found = std::ranges::find(names, value, &Named<Enumeration>::value);
  return found == names.end() ? std::nullopt : std::optional(found->name);
}

template <class Names, class Enumeration>
Value identity(Names const& names, Enumeration value) {
  auto const name = nameOf(names, value);
  return name ? Value(Identity{*name}) : std::nullopt;
}
template <class Names, class Enumeration>
Value enumerated(Names const& names, Enumeration value) {
  auto const name = nameOf(names, value);
  return name ? Value(std::string(*name)) : std::nullopt;
}

// The entries of a leaf-list are distinct, of equal ones the first stays; an empty one is no leaf.
Value leafList(std::vector<LeafEntry> entries) {
  std::vector<std::size_t> order(entries.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::ranges::stable_sort(order, {}, [&](std::size_t at) -> LeafEntry& { return entries[at]; });
  std::vector<bool> isAgain(entries.size());
  for (std::size_t at = 1; at < order.size(); ++at) {
    isAgain[order[at]] = entries[order[at]] == entries[order[at - 1]];
  }
  std::vector<LeafEntry> distinct;
  distinct.reserve(entries.size());
  for (std::size_t at = 0; at < entries.size(); ++at) {
    if (!isAgain[at]) {
      distinct.push_back(std::move(entries[at]));
    }
  }
  return distinct.empty() ? std::nullopt : Value(std::move(distinct));
}

}  // namespace

Value converted(bool value) {
  return value;
}
Value converted(Lumo::String const& value) {
  return value.toString();
}
Value converted(Stp::OCBridgePriority value) {
  return std::uint64_t{value.value()};
}
Value converted(Stp::OcEdgePort value) {
  return identity(edgePorts, value);
}
Value converted(Stp::OcLinkType value) {
  return enumerated(linkTypes, value);
}
Value converted(Stp::OcBpduGuard value) {
  bool const isSet = value == Stp::OcBpduGuard::enabled || value == Stp::OcBpduGuard::disabled;
  return isSet ? Value(value == Stp::OcBpduGuard::enabled) : std::nullopt;
}
Value converted(Stp::OcGuard value) {
  return enumerated(guards, value);
}
Value converted(Stp::OcPortRole value) {
  return identity(portRoles, value);
}
Value converted(Stp::OcPortState value) {
  return identity(portStates, value);
}
Value converted(Stp::SharedList<Stp::OcStpEnabledProtocol> const& list) {
  std::vector<LeafEntry> entries;
  for (Stp::OcStpEnabledProtocol const value : list) {
    if (auto const name = nameOf(protocols, value)) {
      entries.emplace_back(Identity{*name});
    }
  }
  return leafList(std::move(entries));
}
Value converted(Stp::SharedList<Stp::VlanIdOrRange> const& list) {
  std::vector<LeafEntry> entries;
  for (Stp::VlanIdOrRange const& entry : list) {
    if (entry.tag() == Stp::VlanIdOrRange::Tag::vlanId) {
      entries.emplace_back(std::uint64_t{entry.vlanId().value()});
    } else {
      Stp::VlanRange const range = entry.vlanRange();
      entries.emplace_back(std::to_string(range.first.value()) + ".." +
                           std::to_string(range.last.value()));
    }
  }
  return leafList(std::move(entries));
}

Value priority(Stp::BridgeId id) {
  return std::uint64_t{id.priority()};
}
Value address(Stp::BridgeId id) {
  std::string const text = textOf(id);
  return text.substr(text.rfind('.') + 1);
}
Value priority(Stp::PortId id) {
  return std::uint64_t{id.priority()};
}
Value portNumber(Stp::PortId id) {
  return std::uint64_t{id.number()};
}

}  // namespace Agent::Conversions
