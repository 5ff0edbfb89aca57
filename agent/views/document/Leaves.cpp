#include "agent/views/document/Leaves.h"

#include <algorithm>
#include <array>
#include <limits>
#include <type_traits>
#include <utility>

#include "agent/text/Values.h"
#include "agent/views/document/LeafConversions.h"

namespace Agent {

namespace {

using namespace Conversions;

// What a member that is set is as a leaf, or a part of it is.
constexpr auto whole = [](auto const& value) { return converted(value); };
constexpr auto priorityOf = [](auto const& id) { return priority(id); };
constexpr auto addressOf = [](auto const& id) { return address(id); };
constexpr auto numberOf = [](auto const& id) { return portNumber(id); };

template <class Member>
Value valueOf(Member const& member, auto const& convert) {
  return convert(member);
}
template <class Member>
Value valueOf(std::optional<Member> const& member, auto const& convert) {
  return member ? convert(*member) : std::nullopt;
}

// A row whose leaf is a member of a record or part of it, and that of a list's key.
template <class Record, auto member, auto const& convert = whole>
constexpr Leaf leaf(std::string_view name, LeafType type) {
  return {
      name, type,
      [](TargetRecord const& record) { return valueOf(std::get<Record>(record).*member, convert); },
      [](TargetRecord const& a, TargetRecord const& b) {
        return std::get<Record>(a).*member == std::get<Record>(b).*member;
      }};
}
constexpr Leaf keyLeaf(std::string_view name, LeafType type) {
  return {name, type};
}

using Kind = LeafType::Kind;
constexpr LeafType from(std::uint64_t least, std::uint64_t greatest) {
  return {Kind::number, false, least, greatest};
}
constexpr LeafType characters(std::uint64_t least, std::uint64_t greatest) {
  return {Kind::string, false, least, greatest};
}
constexpr auto most = std::numeric_limits<std::uint64_t>::max();
constexpr LeafType boolean{Kind::boolean};
constexpr LeafType string = characters(0, most);
constexpr LeafType enumeration{Kind::enumeration};
constexpr LeafType identityref{Kind::identityref};
constexpr LeafType identityrefs{Kind::identityref, true};
constexpr LeafType vlans{Kind::vlans, true};
constexpr LeafType number16 = from(0, UINT16_MAX);
constexpr LeafType number32 = from(0, UINT32_MAX);
constexpr LeafType number64 = from(0, most);
constexpr LeafType counter{Kind::number, false, 0, most, true};
constexpr LeafType instanceId = from(1, 4094);
constexpr LeafType bridgePriority = from(0, Stp::OCBridgePriority::largest);
constexpr LeafType portPriority = from(1, 240);

template <std::size_t... sizes>
constexpr auto joined(std::array<Leaf, sizes> const&... arrays) {
  std::array<Leaf, (sizes + ...)> all{};
  auto* to = all.begin();
  ((to = std::ranges::copy(arrays, to).out), ...);
  return all;
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
    keyLeaf("name", string),
    leaf<Record, &Record::edgePort>("edge-port", identityref),
    leaf<Record, &Record::linkType>("link-type", enumeration),
    leaf<Record, &Record::bpduGuard>("bpdu-guard", boolean),
};
template <class Record>
constexpr std::array protectionLeaves{
    leaf<Record, &Record::guard>("guard", enumeration),
    leaf<Record, &Record::bpduFilter>("bpdu-filter", boolean),
};
template <class Record>
constexpr std::array rstpLeaves{
    leaf<Record, &Record::helloTime>("hello-time", from(1, 10)),
    leaf<Record, &Record::maxAge>("max-age", from(6, 40)),
    leaf<Record, &Record::forwardingDelay>("forwarding-delay", from(4, 30)),
    leaf<Record, &Record::holdCount>("hold-count", from(1, 10)),
};
template <class Record>
constexpr std::array mstpLeaves =
    joined(std::array{leaf<Record, &Record::name>("name", characters(1, 32)),
                      leaf<Record, &Record::revision>("revision", number32),
                      leaf<Record, &Record::maxHop>("max-hop", from(1, 255))},
           rstpLeaves<Record>);
template <class Record>
constexpr std::array mstInstanceLeaves{
    keyLeaf("mst-id", instanceId),
    leaf<Record, &Record::vlan>("vlan", vlans),
    leaf<Record, &Record::bridgePriority>("bridge-priority", bridgePriority),
};

constexpr std::array protectionErrorLeaves{
    leaf<Stp::OCProtectionState, &Stp::OCProtectionState::bpduGuardError>(
        "stp-openconfig-cist:bpdu-guard-error", boolean),
};

constexpr std::array treeConfigLeaves{
    leaf<Stp::OCTreeConfig, &Stp::OCTreeConfig::bridgePriority>("bridge-priority", bridgePriority),
};

using TreeState = Stp::OCTreeState;
constexpr std::array ownPriorityLeaves{
    leaf<TreeState, &TreeState::bridge, priorityOf>("bridge-priority", bridgePriority),
};
constexpr std::array treeLeaves{
    leaf<TreeState, &TreeState::bridge, addressOf>("bridge-address", string),
    leaf<TreeState, &TreeState::designatedRoot, priorityOf>("designated-root-priority",
                                                            bridgePriority),
    leaf<TreeState, &TreeState::designatedRoot, addressOf>("designated-root-address", string),
    leaf<TreeState, &TreeState::rootPort>("root-port", number16),
    leaf<TreeState, &TreeState::rootCost>("root-cost", number32),
    leaf<TreeState, &TreeState::topologyChanges>("topology-changes", number64),
    leaf<TreeState, &TreeState::lastTopologyChange>("last-topology-change", number64),
};
constexpr std::array regionalRootLeaves{
    leaf<TreeState, &TreeState::regionalRoot, priorityOf>("regional-root-priority", bridgePriority),
    leaf<TreeState, &TreeState::regionalRoot, addressOf>("regional-root-address", string),
    leaf<TreeState, &TreeState::regionalRootCost>("regional-root-cost", number32),
};

constexpr std::array treePortConfigLeaves{
    keyLeaf("name", string),
    leaf<Stp::OCTreePortConfig, &Stp::OCTreePortConfig::portPriority>("port-priority",
                                                                      portPriority),
};

using PortState = Stp::OCTreePortState;
constexpr std::array treePortLeaves{
    keyLeaf("name", string),
    leaf<PortState, &PortState::port, numberOf>("port-num", number16),
    leaf<PortState, &PortState::port, priorityOf>("port-priority", portPriority),
    leaf<PortState, &PortState::cost>("cost", from(1, 200'000'000)),
    leaf<PortState, &PortState::role>("role", identityref),
    leaf<PortState, &PortState::portState>("port-state", identityref),
    leaf<PortState, &PortState::designatedRoot, priorityOf>("designated-root-priority",
                                                            bridgePriority),
    leaf<PortState, &PortState::designatedRoot, addressOf>("designated-root-address", string),
    leaf<PortState, &PortState::designatedCost>("designated-cost", number32),
    leaf<PortState, &PortState::designatedBridge, priorityOf>("designated-bridge-priority",
                                                              bridgePriority),
    leaf<PortState, &PortState::designatedBridge, addressOf>("designated-bridge-address", string),
    leaf<PortState, &PortState::designatedPort, priorityOf>("designated-port-priority",
                                                            portPriority),
    leaf<PortState, &PortState::designatedPort, numberOf>("designated-port-num", number16),
};
constexpr std::array forwardLeaves{
    leaf<PortState, &PortState::forwardTransitions>("forward-transisitions", number64),
};
constexpr std::array disputedLeaves{
    leaf<PortState, &PortState::disputed>("stp-openconfig-cist:disputed", boolean),
};
constexpr std::array cistDisputedLeaves{
    leaf<PortState, &PortState::disputed>("disputed", boolean),
};
constexpr std::array masterLeaves{
    leaf<PortState, &PortState::master>("stp-openconfig-cist:master", boolean),
};

using Counters = Stp::OCTreePortCounters;
constexpr std::array counterLeaves{
    leaf<Counters, &Counters::bpduSent>("bpdu-sent", counter),
    leaf<Counters, &Counters::bpduReceived>("bpdu-received", counter),
};

// What the tables of one kind of tree consist of.
using Stp::TreeId;
constexpr auto protectionStateLeaves =
    joined(protectionLeaves<Stp::OCProtectionState>, protectionErrorLeaves);
constexpr auto rstStateLeaves = joined(ownPriorityLeaves, treeLeaves);
constexpr auto cistStateLeaves = joined(ownPriorityLeaves, treeLeaves, regionalRootLeaves);
constexpr auto rstPortLeaves = joined(treePortLeaves, forwardLeaves, disputedLeaves);
constexpr auto cistPortLeaves = joined(treePortLeaves, forwardLeaves, cistDisputedLeaves);
constexpr auto mstPortLeaves = joined(treePortLeaves, disputedLeaves, masterLeaves);

constexpr std::string_view global = "/stp/global";
constexpr std::string_view interface = "/stp/interfaces/interface[name]";
constexpr std::string_view rstp = "/stp/rstp";
constexpr std::string_view rstpPort = "/stp/rstp/interfaces/interface[name]";
constexpr std::string_view mstp = "/stp/mstp";
constexpr std::string_view mstInstance = "/stp/mstp/mst-instances/mst-instance[mst-id]";
constexpr std::string_view mstInstancePort =
    "/stp/mstp/mst-instances/mst-instance[mst-id]/interfaces/interface[name]";
constexpr std::string_view cist = "/stp/mstp/stp-openconfig-cist:cist";
constexpr std::string_view cistPort =
    "/stp/mstp/stp-openconfig-cist:cist/interfaces/interface[name]";

template <class Record, std::size_t at = 0>
constexpr std::size_t recordIndex() {
  if constexpr (std::is_same_v<std::variant_alternative_t<at, TargetRecord>, Record>) {
    return at;
  } else {
    return recordIndex<Record, at + 1>();
  }
}

template <class Record>
constexpr LeafTable table(std::string_view node, std::string_view container,
                          std::span<Leaf const> leaves,
                          std::optional<TreeId::Kind> tree = std::nullopt) {
  return {node, container, leaves, recordIndex<Record>(), tree};
}

constexpr auto rst = TreeId::Kind::rst;
constexpr auto cst = TreeId::Kind::cist;
constexpr auto mst = TreeId::Kind::mst;

constexpr std::array tables{
    table<Stp::OCGlobalConfigContainer>(global, "config",
                                        globalLeaves<Stp::OCGlobalConfigContainer>),
    table<Stp::OCGlobalStateContainer>(global, "state", globalLeaves<Stp::OCGlobalStateContainer>),
    table<Stp::InterfaceConfig>(interface, "config", interfaceLeaves<Stp::InterfaceConfig>),
    table<Stp::OCProtectionConfig>(interface, "config", protectionLeaves<Stp::OCProtectionConfig>),
    table<Stp::InterfaceState>(interface, "state", interfaceLeaves<Stp::InterfaceState>),
    table<Stp::OCProtectionState>(interface, "state", protectionStateLeaves),
    table<Stp::OCRstpConfigRecord>(rstp, "config", rstpLeaves<Stp::OCRstpConfigRecord>),
    table<Stp::OCTreeConfig>(rstp, "config", treeConfigLeaves, rst),
    table<Stp::OCRstpStateRecord>(rstp, "state", rstpLeaves<Stp::OCRstpStateRecord>),
    table<Stp::OCTreeState>(rstp, "state", rstStateLeaves, rst),
    table<Stp::OCTreePortConfig>(rstpPort, "config", treePortConfigLeaves, rst),
    table<Stp::OCTreePortState>(rstpPort, "state", rstPortLeaves, rst),
    table<Stp::OCTreePortCounters>(rstpPort, "state/counters", counterLeaves, rst),
    table<Stp::OCMstpConfigRecord>(mstp, "config", mstpLeaves<Stp::OCMstpConfigRecord>),
    table<Stp::OCMstpStateRecord>(mstp, "state", mstpLeaves<Stp::OCMstpStateRecord>),
    table<Stp::OCMstiConfig>(mstInstance, "config", mstInstanceLeaves<Stp::OCMstiConfig>),
    table<Stp::OCMstiState>(mstInstance, "state", mstInstanceLeaves<Stp::OCMstiState>),
    table<Stp::OCTreeState>(mstInstance, "state", treeLeaves, mst),
    table<Stp::OCTreePortConfig>(mstInstancePort, "config", treePortConfigLeaves, mst),
    table<Stp::OCTreePortState>(mstInstancePort, "state", mstPortLeaves, mst),
    table<Stp::OCTreeConfig>(cist, "config", treeConfigLeaves, cst),
    table<Stp::OCTreeState>(cist, "state", cistStateLeaves, cst),
    table<Stp::OCTreePortConfig>(cistPort, "config", treePortConfigLeaves, cst),
    table<Stp::OCTreePortState>(cistPort, "state", cistPortLeaves, cst),
    table<Stp::OCTreePortCounters>(cistPort, "state/counters", counterLeaves, cst),
};

// The tree that a key is about.
std::optional<TreeId> treeOf(Key const& key) {
  if (auto const* const id = std::get_if<Stp::TreePortId>(&key)) {
    return id->tree;
  }
  auto const* const tree = std::get_if<TreeId>(&key);
  return tree == nullptr ? std::nullopt : std::optional(*tree);
}

// By the type of the record and the kind of the tree, which is any where records are about none.
constexpr auto tablesByRecord = [] {
  std::array<std::array<LeafTable const*, 3>, std::variant_size_v<TargetRecord>> all{};
  for (LeafTable const& table : tables) {
    for (TreeId::Kind const kind : {rst, cst, mst}) {
      if (table.tree.value_or(kind) == kind) {
        all.at(table.record).at(static_cast<std::size_t>(kind)) = &table;
      }
    }
  }
  return all;
}();

}  // namespace

std::string LeafTable::path(Leaf const& leaf) const {
  std::string path;
  std::string_view rest = node;
  while (!rest.empty()) {
    path.append(rest.substr(0, rest.find('[')));
    rest.remove_prefix(std::min(rest.find(']'), rest.size() - 1) + 1);
  }
  return path.append("/").append(container).append("/").append(leaf.name);
}

bool LeafTable::hasKeyBeside(LeafTable const& other) const {
  return leaves.front().isKey() && other.node.starts_with(node) &&
         (isConfig() || (other.node == node && !other.isConfig()));
}

std::optional<LeafValue> LeafTable::value(Leaf const& leaf, TargetRecord const& record) {
  Value value = leaf.read(record);
  return value && leaf.type.allows(*value) ? std::move(value) : std::nullopt;
}

std::span<LeafTable const> leafTables() {
  return tables;
}

LeafTable const* leafTableOf(std::size_t record, Key const& key) {
  auto const tree = treeOf(key);
  return tablesByRecord.at(record).at(tree ? static_cast<std::size_t>(tree->kind()) : 0);
}

std::optional<EntryKey> entryKeyOf(Key const& key) {
  auto const name = [](Lanx::IntfId port) { return PlainKey(plainKey(port)); };
  EntryKey found;
  if (auto const tree = treeOf(key); tree && tree->kind() == mst) {
    found[0] = std::uint64_t{tree->value()};
  }
  if (auto const* const id = std::get_if<std::uint16_t>(&key)) {
    found[0] = std::uint64_t{*id};
  } else if (auto const* const port = std::get_if<Lanx::IntfId>(&key)) {
    found[0] = name(*port);
  } else if (auto const* const id = std::get_if<Stp::TreePortId>(&key)) {
    found[isSaid(found[0]) ? 1 : 0] = name(id->port);
  }
  auto const isKey = [](PlainKey const& plain) {
    auto const* const number = std::get_if<std::uint64_t>(&plain);
    auto const* const text = std::get_if<std::string>(&plain);
    return number != nullptr ? instanceId.allows(*number) : text == nullptr || string.allows(*text);
  };
  return std::ranges::all_of(found, isKey) ? std::optional(std::move(found)) : std::nullopt;
}

LeafValue keyValue(EntryKey const& key) {
  PlainKey const& plain = innermost(key);
  auto const* const number = std::get_if<std::uint64_t>(&plain);
  return number != nullptr ? LeafValue(*number) : LeafValue(std::get<std::string>(plain));
}

}  // namespace Agent
