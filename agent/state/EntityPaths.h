// Where in the database an entity stands.
#pragma once

#include <string>
#include <unordered_map>

#include "agent/state/Database.h"

namespace Agent {

/// The paths of all entities of a database, as they are when this is made.
class EntityPaths {
 public:
  explicit EntityPaths(Database const& database);

  /// The path as operations have it, an array of JSON; empty for a node that is no entity of the
  /// database.
  std::string of(Lumo::Node const& node) const;

 private:
  std::unordered_map<Lumo::Node const*, std::string> paths_;
};

}  // namespace Agent
