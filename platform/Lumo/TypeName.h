// The name of a type as its source writes it, for error texts and the type registry.
#pragma once

#include <string_view>

namespace Lumo {

namespace Impl {

// Both compilers name the template's argument as "T = NAME", closed by ']' or, where GCC goes on
// to explain its own aliases, by ';'.
template <class T>
constexpr std::string_view functionName() {
  return __PRETTY_FUNCTION__;
}

}  // namespace Impl

/// The qualified name, with const on the side where the compiler writes it.
template <class T>
consteval std::string_view typeName() {
  std::string_view name = Impl::functionName<T>();
  name.remove_prefix(name.find("T = ") + 4);
  return name.substr(0, name.find_first_of(";]"));
}

}  // namespace Lumo
