// The places that sources and targets have alike: attributes, and whole collections.
//
// There is a class for each kind of row in an entity's table of attributes. Each checks against the
// present state and returns the change; see PathTable.h.
#pragma once

#include <string>
#include <utility>

#include "Lumo/FieldId.h"
#include "Lumo/Ptr.h"
#include "agent/sources/operations/PathTable.h"
#include "agent/text/Refusal.h"
#include "agent/text/Values.h"

namespace Agent {

inline constexpr Where valueMember{"value"};

/// A place under a key of a collection or table.
class KeyedPlace : public Place {
 protected:
  using Place::Place;

  /// Refuses the last step, the key.
  [[noreturn]] void refuseKey(std::string const& what) const;

  void requirePresent(bool present) const;
  void requireAbsent(bool present) const;
};

/// A plain attribute, or the one record of a target.
template <class Entity, class Row>
class AttributePlace final : public Place {
 public:
  AttributePlace(Path const& path, Lumo::Ptr<Entity> entity, Row const& row, bool isTarget)
      : Place(path), entity_(std::move(entity)), row_(row), isTarget_(isTarget) {}

  Commit set(Json const& json) const override {
    auto value = present();
    readValue(value, row_.name, json, valueMember);
    return [entity = entity_, &row = row_, value] { ((*entity).*row.set)(value); };
  }

  Commit touch() const override {
    if (isTarget_) {
      unsupported("touch");
    }
    return [entity = entity_, id = row_.id, value = present()] {
      entity->publisher().publishChangeRecursive(static_cast<Lumo::FieldId>(id), &value, &value);
    };
  }

 private:
  auto present() const { return ((*entity_).*row_.get)(); }

  Lumo::Ptr<Entity> entity_;
  Row const& row_;
  bool isTarget_;
};

/// A whole collection or table.
template <class Entity>
class CollectionPlace final : public Place {
 public:
  using DelAll = void (Entity::*)();

  CollectionPlace(Path const& path, Lumo::Ptr<Entity> entity, DelAll delAll)
      : Place(path), entity_(std::move(entity)), delAll_(delAll) {}

  Commit clear() const override {
    return [entity = entity_, delAll = delAll_] { ((*entity).*delAll)(); };
  }

 private:
  Lumo::Ptr<Entity> entity_;
  DelAll delAll_;
};

}  // namespace Agent
