// The places under the keys of sources: members with attributes of their own, and VLANs.
#pragma once

#include <cstdint>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "Lumo/Ptr.h"
#include "Lumo/String.h"
#include "Stp/vlans/InstanceName.h"
#include "StpTypes/Collection.h"
#include "StpTypes/Input.h"
#include "agent/sources/operations/AttributePlaces.h"
#include "agent/text/Values.h"

namespace Agent {

/// Sets one attribute of an entity that nobody watches yet. Collections can't be given.
template <class Entity>
void attributeGiven(Entity& entity, std::string_view name, Json const& json, Where const& where) {
  auto const setFrom = [&](auto const& row) {
    if (row.name != name) {
      return false;
    }
    if constexpr (requires { row.get; }) {
      auto value = (entity.*row.get)();
      readValue(value, json, where, row.greatest);
      (entity.*row.set)(value);
    } else {
      where.refuse("a collection can't be given here");
    }
    return true;
  };
  bool const known =
      std::apply([&](auto const&... row) { return (setFrom(row) || ...); }, Entity::attributes);
  if (!known) {
    where.refuse("unknown attribute");
  }
}

/// A member of a collection of sources.
template <class Entity, class Row>
class MemberPlace final : public KeyedPlace {
 public:
  using Member = typename Row::MemberType;

  MemberPlace(Path const& path, Lumo::Ptr<Entity const> entity, Row const& row, Lumo::String key)
      : KeyedPlace(path), entity_(std::move(entity)), row_(row), key_(std::move(key)) {}

  Change create(Json const& given) const override {
    requireAbsent(isPresent());
    return put(Change::Kind::create, given);
  }
  Change replace(Json const& given) const override {
    requirePresent(isPresent());
    return put(Change::Kind::replace, given);
  }
  Change touch() const override {
    requirePresent(isPresent());
    return Change::touch(entity_, row_, key_);
  }
  Change erase() const override {
    requirePresent(isPresent());
    return Change::erase(entity_, row_, key_);
  }

 private:
  bool isPresent() const { return ((*entity_).*row_.members)().find(key_) != nullptr; }

  Change put(Change::Kind kind, Json const& given) const {
    auto const member = Lumo::make<Member>();
    if constexpr (std::is_same_v<Member, Stp::Input::MstiConfig>) {
      member->mstiIdIs(Stp::mstiNameToInstanceId(key_));
    }
    for (auto const& [name, json] : given.get_ref<Json::object_t const&>()) {
      attributeGiven(*member, name, json, Where(valueMember, name));
    }
    return Change::put(kind, entity_, row_, key_, member);
  }

  Lumo::Ptr<Entity const> entity_;
  Row const& row_;
  Lumo::String key_;
};

/// An entry of a per-VLAN table: a boolean, or a member without attributes, whose presence is all
/// there is to it.
template <class Entity, class Row, bool hasValue>
class VlanPlace final : public KeyedPlace {
 public:
  VlanPlace(Path const& path, Lumo::Ptr<Entity const> entity, Row const& row, std::uint16_t vlan)
      : KeyedPlace(path), entity_(std::move(entity)), row_(row), vlan_(vlan) {}

  Change set(Json const& json) const override {
    if constexpr (hasValue) {
      bool value = false;
      readValue(value, json, valueMember);
      return Change::setEntry(entity_, row_, vlan_, value);
    } else {
      unsupported("set");
    }
  }
  Change create(Json const& given) const override {
    if constexpr (!hasValue) {
      requireAbsent(isPresent());
      requireNothing(given);
      return Change::createEntry(entity_, row_, vlan_);
    } else {
      unsupported("create");
    }
  }
  // A member that differs in nothing from the one that was there: what is left is the change.
  Change replace(Json const& given) const override {
    if constexpr (!hasValue) {
      requireNothing(given);
      return touch();
    } else {
      unsupported("replace");
    }
  }
  Change touch() const override {
    requirePresent(isPresent());
    return Change::touch(entity_, row_, vlan_);
  }
  Change erase() const override {
    requirePresent(isPresent());
    return Change::erase(entity_, row_, vlan_);
  }

 private:
  bool isPresent() const { return ((*entity_).*row_.entries)().contains(vlan_); }

  static void requireNothing(Json const& given) {
    for (auto const& [name, json] : given.get_ref<Json::object_t const&>()) {
      Where(valueMember, name).refuse("unknown attribute");
    }
  }

  Lumo::Ptr<Entity const> entity_;
  Row const& row_;
  std::uint16_t vlan_;
};

}  // namespace Agent
