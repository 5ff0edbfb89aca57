// One change of the state, bound to what it changes.
//
// Whoever learns of a change (a line of operations, the comparison with an engine) checks it and
// binds it to an entity, the row of its attribute or collection, a key and a value, all of the
// entity's own types. From then on it can't be refused. It is made of entities that its maker may
// only read: the database alone applies it (Database.h).
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "Lanx/IntfId.h"
#include "Lumo/Entity.h"
#include "Lumo/FieldId.h"
#include "Lumo/Ptr.h"
#include "Lumo/String.h"
#include "StpTypes/Collection.h"
#include "StpTypes/Identifiers.h"

namespace Agent {

/// What a member of a collection or an entry of a table is known by; nothing for what has no key.
using Key = std::variant<std::monostate, Lumo::String, Lanx::IntfId, std::uint16_t, Stp::TreeId,
                         Stp::TreePortId>;

class Change {
 public:
  enum class Kind : std::uint8_t { set, create, replace, touch, erase, clear };

  /// An attribute, or the record of a target, takes a value.
  template <class Entity, class Row, class Value>
  static Change set(Lumo::Ptr<Entity const> const& entity, Row const& row, Value value) {
    return {Kind::set, entity, row.name, {}, [&row, value = std::move(value)](Entity& to) {
              (to.*row.set)(value);
            }};
  }

  /// An entry of a per-VLAN table takes a value.
  template <class Entity, class Row>
  static Change setEntry(Lumo::Ptr<Entity const> const& entity, Row const& row, std::uint16_t vlan,
                         bool value) {
    return {Kind::set, entity, row.name, vlan,
            [&row, vlan, value](Entity& to) { (to.*row.entryIs)(vlan, value); }};
  }

  /// A record of a target is stored under the key that it carries.
  template <class Entity, class Row, class Record>
  static Change setRecord(Lumo::Ptr<Entity const> const& entity, Row const& row, Record record) {
    auto const key = record.key();
    return {Kind::set, entity, row.name, key,
            [&row, record = std::move(record)](Entity& to) { (to.*row.recordIs)(record); }};
  }

  /// A member comes under a key, `kind` create, or in the place of another, `kind` replace.
  template <class Entity, class Row, class Member>
  static Change put(Kind kind, Lumo::Ptr<Entity const> const& entity, Row const& row,
                    Lumo::String const& key, Lumo::Ptr<Member> const& member) {
    return {kind, entity, row.name, key,
            [&row, key, member](Entity& to) { (to.*row.members).is(key, member); }};
  }

  /// A VLAN comes to exist.
  template <class Entity, class Row>
  static Change createEntry(Lumo::Ptr<Entity const> const& entity, Row const& row,
                            std::uint16_t vlan) {
    return {Kind::create, entity, row.name, vlan,
            [&row, vlan](Entity& to) { (to.*row.entryIs)(vlan); }};
  }

  /// A target makes a member under a key, which then stores a record, if one is given.
  template <class Entity, class Row, class MemberRow, class Record>
  static Change createHolder(Lumo::Ptr<Entity const> const& entity, Row const& row,
                             typename Row::KeyType key, MemberRow const& memberRow,
                             std::optional<Record> record) {
    return {Kind::create, entity, row.name, key,
            [&row, key, &memberRow, record = std::move(record)](Entity& to) {
              auto const member = (to.*row.memberIs)(key);
              if (record) {
                ((*member).*memberRow.set)(*record);
              }
            }};
  }

  /// An attribute is announced, with the value that it has now.
  template <class Entity, class Row>
  static Change touch(Lumo::Ptr<Entity const> const& entity, Row const& row) {
    return {Kind::touch, entity, row.name, {}, [&row](Entity& to) {
              auto const value = (to.*row.get)();
              to.publisher().publishChangeRecursive(static_cast<Lumo::FieldId>(row.id), &value,
                                                    &value);
            }};
  }

  /// A member or an entry is announced.
  template <class Entity, class Row, class MemberKey>
  static Change touch(Lumo::Ptr<Entity const> const& entity, Row const& row, MemberKey const& key) {
    return {Kind::touch, entity, row.name, key,
            [&row, key](Entity& to) { Stp::publishMember(to, row.id, key); }};
  }

  /// A member, an entry or a record goes.
  template <class Entity, class Row, class MemberKey>
  static Change erase(Lumo::Ptr<Entity const> const& entity, Row const& row, MemberKey const& key) {
    return {Kind::erase, entity, row.name, key, [&row, key](Entity& to) {
              if constexpr (requires { (to.*row.members).del(key); }) {
                (to.*row.members).del(key);
              } else if constexpr (requires { row.memberDel; }) {
                (to.*row.memberDel)(key);
              } else if constexpr (requires { row.recordDel; }) {
                (to.*row.recordDel)(key);
              } else {
                (to.*row.entryDel)(key);
              }
            }};
  }

  /// All members, entries or records go.
  template <class Entity, class Row>
  static Change clear(Lumo::Ptr<Entity const> const& entity, Row const& row) {
    return {Kind::clear, entity, row.name, {}, [&row](Entity& to) {
              if constexpr (requires { (to.*row.members).delAll(); }) {
                (to.*row.members).delAll();
              } else if constexpr (requires { row.memberDelAll; }) {
                (to.*row.memberDelAll)();
              } else if constexpr (requires { row.recordDelAll; }) {
                (to.*row.recordDelAll)();
              } else {
                (to.*row.entryDelAll)();
              }
            }};
  }

  Kind kind() const { return kind_; }
  Lumo::Entity const& entity() const { return *entity_; }
  /// The name of the attribute or collection.
  std::string_view attribute() const { return attribute_; }
  Key const& key() const { return key_; }

 private:
  friend class Database;

  // The rows are those of the entity types' tables, which live as long as the process.
  template <class Entity, class Write>
  Change(Kind kind, Lumo::Ptr<Entity const> const& entity, std::string_view attribute, Key key,
         Write write)
      : kind_(kind),
        entity_(entity),
        attribute_(attribute),
        key_(std::move(key)),
        write_([write = std::move(write)](Lumo::Entity& to) { write(static_cast<Entity&>(to)); }) {}

  void apply() const { write_(const_cast<Lumo::Entity&>(*entity_)); }

  Kind kind_;
  Lumo::Ptr<Lumo::Entity const> entity_;
  std::string_view attribute_;
  Key key_;
  std::function<void(Lumo::Entity&)> write_;
};

/// Changes in the order in which they are applied.
using Changes = std::vector<Change>;

}  // namespace Agent
