// A small map whose order carries no meaning.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "Lumo/HashIndex.h"

namespace Lumo {

/// Entries lie side by side and are found through an index; they are never removed one by one.
/// References to values end with the next insertion.
template <class Key, class Value, template <class> class Allocator = std::allocator>
class UnorderedMap {
 public:
  using Entry = std::pair<Key, Value>;

  std::size_t size() const noexcept { return entries_.size(); }
  bool empty() const noexcept { return entries_.empty(); }
  auto begin() const noexcept { return entries_.begin(); }
  auto end() const noexcept { return entries_.end(); }

  /// The value under `key`, or null.
  Value const* find(Key const& key) const {
    std::uint32_t const position = positionOf(key);
    return position == none ? nullptr : &entries_[position].second;
  }
  Value* find(Key const& key) {
    std::uint32_t const position = positionOf(key);
    return position == none ? nullptr : &entries_[position].second;
  }

  /// The entry at a position below `size()`; entries stand in the order in which they came.
  Entry& entry(std::size_t position) { return entries_[position]; }

  /// The position of the entry under `key`, a fresh one at the end where there was none.
  std::size_t position(Key const& key) {
    if (std::uint32_t const present = positionOf(key); present != none) {
      return present;
    }
    index_.reserve(entries_.size() + 1,
                   [this](std::uint32_t position) { return hashOf(entries_[position].first); });
    entries_.emplace_back(key, Value());
    index_.insert(hashOf(key), static_cast<std::uint32_t>(entries_.size() - 1));
    return entries_.size() - 1;
  }

  /// The value under `key`, a fresh one where there was none.
  Value& operator[](Key const& key) { return entries_[position(key)].second; }

  /// Removes all entries and keeps the room.
  void clear() noexcept {
    entries_.clear();
    index_.clear();
  }

 private:
  static constexpr std::uint32_t none = HashIndex::none;

  std::uint32_t positionOf(Key const& key) const {
    return index_.find(hashOf(key),
                       [&](std::uint32_t position) { return entries_[position].first == key; });
  }

  std::vector<Entry, Allocator<Entry>> entries_;
  BasicHashIndex<Allocator> index_;
};

}  // namespace Lumo
