// Names: interned texts that are one pointer wide.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>

#include "Base/Api.h"
#include "Lumo/ThreadControl.h"

namespace Lumo {

/// A text that exists once in the process. Making one from characters costs a look-up (and a
/// mutex once the process is multi-threaded); copying costs a count, equality and hash nothing
/// that depends on the length. Ordering is by content, byte by byte.
class STP_API String {
 public:
  /// The empty name.
  String() = default;

  // NOLINTBEGIN(google-explicit-constructor): a name is written as its text
  String(std::string_view text);
  String(std::string const& text) : String(std::string_view(text)) {}
  String(char const* text) : String(std::string_view(text)) {}
  // NOLINTEND(google-explicit-constructor)

  String(String const& other) noexcept : text_(other.text_) { add(); }
  String(String&& other) noexcept : text_(std::exchange(other.text_, nullptr)) {}
  ~String() {
    if (text_ != nullptr) {
      release(text_);
    }
  }
  String& operator=(String other) noexcept {
    std::swap(text_, other.text_);
    return *this;
  }

  bool empty() const noexcept { return text_ == nullptr; }
  std::size_t size() const noexcept { return text_ == nullptr ? 0 : text_->size; }

  /// Valid while any copy of this name exists.
  std::string_view view() const noexcept {
    return text_ == nullptr ? std::string_view() : std::string_view(characters(text_), text_->size);
  }
  std::string toString() const { return std::string(view()); }

  std::size_t hash() const noexcept { return text_ == nullptr ? 0 : text_->hash; }

  /// The name's identity, equal for equal names: what collections compare and scatter by.
  std::uintptr_t identity() const noexcept { return reinterpret_cast<std::uintptr_t>(text_); }

  /// A dense number for this non-empty name, given at the first call and kept, with the text, for
  /// the life of the process. Throws RangeException for the empty name.
  std::uint32_t ordinal() const {
    std::uint32_t const known = text_ == nullptr ? noOrdinal : countLoad(text_->ordinal);
    return known != noOrdinal ? known : ordinalAssign(text_);
  }

  /// The name that has this number; throws RangeException for a number that no name has.
  static String ofOrdinal(std::uint32_t ordinal);

  friend bool operator==(String const& a, String const& b) noexcept { return a.text_ == b.text_; }
  friend std::strong_ordering operator<=>(String const& a, String const& b) noexcept {
    return a.text_ == b.text_ ? std::strong_ordering::equal : a.view() <=> b.view();
  }
  friend STP_API std::ostream& operator<<(std::ostream& out, String const& name);

 private:
  friend class StringTable;

  static constexpr std::uint32_t noOrdinal = ~std::uint32_t{0};

  // The characters follow the header in the same allocation.
  struct Text {
    std::size_t hash;
    std::size_t size;
    std::uint32_t references;
    std::uint32_t ordinal;
  };
  static char const* characters(Text const* text) noexcept {
    return reinterpret_cast<char const*>(text + 1);
  }

  void add() const noexcept {
    if (text_ != nullptr) {
      countAdd(text_->references, std::uint32_t{1});
    }
  }
  static void release(Text* text) noexcept {
    if (ThreadControl::tsp_ || text->references == 1) [[unlikely]] {
      releaseShared(text);
    } else {
      --text->references;
    }
  }
  static void releaseShared(Text* text) noexcept;
  static std::uint32_t ordinalAssign(Text* text);

  Text* text_ = nullptr;
};

static_assert(sizeof(String) == sizeof(void*), "a name is one pointer wide");

}  // namespace Lumo

template <>
struct std::hash<Lumo::String> {
  std::size_t operator()(Lumo::String const& name) const noexcept { return name.hash(); }
};
