// The classes of a module, each at its class index.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace Stp {

/// The classes of one module; the position of each is its class index.
template <class... Class>
struct ClassList {
  static constexpr std::size_t size = sizeof...(Class);

  template <class Sought>
  static constexpr bool lists = (std::is_same_v<Class, Sought> || ...);

  /// The position of a class that is listed.
  template <class Sought>
  static consteval std::uint16_t indexOf() {
    std::uint16_t index = 0;
    static_cast<void>(((std::is_same_v<Class, Sought> || (++index, false)) || ...));
    return index;
  }
};

}  // namespace Stp
