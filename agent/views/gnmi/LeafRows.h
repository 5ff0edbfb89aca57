// The rows of all tables of leaves, numbered: what patterns and change sets are made of.
//
// Rows are in the order of paths: node by node of the schema, in each node its configuration before
// its state. All rows of one node, those of configuration and state alike, belong to one entry of
// the list that the node is, or to the only entry of a node that is no list.
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "agent/views/document/DocumentBuilder.h"
#include "agent/views/document/Leaves.h"

namespace Agent::Gnmi {

/// More rows than there are need a greater capacity.
inline constexpr std::size_t rowCapacity = 128;
using RowSet = std::bitset<rowCapacity>;
using RowNumber = std::uint16_t;

/// As it stands in a path: a number in decimal.
std::string keyText(EntryKey const& key);

/// It is there for the life of the process, as all that it refers to.
struct LeafRow {
  LeafTable const* table;
  Leaf const* leaf;
  RowNumber number;
  /// Which node of the schema its table belongs to.
  std::uint16_t node;
  /// The module that has the leaf.
  std::string_view module;
  /// The path without modules: "stp", "interfaces", "interface", "config", "edge-port".
  std::vector<std::string_view> names;
  /// The place in `names` of the list, whose element has the key; past the end if there is none.
  std::size_t keyed;
};

/// By number.
std::span<LeafRow const> leafRows();

/// A node with leaves.
struct NodeRows {
  /// "/stp/interfaces/interface".
  std::string_view path;
  /// The name of the list's key; empty where the node is no list.
  std::string_view listKey;
  /// Its tables, in the order of its rows.
  std::vector<LeafTable const*> tables;
  RowSet rows;
  /// Its rows follow each other from this one on.
  RowNumber first;

  std::span<LeafRow const> leaves() const { return leafRows().subspan(first, rows.count()); }
};

/// By the number that LeafRow::node has.
std::span<NodeRows const> nodeRows();

/// The sets of rows by which a client can ask.
enum class DataType : std::uint8_t {
  all,
  config,
  state,
  operational,  ///< the state that has no configuration of the same name beside it
};
RowSet rowsOf(DataType type);

/// The rows that a target tells by samples where it is left to it.
RowSet counterRows();

}  // namespace Agent::Gnmi
