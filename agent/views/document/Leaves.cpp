#include "agent/views/document/Leaves.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

#include "agent/text/Values.h"

namespace Agent {

namespace {

using Value = std::optional<LeafValue>;

// How the values of a member are named in the model; of one that has no name there is no leaf.
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

template <class Names, class Enumeration>
std::optional<std::string_view> nameOf(Names const& names, Enumeration value) {
  auto const* const found = std::ranges::find(names, value, &Named<Enumeration>::value);
  return found == names.end() ? std::nullopt : std::optional(found->name);
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

// The conversion of each type of member.
Value converted(bool value) {
  return value;
}
Value converted(Stp::OCBridgePriority value) {
  return std::uint64_t{value.value()};
}
Value converted(Stp::OcEdgePort value) {
  auto const name = nameOf(edgePorts, value);
  return name ? Value(Identity{*name}) : std::nullopt;
}
Value converted(Stp::OcLinkType value) {
  auto const name = nameOf(linkTypes, value);
  return name ? Value(std::string(*name)) : std::nullopt;
}
Value converted(Stp::OcBpduGuard value) {
  bool const isSet = value == Stp::OcBpduGuard::enabled || value == Stp::OcBpduGuard::disabled;
  return isSet ? Value(value == Stp::OcBpduGuard::enabled) : std::nullopt;
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

// A row whose leaf is a member of a record, and that of a list's key, which no record has to know.
template <class Record, auto member>
constexpr Leaf leaf(std::string_view name, LeafType type) {
  return {name, type,
          [](Key const& /*key*/, TargetRecord const& record) {
            return converted(std::get<Record>(record).*member);
          },
          [](TargetRecord const& a, TargetRecord const& b) {
            return std::get<Record>(a).*member == std::get<Record>(b).*member;
          }};
}
constexpr bool isKeyAlone(TargetRecord const& /*a*/, TargetRecord const& /*b*/) {
  return true;
}
constexpr Leaf nameLeaf(std::string_view name, LeafType type) {
  return {name, type,
          [](Key const& key, TargetRecord const& /*record*/) {
            return Value(plainKey(std::get<Lanx::IntfId>(key)));
          },
          isKeyAlone};
}
constexpr Leaf numberLeaf(std::string_view name, LeafType type) {
  return {name, type,
          [](Key const& key, TargetRecord const& /*record*/) {
            return Value(std::uint64_t{std::get<std::uint16_t>(key)});
          },
          isKeyAlone};
}

using Kind = LeafType::Kind;
constexpr LeafType boolean{Kind::boolean};
constexpr LeafType string{Kind::string};
constexpr LeafType enumeration{Kind::enumeration};
constexpr LeafType identityref{Kind::identityref};
constexpr LeafType identityrefs{Kind::identityref, true};
constexpr LeafType vlans{Kind::vlans, true};
constexpr LeafType from(std::uint64_t least, std::uint64_t greatest) {
  return {Kind::number, false, least, greatest};
}

// Configuration and state have the same leaves.
template <class Record>
constexpr std::array globalLeaves{
    leaf<Record, &Record::enabledProtocol>("enabled-protocol", identityrefs),
    leaf<Record, &Record::bpduGuard>("bpdu-guard", boolean),
    leaf<Record, &Record::disabledVlan>("stp-openconfig-disabled-vlan:disabled-vlan", vlans),
};
template <class Record>
constexpr std::array interfaceLeaves{
    nameLeaf("name", string),
    leaf<Record, &Record::edgePort>("edge-port", identityref),
    leaf<Record, &Record::linkType>("link-type", enumeration),
    leaf<Record, &Record::bpduGuard>("bpdu-guard", boolean),
};
template <class Record>
constexpr std::array mstInstanceLeaves{
    numberLeaf("mst-id", from(1, 4094)),
    leaf<Record, &Record::vlan>("vlan", vlans),
    leaf<Record, &Record::bridgePriority>("bridge-priority",
                                          from(0, Stp::OCBridgePriority::largest)),
};

constexpr std::string_view globalNode = "/stp/global";
constexpr std::string_view interfaceNode = "/stp/interfaces/interface";
constexpr std::string_view mstInstanceNode = "/stp/mstp/mst-instances/mst-instance";

constexpr LeafTable tableOf(Stp::OCGlobalConfigContainer const* /*of*/) {
  return {globalNode, "", "config", globalLeaves<Stp::OCGlobalConfigContainer>};
}
constexpr LeafTable tableOf(Stp::OCGlobalStateContainer const* /*of*/) {
  return {globalNode, "", "state", globalLeaves<Stp::OCGlobalStateContainer>};
}
constexpr LeafTable tableOf(Stp::InterfaceConfig const* /*of*/) {
  return {interfaceNode, "name", "config", interfaceLeaves<Stp::InterfaceConfig>};
}
constexpr LeafTable tableOf(Stp::InterfaceState const* /*of*/) {
  return {interfaceNode, "name", "state", interfaceLeaves<Stp::InterfaceState>};
}
constexpr LeafTable tableOf(Stp::OCMstiConfig const* /*of*/) {
  return {mstInstanceNode, "mst-id", "config", mstInstanceLeaves<Stp::OCMstiConfig>};
}
constexpr LeafTable tableOf(Stp::OCMstiState const* /*of*/) {
  return {mstInstanceNode, "mst-id", "state", mstInstanceLeaves<Stp::OCMstiState>};
}
// Nothing is shown of the other records yet.
template <class Record>
constexpr LeafTable tableOf(Record const* /*of*/) {
  return {};
}

template <std::size_t... at>
constexpr auto tables(std::index_sequence<at...> /*of*/) {
  return std::array{
      tableOf(static_cast<std::variant_alternative_t<at, TargetRecord> const*>(nullptr))...};
}

bool isYangString(std::string_view text) {
  auto const byte = [&](std::size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
  };
  for (std::size_t at = 0; at < text.size(); ++at) {
    unsigned const first = byte(at);
    unsigned const second = byte(at + 1);
    unsigned const third = byte(at + 2);
    bool const control = first < 0x20 && first != '\t' && first != '\n' && first != '\r';
    // In UTF-8: U+FDD0 to U+FDEF, U+FFFE and U+FFFF, and the last two of every further plane.
    bool const noncharacter =
        (first == 0xEF && second == 0xB7 && third >= 0x90 && third <= 0xAF) ||
        (first == 0xEF && second == 0xBF && third >= 0xBE) ||
        (first >= 0xF0 && (second & 0xFU) == 0xF && third == 0xBF && byte(at + 3) >= 0xBE);
    if (control || noncharacter) {
      return false;
    }
  }
  return true;
}

}  // namespace

std::array<LeafTable, std::variant_size_v<TargetRecord>> const leafTables =
    tables(std::make_index_sequence<std::variant_size_v<TargetRecord>>());

bool LeafType::allows(LeafValue const& value) const {
  if (auto const* const number = std::get_if<std::uint64_t>(&value)) {
    return *number >= least && *number <= greatest;
  }
  auto const* const text = std::get_if<std::string>(&value);
  return text == nullptr || isYangString(*text);
}

std::string LeafTable::path(Leaf const& leaf) const {
  return std::string(node).append("/").append(container).append("/").append(leaf.name);
}

std::optional<LeafValue> LeafTable::value(Leaf const& leaf, Key const& key,
                                          TargetRecord const& record) {
  Value value = leaf.read(key, record);
  return value && leaf.type.allows(*value) ? std::move(value) : std::nullopt;
}

}  // namespace Agent
