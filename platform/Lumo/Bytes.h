// A byte string.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <utility>
#include <vector>

#include "Lumo/RangeException.h"

namespace Lumo {

/// Bytes of any value and number, owned; compared by content.
class Bytes {
 public:
  Bytes() = default;
  Bytes(std::initializer_list<std::uint8_t> bytes) : bytes_(bytes) {}
  explicit Bytes(std::vector<std::uint8_t> bytes) : bytes_(std::move(bytes)) {}

  std::size_t size() const noexcept { return bytes_.size(); }
  std::uint8_t const* data() const noexcept { return bytes_.data(); }
  void push(std::uint8_t byte) { bytes_.push_back(byte); }

  /// Throws VectorOutOfRangeException past the end.
  std::uint8_t operator[](std::size_t index) const {
    if (index >= bytes_.size()) [[unlikely]] {
      VectorOutOfRangeException::throwException(index, bytes_.size());
    }
    return bytes_[index];
  }

  friend bool operator==(Bytes const&, Bytes const&) = default;

 private:
  std::vector<std::uint8_t> bytes_;
};

}  // namespace Lumo
