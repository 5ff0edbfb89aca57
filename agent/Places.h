// The places of the tree, one class for each kind of row in an entity's table of attributes.
//
// Each checks against the present state and returns the change; see PathTable.h.
#pragma once

#include <cstdint>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "Lanx/IntfId.h"
#include "Lumo/Ptr.h"
#include "Lumo/String.h"
#include "PathTable.h"
#include "Refusal.h"
#include "Stp/InstanceName.h"
#include "StpTypes/AttributeTable.h"
#include "StpTypes/Collection.h"
#include "StpTypes/Input.h"
#include "Values.h"

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
  auto present() const { return std::decay_t<decltype(((*entity_).*row_.get)())>(((*entity_).*row_.get)()); }

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

/// Sets one attribute of an entity that nobody watches yet. Collections can't be given.
template <class Entity>
void attributeGiven(Entity& entity, std::string_view name, Json const& json, Where const& where) {
  auto const setFrom = [&](auto const& row) {
    if (row.name != name) {
      return false;
    }
    if constexpr (requires { row.get; }) {
      auto value = (entity.*row.get)();
      readValue(value, name, json, where);
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

  MemberPlace(Path const& path, Lumo::Ptr<Entity> entity, Row const& row, Lumo::String key)
      : KeyedPlace(path), entity_(std::move(entity)), row_(row), key_(std::move(key)) {}

  Commit create(Json const& given) const override {
    requireAbsent(isPresent());
    return put(given);
  }
  Commit replace(Json const& given) const override {
    requirePresent(isPresent());
    return put(given);
  }
  Commit touch() const override {
    requirePresent(isPresent());
    return [entity = entity_, id = row_.id, key = key_] { Stp::publishMember(*entity, id, key); };
  }
  Commit erase() const override {
    requirePresent(isPresent());
    return [entity = entity_, &row = row_, key = key_] { ((*entity).*row.memberDel)(key); };
  }

 private:
  bool isPresent() const { return ((*entity_).*row_.members)().find(key_) != nullptr; }

  Commit put(Json const& given) const {
    auto const member = Lumo::make<Member>();
    if constexpr (std::is_same_v<Member, Stp::Input::MstiConfig>) {
      member->mstiIdIs(Stp::mstiNameToInstanceId(key_));
    }
    for (auto const& [name, json] : given.get_ref<Json::object_t const&>()) {
      attributeGiven(*member, name, json, Where(valueMember, name));
    }
    return [entity = entity_, &row = row_, key = key_, member] {
      ((*entity).*row.memberIs)(key, member);
    };
  }

  Lumo::Ptr<Entity> entity_;
  Row const& row_;
  Lumo::String key_;
};

/// An entry of a per-VLAN table: a boolean, or a member without attributes, whose presence is all
/// there is to it.
template <class Entity, class Row, bool hasValue>
class VlanPlace final : public KeyedPlace {
 public:
  VlanPlace(Path const& path, Lumo::Ptr<Entity> entity, Row const& row, std::uint16_t vlan)
      : KeyedPlace(path), entity_(std::move(entity)), row_(row), vlan_(vlan) {}

  Commit set(Json const& json) const override {
    if constexpr (hasValue) {
      bool value = false;
      readValue(value, row_.name, json, valueMember);
      return [entity = entity_, &row = row_, vlan = vlan_, value] {
        ((*entity).*row.entryIs)(vlan, value);
      };
    } else {
      unsupported("set");
    }
  }
  Commit create(Json const& given) const override {
    if constexpr (!hasValue) {
      requireAbsent(isPresent());
      requireNothing(given);
      return [entity = entity_, &row = row_, vlan = vlan_] { ((*entity).*row.entryIs)(vlan); };
    } else {
      unsupported("create");
    }
  }
  // A member that differs in nothing from the one that was there: what is left is the change.
  Commit replace(Json const& given) const override {
    if constexpr (!hasValue) {
      requireNothing(given);
      return touch();
    } else {
      unsupported("replace");
    }
  }
  Commit touch() const override {
    requirePresent(isPresent());
    return [entity = entity_, id = row_.id, vlan = vlan_] {
      Stp::publishMember(*entity, id, vlan);
    };
  }
  Commit erase() const override {
    requirePresent(isPresent());
    return [entity = entity_, &row = row_, vlan = vlan_] { ((*entity).*row.entryDel)(vlan); };
  }

 private:
  bool isPresent() const { return ((*entity_).*row_.entries)().contains(vlan_); }

  static void requireNothing(Json const& given) {
    for (auto const& [name, json] : given.get_ref<Json::object_t const&>()) {
      Where(valueMember, name).refuse("unknown attribute");
    }
  }

  Lumo::Ptr<Entity> entity_;
  Row const& row_;
  std::uint16_t vlan_;
};

/// A member of a target that holds one record.
template <class Entity, class Row>
class RecordHolderPlace final : public KeyedPlace {
 public:
  using Key = typename Row::KeyType;
  using Member = typename Row::MemberType;

  RecordHolderPlace(Path const& path, Lumo::Ptr<Entity> entity, Row const& row, Key key)
      : KeyedPlace(path), entity_(std::move(entity)), row_(row), key_(key) {}

  Commit set(Json const& json) const override {
    auto const member = Stp::memberFind(((*entity_).*row_.members)(), key_);
    requirePresent(static_cast<bool>(member));
    return [member, value = changed((*member.*record.get)(), json)] {
      (*member.*record.set)(value);
    };
  }
  Commit create(Json const& given) const override {
    requireAbsent(((*entity_).*row_.members)().find(key_) != nullptr);
    auto const fresh = Lumo::make<Member>();
    return [entity = entity_, &row = row_, key = key_, stores = !given.empty(),
            value = changed((*fresh.*record.get)(), given)] {
      auto const member = ((*entity).*row.memberIs)(key);
      if (stores) {
        (*member.*record.set)(value);
      }
    };
  }
  Commit erase() const override {
    requirePresent(((*entity_).*row_.members)().find(key_) != nullptr);
    return [entity = entity_, &row = row_, key = key_] { ((*entity).*row.memberDel)(key); };
  }

 private:
  static constexpr auto const& record = std::get<0>(Member::attributes);

  template <class Record>
  static Record changed(Record value, Json const& json) {
    readValue(value, record.name, json, valueMember);
    return value;
  }

  Lumo::Ptr<Entity> entity_;
  Row const& row_;
  Key key_;
};

/// A record that a target holds by value, under the key that the record carries.
template <class Entity, class Row>
class RecordPlace final : public KeyedPlace {
 public:
  using Key = typename Row::KeyType;
  using Record = typename Row::RecordType;

  RecordPlace(Path const& path, Lumo::Ptr<Entity> entity, Row const& row, Key key)
      : KeyedPlace(path), entity_(std::move(entity)), row_(row), key_(key) {}

  Commit set(Json const& json) const override {
    Record const* const stored = present();
    Record value = stored == nullptr ? Record{key_} : *stored;
    readValue(value, row_.name, json, valueMember);
    if (value.key() != key_) {
      constexpr std::string_view keyName = std::get<0>(fieldsOf(static_cast<Record*>(nullptr))).name;
      Where(valueMember, keyName).refuse("not the key " + brief(path().back()));
    }
    return [entity = entity_, &row = row_, value] { ((*entity).*row.recordIs)(value); };
  }
  Commit erase() const override {
    requirePresent(present() != nullptr);
    return [entity = entity_, &row = row_, key = key_] { ((*entity).*row.recordDel)(key); };
  }

 private:
  Record const* present() const { return Stp::recordFind(((*entity_).*row_.records)(), key_); }

  Lumo::Ptr<Entity> entity_;
  Row const& row_;
  Key key_;
};

}  // namespace Agent
