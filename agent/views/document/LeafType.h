// The values of leaves, and their types.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace Agent {

/// An identity, by its name behind that of its module, which is another than the leaf's.
struct Identity {
  std::string_view name;

  // NOLINTNEXTLINE(modernize-use-nullptr): there is none
  auto operator<=>(Identity const&) const = default;
};

/// One value of a leaf-list. A text among numbers is a range of them, "10..12".
using LeafEntry = std::variant<std::uint64_t, std::string, Identity>;

/// The value of a leaf or, with all its entries, of a leaf-list.
using LeafValue = std::variant<bool, std::uint64_t, std::string, Identity, std::vector<LeafEntry>>;

/// What the model says of a leaf's values.
struct LeafType {
  enum class Kind : std::uint8_t { boolean, number, string, enumeration, identityref, vlans };
  Kind kind;
  bool isList = false;
  /// Of a number, or of the characters of a string.
  std::uint64_t least = 0;
  std::uint64_t greatest = 0;
  /// Whether it counts events, and so changes far more often than anything else.
  bool isCounter = false;

  /// Whether it has numbers of 64 bits, which JSON can't hold (RFC 7951, 6.1).
  bool isLong() const { return kind == Kind::number && greatest > UINT32_MAX; }

  /// Whether a value of the kind is one of the type. A string has none of the characters that YANG
  /// has not: control characters other than tab, line feed and carriage return, and the
  /// noncharacters of Unicode.
  bool allows(LeafValue const& value) const;
};

}  // namespace Agent
