#include "agent/views/entities/EntitiesView.h"

#include <map>
#include <string>
#include <utility>

#include "agent/state/TargetRecord.h"
#include "agent/text/Values.h"

namespace Agent {

namespace {

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
    std::map<decltype(plainKey(std::declval<Key>())), OrderedJson> sorted;
    if constexpr (requires { row.records; }) {
      for (auto const& member : (entity.*row.records)()) {
        sorted.emplace(plainKey(member.key), showValue(*member.value));
      }
    } else {
      for (auto const& member : (entity.*row.members)()) {
        sorted.emplace(plainKey(member.key), showValue(recordOf(*member.value)));
      }
    }
    OrderedJson object = OrderedJson::object();
    for (auto& [key, record] : sorted) {
      memberAdd(object, keyText(key), std::move(record));
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
