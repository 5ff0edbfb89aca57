// Per-VLAN tables, as bitmaps.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Lumo/RangeException.h"

namespace Stp {

/// A set of VLAN ids 0 to 4095. The two reserved ids can be held; whoever reports VLANs leaves them
/// out.
class VlanSet {
 public:
  static constexpr unsigned size = 4096;
  static constexpr unsigned wordBits = 64;
  using Words = std::array<std::uint64_t, size / wordBits>;

  /// Id 64 i + k is bit k of word i.
  Words const& words() const noexcept { return words_; }

  /// Ids above 4095 are in no set.
  bool contains(std::uint16_t vlan) const noexcept {
    return vlan < size && (words_[vlan / wordBits] >> vlan % wordBits & 1U) != 0;
  }

  /// Throws Lumo::RangeException for an id above 4095.
  void insert(std::uint16_t vlan) {
    if (vlan >= size) {
      Lumo::RangeException::throwException("a VLAN table holds ids 0 to 4095, not " +
                                           std::to_string(vlan));
    }
    words_[vlan / wordBits] |= std::uint64_t{1} << vlan % wordBits;
  }
  void erase(std::uint16_t vlan) noexcept {
    if (vlan < size) {
      words_[vlan / wordBits] &= ~(std::uint64_t{1} << vlan % wordBits);
    }
  }

  /// The lowest id that is not below `from`, or `size`.
  unsigned next(unsigned from) const noexcept {
    for (unsigned at = from; at < size; at = (at / wordBits + 1) * wordBits) {
      std::uint64_t const rest = words_[at / wordBits] >> at % wordBits;
      if (rest != 0) {
        return at + static_cast<unsigned>(std::countr_zero(rest));
      }
    }
    return size;
  }

  friend VlanSet operator&(VlanSet const& a, VlanSet const& b) noexcept {
    VlanSet both;
    for (unsigned at = 0; at < both.words_.size(); ++at) {
      both.words_[at] = a.words_[at] & b.words_[at];
    }
    return both;
  }
  friend bool operator==(VlanSet const&, VlanSet const&) = default;

 private:
  Words words_{};
};

/// A set of VLAN ids that keeps the order in which they came, as every keyed collection does.
class VlanSequence {
 public:
  VlanSet const& ids() const noexcept { return ids_; }
  bool contains(std::uint16_t vlan) const noexcept { return ids_.contains(vlan); }

  /// A copy of the sequence.
  std::vector<std::uint16_t> inOrder() const {
    std::vector<std::uint16_t> result;
    for (std::uint16_t vlan = next_[edge]; vlan != edge; vlan = next_[vlan]) {
      result.push_back(vlan);
    }
    return result;
  }

  /// An id that is there keeps its place. Throws Lumo::RangeException for an id above 4095.
  void insert(std::uint16_t vlan) {
    if (!contains(vlan)) {
      ids_.insert(vlan);
      link(previous_[edge], vlan);
      link(vlan, edge);
    }
  }
  void erase(std::uint16_t vlan) noexcept {
    if (contains(vlan)) {
      ids_.erase(vlan);
      link(previous_[vlan], next_[vlan]);
    }
  }

 private:
  // The sequence is a ring that this element closes: the first id follows it, the last precedes it.
  static constexpr std::uint16_t edge = VlanSet::size;
  using Links = std::array<std::uint16_t, VlanSet::size + 1>;

  static Links none() noexcept {
    Links links{};
    links[edge] = edge;
    return links;
  }
  void link(std::uint16_t before, std::uint16_t after) noexcept {
    next_[before] = after;
    previous_[after] = before;
  }

  VlanSet ids_;
  Links next_ = none();
  Links previous_ = none();
};

/// A boolean for each VLAN id that has an entry.
class VlanTable {
 public:
  /// The ids that have an entry, and those whose entry is true.
  VlanSequence const& entries() const noexcept { return entries_; }
  VlanSet const& trueEntries() const noexcept { return true_; }

  /// The entry of an id, or none.
  std::optional<bool> find(std::uint16_t vlan) const noexcept {
    return entries_.contains(vlan) ? std::optional(true_.contains(vlan)) : std::nullopt;
  }

  /// Throws Lumo::RangeException for an id above 4095.
  void insert(std::uint16_t vlan, bool value) {
    entries_.insert(vlan);
    if (value) {
      true_.insert(vlan);
    } else {
      true_.erase(vlan);
    }
  }
  void erase(std::uint16_t vlan) noexcept {
    entries_.erase(vlan);
    true_.erase(vlan);
  }

 private:
  VlanSequence entries_;
  VlanSet true_;
};

}  // namespace Stp
