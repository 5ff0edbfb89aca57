// Values of attributes and members of records, from JSON and to JSON: their types and ranges.
//
// Types carry most ranges themselves. What the types leave open is narrowed here, at the agent's
// border, because it would otherwise end the process deep inside a handler.
#pragma once

#include <concepts>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "Lanx/IntfId.h"
#include "Lumo/Bytes.h"
#include "Lumo/String.h"
#include "StpTypes/ConfigBase.h"
#include "StpTypes/OpenConfigConfig.h"
#include "StpTypes/OpenConfigState.h"
#include "StpTypes/SharedList.h"
#include "StpTypes/VlanIdOrRange.h"
#include "agent/text/Json.h"
#include "agent/text/Refusal.h"

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

template <class Value>
concept Composite = requires(Value const* value) {
  fieldsOf(value);
};

/// A number, or an enumeration, any number of which can occur.
template <class Value>
concept Number = std::is_enum_v<Value> ||(std::integral<Value> && !std::same_as<Value, bool>);

/// The least and the greatest number that an attribute takes.
template <class Integer>
struct Limits {
  Integer least = std::numeric_limits<Integer>::min();
  Integer greatest = std::numeric_limits<Integer>::max();
};

/// Those of a type, or what a row narrows them to.
template <class Integer>
constexpr Limits<Integer> limitsOf(std::optional<std::uint16_t> greatest) {
  if constexpr (std::same_as<Integer, std::uint16_t>) {
    return {0, greatest.value_or(Limits<Integer>().greatest)};
  } else {
    return {};
  }
}

/// The whole number that `json` is. Refuses everything else, a number written with a fraction or
/// an exponent too, and what lies outside the limits.
std::int64_t readSigned(Json const& json, Where const& where, Limits<std::int64_t> limits);
std::uint64_t readUnsigned(Json const& json, Where const& where, Limits<std::uint64_t> limits);

template <class Integer>
Integer readInteger(Json const& json, Where const& where, Limits<Integer> limits) {
  if constexpr (std::signed_integral<Integer>) {
    return static_cast<Integer>(readSigned(json, where, {limits.least, limits.greatest}));
  } else {
    return static_cast<Integer>(readUnsigned(json, where, {limits.least, limits.greatest}));
  }
}

/// Adds an entry to a packed map of VLANs to instances.
void vlanMapPush(Lumo::Bytes& map, std::uint16_t vlan, std::uint16_t instance);

/// The non-empty text of a name.
Lumo::String readName(Json const& json, Where const& where);

/// An id of a VLAN that can exist, 1 to 4094.
std::uint16_t readVlanId(Json const& json, Where const& where);

void readPlain(bool& value, Json const& json, Where const& where);
void readPlain(Lumo::String& value, Json const& json, Where const& where);
void readPlain(Lumo::Bytes& vidToMsti, Json const& json, Where const& where);
void readPlain(Lanx::IntfId& value, Json const& json, Where const& where);
void readPlain(Stp::OCBridgePriority& value, Json const& json, Where const& where);
void readPlain(Stp::SharedList<Stp::OcStpEnabledProtocol>& value, Json const& json,
               Where const& where);
void readPlain(Stp::SharedList<Stp::VlanIdOrRange>& value, Json const& json, Where const& where);

/// Makes `value` what `json` says; members that a composite value is not given keep theirs.
/// A number above `greatest` is refused. When it throws a Refusal, `value` may have changed in
/// part.
template <class Value>
void readValue(Value& value, Json const& json, Where const& where,
               std::optional<std::uint16_t> greatest = {}) {
  if constexpr (Composite<Value>) {
    if (!json.is_object()) {
      where.refuse(brief(json) + " is not an object");
    }
    for (auto const& [name, member] : json.get_ref<Json::object_t const&>()) {
      Where const memberAt(where, name);
      bool const known = std::apply(
          [&, &name = name, &member = member](auto const&... field) {
            return ((field.name == name &&
                     (readValue(value.*field.member, member, memberAt, field.greatest), true)) ||
                    ...);
          },
          fieldsOf(static_cast<Value const*>(nullptr)));
      if (!known) {
        memberAt.refuse("unknown member");
      }
    }
  } else if constexpr (std::is_enum_v<Value>) {
    using Integer = std::underlying_type_t<Value>;
    value = static_cast<Value>(readInteger<Integer>(json, where, limitsOf<Integer>(greatest)));
  } else if constexpr (Number<Value>) {
    value = readInteger<Value>(json, where, limitsOf<Value>(greatest));
  } else {
    readPlain(value, json, where);
  }
}

OrderedJson showPlain(Lanx::IntfId value);
OrderedJson showPlain(Stp::OCBridgePriority value);
OrderedJson showPlain(Stp::SharedList<Stp::OcStpEnabledProtocol> const& value);
OrderedJson showPlain(Stp::SharedList<Stp::VlanIdOrRange> const& value);

/// A key as it is shown and sorted: a name, by byte, or a number.
inline std::string plainKey(Lanx::IntfId key) {
  return key.stringValue().toString();
}
inline std::string plainKey(Lumo::String const& key) {
  return key.toString();
}
inline std::uint16_t plainKey(std::uint16_t key) {
  return key;
}

/// The JSON of which `readValue` makes the same value.
template <class Value>
OrderedJson showValue(Value const& value) {
  if constexpr (Composite<Value>) {
    OrderedJson object = OrderedJson::object();
    std::apply(
        [&](auto const&... field) {
          (memberAdd(object, field.name, showValue(value.*field.member)), ...);
        },
        fieldsOf(static_cast<Value const*>(nullptr)));
    return object;
  } else if constexpr (std::is_enum_v<Value>) {
    return static_cast<std::underlying_type_t<Value>>(value);
  } else if constexpr (std::integral<Value>) {
    return value;
  } else {
    return showPlain(value);
  }
}

}  // namespace Agent
