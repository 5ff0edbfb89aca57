// The identifiers that the protocol compares: of bridges, of ports, and of the trees that are
// computed.
#pragma once

#include <cstdint>

#include "Lanx/IntfId.h"

namespace Stp {

/// A bridge identifier (IEEE 802.1Q, 14.2.5): what bridges are compared by, as one 64-bit number.
class BridgeId {
 public:
  constexpr BridgeId() = default;

  /// `priority` is a multiple of 4096, `systemId` 0 to 4095 (the MST instance, or 0), `address` a
  /// 48-bit MAC address; bits beyond these are left out.
  constexpr BridgeId(std::uint16_t priority, std::uint16_t systemId, std::uint64_t address)
      : value_(std::uint64_t{priority & 0xF000U} << 48U | std::uint64_t{systemId & 0xFFFU} << 48U |
               (address & addressMask)) {}

  /// The settable part: 0 to 61440 in steps of 4096.
  constexpr std::uint16_t priority() const noexcept {
    return static_cast<std::uint16_t>(value_ >> 48U) & 0xF000U;
  }
  /// The system id extension.
  constexpr std::uint16_t systemId() const noexcept {
    return static_cast<std::uint16_t>(value_ >> 48U) & 0xFFFU;
  }
  /// The first octet is the most significant one.
  constexpr std::uint64_t address() const noexcept { return value_ & addressMask; }

  constexpr std::uint64_t value() const noexcept { return value_; }

  friend constexpr bool operator==(BridgeId const&, BridgeId const&) = default;

 private:
  static constexpr std::uint64_t addressMask = 0xFFFFFFFFFFFFU;

  std::uint64_t value_ = 0;
};

/// A port identifier (IEEE 802.1Q, 14.2.7).
class PortId {
 public:
  constexpr PortId() = default;

  /// `priority` is a multiple of 16, `number` 0 to 4095; bits beyond these are left out.
  constexpr PortId(std::uint8_t priority, std::uint16_t number)
      : value_(static_cast<std::uint16_t>((priority & 0xF0U) << 8U | (number & 0xFFFU))) {}

  /// 0 to 240 in steps of 16.
  constexpr std::uint8_t priority() const noexcept {
    return static_cast<std::uint8_t>(value_ >> 8U) & 0xF0U;
  }
  constexpr std::uint16_t number() const noexcept { return value_ & 0xFFFU; }

  constexpr std::uint16_t value() const noexcept { return value_; }

  friend constexpr bool operator==(PortId const&, PortId const&) = default;

 private:
  std::uint16_t value_ = 0;
};

/// One of the spanning trees of a bridge: the only tree of RSTP, the CIST, or an MST instance.
class TreeId {
 public:
  enum class Kind : std::uint8_t { rst, cist, mst };

  /// The CIST (IEEE 802.1Q, 13.2).
  constexpr TreeId() = default;

  static constexpr TreeId rst() { return TreeId(rstValue); }
  /// An MST instance, 1 to 4095; the CIST for 0.
  static constexpr TreeId mst(std::uint16_t instance) { return TreeId(instance & 0xFFFU); }

  constexpr Kind kind() const noexcept {
    return value_ == rstValue ? Kind::rst : value_ == 0 ? Kind::cist : Kind::mst;
  }
  /// Of an MST instance; 0 for the CIST.
  constexpr std::uint16_t value() const noexcept { return value_; }

  friend constexpr bool operator==(TreeId const&, TreeId const&) = default;

 private:
  static constexpr std::uint16_t rstValue = 0xFFFF;

  constexpr explicit TreeId(std::uint16_t value) : value_(value) {}

  std::uint16_t value_ = 0;
};

/// A port as one tree has it.
struct TreePortId {
  TreeId tree;
  Lanx::IntfId port;

  constexpr std::uint64_t value() const noexcept {
    return std::uint64_t{tree.value()} << 32U | port.value();
  }

  friend constexpr bool operator==(TreePortId const&, TreePortId const&) = default;
};

}  // namespace Stp
