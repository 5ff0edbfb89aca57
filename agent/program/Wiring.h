// Which change runs which handler, and what each class of the libraries is made of.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "Lumo/ModuleInspect.h"

namespace Agent {

/// The classes of the libraries, module by module, by class index.
std::span<Lumo::ClassInspectData const> mirrorClasses();

/// The name of a type without the libraries' namespace, which all have in common.
std::string shortName(std::string_view qualified);

/// What a field of an object is to the object: "watches", "writes", ...
std::string fieldRole(Lumo::FieldKind kind);

/// The type registry as a page of Markdown that is fit for a terminal too: all changes with the
/// handlers that they run, then the classes with their numbered fields. It depends on nothing but
/// the libraries, so it is the same in every process.
std::string wiringPage();

}  // namespace Agent
