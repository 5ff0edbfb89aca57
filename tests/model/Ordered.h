// A keyed collection that keeps the order in which its members came.
#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace Model {

/// Few members, so searching them is as good as any index. A replaced member keeps its place.
template <class Value>
class Ordered {
 public:
  struct Entry {
    int key;
    Value value;
  };

  Value* find(int key) {
    auto const found = std::ranges::find(entries_, key, &Entry::key);
    return found == entries_.end() ? nullptr : &found->value;
  }
  Value const* find(int key) const { return const_cast<Ordered*>(this)->find(key); }
  bool has(int key) const { return find(key) != nullptr; }

  Value& put(int key, Value value) {
    if (Value* const present = find(key)) {
      *present = std::move(value);
      return *present;
    }
    entries_.push_back(Entry{key, std::move(value)});
    return entries_.back().value;
  }
  bool erase(int key) {
    return std::erase_if(entries_, [key](Entry const& entry) { return entry.key == key; }) != 0;
  }
  void clear() { entries_.clear(); }

  std::vector<int> keys() const {
    std::vector<int> result;
    for (Entry const& entry : entries_) {
      result.push_back(entry.key);
    }
    return result;
  }

  std::size_t size() const { return entries_.size(); }
  auto begin() { return entries_.begin(); }
  auto end() { return entries_.end(); }
  auto begin() const { return entries_.begin(); }
  auto end() const { return entries_.end(); }

 private:
  std::vector<Entry> entries_;
};

}  // namespace Model
