#include "agent/views/document/OpenConfigView.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "agent/text/Values.h"
#include "agent/views/document/OpenConfigLeaves.h"

namespace Agent {

namespace {

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

// Takes the run of digits at the front of `text`, without its leading zeros.
std::string_view takeNumber(std::string_view& text) {
  auto const end = std::find_if_not(text.begin(), text.end(), isDigit);
  std::string_view number = text.substr(0, static_cast<std::size_t>(end - text.begin()));
  text.remove_prefix(number.size());
  number.remove_prefix(std::min(number.find_first_not_of('0'), number.size()));
  return number;
}

// Less, equal or greater than zero.
int compareNumbers(std::string_view a, std::string_view b) {
  return a.size() == b.size() ? a.compare(b) : (a.size() < b.size() ? -1 : 1);
}

struct NaturalLess {
  bool operator()(std::string const& a, std::string const& b) const { return naturalLess(a, b); }
};

// The leaves of one list entry, where there is a record.
struct Entry {
  std::optional<Leaves> config;
  std::optional<Leaves> state;
};
using Interfaces = std::map<std::string, Entry, NaturalLess>;
using MstInstances = std::map<std::uint16_t, Entry>;

void leavesAdd(OrderedJson& container, Leaves const& leaves) {
  for (Leaf const& leaf : leaves) {
    memberAdd(container, leaf.name, leaf.value);
  }
}

OrderedJson container(std::string_view name, OrderedJson content) {
  OrderedJson object = OrderedJson::object();
  memberAdd(object, name, std::move(content));
  return object;
}

// A list by its key leaf. The key refers to the one in `config`, which is there in any case.
template <class Entries>
OrderedJson list(std::string_view keyName, Entries const& entries) {
  OrderedJson result = OrderedJson::array();
  for (auto const& [key, entry] : entries) {
    OrderedJson object = container(keyName, key);
    OrderedJson config = container(keyName, key);
    leavesAdd(config, entry.config.value_or(Leaves()));
    memberAdd(object, "config", std::move(config));
    if (entry.state) {
      OrderedJson state = container(keyName, key);
      leavesAdd(state, *entry.state);
      memberAdd(object, "state", std::move(state));
    }
    result.push_back(std::move(object));
  }
  return result;
}

// The entries of a list, from the directory of its configurations and that of its states.
template <class Entries, class ConfigDir, class StateDir>
Entries entriesOf(ConfigDir const& configs, StateDir const& states) {
  Entries entries;
  for (auto const& member : configs) {
    if (auto const key = plainKey(member.key); inModel(key)) {
      entries[key].config = leavesOf(member.value->config());
    }
  }
  for (auto const& member : states) {
    if (auto const key = plainKey(member.key); inModel(key)) {
      entries[key].state = leavesOf(*member.value);
    }
  }
  return entries;
}

OrderedJson global(Leaves const& config, Leaves const& state) {
  OrderedJson object = OrderedJson::object();
  for (auto const& [name, leaves] : {std::pair{"config", &config}, std::pair{"state", &state}}) {
    OrderedJson content = OrderedJson::object();
    leavesAdd(content, *leaves);
    memberAdd(object, name, std::move(content));
  }
  return object;
}

}  // namespace

OrderedJson openConfigView(TargetView const& targets) {
  OrderedJson stp = OrderedJson::object();
  memberAdd(
      stp, "global",
      global(leavesOf(targets.globalConfig->config()), leavesOf(targets.globalState->state())));
  auto const interfaces = entriesOf<Interfaces>(targets.interfaceConfigDir->interface(),
                                                targets.interfaceStateDir->state());
  if (!interfaces.empty()) {
    memberAdd(stp, "interfaces", container("interface", list("name", interfaces)));
  }
  auto const instances =
      entriesOf<MstInstances>(targets.mstiConfigDir->mstInstance(), targets.mstiStateDir->state());
  if (!instances.empty()) {
    memberAdd(stp, "mstp",
              container("mst-instances", container("mst-instance", list("mst-id", instances))));
  }
  return container("openconfig-spanning-tree:stp", std::move(stp));
}

bool naturalLess(std::string_view a, std::string_view b) {
  std::string_view restA = a;
  std::string_view restB = b;
  while (!restA.empty() && !restB.empty()) {
    int order = 0;
    if (isDigit(restA.front()) && isDigit(restB.front())) {
      order = compareNumbers(takeNumber(restA), takeNumber(restB));
    } else {
      order = restA.substr(0, 1).compare(restB.substr(0, 1));
      restA.remove_prefix(1);
      restB.remove_prefix(1);
    }
    if (order != 0) {
      return order < 0;
    }
  }
  if (restA.empty() != restB.empty()) {
    return restA.empty();
  }
  return a < b;
}

}  // namespace Agent
