// What the keys of rows say behind the name of their table: for FieldTable.h.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>
#include <variant>

#include "Lumo/String.h"

namespace Agent::Sonic {

/// The key of the one row that a table has.
using OnlyRow = std::monostate;

/// A port in a tree: the instance, and the port's name.
using TreePortKey = std::pair<std::uint16_t, Lumo::String>;

/// What a key says. Where several keys say the same, the row whose key has the lowest rank counts.
template <class Key>
struct ReadKey {
  Key key;
  std::uint8_t rank = 0;
};

// Each takes the rest of a key and what separates its parts, and gives nothing for one that it
// can't read.

/// "GLOBAL".
std::optional<ReadKey<OnlyRow>> globalKey(std::string_view rest, std::string_view separator);
/// "Vlan1" to "Vlan4094".
std::optional<ReadKey<std::uint16_t>> vlanKey(std::string_view rest, std::string_view separator);
/// A port's name: not empty, and UTF-8.
std::optional<ReadKey<Lumo::String>> portKey(std::string_view rest, std::string_view separator);
/// "0" to "4094".
std::optional<ReadKey<std::uint16_t>> instanceKey(std::string_view rest,
                                                  std::string_view separator);
/// The same in any of the forms in which instances are configured: the number, perhaps behind
/// "INSTANCE", perhaps behind "MST_INSTANCE|" (the first in rank) or "MST_INSTANCE:" (the last),
/// words in any case.
std::optional<ReadKey<std::uint16_t>> anyInstanceKey(std::string_view rest,
                                                     std::string_view separator);
/// An instance and a port.
std::optional<ReadKey<TreePortKey>> treePortKey(std::string_view rest, std::string_view separator);
/// A VLAN and a port; the port is what counts.
std::optional<ReadKey<Lumo::String>> vlanPortKey(std::string_view rest, std::string_view separator);

}  // namespace Agent::Sonic
