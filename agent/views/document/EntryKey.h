// The keys of the model's lists.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace Agent {

/// The key of one list: a name or a number; nothing where there is no list, or no key is said.
using PlainKey = std::variant<std::monostate, std::uint64_t, std::string>;

inline bool isSaid(PlainKey const& key) {
  return !std::holds_alternative<std::monostate>(key);
}

/// The keys of the lists on the way to an entry, the outermost first: of port 7 of MST instance 5
/// they are 5 and "Ethernet7". What is no entry of a list has none of them.
using EntryKey = std::array<PlainKey, 2>;

/// Orders names as people do: runs of digits by their number, Ethernet2 before Ethernet10. Names
/// that differ in leading zeros only follow each other by byte.
bool naturalLess(std::string_view a, std::string_view b);

/// Orders the entries of lists: numbers by value, names as people do.
struct PlainKeyLess {
  bool operator()(PlainKey const& a, PlainKey const& b) const;
};
/// Entry by entry of the outermost list.
struct EntryKeyLess {
  bool operator()(EntryKey const& a, EntryKey const& b) const;
};

/// The key of the list in which an entry is.
PlainKey const& innermost(EntryKey const& key);

}  // namespace Agent
