// What the tests of VLAN lists share: lists as text, and entries that no setter accepts.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <string>

#include "StpTypes/SharedList.h"
#include "StpTypes/VlanIdOrRange.h"

namespace Stp::TestSupport {

/// "1-9 11 13-4094"
inline std::string textOf(SharedList<VlanIdOrRange> const& list) {
  std::string text;
  for (VlanIdOrRange const& entry : list) {
    text += text.empty() ? "" : " ";
    text += entry.tag() == VlanIdOrRange::Tag::vlanId
                ? std::to_string(entry.vlanId().value())
                : std::to_string(entry.vlanRange().first.value()) + "-" +
                      std::to_string(entry.vlanRange().last.value());
  }
  return text;
}

/// An entry as it lies in memory, whatever its numbers.
inline VlanIdOrRange rawEntry(std::uint16_t first, std::uint16_t last, std::uint8_t tag) {
  struct Memory {
    std::uint16_t first;
    std::uint16_t last;
    std::uint8_t tag;
    std::array<std::uint8_t, 3> padding;
  };
  return std::bit_cast<VlanIdOrRange>(Memory{first, last, tag, {}});
}

}  // namespace Stp::TestSupport
