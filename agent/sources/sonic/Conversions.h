// What the texts of fields say: for the table of what is read (FieldTable.h).
//
// A conversion gives nothing for a text that it can't read, and is never given an empty one.
#pragma once

#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "Lumo/String.h"
#include "StpTypes/ConfigBase.h"
#include "StpTypes/Input.h"
#include "StpTypes/Operational.h"
#include "StpTypes/VlanTable.h"

namespace Agent::Sonic {

/// One instance a VLAN, of the older protocol: the public model has no identity for it.
inline constexpr Stp::Mode pvst{100};
/// Stands for the protocol where none is configured, or none runs.
inline constexpr Stp::Mode noProtocol{-1};

/// The greatest id of a VLAN that can exist, and of an MST instance in the databases.
inline constexpr std::uint16_t largestVlan = 4094;
inline constexpr std::uint16_t largestInstance = 4094;

/// The state of a port in a tree. `inconsistent` is what root guard and loop guard make of it,
/// which has no name elsewhere.
enum class TreePortState : std::uint8_t {
  disabled,
  discarding,
  learning,
  forwarding,
  inconsistent
};

/// Decimal digits, and no more than `greatest`.
template <class Integer, Integer greatest = std::numeric_limits<Integer>::max()>
std::optional<Integer> number(std::string_view text) {
  Integer value = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  bool const isRead = error == std::errc() && end == text.data() + text.size();
  return isRead && value <= greatest ? std::optional(value) : std::nullopt;
}

/// "true" or "false", of what is configured.
std::optional<bool> trueOrFalse(std::string_view text);
/// "yes" or "no", of what operates.
std::optional<bool> yesOrNo(std::string_view text);
/// Whether it is "ok"; any text can be read.
std::optional<bool> isOk(std::string_view text);
/// Whether it is "shared"; any text can be read.
std::optional<bool> isShared(std::string_view text);

std::optional<Stp::Mode> mode(std::string_view text);
std::optional<Stp::Input::PortConfig::LinkType> linkType(std::string_view text);
std::optional<Stp::Operational::PortRole> treePortRole(std::string_view text);
std::optional<TreePortState> treePortState(std::string_view text);

/// Ids and ranges with commas between them, and perhaps one behind the last: "10,20-29,".
std::optional<Stp::VlanSet> vlans(std::string_view text);

/// A text as a name: U+FFFD stands for what isn't UTF-8.
std::optional<Lumo::String> readableName(std::string_view text);

bool isUtf8(std::string_view text);

}  // namespace Agent::Sonic
