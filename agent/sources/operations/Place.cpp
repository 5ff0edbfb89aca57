#include "agent/sources/operations/Place.h"

#include <cstddef>
#include <tuple>
#include <type_traits>

#include "StpTypes/AttributeTable.h"
#include "agent/sources/operations/AttributePlaces.h"
#include "agent/sources/operations/SourcePlaces.h"
#include "agent/sources/operations/TargetPlaces.h"

namespace Agent {

namespace {

constexpr Where pathMember{"path"};

// A path, and how far it was gone.
struct Steps {
  Path const& path;
  std::size_t taken = 0;
  bool inTarget = false;

  bool atEnd() const { return taken == path.size(); }
  Steps next() const { return {path, taken + 1, inTarget}; }
  Json const& step() const { return path[taken]; }

  [[noreturn]] void refuse(std::string const& reason) const {
    Where(pathMember, taken).refuse(reason);
  }
  void requireEnd() const {
    if (!atEnd()) {
      refuse(takenText() + " has nothing below it");
    }
  }
  std::string takenText() const { return pathText(path, taken); }
  std::string_view attributeName() const {
    if (!step().is_string()) {
      refuse(brief(step()) + " is not the name of an attribute");
    }
    return step().get_ref<std::string const&>();
  }
};

// A place with entities below it, or none: nothing is to be done with it as such.
class EntityPlace final : public Place {
 public:
  using Place::Place;
};

template <class Key>
Key readKey(Steps steps) {
  Where const where(pathMember, steps.taken);
  if constexpr (std::is_same_v<Key, std::uint16_t>) {
    return readInteger<std::uint16_t>(steps.step(), where, {0, 4095});
  } else if constexpr (std::is_same_v<Key, Lanx::IntfId>) {
    return Lanx::IntfId::of(readName(steps.step(), where));
  } else if constexpr (std::is_same_v<Key, Lumo::String>) {
    return readName(steps.step(), where);
  } else {
    Key key;
    readValue(key, steps.step(), where);
    return key;
  }
}

bool isInstanceName(Lumo::String const& name) {
  try {
    (void)Stp::mstiNameToInstanceId(name);
    return true;
  } catch (Lumo::RangeException const&) {
    return false;
  }
}

template <class Member>
constexpr bool keyedByInstanceName =
    std::is_same_v<Member, Stp::Input::MstiConfig> || std::is_same_v<Member, Stp::MstiStatus> ||
    std::is_same_v<Member, Stp::Operational::Tree>;

template <class Entity>
std::unique_ptr<Place> inEntity(Lumo::Ptr<Entity const> const& entity, Steps steps);

template <class Entity, class Id, class Owner, class Get, class Set>
std::unique_ptr<Place> atRow(Lumo::Ptr<Entity const> const& entity,
                             Stp::Attribute<Id, Owner, Get, Set> const& row, Steps steps) {
  using Row = Stp::Attribute<Id, Owner, Get, Set>;
  steps.requireEnd();
  return std::make_unique<AttributePlace<Entity, Row>>(steps.path, entity, row, steps.inTarget);
}

template <class Entity, class Id, class Owner, class Key, class Member>
std::unique_ptr<Place> atRow(Lumo::Ptr<Entity const> const& entity,
                             Stp::CollectionAttribute<Id, Owner, Key, Member> const& row,
                             Steps steps) {
  using Row = Stp::CollectionAttribute<Id, Owner, Key, Member>;
  if (steps.atEnd()) {
    return std::make_unique<CollectionPlace<Entity, Row>>(steps.path, entity, row);
  }
  auto const key = readKey<Key>(steps);
  if (keyedByInstanceName<Member> && !isInstanceName(key)) {
    steps.refuse(brief(steps.step()) + R"( is not "Cist" or "MST1" to "MST4095")");
  }
  if (steps.next().atEnd()) {
    return std::make_unique<MemberPlace<Entity, Row>>(steps.path, entity, row, key);
  }
  Lumo::Ptr<Member const> const member = Stp::memberFind(((*entity).*row.members)(), key);
  if (!member) {
    steps.refuse(steps.takenText() + " has no " + brief(steps.step()));
  }
  return inEntity(member, steps.next());
}

template <class Entity, class Id, class Owner, class... Value>
std::unique_ptr<Place> atRow(Lumo::Ptr<Entity const> const& entity,
                             Stp::VlanAttribute<Id, Owner, Value...> const& row, Steps steps) {
  using Row = Stp::VlanAttribute<Id, Owner, Value...>;
  if (steps.atEnd()) {
    return std::make_unique<CollectionPlace<Entity, Row>>(steps.path, entity, row);
  }
  std::uint16_t const vlan = readVlanId(steps.step(), Where(pathMember, steps.taken));
  steps.next().requireEnd();
  return std::make_unique<VlanPlace<Entity, Row, sizeof...(Value) != 0>>(steps.path, entity, row,
                                                                         vlan);
}

template <class Entity, class Id, class Owner, class Key, class Member>
std::unique_ptr<Place> atRow(Lumo::Ptr<Entity const> const& entity,
                             Stp::CreatedCollectionAttribute<Id, Owner, Key, Member> const& row,
                             Steps steps) {
  using Row = Stp::CreatedCollectionAttribute<Id, Owner, Key, Member>;
  if (steps.atEnd()) {
    return std::make_unique<CollectionPlace<Entity, Row>>(steps.path, entity, row);
  }
  auto const key = readKey<Key>(steps);
  steps.next().requireEnd();
  return std::make_unique<RecordHolderPlace<Entity, Row>>(steps.path, entity, row, key);
}

template <class Entity, class Id, class Owner, class Key, class Record>
std::unique_ptr<Place> atRow(Lumo::Ptr<Entity const> const& entity,
                             Stp::RecordCollectionAttribute<Id, Owner, Key, Record> const& row,
                             Steps steps) {
  using Row = Stp::RecordCollectionAttribute<Id, Owner, Key, Record>;
  if (steps.atEnd()) {
    return std::make_unique<CollectionPlace<Entity, Row>>(steps.path, entity, row);
  }
  auto const key = readKey<Key>(steps);
  steps.next().requireEnd();
  return std::make_unique<RecordPlace<Entity, Row>>(steps.path, entity, row, key);
}

template <class Entity>
std::unique_ptr<Place> inEntity(Lumo::Ptr<Entity const> const& entity, Steps steps) {
  if (steps.atEnd()) {
    return std::make_unique<EntityPlace>(steps.path);
  }
  std::string_view const name = steps.attributeName();
  std::unique_ptr<Place> place;
  auto const takes = [&](auto const& row) {
    if (row.name == name) {
      place = atRow(entity, row, steps.next());
    }
    return place != nullptr;
  };
  std::apply([&](auto const&... row) { (takes(row) || ...); }, Entity::attributes);
  if (!place) {
    steps.refuse(steps.takenText() + " has no attribute " + brief(steps.step()));
  }
  return place;
}

// The place below the root of this name, or null if there is no such root.
template <class Entities>
std::unique_ptr<Place> inRoots(Entities const& entities, Steps steps) {
  std::unique_ptr<Place> place;
  auto const takes = [&](auto const& root) {
    if (root.name == steps.attributeName()) {
      place = inEntity(entities.*root.entity, steps.next());
    }
    return place != nullptr;
  };
  std::apply([&](auto const&... root) { (takes(root) || ...); }, Entities::roots());
  return place;
}

}  // namespace

std::string pathText(Path const& path, std::size_t count) {
  std::string text;
  for (std::size_t at = 0; at < count; ++at) {
    text += at == 0 ? "" : ".";
    text +=
        path[at].is_string() ? memberText(path[at].get_ref<std::string const&>()) : brief(path[at]);
  }
  return text;
}

Change Place::set(Json const& /*value*/) const {
  unsupported("set");
}
Change Place::create(Json const& /*value*/) const {
  unsupported("create");
}
Change Place::replace(Json const& /*value*/) const {
  unsupported("replace");
}
Change Place::touch() const {
  unsupported("touch");
}
Change Place::erase() const {
  unsupported("delete");
}
Change Place::clear() const {
  unsupported("clear");
}

void Place::unsupported(std::string_view operation) const {
  pathMember.refuse(pathText(path_, path_.size()) + " does not support " + inQuotes(operation));
}

void KeyedPlace::refuseKey(std::string const& what) const {
  std::size_t const last = path().size() - 1;
  Where(pathMember, last).refuse(pathText(path(), last) + what + brief(path()[last]));
}

void KeyedPlace::requirePresent(bool present) const {
  if (!present) {
    refuseKey(" has no ");
  }
}

void KeyedPlace::requireAbsent(bool present) const {
  if (present) {
    refuseKey(" already has ");
  }
}

std::unique_ptr<Place> placeAt(Database const& database, Path const& path) {
  Steps steps{path};
  if (steps.atEnd()) {
    pathMember.refuse("an empty path");
  }
  auto place = inRoots(database.sources(), steps);
  if (!place) {
    steps.inTarget = true;
    place = inRoots(database.targets(), steps);
  }
  if (!place) {
    steps.refuse(brief(steps.step()) + " is no root of the tree");
  }
  return place;
}

}  // namespace Agent
