// The records of a table, by what they are about.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>

namespace Agent::Sonic {

/// What rows say of things. Several rows can be about one thing, whose keys then have other forms:
/// they are kept apart, in the order in which they count.
template <class Record, class Key>
class RecordSet {
 public:
  /// The rank of a row's key, and the key itself.
  using Form = std::pair<std::uint8_t, std::string>;
  using Forms = std::map<Form, Record>;
  using Things = std::map<Key, Forms>;

  /// A row says this of a thing. Tells whether that is new.
  bool recordIs(Key const& key, Form const& form, Record const& record) {
    auto const [at, isNew] = things_[key].try_emplace(form, record);
    if (isNew) {
      return true;
    }
    if (at->second == record) {
      return false;
    }
    at->second = record;
    return true;
  }

  /// There is no such row. Tells whether there was.
  bool recordDel(Key const& key, Form const& form) {
    auto const thing = things_.find(key);
    if (thing == things_.end() || thing->second.erase(form) == 0) {
      return false;
    }
    if (thing->second.empty()) {
      things_.erase(thing);
    }
    return true;
  }

  /// All things of which there is a row.
  Things const& things() const { return things_; }

  /// The rows about a thing, or null.
  Forms const* find(Key const& key) const {
    auto const thing = things_.find(key);
    return thing == things_.end() ? nullptr : &thing->second;
  }

 private:
  Things things_;
};

}  // namespace Agent::Sonic
