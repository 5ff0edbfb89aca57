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
/// References to values end with the next insertion. Whoever changes values often asks for the same
/// key again and again: `find` looks at the entry that it found last before it asks the index.
template <class Key, class Value, template <class> class Allocator = std::allocator>
class UnorderedMap {
 public:
  using Entry = std::pair<Key, Value>;

  UnorderedMap() = default;
  UnorderedMap(UnorderedMap const& other) : entries_(other.entries_), index_(other.index_) {}
  UnorderedMap(UnorderedMap&& other) noexcept { swap(other); }
  ~UnorderedMap() = default;
  UnorderedMap& operator=(UnorderedMap other) noexcept {
    swap(other);
    return *this;
  }

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
    if (found_ == nullptr || found_->first != key) [[unlikely]] {
      std::uint32_t const position = positionOf(key);
      if (position == none) {
        return nullptr;
      }
      found_ = &entries_[position];
    }
    return &found_->second;
  }

  /// The value under `key`, a fresh one where there was none.
  Value& operator[](Key const& key) {
    if (Value* const present = find(key)) {
      return *present;
    }
    found_ = nullptr;
    index_.reserve(entries_.size() + 1,
                   [this](std::uint32_t position) { return hashOf(entries_[position].first); });
    entries_.emplace_back(key, Value());
    index_.insert(hashOf(key), static_cast<std::uint32_t>(entries_.size() - 1));
    return entries_.back().second;
  }

  /// Removes all entries and keeps the room.
  void clear() noexcept {
    found_ = nullptr;
    entries_.clear();
    index_.clear();
  }

 private:
  static constexpr std::uint32_t none = HashIndex::none;

  void swap(UnorderedMap& other) noexcept {
    entries_.swap(other.entries_);
    std::swap(index_, other.index_);
    std::swap(found_, other.found_);
  }

  std::uint32_t positionOf(Key const& key) const {
    return index_.find(hashOf(key),
                       [&](std::uint32_t position) { return entries_[position].first == key; });
  }

  std::vector<Entry, Allocator<Entry>> entries_;
  BasicHashIndex<Allocator> index_;
  Entry* found_ = nullptr;  // what `find` gave last
};

}  // namespace Lumo
