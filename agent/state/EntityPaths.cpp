#include "agent/state/EntityPaths.h"

#include <cstdint>
#include <tuple>

#include "Lanx/IntfId.h"
#include "Lumo/String.h"
#include "agent/text/Json.h"
#include "agent/text/Values.h"

namespace Agent {

namespace {

using Paths = std::unordered_map<Lumo::Node const*, std::string>;

template <class Entity>
void addEntity(Paths& paths, Entity const& entity, Json const& path);

// Attributes that hold no entities have nothing to add.
template <class Entity, class Row>
void addMembers(Paths& paths, Entity const& entity, Row const& row, Json const& path) {
  if constexpr (requires {
                  typename Row::MemberType;
                  row.members;
                }) {
    for (auto const& member : (entity.*row.members)()) {
      Json below = path;
      below.push_back(row.name);
      below.push_back(plainKey(member.key));
      addEntity(paths, *member.value, below);
    }
  }
}

template <class Entity>
void addEntity(Paths& paths, Entity const& entity, Json const& path) {
  paths.emplace(&entity, path.dump());
  std::apply([&](auto const&... row) { (addMembers(paths, entity, row, path), ...); },
             Entity::attributes);
}

template <class Entities>
void addRoots(Paths& paths, Entities const& entities) {
  std::apply(
      [&](auto const&... root) {
        (addEntity(paths, *(entities.*root.entity), Json::array({root.name})), ...);
      },
      Entities::roots());
}

}  // namespace

EntityPaths::EntityPaths(Database const& database) {
  addRoots(paths_, database.sources());
  addRoots(paths_, database.targets());
}

std::string EntityPaths::of(Lumo::Node const& node) const {
  auto const found = paths_.find(&node);
  return found == paths_.end() ? "" : found->second;
}

}  // namespace Agent
