// The records of the targets as leaves of the public model openconfig-spanning-tree and of the
// project's augmentation of it.
//
// There is one table of leaves a record. It says under which path of the schema each leaf stands,
// of what type it is and which member of the record it comes from; whatever shows the model, a
// document or a stream of single leaves, is made from it. Of a value that is not set, or lies
// outside the model's type, there is no leaf.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "agent/state/Change.h"
#include "agent/state/TargetRecord.h"

namespace Agent {

/// The module of all names that have no other before them.
inline constexpr std::string_view leafModule = "openconfig-spanning-tree";

/// An identity, by its name behind that of its module, which is another than the leaf's.
struct Identity {
  std::string_view name;

  // NOLINTNEXTLINE(modernize-use-nullptr): there is none
  auto operator<=>(Identity const&) const = default;
};

/// One value of a leaf-list. A text among numbers is a range of them, "10..12".
using LeafEntry = std::variant<std::uint64_t, std::string, Identity>;

/// The value of a leaf or, with all its entries, of a leaf-list.
using LeafValue = std::variant<bool, std::uint64_t, std::string, Identity, std::vector<LeafEntry>>;

/// What the model says of a leaf's values.
struct LeafType {
  enum class Kind : std::uint8_t { boolean, number, string, enumeration, identityref, vlans };
  Kind kind;
  bool isList = false;
  /// Of a number.
  std::uint64_t least = 0;
  std::uint64_t greatest = 0;
  /// Whether it counts events, and so changes far more often than anything else.
  bool isCounter = false;

  /// Whether a value of the kind is one of the type. A string has none of the characters that YANG
  /// has not: control characters other than tab, line feed and carriage return, and the
  /// noncharacters of Unicode.
  bool allows(LeafValue const& value) const;
};

/// A row of a table.
struct Leaf {
  /// Behind the name of its module where that is another than the container's.
  std::string_view name;
  LeafType type;
  /// What a record says of it under a key; nothing where it is not set.
  std::optional<LeafValue> (*read)(Key const& key, TargetRecord const& record);
  /// Whether two records, both of the table's type, say the same of it under one key. Costs less
  /// than to compare values.
  bool (*isSame)(TargetRecord const& a, TargetRecord const& b);
};

/// The table of a record, and where in the schema its leaves stand: in the `container` of the
/// `node`, which is a list if it has a `listKey`, then also the name of the first leaf.
struct LeafTable {
  std::string_view node;
  std::string_view listKey;
  std::string_view container;
  std::span<Leaf const> leaves;

  /// "/stp/interfaces/interface/config/edge-port".
  std::string path(Leaf const& leaf) const;

  /// Whether a leaf is there as soon as its entry of the list is, although there may be no record
  /// of this table: the list's key refers to it. It is read from any record of the entry.
  bool standsAlone(Leaf const& leaf) const {
    return container == "config" && !listKey.empty() && leaf.name == listKey;
  }

  /// What a record says of a leaf under a key, where that is a value of the leaf's type.
  static std::optional<LeafValue> value(Leaf const& leaf, Key const& key,
                                        TargetRecord const& record);
};

/// The tables, by the index of the record's type.
extern std::array<LeafTable, std::variant_size_v<TargetRecord>> const leafTables;

inline LeafTable const& leafTableOf(TargetRecord const& record) {
  return leafTables.at(record.index());
}

}  // namespace Agent
