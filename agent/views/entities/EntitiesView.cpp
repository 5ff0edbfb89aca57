#include "agent/views/entities/EntitiesView.h"

#include <map>
#include <string>
#include <utility>

#include "agent/state/TargetRecord.h"
#include "agent/text/Values.h"

namespace Agent {

namespace {

// What keys are sorted by: a name by byte, trees and other numbers as such.
template <class Key>
auto orderOf(Key const& key) {
  return plainKey(key);
}
std::uint16_t orderOf(Stp::TreeId tree) {
  return tree.value();
}
auto orderOf(Stp::TreePortId id) {
  return std::pair(orderOf(id.tree), plainKey(id.port));
}

std::string keyText(std::string key) {
  return key;
}
std::string keyText(std::uint16_t key) {
  return std::to_string(key);
}

template <class Entity>
OrderedJson showTarget(Entity const& entity) {
  constexpr auto const& row = onlyAttribute<Entity>;
  if constexpr (requires { row.get; }) {
    return showValue(recordOf(entity));
  } else {
    using Key = typename std::remove_cvref_t<decltype(row)>::KeyType;
    std::map<decltype(orderOf(std::declval<Key>())), std::pair<std::string, OrderedJson>> sorted;
    auto const add = [&](Key const& key, auto const& record) {
      sorted.emplace(orderOf(key), std::pair(keyText(plainKey(key)), showValue(record)));
    };
    if constexpr (requires { row.records; }) {
      for (auto const& member : (entity.*row.records)()) {
        add(member.key, *member.value);
      }
    } else {
      for (auto const& member : (entity.*row.members)()) {
        add(member.key, recordOf(*member.value));
      }
    }
    OrderedJson object = OrderedJson::object();
    for (auto& [order, shown] : sorted) {
      memberAdd(object, shown.first, std::move(shown.second));
    }
    return object;
  }
}

}  // namespace

OrderedJson entitiesView(TargetView const& targets) {
  OrderedJson view = OrderedJson::object();
  std::apply(
      [&](auto const&... root) {
        (memberAdd(view, root.name, showTarget(*(targets.*root.entity))), ...);
      },
      TargetView::roots());
  return view;
}

}  // namespace Agent
