// The base of everything that is held by counted pointers: entities and reactors.
#pragma once

#include <cstdint>

#include "Base/Api.h"
#include "Lumo/ThreadControl.h"

namespace Lumo {

struct ModuleInspectData;

/// Names a class of the type registry: the module that registered it and its index there. A node
/// whose class no module registers has no module.
struct VelTypeBase {
  ModuleInspectData const* module = nullptr;
  std::uint16_t classIndex = 0;

  friend bool operator==(VelTypeBase const&, VelTypeBase const&) = default;
};

/// A counted object. Its header is the virtual table and one word: the reference count in the
/// bits below 29, the two flags above. A new node has one reference, which its creator owns
/// (`Ptr::adopt`), and both flags clear.
class STP_API Node {
 public:
  Node() = default;
  Node(Node const&) = delete;
  Node& operator=(Node const&) = delete;

  /// The class in the type registry.
  virtual VelTypeBase typeData() const;

  /// The number of references held now.
  std::uint64_t references() const noexcept { return countLoad(word_) & referenceMask; }

  /// Whether a reactor's subscriptions are switched on.
  bool hasNotificationActive() const noexcept {
    return (countLoad(word_) & notificationActiveBit) != 0;
  }

  /// Whether the node is marked by the collector, a zombie: it then reacts to nothing.
  bool markAndSweepFlag() const noexcept { return (countLoad(word_) & markAndSweepBit) != 0; }
  void markAndSweepFlagSet(bool value) noexcept { flagIs(markAndSweepBit, value); }

  void referenceAdd() const noexcept { countAdd(word_, std::uint64_t{1}); }

  /// Gives one reference back; the last one destroys the node.
  void referenceRelease() const noexcept {
    if ((countSubtract(word_, std::uint64_t{1}) & referenceMask) == 1) {
      destroy();
    }
  }

 protected:
  virtual ~Node();

 private:
  friend void hasNotificationActiveSet(Node& node, bool value) noexcept;

  static constexpr std::uint64_t notificationActiveBit = std::uint64_t{1} << 29;
  static constexpr std::uint64_t markAndSweepBit = std::uint64_t{1} << 30;
  static constexpr std::uint64_t referenceMask = notificationActiveBit - 1;

  void flagIs(std::uint64_t bit, bool value) noexcept {
    if (((countLoad(word_) & bit) != 0) != value) {
      if (value) {
        countAdd(word_, bit);
      } else {
        countSubtract(word_, bit);
      }
    }
  }
  void destroy() const noexcept;

  mutable std::uint64_t word_ = 1;
};

static_assert(sizeof(Node) == 16, "the header is the virtual table and one word");

/// Sets the flag alone; `hasNotificationActiveIs` of a reactor also switches its subscriptions.
inline void hasNotificationActiveSet(Node& node, bool value) noexcept {
  node.flagIs(Node::notificationActiveBit, value);
}

}  // namespace Lumo
