// Keyed collections that keep the order in which their members came.
//
// Members lie in a sequence in that order; an index finds them by key. A removed member leaves a
// stale node, which walks skip and later insertions sweep away. Iterators are known to their
// collection, so that they keep their place whatever is removed, inserted or swept meanwhile.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "Base/Assertion.h"
#include "Lumo/HashIndex.h"
#include "Lumo/Ptr.h"

namespace Vel {

template <class Key, class Value>
class HashMap2018IteratorGeneric;

/// The collection over any nullable value: a counted pointer, or an optional record. A node whose
/// value is null is stale. References into it end with the next change of the collection.
template <class Key, class Value>
class HashMap2018Generic {
 public:
  struct Node {
    Key key;
    Value value;
  };
  using Iterator = HashMap2018IteratorGeneric<Key, Value>;

  HashMap2018Generic() = default;
  HashMap2018Generic(HashMap2018Generic const&) = delete;
  HashMap2018Generic& operator=(HashMap2018Generic const&) = delete;
  ~HashMap2018Generic() { forget(); }

  std::size_t size() const noexcept { return live_; }
  bool empty() const noexcept { return live_ == 0; }

  /// The value under `key`, or null.
  Value const* find(Key const& key) const {
    std::uint32_t const position = positionOf(key);
    return position == Lumo::HashIndex::none ? nullptr : &nodes_[position].value;
  }

  /// The same, to be changed in place; it must not become null.
  Value* find(Key const& key) {
    return const_cast<Value*>(static_cast<HashMap2018Generic const&>(*this).find(key));
  }

  /// Puts a non-null value under `key`: at the end, or in the place of the one that is there.
  /// When memory is short it throws and changes nothing.
  void newMemberG(Key const& key, Value value) {
    std::uint32_t const position = positionOf(key);
    if (position != Lumo::HashIndex::none) {
      std::swap(nodes_[position].value, value);
      return;
    }
    if (nodes_.size() == nodes_.capacity() && live_ < nodes_.size() - nodes_.size() / 4) {
      sweep();
    }
    index_.reserve(live_ + 1, hashAt());
    nodes_.push_back(Node{key, std::move(value)});
    index_.insert(Lumo::hashOf(key), static_cast<std::uint32_t>(nodes_.size() - 1));
    ++live_;
  }

  /// Removes the member under `key` and returns it; null when there was none.
  Value deleteMemberG(Key const& key) {
    std::uint32_t const position = positionOf(key);
    if (position == Lumo::HashIndex::none) {
      return Value();
    }
    index_.erase(Lumo::hashOf(key), position, hashAt());
    --live_;
    return std::exchange(nodes_[position].value, Value());
  }

  /// Removes all members, in order.
  void _memberDelAll() {
    std::vector<Node> members = std::exchange(nodes_, {});
    index_.clear();
    live_ = 0;
    for (Iterator* iterator = iterators_; iterator != nullptr; iterator = iterator->outer_) {
      iterator->presentMemberGoes();
      iterator->next_ = 0;
    }
    for (Node& member : members) {
      member.value = Value();
    }
  }

  /// Calls `visit(node)` for every member, in order; `visit` must not change the collection.
  template <class Visit>
  void eachMember(Visit visit) const {
    for (Node const& node : nodes_) {
      if (node.value) {
        visit(node);
      }
    }
  }

  /// A walk over the members, from the first. Members that come during the walk are visited.
  Iterator begin() const { return Iterator(*this); }
  std::nullptr_t end() const { return nullptr; }

 private:
  friend Iterator;

  std::uint32_t positionOf(Key const& key) const {
    return index_.find(Lumo::hashOf(key),
                       [&](std::uint32_t position) { return nodes_[position].key == key; });
  }

  auto hashAt() const {
    return [this](std::uint32_t position) { return Lumo::hashOf(nodes_[position].key); };
  }

  // Drops the stale nodes, without allocating.
  void sweep() {
    for (Iterator* iterator = iterators_; iterator != nullptr; iterator = iterator->outer_) {
      if (iterator->current_ < nodes_.size()) {
        if (nodes_[iterator->current_].value) {
          iterator->current_ = positionAfterSweep(iterator->current_);
        } else {
          iterator->presentMemberGoes();
        }
      }
      iterator->next_ = positionAfterSweep(iterator->next_);
    }
    std::erase_if(nodes_, [](Node const& node) { return !node.value; });
    index_.clear();
    for (std::uint32_t position = 0; position < nodes_.size(); ++position) {
      index_.insert(Lumo::hashOf(nodes_[position].key), position);
    }
  }

  // The place of a member among the live ones; of a stale one, that of its successor.
  std::uint32_t positionAfterSweep(std::uint32_t position) const {
    std::uint32_t live = 0;
    for (std::uint32_t at = 0; at < position; ++at) {
      live += nodes_[at].value ? 1 : 0;
    }
    return live;
  }

  void forget() {
    for (Iterator* iterator = iterators_; iterator != nullptr; iterator = iterator->outer_) {
      iterator->map_ = nullptr;
    }
    iterators_ = nullptr;
  }

  std::vector<Node> nodes_;
  Lumo::HashIndex index_;
  std::size_t live_ = 0;
  mutable Iterator* iterators_ = nullptr;
};

/// Walks a collection in order. Any member may go meanwhile, the present one too: the walk goes on
/// behind it. To ask for the present member when it has gone, to go on past the end, or to use an
/// iterator whose collection was destroyed is a fatal assertion: the position is lost.
template <class Key, class Value>
class HashMap2018IteratorGeneric {
 public:
  using Map = HashMap2018Generic<Key, Value>;

  explicit HashMap2018IteratorGeneric(Map const& map) : map_(&map), outer_(map.iterators_) {
    map.iterators_ = this;
    seek();
  }
  HashMap2018IteratorGeneric(HashMap2018IteratorGeneric const&) = delete;
  HashMap2018IteratorGeneric& operator=(HashMap2018IteratorGeneric const&) = delete;
  ~HashMap2018IteratorGeneric() {
    if (map_ != nullptr) {
      HashMap2018IteratorGeneric** link = &map_->iterators_;
      while (*link != this) {
        link = &(*link)->outer_;
      }
      *link = outer_;
    }
  }

  bool atEnd() const {
    require(map_ != nullptr);
    return current_ == nowhere;
  }
  friend bool operator==(HashMap2018IteratorGeneric const& iterator, std::nullptr_t) {
    return iterator.atEnd();
  }

  HashMap2018IteratorGeneric& operator++() {
    require(!atEnd());
    seek();
    return *this;
  }

  /// The present member; valid until the collection changes.
  typename Map::Node const& operator*() const {
    require(map_ != nullptr && current_ < map_->nodes_.size() && map_->nodes_[current_].value);
    return map_->nodes_[current_];
  }
  Key const& key() const { return (**this).key; }
  Value const& value() const { return (**this).value; }

 private:
  friend Map;

  static constexpr std::uint32_t nowhere = ~std::uint32_t{0};  // at the end
  static constexpr std::uint32_t gone = nowhere - 1;           // between two members

  void presentMemberGoes() {
    if (current_ != nowhere) {
      current_ = gone;
    }
  }

  static void require(bool hasPosition) {
    if (!hasPosition) [[unlikely]] {
      Base::assertionFailed("iterator has a position", __FILE__, __LINE__,
                            "Vel::HashMap2018IteratorGeneric");
    }
  }

  void seek() {
    auto const& nodes = map_->nodes_;
    while (next_ < nodes.size() && !nodes[next_].value) {
      ++next_;
    }
    current_ = next_ < nodes.size() ? next_++ : nowhere;
  }

  Map const* map_;
  HashMap2018IteratorGeneric* outer_;
  std::uint32_t current_ = nowhere;
  std::uint32_t next_ = 0;
};

/// A collection of counted nodes.
template <class Key, class Member>
using HashMap2018 = HashMap2018Generic<Key, Lumo::Ptr<Member>>;

}  // namespace Vel
