// Walks the members of an aggregate in declaration order, without naming them again.
//
// A class that is made of an aggregate of attributes needs no second list of them: the number of
// members is found by counting how many initialisers the aggregate takes, and a structured binding
// of that many names reaches them.
#pragma once

#include <cstddef>
#include <tuple>
#include <type_traits>
#include <utility>

namespace Lumo {

namespace Impl {

// Converts to whatever a member is initialised from; never called.
struct AnyInitialiser {
  template <class Member>
  operator Member() const;  // NOLINT(google-explicit-constructor)
};

template <class Aggregate, std::size_t... I>
consteval bool takesInitialisers(std::index_sequence<I...>) {
  return requires {
    Aggregate{(static_cast<void>(I), AnyInitialiser())...};
  };
}

// Counted down: each member without a default needs an initialiser, so fewer than all might not do.
template <class Aggregate, std::size_t count = 10>
consteval std::size_t memberCount() {
  if constexpr (count == 0 || takesInitialisers<Aggregate>(std::make_index_sequence<count>())) {
    return count;
  } else {
    return memberCount<Aggregate, count - 1>();
  }
}

}  // namespace Impl

/// The number of members of an aggregate; at most ten.
template <class Aggregate>
inline constexpr std::size_t memberCount = Impl::memberCount<Aggregate>();

/// References to all members, in declaration order.
template <class Aggregate>
constexpr auto membersOf(Aggregate& aggregate) {
  constexpr std::size_t count = memberCount<std::remove_const_t<Aggregate>>;
  if constexpr (count == 0) {
    return std::tie();
  } else if constexpr (count == 1) {
    auto& [a] = aggregate;
    return std::tie(a);
  } else if constexpr (count == 2) {
    auto& [a, b] = aggregate;
    return std::tie(a, b);
  } else if constexpr (count == 3) {
    auto& [a, b, c] = aggregate;
    return std::tie(a, b, c);
  } else if constexpr (count == 4) {
    auto& [a, b, c, d] = aggregate;
    return std::tie(a, b, c, d);
  } else if constexpr (count == 5) {
    auto& [a, b, c, d, e] = aggregate;
    return std::tie(a, b, c, d, e);
  } else if constexpr (count == 6) {
    auto& [a, b, c, d, e, f] = aggregate;
    return std::tie(a, b, c, d, e, f);
  } else if constexpr (count == 7) {
    auto& [a, b, c, d, e, f, g] = aggregate;
    return std::tie(a, b, c, d, e, f, g);
  } else if constexpr (count == 8) {
    auto& [a, b, c, d, e, f, g, h] = aggregate;
    return std::tie(a, b, c, d, e, f, g, h);
  } else if constexpr (count == 9) {
    auto& [a, b, c, d, e, f, g, h, i] = aggregate;
    return std::tie(a, b, c, d, e, f, g, h, i);
  } else {
    auto& [a, b, c, d, e, f, g, h, i, j] = aggregate;
    return std::tie(a, b, c, d, e, f, g, h, i, j);
  }
}

}  // namespace Lumo
