#include "agent/views/document/DocumentBuilder.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/views/document/SchemaPath.h"

namespace Agent {

namespace {

OrderedJson jsonOf(bool value) {
  return value;
}
OrderedJson jsonOf(std::uint64_t value) {
  return value;
}
OrderedJson jsonOf(std::string const& value) {
  return value;
}
OrderedJson jsonOf(Identity value) {
  return value.name;
}
OrderedJson jsonOf(std::vector<LeafEntry> const& entries) {
  OrderedJson list = OrderedJson::array();
  for (LeafEntry const& entry : entries) {
    list.push_back(std::visit([](auto const& value) { return jsonOf(value); }, entry));
  }
  return list;
}

OrderedJson keyJson(PlainKey const& key) {
  auto const* const name = std::get_if<std::string>(&key);
  return name != nullptr ? OrderedJson(*name) : OrderedJson(std::get<std::uint64_t>(key));
}

// One name on the way to the leaves of a table.
struct Step {
  std::string name;  // behind its module where that is another than that of the name above
  std::string listKey;
  std::size_t first;  // the first table below it
};

std::vector<Step> stepsTo(LeafTable const& table) {
  auto const pathOf = [](LeafTable const& of) {
    return std::string(of.node).append("/").append(of.container);
  };
  std::string const path = pathOf(table);
  auto const names = pathSteps(path);
  std::vector<Step> steps;
  for (std::size_t at = 0; at < names.size(); ++at) {
    auto const& [name, module, listKey] = names[at];
    bool const isQualified = at == 0 || module != names[at - 1].module;
    auto const isBelow = [&](LeafTable const& other) {
      std::string const otherPath = pathOf(other);
      auto const otherNames = pathSteps(otherPath);
      return otherNames.size() > at &&
             std::equal(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(at) + 1,
                        otherNames.begin());
    };
    auto const first = std::ranges::find_if(leafTables(), isBelow) - leafTables().begin();
    steps.push_back({(isQualified ? std::string(module) + ":" : "") + std::string(name),
                     std::string(listKey), static_cast<std::size_t>(first)});
  }
  return steps;
}

// Of a table, by its place.
std::vector<Step> const& steps(std::size_t table) {
  static std::vector<std::vector<Step>> const all = [] {
    std::vector<std::vector<Step>> made;
    std::ranges::transform(leafTables(), std::back_inserter(made), stepsTo);
    return made;
  }();
  return all[table];
}

}  // namespace

OrderedJson jsonOf(LeafType const& type, LeafValue const& value) {
  if (type.isLong()) {
    return std::to_string(std::get<std::uint64_t>(value));
  }
  return std::visit([](auto const& of) { return jsonOf(of); }, value);
}

OrderedJson& DocumentBuilder::leaves(LeafTable const& table, EntryKey const& key) {
  auto const place = static_cast<std::size_t>(&table - leafTables().data());
  auto const enter = [](std::unique_ptr<Node>& node) -> Node& {
    if (node == nullptr) {
      node = std::make_unique<Node>();
    }
    return *node;
  };
  Node* node = &root_;
  auto const* nextKey = key.begin();
  for (Step const& step : steps(place)) {
    node = &enter(node->nodes[step.first]);
    node->name = step.name;
    if (!step.listKey.empty()) {
      node->listKey = step.listKey;
      node = &enter(node->entries[*nextKey++]);
    }
  }
  return node->leaves.try_emplace(place, OrderedJson::object()).first->second;
}

OrderedJson DocumentBuilder::take() {
  OrderedJson document = OrderedJson::object();
  addTo(document, root_);
  return document;
}

void DocumentBuilder::addTo(OrderedJson& object, Node& node) {
  for (auto& [table, leaves] : node.leaves) {
    for (auto& [name, value] : leaves.get_ref<OrderedJson::object_t&>()) {
      memberAdd(object, name, std::move(value));
    }
  }
  for (auto& [table, below] : node.nodes) {
    OrderedJson member;
    if (below->listKey.empty()) {
      member = OrderedJson::object();
      addTo(member, *below);
    }
    for (auto& [key, entry] : below->entries) {
      OrderedJson of = OrderedJson::object();
      memberAdd(of, below->listKey, keyJson(key));
      addTo(of, *entry);
      if (of.size() > 1) {
        member.push_back(std::move(of));
      }
    }
    if (!member.empty()) {
      memberAdd(object, below->name, std::move(member));
    }
  }
}

}  // namespace Agent
