#include "Lumo/Node.h"

namespace Lumo {

Node::~Node() = default;

VelTypeBase Node::typeData() const {
  return {};
}

void Node::flagIs(std::uint64_t bit, bool value) noexcept {
  if (((countLoad(word_) & bit) != 0) != value) {
    if (value) {
      countAdd(word_, bit);
    } else {
      countSubtract(word_, bit);
    }
  }
}

void Node::destroy() const noexcept {
  delete this;
}

void hasNotificationActiveSet(Node& node, bool value) noexcept {
  node.flagIs(Node::notificationActiveBit, value);
}

}  // namespace Lumo
