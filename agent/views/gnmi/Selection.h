// Which leaves a request means: paths compiled to sets of rows.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "agent/views/gnmi/LeafRows.h"
#include "agent/views/gnmi/RequestPath.h"
#include "agent/views/gnmi/Schema.h"

namespace Agent::Gnmi {

/// A set of leaves, those included that are not there yet. Equal sets are equal, however they were
/// put together.
class Selection {
 public:
  /// Adds rows of all entries, or of that with the key alone.
  void add(RowSet const& rows);
  void add(RowSet const& rows, EntryKey const& key);
  void add(Selection const& other);
  /// Leaves only what is among these rows.
  void restrictTo(RowSet const& rows);

  /// The rows that are selected of the entry with this key; what is said of rows of other nodes
  /// means nothing.
  RowSet rows(EntryKey const& key) const;

  /// The rows of all entries, and those by key beyond them.
  RowSet const& everywhere() const { return everywhere_; }
  std::map<EntryKey, RowSet> const& byKey() const { return byKey_; }

  bool empty() const { return everywhere_.none() && byKey_.empty(); }
  bool operator==(Selection const&) const = default;

 private:
  void restrictByKey(RowSet const& rows);

  RowSet everywhere_;
  std::map<EntryKey, RowSet> byKey_;
};

/// One node that a path means, in every entry of the list at or above it, or in the one with the
/// key.
struct MeantNode {
  SchemaNode const* node;
  EntryKey key = {};
};

/// A path that was looked up in the schema.
struct ResolvedPath {
  Selection selection;
  /// Whether it may mean several things: it has a wildcard, or a list without its key.
  bool isWild = false;
  /// None lies below another, unless they differ in the key.
  std::vector<MeantNode> nodes;
  /// As pathText says it.
  std::string text;
};

/// What a path is for decides how one that can't be meant fails.
enum class Purpose : std::uint8_t {
  read,  ///< not in the model: invalidArgument
  write  ///< not in the model: notFound; a wildcard: invalidArgument
};

/// Looks a joined path up. Throws a Failure that names the element at fault; unimplemented for what
/// the model has, but is not served.
ResolvedPath resolve(RequestPath const& path, Purpose purpose = Purpose::read);

}  // namespace Agent::Gnmi
