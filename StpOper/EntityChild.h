// How a mirror keeps a child for the entity of a name. Internal.
#pragma once

#include "Lumo/String.h"

namespace Stp::Oper {

/// Leaves the child of a name made for the entity of that name, or none where there is no entity.
/// `withdraw()` takes the child away, `create(entity)` returns it, new or present. The readers of
/// the records that these touch may change the entity, or take the child away, meanwhile.
template <class Children, class Entity, class Withdraw, class Create>
void entityChildIs(Children const& children, Lumo::String const& name, Entity const& entity,
                   Withdraw const& withdraw, Create const& create) {
  while (true) {
    auto const* const present = children.members().find(name);
    if (present != nullptr && !(*present)->mirrors(entity())) {
      withdraw();
    }
    auto const wanted = entity();
    if (!wanted || create(wanted)->mirrors(entity())) {
      return;
    }
  }
}

}  // namespace Stp::Oper
