// The rows of all tables of leaves, numbered: what patterns and change sets are made of.
//
// Rows are in the order of the tables: node by node of the schema, in each node its configuration
// before its state. All rows of one node, those of configuration and state alike, belong to one
// entry of the list that the node is, or to the only entry of a node that is no list. A list within
// another is a node of its own.
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "agent/views/document/EntryKey.h"
#include "agent/views/document/Leaves.h"
#include "agent/views/document/SchemaPath.h"

namespace Agent::Gnmi {

/// More rows than there are need a greater capacity.
inline constexpr std::size_t rowCapacity = 192;
using RowSet = std::bitset<rowCapacity>;
using RowNumber = std::uint16_t;

/// As it stands in a path: a number in decimal.
std::string keyText(PlainKey const& key);

/// It is there for the life of the process, as all that it refers to.
struct LeafRow {
  LeafTable const* table;
  Leaf const* leaf;
  RowNumber number;
  /// Which node of the schema its table belongs to.
  std::uint16_t node;
  /// From the root to the leaf.
  std::vector<PathStep> steps;

  /// The module that has the leaf.
  std::string_view module() const { return steps.back().module; }
};

/// By number.
std::span<LeafRow const> leafRows();

/// A node with leaves.
struct NodeRows {
  /// As its tables have it: "/stp/interfaces/interface[name]".
  std::string_view path;
  /// Its tables, in the order of its rows.
  std::vector<LeafTable const*> tables;
  RowSet rows;
  /// Its rows follow each other from this one on.
  RowNumber first;
  /// The number of the node in whose entries its own are, if there is one.
  std::optional<std::uint16_t> outer;

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
