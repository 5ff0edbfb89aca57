// What documents of the public model are put together from, whole ones and parts of them.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "agent/text/Json.h"
#include "agent/views/document/Leaves.h"

namespace Agent {

/// The key of an entry of a list: a name or a number; nothing where the node is no list.
using EntryKey = std::variant<std::monostate, std::uint64_t, std::string>;

/// The key under which the model has a record; none if it can't have such a key.
std::optional<EntryKey> entryKeyOf(LeafTable const& table, Key const& key,
                                   TargetRecord const& record);

/// Orders names as people do: runs of digits by their number, Ethernet2 before Ethernet10. Names
/// that differ in leading zeros only follow each other by byte.
bool naturalLess(std::string_view a, std::string_view b);

/// Orders the entries of one list: numbers by value, names as people do.
struct EntryKeyLess {
  bool operator()(EntryKey const& a, EntryKey const& b) const;
};

/// A leaf's value as RFC 7951 has it.
OrderedJson jsonOf(LeafValue const& value);

/// Takes leaves container by container, and makes of them the JSON document of RFC 7951. Nodes are
/// in the order in which they come first, lists in the order of their keys.
class DocumentBuilder {
 public:
  /// An entry is there, with its key; false if it was there already.
  bool entryAdd(LeafTable const& table, EntryKey const& key) { return entry(table, key).second; }

  /// The leaves of a table in one entry, by their names, take the place of those that it had.
  void leavesAdd(LeafTable const& table, EntryKey const& key, OrderedJson leaves);

  /// The document; once.
  OrderedJson take();

 private:
  // What stands at one node of the schema: by the key of the list, if it is one, the containers
  // with their leaves.
  struct Node {
    std::string_view path;
    std::string_view listKey;
    std::map<EntryKey, OrderedJson, EntryKeyLess> entries;
  };

  std::pair<OrderedJson*, bool> entry(LeafTable const& table, EntryKey const& key);

  std::vector<Node> nodes_;
};

}  // namespace Agent
