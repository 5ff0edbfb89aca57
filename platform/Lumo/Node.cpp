#include "Lumo/Node.h"

namespace Lumo {

Node::~Node() = default;

VelTypeBase Node::typeData() const {
  return {};
}

void Node::destroy() const noexcept {
  delete this;
}

}  // namespace Lumo
