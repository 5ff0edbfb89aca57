#include "agent/text/Values.h"

#include <cmath>
#include <utility>
#include <vector>

#include "Bridging/VlanId.h"

namespace Agent {

namespace {

template <class Integer>
[[noreturn]] void refuseInteger(Json const& json, Where const& where, Limits<Integer> limits) {
  // An integer beyond 64 bits is read as a fraction, too, but was not written as one.
  bool const isFraction = json.is_number_float() && std::abs(json.get<double>()) < 0x1p63;
  std::string const hint = isFraction ? " (written without fraction or exponent)" : "";
  where.refuse(brief(json) + " is not an integer from " + std::to_string(limits.least) + " to " +
               std::to_string(limits.greatest) + hint);
}

Json::array_t const& elements(Json const& json, Where const& where) {
  if (!json.is_array()) {
    where.refuse(brief(json) + " is not an array");
  }
  return json.get_ref<Json::array_t const&>();
}

Json::array_t const& pairOf(Json const& json, Where const& where, std::string const& what) {
  if (!json.is_array() || json.size() != 2) {
    where.refuse(brief(json) + " is not " + what);
  }
  return json.get_ref<Json::array_t const&>();
}

// One entry of a VLAN list. The order of a range's ends is nobody's business here.
Stp::VlanIdOrRange readVlanEntry(Json const& json, Where const& where) {
  if (json.is_number()) {
    return Bridging::VlanId(readVlanId(json, where));
  }
  auto const& ends = pairOf(json, where, "a VLAN id or a pair [first, last]");
  return Stp::VlanRange{Bridging::VlanId(readVlanId(ends[0], Where(where, std::size_t{0}))),
                        Bridging::VlanId(readVlanId(ends[1], Where(where, std::size_t{1})))};
}

// What `read` makes of a text.
template <class Value>
Value readText(Json const& json, Where const& where, std::optional<Value> (*read)(std::string_view),
               std::string_view what) {
  auto const value =
      json.is_string() ? read(json.get_ref<std::string const&>()) : std::optional<Value>();
  if (!value) {
    where.refuse(brief(json) + " is not " + std::string(what));
  }
  return *value;
}

}  // namespace

std::int64_t readSigned(Json const& json, Where const& where, Limits<std::int64_t> limits) {
  if (json.is_number_integer()) {
    bool const fits =
        !json.is_number_unsigned() || std::in_range<std::int64_t>(json.get<std::uint64_t>());
    if (fits) {
      auto const value = json.get<std::int64_t>();
      if (value >= limits.least && value <= limits.greatest) {
        return value;
      }
    }
  }
  refuseInteger(json, where, limits);
}

std::uint64_t readUnsigned(Json const& json, Where const& where, Limits<std::uint64_t> limits) {
  if (json.is_number_unsigned() || (json.is_number_integer() && json.get<std::int64_t>() >= 0)) {
    auto const value = json.get<std::uint64_t>();
    if (value >= limits.least && value <= limits.greatest) {
      return value;
    }
  }
  refuseInteger(json, where, limits);
}

Lumo::String readName(Json const& json, Where const& where) {
  if (!json.is_string() || json.get_ref<std::string const&>().empty()) {
    where.refuse(brief(json) + " is not a name, a string that is not empty");
  }
  return json.get_ref<std::string const&>();
}

std::uint16_t readVlanId(Json const& json, Where const& where) {
  return readInteger<std::uint16_t>(json, where, {Bridging::VlanId::first, Bridging::VlanId::last});
}

void readPlain(bool& value, Json const& json, Where const& where) {
  if (!json.is_boolean()) {
    where.refuse(brief(json) + " is not true or false");
  }
  value = json.get<bool>();
}

void readPlain(Lumo::String& value, Json const& json, Where const& where) {
  if (!json.is_string()) {
    where.refuse(brief(json) + " is not a string");
  }
  value = json.get_ref<std::string const&>();
}

// Four bytes: VLAN and instance, both big-endian.
void vlanMapPush(Lumo::Bytes& map, std::uint16_t vlan, std::uint16_t instance) {
  for (std::uint16_t const half : {vlan, instance}) {
    map.push(static_cast<std::uint8_t>(half >> 8U));
    map.push(static_cast<std::uint8_t>(half & 0xFFU));
  }
}

void readPlain(Lumo::Bytes& vidToMsti, Json const& json, Where const& where) {
  constexpr std::size_t mostPairs = 65535;
  auto const& pairs = elements(json, where);
  if (pairs.size() > mostPairs) {
    where.refuse(std::to_string(pairs.size()) + " pairs, at most " + std::to_string(mostPairs));
  }
  Lumo::Bytes map;
  for (std::size_t at = 0; at < pairs.size(); ++at) {
    Where const pairAt(where, at);
    auto const& pair = pairOf(pairs[at], pairAt, "a pair [vlan, instance]");
    auto const vlan = readInteger<std::uint16_t>(pair[0], Where(pairAt, std::size_t{0}), {});
    auto const instance =
        readInteger<std::uint16_t>(pair[1], Where(pairAt, std::size_t{1}), {0, 4095});
    vlanMapPush(map, vlan, instance);
  }
  vidToMsti = std::move(map);
}

void readPlain(Lanx::IntfId& value, Json const& json, Where const& where) {
  value.handleInitialized(readName(json, where));
}

void readPlain(Stp::OCBridgePriority& value, Json const& json, Where const& where) {
  value = Stp::OCBridgePriority(
      readInteger<std::uint16_t>(json, where, {0, Stp::OCBridgePriority::largest}));
}

void readPlain(Stp::SharedList<Stp::OcStpEnabledProtocol>& value, Json const& json,
               Where const& where) {
  constexpr auto last = static_cast<std::uint8_t>(Stp::OcStpEnabledProtocol::rapidPvst);
  auto const& protocols = elements(json, where);
  Stp::SharedList<Stp::OcStpEnabledProtocol> list;
  for (std::size_t at = 0; at < protocols.size(); ++at) {
    list.push(static_cast<Stp::OcStpEnabledProtocol>(
        readInteger<std::uint8_t>(protocols[at], Where(where, at), {0, last})));
  }
  value = list;
}

void readPlain(Stp::SharedList<Stp::VlanIdOrRange>& value, Json const& json, Where const& where) {
  auto const& entries = elements(json, where);
  Stp::SharedList<Stp::VlanIdOrRange> list;
  for (std::size_t at = 0; at < entries.size(); ++at) {
    list.push(readVlanEntry(entries[at], Where(where, at)));
  }
  value = list;
}

void readPlain(Stp::BridgeId& value, Json const& json, Where const& where) {
  value = readText(json, where, &bridgeIdOf, R"(a bridge id as "8.000.02:00:00:00:00:01")");
}

void readPlain(Stp::PortId& value, Json const& json, Where const& where) {
  value = readText(json, where, &portIdOf, R"(a port id as "8.001")");
}

void readPlain(Stp::TreeId& value, Json const& json, Where const& where) {
  value = readText(json, where, &treeIdOf, R"("Rst", "Cist" or "MST1" to "MST4095")");
}

void readPlain(Stp::TreePortId& value, Json const& json, Where const& where) {
  value = readText(json, where, &treePortIdOf, R"(a tree and a port as "MST5/Ethernet1")");
}

OrderedJson showPlain(Lumo::String const& value) {
  return value.view();
}

OrderedJson showPlain(Lanx::IntfId value) {
  return value.stringValue().view();
}

OrderedJson showPlain(Stp::OCBridgePriority value) {
  return value.value();
}

OrderedJson showPlain(Stp::SharedList<Stp::OcStpEnabledProtocol> const& value) {
  OrderedJson list = OrderedJson::array();
  for (Stp::OcStpEnabledProtocol const protocol : value) {
    list.push_back(static_cast<unsigned>(protocol));
  }
  return list;
}

OrderedJson showPlain(Stp::SharedList<Stp::VlanIdOrRange> const& value) {
  OrderedJson list = OrderedJson::array();
  for (Stp::VlanIdOrRange const& entry : value) {
    if (entry.tag() == Stp::VlanIdOrRange::Tag::vlanId) {
      list.push_back(entry.vlanId().value());
    } else {
      list.push_back(
          OrderedJson::array({entry.vlanRange().first.value(), entry.vlanRange().last.value()}));
    }
  }
  return list;
}

}  // namespace Agent
