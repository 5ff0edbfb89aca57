// The places that sources and targets have alike: attributes, and whole collections.
//
// There is a class for each kind of row in an entity's table of attributes. Each checks against the
// present state and returns the change; see Place.h.
#pragma once

#include <string>
#include <utility>

#include "Lumo/Ptr.h"
#include "agent/sources/operations/Place.h"
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
  AttributePlace(Path const& path, Lumo::Ptr<Entity const> entity, Row const& row, bool isTarget)
      : Place(path), entity_(std::move(entity)), row_(row), isTarget_(isTarget) {}

  Change set(Json const& json) const override {
    auto value = present();
    readValue(value, json, valueMember, row_.greatest);
    return Change::set(entity_, row_, std::move(value));
  }

  Change touch() const override {
    if (isTarget_) {
      unsupported("touch");
    }
    return Change::touch(entity_, row_);
  }

 private:
  auto present() const { return ((*entity_).*row_.get)(); }

  Lumo::Ptr<Entity const> entity_;
  Row const& row_;
  bool isTarget_;
};

/// A whole collection or table.
template <class Entity, class Row>
class CollectionPlace final : public Place {
 public:
  CollectionPlace(Path const& path, Lumo::Ptr<Entity const> entity, Row const& row)
      : Place(path), entity_(std::move(entity)), row_(row) {}

  Change clear() const override { return Change::clear(entity_, row_); }

 private:
  Lumo::Ptr<Entity const> entity_;
  Row const& row_;
};

}  // namespace Agent
