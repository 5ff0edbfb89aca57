#include "agent/views/lines/Watch.h"

#include <type_traits>
#include <utility>
#include <variant>

#include "agent/text/Values.h"

namespace Agent {

namespace {

// As operations have it.
OrderedJson pathOf(TargetPlace const& place) {
  OrderedJson path = OrderedJson::array({place.target, place.attribute});
  std::visit(
      [&](auto const& key) {
        if constexpr (!std::is_same_v<std::remove_cvref_t<decltype(key)>, std::monostate>) {
          path.push_back(plainKey(key));
        }
      },
      place.key);
  return path;
}

}  // namespace

Watch::Watch(ObservedTargets& targets, Output& output) : targets_(targets), output_(output) {
  targets_.observerAdd(*this, ObservedTargets::From::now);
}

Watch::~Watch() {
  targets_.observerDel(*this);
}

void Watch::recordIs(TargetPlace const& place, TargetRecord const& record) noexcept {
  OrderedJson line = OrderedJson::object();
  memberAdd(line, "changed", pathOf(place));
  memberAdd(line, "value", std::visit([](auto const& value) { return showValue(value); }, record));
  output_.lineAdd(line.dump());
}

void Watch::recordGone(TargetPlace const& place) noexcept {
  OrderedJson line = OrderedJson::object();
  memberAdd(line, "deleted", pathOf(place));
  output_.lineAdd(line.dump());
}

}  // namespace Agent
