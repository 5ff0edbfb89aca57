// A text as a template argument.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace Lumo {

/// A string literal in a form that a template can take: `Source<"portConfig", ...>`.
template <std::size_t length>
struct FixedString {
  // NOLINTNEXTLINE(google-explicit-constructor): a literal is meant to convert
  consteval FixedString(char const (&text)[length]) { std::copy_n(text, length, characters); }

  constexpr std::string_view view() const { return {characters, length - 1}; }

  char characters[length] = {};
};

}  // namespace Lumo
