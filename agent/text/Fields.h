// The members of composite values, by the names under which they are given and shown.
#pragma once

#include <concepts>
#include <cstdint>
#include <optional>
#include <string_view>
#include <tuple>

#include "StpTypes/ConfigBase.h"
#include "StpTypes/OpenConfigConfig.h"
#include "StpTypes/OpenConfigOperational.h"
#include "StpTypes/OpenConfigState.h"

namespace Agent {

/// A member of a composite value, by the name under which it is given and shown.
template <class Record, class Member>
struct Field {
  std::string_view name;
  Member Record::*member;
  std::optional<std::uint16_t> greatest = {};  ///< where that is less than the type's
};
template <class Record, class Member, class... Greatest>
Field(std::string_view, Member Record::*, Greatest...) -> Field<Record, Member>;

/// The members of each composite value, in the order in which they are shown.
constexpr auto fieldsOf(Stp::MstConfig const* /*of*/) {
  return std::tuple{Field{"regionName", &Stp::MstConfig::regionName},
                    Field{"vidToMsti", &Stp::MstConfig::vidToMsti},
                    Field{"revision", &Stp::MstConfig::revision}};
}
constexpr auto fieldsOf(Stp::OCGlobalContainer const* /*of*/) {
  return std::tuple{Field{"enabledProtocol", &Stp::OCGlobalContainer::enabledProtocol},
                    Field{"bpduGuard", &Stp::OCGlobalContainer::bpduGuard},
                    Field{"disabledVlan", &Stp::OCGlobalContainer::disabledVlan}};
}
template <class Record>
requires std::same_as<Record, Stp::InterfaceConfig> || std::same_as<Record, Stp::InterfaceState>
constexpr auto fieldsOf(Record const* /*of*/) {
  return std::tuple{Field{"name", &Record::name}, Field{"linkType", &Record::linkType},
                    Field{"edgePort", &Record::edgePort}, Field{"bpduGuard", &Record::bpduGuard}};
}
constexpr auto fieldsOf(Stp::OCMstiRecord const* /*of*/) {
  return std::tuple{Field{"mstId", &Stp::OCMstiRecord::mstId, Stp::largestMstInstanceId},
                    Field{"bridgePriority", &Stp::OCMstiRecord::bridgePriority},
                    Field{"vlan", &Stp::OCMstiRecord::vlan}};
}

/// The leaves of the protocol's parameters, of each of its four records.
constexpr auto fieldsOf(Stp::OCProtocolParameters const* /*of*/) {
  using Record = Stp::OCProtocolParameters;
  return std::tuple{Field{"helloTime", &Record::helloTime},
                    Field{"maxAge", &Record::maxAge},
                    Field{"forwardingDelay", &Record::forwardingDelay},
                    Field{"holdCount", &Record::holdCount},
                    Field{"maxHop", &Record::maxHop},
                    Field{"name", &Record::name},
                    Field{"revision", &Record::revision}};
}
constexpr auto fieldsOf(Stp::OCTreeConfig const* /*of*/) {
  using Record = Stp::OCTreeConfig;
  return std::tuple{Field{"tree", &Record::tree},
                    Field{"bridgePriority", &Record::bridgePriority, Stp::largestBridgePriority}};
}
constexpr auto fieldsOf(Stp::OCTreeState const* /*of*/) {
  using Record = Stp::OCTreeState;
  return std::tuple{Field{"tree", &Record::tree},
                    Field{"bridge", &Record::bridge},
                    Field{"designatedRoot", &Record::designatedRoot},
                    Field{"rootPort", &Record::rootPort},
                    Field{"rootCost", &Record::rootCost},
                    Field{"topologyChanges", &Record::topologyChanges},
                    Field{"lastTopologyChange", &Record::lastTopologyChange},
                    Field{"regionalRoot", &Record::regionalRoot},
                    Field{"regionalRootCost", &Record::regionalRootCost}};
}
constexpr auto fieldsOf(Stp::OCTreePortConfig const* /*of*/) {
  using Record = Stp::OCTreePortConfig;
  return std::tuple{Field{"id", &Record::id}, Field{"portPriority", &Record::portPriority}};
}
constexpr auto fieldsOf(Stp::OCTreePortState const* /*of*/) {
  using Record = Stp::OCTreePortState;
  return std::tuple{Field{"id", &Record::id},
                    Field{"port", &Record::port},
                    Field{"cost", &Record::cost},
                    Field{"role", &Record::role},
                    Field{"portState", &Record::portState},
                    Field{"designatedRoot", &Record::designatedRoot},
                    Field{"designatedCost", &Record::designatedCost},
                    Field{"designatedBridge", &Record::designatedBridge},
                    Field{"designatedPort", &Record::designatedPort},
                    Field{"forwardTransitions", &Record::forwardTransitions},
                    Field{"disputed", &Record::disputed},
                    Field{"master", &Record::master}};
}
constexpr auto fieldsOf(Stp::OCTreePortCounters const* /*of*/) {
  using Record = Stp::OCTreePortCounters;
  return std::tuple{Field{"id", &Record::id}, Field{"bpduSent", &Record::bpduSent},
                    Field{"bpduReceived", &Record::bpduReceived}};
}
constexpr auto fieldsOf(Stp::OCProtectionConfig const* /*of*/) {
  using Record = Stp::OCProtectionConfig;
  return std::tuple{Field{"name", &Record::name}, Field{"guard", &Record::guard},
                    Field{"bpduFilter", &Record::bpduFilter}};
}
constexpr auto fieldsOf(Stp::OCProtectionState const* /*of*/) {
  using Record = Stp::OCProtectionState;
  return std::tuple{Field{"name", &Record::name}, Field{"guard", &Record::guard},
                    Field{"bpduFilter", &Record::bpduFilter},
                    Field{"bpduGuardError", &Record::bpduGuardError}};
}

/// A value that consists of members.
template <class Value>
concept Composite = requires(Value const* value) {
  fieldsOf(value);
};

}  // namespace Agent
