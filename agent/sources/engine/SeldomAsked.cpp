#include "agent/sources/engine/SeldomAsked.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace Agent {

namespace {

using Port = EngineSnapshot::Port;
using Tree = EngineSnapshot::Tree;
using TreePort = EngineSnapshot::TreePort;

// Finds by name what stands in about the order in which it is looked for.
template <class Named>
class Finder {
 public:
  explicit Finder(std::vector<Named> const& all) : all_(all) {}

  Named const* find(Lumo::String const& name) {
    if (next_ < all_.size() && all_[next_].name == name) {
      return &all_[next_++];
    }
    auto const found = std::ranges::find(all_, name, &Named::name);
    if (found == all_.end()) {
      return nullptr;
    }
    next_ = static_cast<std::size_t>(found - all_.begin()) + 1;
    return &*found;
  }

 private:
  std::vector<Named> const& all_;
  std::size_t next_ = 0;
};

Tree const* find(std::vector<Tree> const& trees, std::uint16_t id) {
  auto const found = std::ranges::find(trees, id, &Tree::id);
  return found == trees.end() ? nullptr : &*found;
}

std::vector<TreePort> const& portsOf(Tree const* tree) {
  static std::vector<TreePort> const none;
  return tree == nullptr ? none : tree->ports;
}

void countersAre(TreePort& port, TreePort const& from) {
  port.bpduSent = from.bpduSent;
  port.bpduReceived = from.bpduReceived;
}

bool isSame(Stp::Operational::TreeTold const& one, Stp::Operational::TreeTold const& other) {
  return one == other;
}

// Whether a port goes on to another state by itself, or waits for something to end.
bool isOnItsWay(TreePort const& port) {
  using Role = Stp::Operational::PortRole;
  bool const isToForward =
      port.role == Role::root || port.role == Role::designated || port.role == Role::master;
  return isToForward && port.state != Stp::Operational::PortState::forwarding;
}

}  // namespace

std::vector<TreePortPair> SeldomAsked::due(EngineSnapshot& snapshot, Time now, bool isAll) const {
  Tree const* const cist = find(trees_, 0);
  Finder portsBefore(ports_);
  Finder inCistBefore(portsOf(cist));
  std::vector<bool> portChanged;
  for (std::size_t at = 0; at < snapshot.ports.size(); ++at) {
    TreePort& inCist = snapshot.trees.front().ports[at];
    Port const* const port = portsBefore.find(inCist.name);
    TreePort const* const before = inCistBefore.find(inCist.name);
    TreePort alike = inCist;
    if (before != nullptr) {
      countersAre(alike, *before);
      if (!isOver(now)) {
        countersAre(inCist, *before);
      }
    }
    portChanged.push_back(port == nullptr || before == nullptr || *port != snapshot.ports[at] ||
                          *before != alike);
  }

  bool const isAllDue = isAll || (isOver(now) && untilAll_ == 0);
  std::vector<TreePortPair> pairs;
  for (Tree const& tree : snapshot.trees) {
    if (tree.id == 0) {
      continue;
    }
    Tree const* const before = find(trees_, tree.id);
    bool const isWhole = isAllDue || before == nullptr || !isSame(*before, tree);
    Finder portsInTreeBefore(portsOf(before));
    for (std::size_t at = 0; at < snapshot.ports.size(); ++at) {
      auto const& name = snapshot.ports[at].name;
      TreePort const* const known = portsInTreeBefore.find(name);
      if (isWhole || portChanged[at] || known == nullptr ||
          (snapshot.running() && isOnItsWay(*known))) {
        pairs.push_back({name, tree.id});
      }
    }
  }
  return pairs;
}

void SeldomAsked::complete(EngineSnapshot& snapshot, Time asked) {
  for (Tree& tree : snapshot.trees) {
    if (tree.id == 0) {
      continue;
    }
    std::vector<TreePort> const told = std::exchange(tree.ports, {});
    Finder fresh(told);
    Finder last(portsOf(find(trees_, tree.id)));
    for (Port const& port : snapshot.ports) {
      TreePort const* const before = last.find(port.name);
      TreePort const* const now = fresh.find(port.name);
      if (TreePort const* const known = now != nullptr ? now : before) {
        tree.ports.push_back(*known);
      }
    }
  }
  ports_ = snapshot.ports;
  trees_ = snapshot.trees;
  if (isOver(asked)) {
    over_ = asked + interval_;
    untilAll_ = (untilAll_ + intervalsOfAll - 1) % intervalsOfAll;
  }
}

}  // namespace Agent
