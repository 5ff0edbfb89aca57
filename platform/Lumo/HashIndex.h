// The open-addressing index beneath the collections.
#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "Lumo/String.h"

namespace Lumo {

/// The hash of a key. Keys are names (by identity), integers, or value types that convert to one
/// with `value()`. Integer keys are ids that are dense or nearly so: left as they are they spread
/// best, and neighbours lie side by side. Those of 64 bits are several ids put together, all of
/// which have to tell in the low bits. Names that were made one after the other lie at even
/// distances in memory, and are looked up one after the other again: within a mebibyte their order
/// is kept.
template <std::integral Key>
std::uint64_t hashOf(Key key) noexcept {
  auto const bits = static_cast<std::uint64_t>(key);
  if constexpr (sizeof(Key) <= sizeof(std::uint32_t)) {
    return bits;
  }
  std::uint64_t const mixed = bits * 0x9E3779B97F4A7C15U;
  return mixed ^ (mixed >> 32);
}
inline std::uint64_t hashOf(String const& key) noexcept {
  std::uint64_t const place = key.identity() / 16;
  return place + (place >> 16) * 0x9E3779B97F4A7C15U;
}
template <class Key>
requires requires(Key key) {
  { key.value() } -> std::integral;
}
std::uint64_t hashOf(Key const& key) noexcept {
  return hashOf(key.value());
}

/// Finds positions in a sequence of its owner's by hash. It stores positions only; the owner tells
/// which key is at a position. Half of the cells stay free.
template <template <class> class Allocator>
class BasicHashIndex {
 public:
  static constexpr std::uint32_t none = ~std::uint32_t{0};

  /// The position for which `matches(position)` holds, or `none`.
  template <class Matches>
  std::uint32_t find(std::uint64_t hash, Matches matches) const {
    if (cells_.empty()) {
      return none;
    }
    for (std::size_t at = hash & mask();; at = (at + 1) & mask()) {
      if (cells_[at] == none || matches(cells_[at])) {
        return cells_[at];
      }
    }
  }

  /// Makes room for `count` positions, so that as many calls of `insert` cannot fail.
  /// `hashAt(position)` gives the hash of what is stored.
  template <class HashAt>
  void reserve(std::size_t count, HashAt hashAt) {
    if (count * 2 <= cells_.size()) {
      return;
    }
    Cells const old = std::exchange(cells_, Cells(std::bit_ceil(count * 2), none));
    for (std::uint32_t const position : old) {
      if (position != none) {
        insert(hashAt(position), position);
      }
    }
  }

  /// There must be room for the position.
  void insert(std::uint64_t hash, std::uint32_t position) noexcept {
    std::size_t at = hash & mask();
    while (cells_[at] != none) {
      at = (at + 1) & mask();
    }
    cells_[at] = position;
  }

  /// Removes a position that is stored under `hash`, and moves up those behind it.
  template <class HashAt>
  void erase(std::uint64_t hash, std::uint32_t position, HashAt hashAt) noexcept {
    std::size_t hole = hash & mask();
    while (cells_[hole] != position) {
      hole = (hole + 1) & mask();
    }
    for (std::size_t at = (hole + 1) & mask(); cells_[at] != none; at = (at + 1) & mask()) {
      std::size_t const home = hashAt(cells_[at]) & mask();
      if (((at - home) & mask()) >= ((at - hole) & mask())) {
        cells_[hole] = cells_[at];
        hole = at;
      }
    }
    cells_[hole] = none;
  }

  /// Forgets all positions and keeps the room.
  void clear() noexcept { cells_.assign(cells_.size(), none); }

 private:
  using Cells = std::vector<std::uint32_t, Allocator<std::uint32_t>>;

  std::size_t mask() const noexcept { return cells_.size() - 1; }

  Cells cells_;
};

using HashIndex = BasicHashIndex<std::allocator>;

}  // namespace Lumo
