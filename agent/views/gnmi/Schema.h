// The schema as clients may name it: what is served, and what the models have beyond that.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "agent/views/gnmi/LeafRows.h"

namespace Agent::Gnmi {

/// A node of the schema, the root included, which has no name.
class SchemaNode {
 public:
  SchemaNode() = default;
  SchemaNode(SchemaNode const&) = delete;
  SchemaNode& operator=(SchemaNode const&) = delete;
  ~SchemaNode() = default;

  /// The name, its module, and the name of the key of a list.
  PathStep const& step() const { return step_; }
  std::string_view name() const { return step_.name; }
  std::string_view module() const { return step_.module; }
  /// Null for the root.
  SchemaNode const* parent() const { return parent_; }
  std::span<std::unique_ptr<SchemaNode> const> children() const { return children_; }

  bool isList() const { return !step_.listKey.empty(); }
  /// How many lists there are at it and above.
  std::size_t lists() const;

  /// The rows at it and below; none where nothing of it is served.
  RowSet const& rows() const { return rows_; }
  bool isServed() const { return rows_.any(); }
  /// Whether it is a leaf that is served; then it has one row.
  bool isLeaf() const { return row_ != nullptr; }
  LeafRow const* row() const { return row_; }

  /// Whether `name`, bare or behind a module's, is this node's.
  bool isNamed(std::string_view name) const;
  /// The child of this name, bare or behind its module's; null if there is none.
  SchemaNode const* child(std::string_view name) const;

  /// "/stp/interfaces/interface"; with bare names.
  std::string path() const;

 private:
  friend class SchemaBuilder;

  PathStep step_ = {};
  SchemaNode const* parent_ = nullptr;
  std::vector<std::unique_ptr<SchemaNode>> children_;
  RowSet rows_;
  LeafRow const* row_ = nullptr;
};

/// The root.
SchemaNode const& schema();

/// A module whose leaves, or types of leaves, are served.
struct Model {
  std::string_view name;
  std::string_view organization;
  std::string_view version;
};
std::span<Model const> models();

/// A module as a client names it; what it leaves empty is any.
struct ModelName {
  std::string name;
  std::string organization;
  std::string version;
};

/// The rows of these modules, all rows for none. Throws a Failure for one that is not served.
RowSet rowsOf(std::span<ModelName const> models);

}  // namespace Agent::Gnmi
