#include "Plain.h"

#include <unordered_map>

namespace Harness {

namespace {

using Agent::OrderedJson;

std::string bare(std::string const& name) {
  return name.substr(name.find(':') + 1);
}

void leavesAdd(Leaves& to, OrderedJson const& node, std::vector<PathElement> const& path,
               std::string const& key = "") {
  for (auto const& [name, value] : node.items()) {
    std::vector<PathElement> below = path;
    below.push_back({bare(name)});
    bool const isList = value.is_array() && !value.empty() && value.front().is_object();
    if (value.is_object()) {
      leavesAdd(to, value, below);
    } else if (isList) {
      for (OrderedJson const& entry : value) {
        auto const first = entry.begin();  // that is the key
        below.back().keys = {
            {first.key(), first->is_string() ? first->get<std::string>() : first->dump()}};
        leavesAdd(to, entry, below, first.key());
      }
    } else if (name != key) {
      to[Agent::Gnmi::pathText(below)] = value.dump();
    }
  }
}

// Which leaves a path selects, as far as that was asked: it is asked again and again.
std::unordered_map<std::string, bool>& knownTo(RequestPath const& path) {
  static std::unordered_map<std::string, std::unordered_map<std::string, bool>> all;
  return all[Agent::Gnmi::pathText(path.elements)];
}

}  // namespace

Leaves leavesOf(OrderedJson const& document) {
  Leaves leaves;
  leavesAdd(leaves, document, {});
  return leaves;
}

Leaves selected(Leaves const& leaves, std::vector<RequestPath> const& paths) {
  Leaves found;
  for (RequestPath const& path : paths) {
    auto& known = knownTo(path);
    for (auto const& leaf : leaves) {
      auto [isSelected, isNew] = known.try_emplace(leaf.first);
      if (isNew) {
        auto const elements = Agent::Gnmi::pathFrom(leaf.first).elements;
        isSelected->second = Agent::Gnmi::selects(path.elements, elements);
      }
      if (isSelected->second) {
        found.insert(leaf);
      }
    }
  }
  return found;
}

Difference difference(Leaves const& before, Leaves const& after) {
  Difference all;
  for (auto const& [path, value] : after) {
    auto const found = before.find(path);
    all.updates += found == before.end() || found->second != value ? 1 : 0;
  }
  for (auto const& [path, value] : before) {
    all.deletes += after.contains(path) ? 0 : 1;
  }
  return all;
}

}  // namespace Harness
