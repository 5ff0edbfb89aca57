// What every keyed collection of an entity does: change, then announce the key that changed.
#pragma once

#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include "Lumo/Entity.h"
#include "Lumo/Ptr.h"
#include "Lumo/String.h"
#include "Vel/HashMap2018.h"

namespace Stp {

/// A collection of entities; its iteration goes in insertion order.
template <class Key, class Member>
using Collection = Vel::HashMap2018<Key, Member>;

/// A collection of records, held by value.
template <class Key, class Record>
using RecordCollection = Vel::HashMap2018Generic<Key, std::optional<Record>>;

/// Announces a change of one member of a collection or entry of a table. The key is copied: the one
/// given may lie in what a subscriber removes.
template <class Id, class Key>
void publishMember(Lumo::Entity const& entity, Id id, Key key) {
  entity.publisher().publishChangeRecursive(static_cast<Lumo::FieldId>(id), &key, nullptr);
}

/// The member under `key`, or absent.
template <class Key, class Member>
Lumo::Ptr<Member> memberFind(Collection<Key, Member> const& members, Key const& key) {
  Lumo::Ptr<Member> const* const found = members.find(key);
  return found == nullptr ? Lumo::Ptr<Member>() : *found;
}

/// The member under `key`; where there is none, a fresh one, which is announced.
template <class Id, class Key, class Member>
Lumo::Ptr<Member> memberOrNew(Lumo::Entity const& entity, Id id, Collection<Key, Member>& members,
                              Key const& key) {
  Lumo::Ptr<Member> member = memberFind(members, key);
  if (!member) {
    member = Lumo::make<Member>();
    members.newMemberG(key, member);
    publishMember(entity, id, key);
  }
  return member;
}

/// The record under `key`, or null; valid until the collection changes.
template <class Key, class Record>
Record const* recordFind(RecordCollection<Key, Record> const& records, Key const& key) {
  std::optional<Record> const* const found = records.find(key);
  return found == nullptr ? nullptr : &**found;
}

/// Stores a record under its key and announces one change, also for an equal record.
template <class Id, class Key, class Record>
void recordMemberIs(Lumo::Entity const& entity, Id id, RecordCollection<Key, Record>& records,
                    Key const& key, Record const& record) {
  records.newMemberG(key, record);
  publishMember(entity, id, key);
}

/// Lets `edit` change a copy of the record under `key`, or `fresh` where there is none, stores it
/// and announces one change. What `edit` throws passes, and nothing is stored.
template <class Id, class Key, class Record, class Edit>
void recordMemberAmend(Lumo::Entity const& entity, Id id, RecordCollection<Key, Record>& records,
                       Key const& key, Record const& fresh, Edit edit) {
  if (std::optional<Record>* const present = records.find(key)) {
    Record record = **present;
    edit(record);
    **present = std::move(record);
  } else {
    Record record = fresh;
    edit(record);
    records.newMemberG(key, std::move(record));
  }
  publishMember(entity, id, key);
}

/// Removes what is under `key`, and tells whether there was something. An unknown key publishes
/// nothing.
template <class Id, class Key, class Value>
bool memberDel(Lumo::Entity const& entity, Id id, Vel::HashMap2018Generic<Key, Value>& members,
               std::type_identity_t<Key> const& key) {
  Value const removed = members.deleteMemberG(key);
  if (!removed) {
    return false;
  }
  publishMember(entity, id, key);
  return true;
}

/// Removes the members that are there now, in order, each announced as it goes.
template <class Id, class Key, class Value>
void memberDelAll(Lumo::Entity const& entity, Id id, Vel::HashMap2018Generic<Key, Value>& members) {
  Lumo::Ptr<Lumo::Entity const> const held(&entity);  // a subscriber may drop the entity
  std::vector<Key> keys;
  keys.reserve(members.size());
  for (auto const& member : members) {
    keys.push_back(member.key);
  }
  for (Key const& key : keys) {
    memberDel(entity, id, members, key);
  }
}

/// A collection of entities that is an attribute of another one: called, it gives the members, or
/// the member under a key; each change announces the key that changed.
template <class Key, class Member>
class Members {
 public:
  template <class Id>
  Members(Lumo::Entity& owner, Id id) : owner_(owner), id_(static_cast<Lumo::FieldId>(id)) {}
  Members(Members const&) = delete;
  Members& operator=(Members const&) = delete;
  ~Members() = default;

  Collection<Key, Member> const& operator()() const noexcept { return members_; }
  Lumo::Ptr<Member> operator()(Key const& key) const { return memberFind(members_, key); }

  /// Puts a present member under `key`, new or in the place of another; the one that is there
  /// already changes nothing. Throws Lumo::AbsentPointerException for an absent one.
  void is(Key const& key, Lumo::Ptr<Member> const& member) {
    if (memberFind(members_, key).get() != &*member) {
      members_.newMemberG(key, member);
      publishMember(owner_, id_, key);
    }
  }

  /// Removes the member under `key`, and tells whether there was one.
  bool del(Key const& key) { return memberDel(owner_, id_, members_, key); }

  /// Removes the members that are there now, in order, each announced as it goes.
  void delAll() { memberDelAll(owner_, id_, members_); }

 private:
  Lumo::Entity& owner_;
  Lumo::FieldId id_;
  Collection<Key, Member> members_;
};

}  // namespace Stp
