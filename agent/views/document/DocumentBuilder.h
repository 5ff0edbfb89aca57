// What documents of the public model are put together from, whole ones and parts of them.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>

#include "agent/text/Json.h"
#include "agent/views/document/EntryKey.h"
#include "agent/views/document/Leaves.h"

namespace Agent {

/// A leaf's value as RFC 7951 has it.
OrderedJson jsonOf(LeafType const& type, LeafValue const& value);

/// Takes leaves table by table and entry by entry, in any order, and makes of them the JSON
/// document of RFC 7951. Nodes are in the order of the tables, lists in the order of their keys;
/// what has no leaf is left out.
class DocumentBuilder {
 public:
  /// The leaves of a table in one entry, by their names: an object to add to, valid until take().
  OrderedJson& leaves(LeafTable const& table, EntryKey const& key);

  /// The document; once.
  OrderedJson take();

 private:
  // A container, a list or an entry of one. Both maps of what is in it are by the place of the
  // first table that has leaves there.
  struct Node {
    std::map<std::size_t, OrderedJson> leaves;
    std::map<std::size_t, std::unique_ptr<Node>> nodes;
    std::string name = {};
    // Of a list.
    std::string listKey = {};
    std::map<PlainKey, std::unique_ptr<Node>, PlainKeyLess> entries = {};
  };

  static void addTo(OrderedJson& object, Node& node);

  Node root_;
};

}  // namespace Agent
