// The places under the keys of targets. A target keeps a record under each key: held by a member of
// its own, or by value.
#pragma once

#include <optional>
#include <string_view>
#include <tuple>
#include <utility>

#include "Lumo/Ptr.h"
#include "StpTypes/Collection.h"
#include "agent/sources/operations/AttributePlaces.h"
#include "agent/text/Values.h"

namespace Agent {

/// A member of a target that holds one record.
template <class Entity, class Row>
class RecordHolderPlace final : public KeyedPlace {
 public:
  using Key = typename Row::KeyType;
  using Member = typename Row::MemberType;

  RecordHolderPlace(Path const& path, Lumo::Ptr<Entity const> entity, Row const& row, Key key)
      : KeyedPlace(path), entity_(std::move(entity)), row_(row), key_(key) {}

  Change set(Json const& json) const override {
    Lumo::Ptr<Member const> const member = Stp::memberFind(((*entity_).*row_.members)(), key_);
    requirePresent(static_cast<bool>(member));
    return Change::set(member, record, changed((*member.*record.get)(), json));
  }
  Change create(Json const& given) const override {
    requireAbsent(((*entity_).*row_.members)().find(key_) != nullptr);
    auto const fresh = Lumo::make<Member>();
    auto value = std::optional(changed((*fresh.*record.get)(), given));
    if (given.empty()) {
      value.reset();
    }
    return Change::createHolder(entity_, row_, key_, record, std::move(value));
  }
  Change erase() const override {
    requirePresent(((*entity_).*row_.members)().find(key_) != nullptr);
    return Change::erase(entity_, row_, key_);
  }

 private:
  static constexpr auto const& record = std::get<0>(Member::attributes);

  template <class Record>
  static Record changed(Record value, Json const& json) {
    readValue(value, json, valueMember);
    return value;
  }

  Lumo::Ptr<Entity const> entity_;
  Row const& row_;
  Key key_;
};

/// A record that a target holds by value, under the key that the record carries.
template <class Entity, class Row>
class RecordPlace final : public KeyedPlace {
 public:
  using Key = typename Row::KeyType;
  using Record = typename Row::RecordType;

  RecordPlace(Path const& path, Lumo::Ptr<Entity const> entity, Row const& row, Key key)
      : KeyedPlace(path), entity_(std::move(entity)), row_(row), key_(key) {}

  Change set(Json const& json) const override {
    Record const* const stored = present();
    Record value = stored == nullptr ? Record{key_} : *stored;
    readValue(value, json, valueMember);
    if (value.key() != key_) {
      constexpr std::string_view keyName =
          std::get<0>(fieldsOf(static_cast<Record*>(nullptr))).name;
      Where(valueMember, keyName).refuse("not the key " + brief(path().back()));
    }
    return Change::setRecord(entity_, row_, std::move(value));
  }
  Change erase() const override {
    requirePresent(present() != nullptr);
    return Change::erase(entity_, row_, key_);
  }

 private:
  Record const* present() const { return Stp::recordFind(((*entity_).*row_.records)(), key_); }

  Lumo::Ptr<Entity const> entity_;
  Row const& row_;
  Key key_;
};

}  // namespace Agent
