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

/// Whether a pattern, a key some or all of which may not be said, has a key, or all keys that
/// another pattern has.
bool covers(EntryKey const& pattern, EntryKey const& key);

/// Calls `visit(pattern)` for a key or pattern itself, and for all that have all its keys.
template <class Visit>
void eachPatternOf(EntryKey const& key, Visit const& visit) {
  auto const& [outer, inner] = key;
  visit(key);
  if (isSaid(outer) && isSaid(inner)) {
    visit(EntryKey{outer});
    visit(EntryKey{PlainKey(), inner});
  }
  if (isSaid(outer) || isSaid(inner)) {
    visit(EntryKey());
  }
}

/// A set of leaves, those included that are not there yet. Equal sets are equal, however they were
/// put together.
class Selection {
 public:
  /// Adds rows of all entries whose key the pattern has: those of all, if it says none.
  void add(RowSet const& rows, EntryKey const& pattern = {});
  void add(Selection const& other);
  /// Leaves only what is among these rows.
  void restrictTo(RowSet const& rows);

  /// The rows that are selected of the entry with this key; what is said of rows of other nodes
  /// means nothing.
  RowSet rows(EntryKey const& key) const;

  /// The rows of all entries, and those by pattern beyond them. What a row is selected by is not
  /// selected by a further pattern again.
  RowSet const& everywhere() const { return everywhere_; }
  std::map<EntryKey, RowSet> const& byPattern() const { return byPattern_; }

  bool empty() const { return everywhere_.none() && byPattern_.empty(); }
  bool operator==(Selection const&) const = default;

 private:
  RowSet everywhere_;
  std::map<EntryKey, RowSet> byPattern_;
};

/// One node that a path means, in all entries of the lists at and above it whose key the pattern
/// has.
struct MeantNode {
  SchemaNode const* node;
  EntryKey pattern = {};
};

/// A path that was looked up in the schema.
struct ResolvedPath {
  Selection selection;
  /// Whether it may mean several things: it has a wildcard, or a list without its key.
  bool isWild = false;
  /// None lies below another, unless in entries that the other does not mean.
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
