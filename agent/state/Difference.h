// What has to change in the sources for them to say what somebody tells.
//
// What is told are records; tables say which attribute takes its value from which member of them.
// Which part of the tree it is about is the teller's ownership: to compare what belongs to another
// does not compile.
//
// First comes what appears and what takes another value, in the order in which it is compared, so
// that whoever compares can let nothing use what is not there yet. Then goes what disappears, in
// the reverse order.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <span>
#include <tuple>
#include <type_traits>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Lumo/Ptr.h"
#include "Lumo/String.h"
#include "StpTypes/Collection.h"
#include "agent/state/Change.h"
#include "agent/state/Ownership.h"

namespace Agent {

/// An attribute of an entity, and the member of a record that tells its value.
template <class Entity, typename Entity::Id id, class Record, class Value>
struct Told {
  using EntityType = Entity;
  static constexpr auto const& row = rowOf<Entity, id>();
  Value Record::*member;
};
template <class Entity, typename Entity::Id id, class Record, class Value>
constexpr Told<Entity, id, Record, Value> told(Value Record::*member) {
  return {member};
}

/// How a member comes into a collection: with its attributes, or bare and then one attribute after
/// the other, as far as they differ from those of a fresh one. Bare is for members whose watchers
/// take over only a part at their start, and wait to be told of the rest.
enum class Coming : std::uint8_t { whole, bare };

template <class Owns>
class Difference {
 public:
  /// One attribute.
  template <auto id, class Entity, class Value>
  void attribute(Lumo::Ptr<Entity const> const& entity, Value const& wanted) {
    requireOwned<Entity, id>();
    compare(entity, rowOf<Entity, id>(), wanted);
  }

  /// Those attributes of an entity that a record tells.
  template <class Entity, class Record, class... Rows>
  void attributes(Lumo::Ptr<Entity const> const& entity, Record const& record,
                  std::tuple<Rows...> const& rows) {
    (requireOwned<Entity, Rows::row.id>(), ...);
    attributesCompare(entity, record, rows);
  }

  /// The members of a collection: those that `records` tell of, under the keys that they have, and
  /// no others. `below(member, record)` goes on with what is below a member; the record is null for
  /// one that goes.
  template <auto id, class Entity, class Record, class KeyOf, class Rows, class Below>
  void members(Lumo::Ptr<Entity const> const& owner, std::span<Record const> records,
               KeyOf const& keyOf, Coming coming, Rows const& rows, Below const& below) {
    requireOwned<Entity, id>();
    constexpr auto const& row = rowOf<Entity, id>();
    using Member = typename std::remove_cvref_t<decltype(row)>::MemberType;
    auto const& present = ((*owner).*row.members)();
    std::size_t stay = 0;
    for (Record const& record : records) {
      auto const& key = keyOf(record);
      Lumo::Ptr<Member const> member = Stp::memberFind(present, key);
      stay += member ? 1 : 0;
      member = memberCompare(owner, row, member, key, record, coming, rows);
      below(member, &record);
    }
    if (stay < present.size()) {
      goodbye(owner, row, records, keyOf, below);
    }
  }

  /// Members with nothing below them.
  template <auto id, class Entity, class Record, class KeyOf, class Rows>
  void members(Lumo::Ptr<Entity const> const& owner, std::span<Record const> records,
               KeyOf const& keyOf, Coming coming, Rows const& rows) {
    members<id>(owner, records, keyOf, coming, rows,
                [](auto const& /*member*/, auto* /*record*/) {});
  }

  /// One member of a collection: as `record` tells of it, or none where that is null. Gives the
  /// member that is there then.
  template <auto id, class Entity, class Record, class Rows>
  auto member(Lumo::Ptr<Entity const> const& owner, Lumo::String const& key, Record const* record,
              Coming coming, Rows const& rows) {
    requireOwned<Entity, id>();
    constexpr auto const& row = rowOf<Entity, id>();
    using Member = typename std::remove_cvref_t<decltype(row)>::MemberType;
    Lumo::Ptr<Member const> member = Stp::memberFind(((*owner).*row.members)(), key);
    if (record != nullptr) {
      return memberCompare(owner, row, member, key, *record, coming, rows);
    }
    if (member) {
      disappearing_.push_back(Change::erase(owner, row, key));
    }
    return Lumo::Ptr<Member const>();
  }

  /// A member that is there goes, and a new one comes in its place: for those whose watchers look
  /// only at their start at something else, which has come since.
  template <auto id, class Entity, class Record, class Rows>
  void memberAnew(Lumo::Ptr<Entity const> const& owner, Lumo::String const& key,
                  Record const& record, Rows const& rows) {
    requireOwned<Entity, id>();
    constexpr auto const& row = rowOf<Entity, id>();
    using Member = typename std::remove_cvref_t<decltype(row)>::MemberType;
    appearing_.push_back(Change::erase(owner, row, key));
    memberCompare(owner, row, Lumo::Ptr<Member const>(), key, record, Coming::whole, rows);
  }

  /// The entry of a VLAN in a table: what it is, and what it is to be.
  template <auto id, class Entity>
  void entry(Lumo::Ptr<Entity const> const& owner, std::uint16_t vlan, std::optional<bool> present,
             std::optional<bool> wanted) {
    requireOwned<Entity, id>();
    constexpr auto const& row = rowOf<Entity, id>();
    if (wanted && present != wanted) {
      appearing_.push_back(Change::setEntry(owner, row, vlan, *wanted));
    } else if (present && !wanted) {
      disappearing_.push_back(Change::erase(owner, row, vlan));
    }
  }

  /// Whether there is to be an entry of a VLAN in a table without values.
  template <auto id, class Entity>
  void entry(Lumo::Ptr<Entity const> const& owner, std::uint16_t vlan, bool isWanted) {
    requireOwned<Entity, id>();
    constexpr auto const& row = rowOf<Entity, id>();
    bool const isPresent = ((*owner).*row.entries)().contains(vlan);
    if (isWanted && !isPresent) {
      appearing_.push_back(Change::createEntry(owner, row, vlan));
    } else if (isPresent && !isWanted) {
      disappearing_.push_back(Change::erase(owner, row, vlan));
    }
  }

  Changes take() {
    std::move(disappearing_.rbegin(), disappearing_.rend(), std::back_inserter(appearing_));
    disappearing_.clear();
    return std::exchange(appearing_, {});
  }

 private:
  template <class Entity, auto id>
  static constexpr void requireOwned() {
    static_assert(!isSourceRoot<Entity> || Owns::template has<Entity, id>(),
                  "this belongs to another source");
  }

  template <class Entity, class Row, class Value>
  void compare(Lumo::Ptr<Entity const> const& entity, Row const& row, Value const& wanted) {
    if (!(((*entity).*row.get)() == wanted)) {
      appearing_.push_back(Change::set(entity, row, wanted));
    }
  }

  template <class Entity, class Record, class Rows>
  void attributesCompare(Lumo::Ptr<Entity const> const& entity, Record const& record,
                         Rows const& rows) {
    std::apply([&](auto const&... told) { (compare(entity, told.row, record.*told.member), ...); },
               rows);
  }

  // Makes the member that is there as the record tells, or a new one come. Gives it.
  template <class Entity, class Row, class Member, class Record, class Rows>
  Lumo::Ptr<Member const> memberCompare(Lumo::Ptr<Entity const> const& owner, Row const& row,
                                        Lumo::Ptr<Member const> const& present,
                                        typename Row::KeyType const& key, Record const& record,
                                        Coming coming, Rows const& rows) {
    if (present) {
      attributesCompare(present, record, rows);
      return present;
    }
    auto const fresh = Lumo::make<Member>();
    Lumo::Ptr<Member const> member = fresh;
    if (coming == Coming::whole) {
      std::apply([&](auto const&... told) { (((*fresh).*told.row.set)(record.*told.member), ...); },
                 rows);
    }
    appearing_.push_back(Change::put(Change::Kind::create, owner, row, key, fresh));
    if (coming == Coming::bare) {
      attributesCompare(member, record, rows);
    }
    return member;
  }

  template <class Entity, class Row, class Record, class KeyOf, class Below>
  void goodbye(Lumo::Ptr<Entity const> const& owner, Row const& row,
               std::span<Record const> records, KeyOf const& keyOf, Below const& below) {
    std::unordered_set<typename Row::KeyType> keys;
    for (Record const& record : records) {
      keys.insert(keyOf(record));
    }
    for (auto const& member : ((*owner).*row.members)()) {
      if (!keys.contains(member.key)) {
        disappearing_.push_back(Change::erase(owner, row, member.key));
        below(Lumo::Ptr<typename Row::MemberType const>(member.value),
              static_cast<Record const*>(nullptr));
      }
    }
  }

  Changes appearing_;
  Changes disappearing_;
};

}  // namespace Agent
