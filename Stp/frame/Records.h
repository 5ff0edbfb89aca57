// How the mirrors change the records of targets, which are stored whole. Internal.
#pragma once

#include "Lumo/Ptr.h"

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

/// Adds the member that a directory lacks and lets `edit` change its record. A member that fails
/// half-way is taken back: it would count as there the next time. A reader may drop the directory.
template <class Directory, class Member, class Key, class Edit>
Lumo::Ptr<Member> recordedMemberAdd(Directory& directory, Lumo::Ptr<Member> (Directory::*add)(Key),
                                    bool (Directory::*remove)(Key), Key key, Edit edit) {
  Lumo::Ptr<Directory> const held(&directory);
  try {
    Lumo::Ptr<Member> member = (directory.*add)(key);
    rewrite(*member, edit);
    return member;
  } catch (...) {
    (directory.*remove)(key);
    throw;
  }
}

}  // namespace Stp
