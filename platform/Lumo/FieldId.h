// The number of an attribute or operation within its type.
#pragma once

#include <cstdint>

namespace Lumo {

/// Numbers an attribute within its entity type, or an attribute or operation within its reactor
/// class. The same number means different things in different types; entity types therefore
/// enumerate theirs as `enum class Id : Lumo::FieldId`.
using FieldId = std::uint16_t;

}  // namespace Lumo
