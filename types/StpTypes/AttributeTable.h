// The table in which an entity type lists its attributes: for introspection, for tools that set
// and show attributes by name, and for subscribers that ask for the present values.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <tuple>

#include "Lumo/Entity.h"
#include "Lumo/FieldId.h"
#include "Lumo/Ptr.h"
#include "StpTypes/Collection.h"
#include "StpTypes/VlanTable.h"

namespace Stp {

/// Calls one subscriber for every member of a collection.
template <class Members>
void notifyKeys(Lumo::Entity const& entity, Lumo::FieldId field, Members const& members,
                Lumo::Subscriber& subscriber) {
  for (auto const& member : members) {
    auto const key = member.key;
    subscriber.notify(entity.publisher(), field, &key, nullptr);
  }
}

/// A plain attribute: one value. `Owner` is the entity type or a base of it. Where the numbers that
/// mean something end below those of the type, the row says so: the entity takes any, whoever reads
/// one from outside the process refuses what is greater.
template <class Id, class Owner, class Get, class Set>
struct Attribute {
  std::string_view name;
  Id id;
  Get (Owner::*get)() const;
  void (Owner::*set)(Set);
  std::optional<std::uint16_t> greatest = {};

  void notifyPresent(Owner const& entity, Lumo::Subscriber& subscriber) const {
    auto const& value = (entity.*get)();
    subscriber.notify(entity.publisher(), static_cast<Lumo::FieldId>(id), &value, &value);
  }
};
template <class Id, class Owner, class Get, class Set, class... Greatest>
Attribute(std::string_view, Id, Get (Owner::*)() const, void (Owner::*)(Set), Greatest...)
    -> Attribute<Id, Owner, Get, Set>;

/// A collection of entities by key.
template <class Id, class Owner, class Key, class Member>
struct CollectionAttribute {
  using KeyType = Key;
  using MemberType = Member;

  std::string_view name;
  Id id;
  Members<Key, Member> Owner::*members;

  void notifyPresent(Owner const& entity, Lumo::Subscriber& subscriber) const {
    notifyKeys(entity, static_cast<Lumo::FieldId>(id), (entity.*members)(), subscriber);
  }
};
template <class Id, class Owner, class Key, class Member>
CollectionAttribute(std::string_view, Id, Members<Key, Member> Owner::*)
    -> CollectionAttribute<Id, Owner, Key, Member>;

/// A collection whose members are created in place by their owner.
template <class Id, class Owner, class Key, class Member>
struct CreatedCollectionAttribute {
  using KeyType = Key;
  using MemberType = Member;

  std::string_view name;
  Id id;
  Collection<Key, Member> const& (Owner::*members)() const;
  Lumo::Ptr<Member> (Owner::*memberIs)(Key);
  bool (Owner::*memberDel)(Key);
  void (Owner::*memberDelAll)();

  void notifyPresent(Owner const& entity, Lumo::Subscriber& subscriber) const {
    notifyKeys(entity, static_cast<Lumo::FieldId>(id), (entity.*members)(), subscriber);
  }
};

/// The row of such a collection; `members` is its accessor without a key.
template <class Key, class Member, class Id, class Owner>
constexpr CreatedCollectionAttribute<Id, Owner, Key, Member> createdCollection(
    std::string_view name, Id id, Collection<Key, Member> const& (Owner::*members)() const,
    Lumo::Ptr<Member> (Owner::*memberIs)(Key), bool (Owner::*memberDel)(Key),
    void (Owner::*memberDelAll)()) {
  return {name, id, members, memberIs, memberDel, memberDelAll};
}

/// A collection of records that carry their key.
template <class Id, class Owner, class Key, class Record>
struct RecordCollectionAttribute {
  using KeyType = Key;
  using RecordType = Record;

  std::string_view name;
  Id id;
  RecordCollection<Key, Record> const& (Owner::*records)() const;
  void (Owner::*recordIs)(Record const&);
  bool (Owner::*recordDel)(Key);
  void (Owner::*recordDelAll)();

  void notifyPresent(Owner const& entity, Lumo::Subscriber& subscriber) const {
    notifyKeys(entity, static_cast<Lumo::FieldId>(id), (entity.*records)(), subscriber);
  }
};

/// The row of a record collection; `records` is its accessor without a key.
template <class Key, class Record, class Id, class Owner>
constexpr RecordCollectionAttribute<Id, Owner, Key, Record> recordCollection(
    std::string_view name, Id id, RecordCollection<Key, Record> const& (Owner::*records)() const,
    void (Owner::*recordIs)(Record const&), bool (Owner::*recordDel)(Key),
    void (Owner::*recordDelAll)()) {
  return {name, id, records, recordIs, recordDel, recordDelAll};
}

/// A per-VLAN table of booleans (`Value` bool), or of mere presence (no value).
template <class Id, class Owner, class... Value>
struct VlanAttribute {
  using KeyType = std::uint16_t;

  std::string_view name;
  Id id;
  VlanSequence const& (Owner::*entries)() const;
  void (Owner::*entryIs)(std::uint16_t, Value...);
  bool (Owner::*entryDel)(std::uint16_t);
  void (Owner::*entryDelAll)();

  void notifyPresent(Owner const& entity, Lumo::Subscriber& subscriber) const {
    for (std::uint16_t const vlan : (entity.*entries)().inOrder()) {
      subscriber.notify(entity.publisher(), static_cast<Lumo::FieldId>(id), &vlan, nullptr);
    }
  }
};
template <class Id, class Owner, class... Value>
VlanAttribute(std::string_view, Id, VlanSequence const& (Owner::*)() const,
              void (Owner::*)(std::uint16_t, Value...), bool (Owner::*)(std::uint16_t),
              void (Owner::*)()) -> VlanAttribute<Id, Owner, Value...>;

/// An entity type with its `attributes` table; `Base` is what it shares with others.
template <class Derived, class Base = Lumo::Entity>
class TypedEntity : public Base {
 public:
  void presentValuesNotify(Lumo::Subscriber& subscriber) const override {
    auto const& entity = static_cast<Derived const&>(*this);
    Lumo::Ptr<Derived const> const held(&entity);  // the subscriber may drop it
    std::apply([&](auto const&... row) { (row.notifyPresent(entity, subscriber), ...); },
               Derived::attributes);
  }
};

}  // namespace Stp
