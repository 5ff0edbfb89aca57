// What the mirrors of a tree and of its ports have in common.
#pragma once

#include <tuple>

#include "Base/Api.h"
#include "StpTypes/Identifiers.h"
#include "StpTypes/ToldEntity.h"

namespace Stp::Oper {

struct TreeScopeTold {
  /// Where in the public model the tree is; it stays as it was made.
  TreeId tree;
  /// Whether the tree has a state, that is, whether the protocol runs.
  bool running = false;
};

/// Belongs to the mirror of a tree, which tells in it what the mirrors of the ports need to know.
class STP_API TreeScope final : public ToldEntity<TreeScope, TreeScopeTold> {
 public:
  enum class Id : Lumo::FieldId { tree = 258, running };

  ~TreeScope() override;

  static constexpr auto attributes = std::tuple{
      row<Id::tree, &TreeScopeTold::tree>("tree"),
      row<Id::running, &TreeScopeTold::running>("running"),
  };
};

}  // namespace Stp::Oper
