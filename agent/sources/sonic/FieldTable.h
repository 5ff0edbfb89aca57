// What is read of the databases: the one place that says which table, key and field is converted
// how, and which member of which record it becomes.
//
// A field is added as a row here and, if it says something new, as a member of a record
// (Records.h); what a record makes of the sources is said in Mapping.cpp. Where the writers of
// these tables differ, in key or field, each way of theirs is another row or form here.
#pragma once

#include <array>
#include <optional>
#include <string_view>
#include <tuple>

#include "agent/sources/sonic/Conversions.h"
#include "agent/sources/sonic/Keys.h"
#include "agent/sources/sonic/Records.h"
#include "agent/sources/sonic/Rows.h"

namespace Agent::Sonic {

/// A field, the conversion of its text, and the member that it becomes.
template <class Record, class Value>
struct Field {
  std::string_view name;
  std::optional<Value> (*read)(std::string_view text);
  std::optional<Value> Record::*member;
};
template <class Record, class Value>
Field(std::string_view, std::optional<Value> (*)(std::string_view), std::optional<Value> Record::*)
    -> Field<Record, Value>;

/// The tables of which rows are read under their own name, and under the temporary one that their
/// producers use, with `_` before it, and that stays where nobody consumes them. The rows under
/// their own name come first.
enum class Names : std::uint8_t { own, ownAndTemporary };

/// A table whose rows make a record each. `isMerged`: of the rows of one thing, each field counts
/// by itself; otherwise the first row alone counts.
template <class RecordOf, class KeyOf, class... Fields>
struct Table {
  using Record = RecordOf;
  using Key = KeyOf;

  Store store;
  std::string_view name;
  Names names;
  std::optional<ReadKey<Key>> (*readKey)(std::string_view rest, std::string_view separator);
  bool isMerged;
  std::tuple<Fields...> fields;
};

/// A table of which one row is read, and only that.
template <class Record, class... Fields>
constexpr Table<Record, OnlyRow, Fields...> onlyRow(Store store, std::string_view name,
                                                    Fields... fields) {
  return {store, name, Names::own, &globalKey, false, {fields...}};
}
template <class Record, class Key, class... Fields>
constexpr Table<Record, Key, Fields...> table(
    Store store, std::string_view name,
    std::optional<ReadKey<Key>> (*readKey)(std::string_view, std::string_view), Fields... fields) {
  return {store, name, Names::own, readKey, false, {fields...}};
}
template <class Record, class Key, class... Fields>
constexpr Table<Record, Key, Fields...> mergedTable(
    Store store, std::string_view name,
    std::optional<ReadKey<Key>> (*readKey)(std::string_view, std::string_view), Fields... fields) {
  return {store, name, Names::own, readKey, true, {fields...}};
}
template <class Record, class Key, class... Fields>
constexpr Table<Record, Key, Fields...> producedTable(
    std::string_view name,
    std::optional<ReadKey<Key>> (*readKey)(std::string_view, std::string_view), Fields... fields) {
  return {Store::application, name, Names::ownAndTemporary, readKey, false, {fields...}};
}

inline constexpr auto priority = &number<std::uint16_t, Stp::largestBridgePriority>;
inline constexpr auto cost = &number<std::uint32_t>;
inline constexpr auto count = &number<std::uint64_t>;

// By store, table and form of the key: the fields, their conversions and members.
inline constexpr std::tuple fieldTable{
    onlyRow<Global>(Store::configuration, "STP", Field{"mode", &mode, &Global::mode}),
    onlyRow<Region>(Store::configuration, "STP_MST", Field{"name", &readableName, &Region::name},
                    Field{"revision", &number<std::uint16_t>, &Region::revision}),
    mergedTable<Instance>(Store::configuration, "STP_MST_INST", &anyInstanceKey,
                          Field{"bridge_priority", priority, &Instance::bridgePriority},
                          Field{"vlan_list", &vlans, &Instance::vlanList},
                          Field{"vlan@", &vlans, &Instance::vlanLeafList}),
    table<Port>(Store::configuration, "STP_PORT", &portKey,
                Field{"edge_port", &trueOrFalse, &Port::edgePort},
                Field{"portfast", &trueOrFalse, &Port::portfast},
                Field{"bpdu_guard", &trueOrFalse, &Port::bpduGuard},
                Field{"link_type", &linkType, &Port::linkType}),
    table<VlanTree>(Store::configuration, "STP_VLAN", &vlanKey,
                    Field{"enabled", &trueOrFalse, &VlanTree::enabled}),
    table<Vlan>(Store::configuration, "VLAN", &vlanKey),
    table<VlanState>(Store::state, "VLAN_TABLE", &vlanKey, Field{"state", &isOk, &VlanState::isOk}),
    producedTable<RunningInstance>(
        "STP_MST_INST_TABLE", &instanceKey,
        Field{"bridge_priority", priority, &RunningInstance::bridgePriority},
        Field{"root_path_cost", cost, &RunningInstance::rootPathCost},
        Field{"vlan@", &vlans, &RunningInstance::vlans}),
    producedTable<RunningTreePort>(
        "STP_MST_PORT_TABLE", &treePortKey, Field{"role", &treePortRole, &RunningTreePort::role},
        Field{"port_state", &treePortState, &RunningTreePort::state},
        Field{"path_cost", cost, &RunningTreePort::pathCost},
        Field{"port_number", &number<std::uint16_t, 4095>, &RunningTreePort::portNumber},
        Field{"fwd_transitions", count, &RunningTreePort::forwardTransitions},
        Field{"bpdu_sent", count, &RunningTreePort::bpduSent},
        Field{"bpdu_received", count, &RunningTreePort::bpduReceived}),
    producedTable<RunningVlan>("STP_VLAN_TABLE", &vlanKey),
    producedTable<RunningVlanPort>("STP_VLAN_PORT_TABLE", &vlanPortKey),
    producedTable<RunningPort>("STP_PORT_TABLE", &portKey,
                               Field{"port_fast", &yesOrNo, &RunningPort::portFast},
                               Field{"edge_port", &yesOrNo, &RunningPort::edgePort},
                               Field{"link_type", &isShared, &RunningPort::isShared}),
};

}  // namespace Agent::Sonic
