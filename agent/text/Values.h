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
#include "StpTypes/Identifiers.h"
#include "StpTypes/OpenConfigConfig.h"
#include "StpTypes/OpenConfigOperational.h"
#include "StpTypes/Operational.h"
#include "StpTypes/SharedList.h"
#include "StpTypes/VlanIdOrRange.h"
#include "agent/text/Fields.h"
#include "agent/text/Identifiers.h"
#include "agent/text/Json.h"
#include "agent/text/Refusal.h"

namespace Agent {

/// A value, or nothing.
template <class Value>
concept Optional = std::same_as<Value, std::optional<typename Value::value_type>>;

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

/// The last enumerator of an enumeration that is complete. Of the others any number can occur.
template <class Enumeration>
inline constexpr auto lastOf = Limits<std::underlying_type_t<Enumeration>>().greatest;
template <>
inline constexpr auto lastOf<Stp::Operational::PortRole> =
    static_cast<std::uint8_t>(Stp::Operational::PortRole::master);
template <>
inline constexpr auto lastOf<Stp::Operational::PortState> =
    static_cast<std::uint8_t>(Stp::Operational::PortState::forwarding);
template <>
inline constexpr auto lastOf<Stp::OcPortRole> = static_cast<std::uint8_t>(Stp::OcPortRole::backup);
template <>
inline constexpr auto lastOf<Stp::OcPortState> =
    static_cast<std::uint8_t>(Stp::OcPortState::forwarding);
template <>
inline constexpr auto lastOf<Stp::OcGuard> = static_cast<std::uint8_t>(Stp::OcGuard::none);

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
void readPlain(Stp::BridgeId& value, Json const& json, Where const& where);
void readPlain(Stp::PortId& value, Json const& json, Where const& where);
void readPlain(Stp::TreeId& value, Json const& json, Where const& where);
void readPlain(Stp::TreePortId& value, Json const& json, Where const& where);

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
  } else if constexpr (Optional<Value>) {
    if (json.is_null()) {
      value.reset();
    } else {
      readValue(value.emplace(), json, where, greatest);
    }
  } else if constexpr (std::is_enum_v<Value>) {
    using Integer = std::underlying_type_t<Value>;
    constexpr Limits<Integer> limits{Limits<Integer>().least, lastOf<Value>};
    value = static_cast<Value>(readInteger<Integer>(json, where, limits));
  } else if constexpr (std::integral<Value> && !std::same_as<Value, bool>) {
    value = readInteger<Value>(json, where, limitsOf<Value>(greatest));
  } else {
    readPlain(value, json, where);
  }
}

OrderedJson showPlain(Lumo::String const& value);
OrderedJson showPlain(Lanx::IntfId value);
OrderedJson showPlain(Stp::OCBridgePriority value);
OrderedJson showPlain(Stp::SharedList<Stp::OcStpEnabledProtocol> const& value);
OrderedJson showPlain(Stp::SharedList<Stp::VlanIdOrRange> const& value);
template <class Identifier>
requires requires(Identifier id) {
  textOf(id);
}
OrderedJson showPlain(Identifier id) {
  return textOf(id);
}

/// A key as it is shown: a name or a number.
inline std::string plainKey(Lanx::IntfId key) {
  return key.stringValue().toString();
}
inline std::string plainKey(Lumo::String const& key) {
  return key.toString();
}
inline std::uint16_t plainKey(std::uint16_t key) {
  return key;
}
inline std::string plainKey(Stp::TreeId key) {
  return textOf(key);
}
inline std::string plainKey(Stp::TreePortId key) {
  return textOf(key);
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
  } else if constexpr (Optional<Value>) {
    return value ? showValue(*value) : OrderedJson();
  } else if constexpr (std::is_enum_v<Value>) {
    return static_cast<std::underlying_type_t<Value>>(value);
  } else if constexpr (std::integral<Value>) {
    return value;
  } else {
    return showPlain(value);
  }
}

}  // namespace Agent
