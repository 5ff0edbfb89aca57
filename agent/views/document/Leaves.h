// The records of the targets as leaves of the public model openconfig-spanning-tree and of the
// project's augmentations of it.
//
// There is a table of leaves for each record, and for each kind of tree where a record is about
// one. It says under which path of the schema each leaf stands, of what type it is and which member
// of the record it comes from; whatever shows the model, a document or a stream of single leaves,
// is made from it. Of a value that is not set, or lies outside the model's type, there is no leaf.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "StpTypes/Identifiers.h"
#include "agent/state/Change.h"
#include "agent/state/TargetRecord.h"
#include "agent/views/document/EntryKey.h"
#include "agent/views/document/LeafType.h"

namespace Agent {

/// A row of a table.
struct Leaf {
  /// Behind the name of its module where that is another than the container's.
  std::string_view name;
  LeafType type;
  /// What a record says of it; nothing where it is not set. Null for the leaf that the list's key
  /// refers to: no record has to know it.
  std::optional<LeafValue> (*read)(TargetRecord const& record) = nullptr;
  /// Whether two records, both of the table's type, say the same of it. Costs less than to compare
  /// values.
  bool (*isSame)(TargetRecord const& a, TargetRecord const& b) = nullptr;

  bool isKey() const { return read == nullptr; }
};

/// The table of a record, and where in the schema its leaves stand: in the `container` of the
/// `node`. It has the leaf of the key, if the node is a list, unless it shares the container with
/// one before it.
struct LeafTable {
  /// Lists have the name of their key behind them, and names their module before them where it is
  /// another than that of the name above: "/stp/mstp/mst-instances/mst-instance[mst-id]".
  std::string_view node;
  /// "config", "state", or what is in one of them: "state/counters".
  std::string_view container;
  std::span<Leaf const> leaves;
  /// The type of the record, by its index.
  std::size_t record;
  /// Of a record that is about a tree: the only kind that is meant.
  std::optional<Stp::TreeId::Kind> tree = std::nullopt;

  bool isConfig() const { return container == "config"; }

  /// "/stp/interfaces/interface/config/edge-port".
  std::string path(Leaf const& leaf) const;

  /// Whether the first leaf, if that is a list's key, is there as soon as a record of another table
  /// is: in the configuration the keys of all lists around the record, which refer to it, and in
  /// the state the key beside other state.
  bool hasKeyBeside(LeafTable const& other) const;

  /// What a record says of a leaf that is no key, where that is a value of the leaf's type.
  static std::optional<LeafValue> value(Leaf const& leaf, TargetRecord const& record);
};

/// All of them in the order of the schema: node by node, lists before those within them, and in
/// each node configuration, state, and what is within state.
std::span<LeafTable const> leafTables();

/// The table of a record under a key, by the index of its type; null where the model has no place
/// for it.
LeafTable const* leafTableOf(std::size_t record, Key const& key);

/// The key under which the model has what a key of the targets is about; none if it can't have it.
std::optional<EntryKey> entryKeyOf(Key const& key);

/// The value of the leaf to which the key of the innermost list refers.
LeafValue keyValue(EntryKey const& key);

}  // namespace Agent
