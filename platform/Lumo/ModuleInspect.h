// The type registry: what modules, classes and fields there are, by name and number.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "Base/Api.h"
#include "Lumo/FieldId.h"
#include "Lumo/Node.h"

namespace Lumo {

class HideMe;

/// What a field of a class is. Constructor arguments are keys, sources, held entities and targets.
enum class FieldKind : std::uint8_t {
  key,        ///< the name under which a parent holds the object
  source,     ///< an entity that is watched
  held,       ///< an entity that is only held, to be read or passed on
  target,     ///< an entity that is written
  child,      ///< a single child, or none
  children,   ///< children by name
  attribute,  ///< a plain value of an entity class
  operation,  ///< a handler or another action
  text,       ///< a text about the object itself
};

/// A change that runs an operation.
struct Trigger {
  std::string_view entity;  ///< qualified type of the watched entity
  FieldId id = 0;           ///< the attribute in that type
  std::string_view attribute;
};

/// One field of a class.
struct FieldDescriptor {
  FieldId id = 0;
  FieldKind kind = FieldKind::text;
  std::string_view name;
  std::string_view type;  ///< qualified type of an argument or child; empty for others
  std::span<Trigger const> triggers = {};  ///< of an operation: the changes that run it
};

/// One class of a module.
struct ClassInspectData {
  std::string_view name;                    ///< qualified
  std::span<FieldDescriptor const> fields;  ///< in ascending order of their ids
  HideMe const* hideMe = nullptr;           ///< how tools reach the objects of the class

  /// The field of this name or number, or null.
  STP_API FieldDescriptor const* field(std::string_view fieldName) const noexcept;
  STP_API FieldDescriptor const* field(FieldId id) const noexcept;
};

/// One module; the records live in static storage.
struct ModuleInspectData {
  std::string_view name;
  std::string_view sourcePath;
  std::span<std::string_view const> strings;  ///< all names of the module, sorted
  std::span<ClassInspectData const> classes;  ///< by class index

  /// Makes a module known. A module calls it once, when it is loaded.
  STP_API static void loaded(ModuleInspectData const& module);

  /// The modules loaded so far, in that order.
  STP_API static std::span<ModuleInspectData const* const> modules() noexcept;
};

/// The class that a type names, or null for one that no module registers.
STP_API ClassInspectData const* classOf(VelTypeBase type) noexcept;

/// The class of a node.
STP_API ClassInspectData const* classOf(Node const& node);

}  // namespace Lumo
