// The record of a module in the type registry, derived from its classes. Included by the one source
// of a module that defines its record.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "Lumo/ModuleInspect.h"
#include "Lumo/TypeName.h"
#include "Stp/frame/ClassList.h"
#include "Stp/frame/Inspector.h"

namespace Stp {

namespace Impl {

template <class Class>
inline constinit Inspector<Class> const inspector;

template <class... Class>
std::span<Lumo::ClassInspectData const> describeClasses(ClassList<Class...> /*classes*/) {
  static std::array<Lumo::ClassInspectData, sizeof...(Class)> const classes{
      Lumo::ClassInspectData{Lumo::typeName<Class>(), fieldsOf<Class>, &inspector<Class>}...};
  return classes;
}

struct Names {
  std::array<std::string_view, 512> names{};
  std::size_t count = 0;

  constexpr void add(std::string_view name) {
    if (!name.empty()) {
      names.at(count++) = name;
    }
  }
};

// All names of the module's classes, sorted, each once.
template <class... Class>
consteval Names collectNames(ClassList<Class...> /*classes*/) {
  Names all;
  auto const addClass = [&all](std::string_view name, auto const& fields) {
    all.add(name);
    for (auto const& field : fields) {
      all.add(field.name);
      all.add(field.type);
    }
  };
  (addClass(Lumo::typeName<Class>(), fieldsOf<Class>), ...);
  auto* const end = all.names.data() + all.count;
  std::sort(all.names.data(), end);
  all.count = static_cast<std::size_t>(std::unique(all.names.data(), end) - all.names.data());
  return all;
}

template <class Module>
inline constexpr Names moduleNames = collectNames(typename Module::Classes());

}  // namespace Impl

/// The record of a module: its name, its source path, its names and its classes. All classes must
/// be complete here.
template <class Module>
Lumo::ModuleInspectData describeModule(std::string_view name) {
  return {name, Module::sourcePath,
          std::span(Impl::moduleNames<Module>.names).first(Impl::moduleNames<Module>.count),
          Impl::describeClasses(typename Module::Classes())};
}

}  // namespace Stp
