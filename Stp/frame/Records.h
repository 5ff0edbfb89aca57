// How the mirrors change the records of targets, which are stored whole. Internal.
#pragma once

namespace Stp {

/// Copies the target's present record, lets `edit` change its own members, and stores the whole
/// record: one change of the target. A reader may drop the target then.
template <class Entity, class Edit>
void rewrite(Entity& target, Edit edit) {
  if constexpr (requires { target.configIs(target.config()); }) {
    auto record = target.config();
    edit(record);
    target.configIs(record);
  } else {
    auto record = target.state();
    edit(record);
    target.stateIs(record);
  }
}

}  // namespace Stp
