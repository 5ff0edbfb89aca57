#include "agent/views/document/OpenConfigView.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "agent/state/TargetRecord.h"
#include "agent/views/document/Leaves.h"

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

// Keys of one list are of one type: names, or numbers. What is no list has one entry.
struct KeyLess {
  bool operator()(LeafValue const& a, LeafValue const& b) const {
    if (auto const* const name = std::get_if<std::string>(&a)) {
      return naturalLess(*name, std::get<std::string>(b));
    }
    auto const* const number = std::get_if<std::uint64_t>(&a);
    return number != nullptr && *number < std::get<std::uint64_t>(b);
  }
};

// What stands at one node of the schema: by the key of the list, if it is one, the containers with
// their leaves.
struct Node {
  std::string_view path;
  std::string_view listKey;
  std::map<LeafValue, OrderedJson, KeyLess> entries;
};

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
OrderedJson jsonOf(LeafValue const& value) {
  return std::visit([](auto const& of) { return jsonOf(of); }, value);
}

class Document {
 public:
  void add(Key const& key, TargetRecord const& record) {
    LeafTable const& table = leafTableOf(record);
    OrderedJson leaves = OrderedJson::object();
    std::optional<LeafValue> listKey;
    for (Leaf const& leaf : table.leaves) {
      if (auto const value = LeafTable::value(leaf, key, record)) {
        memberAdd(leaves, leaf.name, jsonOf(*value));
        if (leaf.name == table.listKey) {
          listKey = value;
        }
      }
    }
    bool const isList = !table.listKey.empty();
    if (isList && !listKey) {
      return;  // the model has no such key
    }
    auto [entry, isNew] =
        nodeOf(table).entries.try_emplace(listKey.value_or(false), OrderedJson::object());
    OrderedJson& containers = entry->second;
    if (isNew && isList) {
      // The key of the list refers to the one in `config`, which is there in any case.
      memberAdd(containers, table.listKey, jsonOf(*listKey));
      containers["config"][std::string(table.listKey)] = jsonOf(*listKey);
    }
    containers[std::string(table.container)] = std::move(leaves);
  }

  OrderedJson take() const {
    OrderedJson document = OrderedJson::object();
    for (Node const& node : nodes_) {
      OrderedJson* at = &document;
      std::string_view rest = node.path;
      while (!rest.empty()) {
        rest.remove_prefix(1);
        std::string_view const name = rest.substr(0, rest.find('/'));
        at = &(*at)[std::string(at == &document ? "openconfig-spanning-tree:" : "").append(name)];
        rest.remove_prefix(name.size());
      }
      for (auto const& [key, entry] : node.entries) {
        if (node.listKey.empty()) {
          *at = entry;
        } else {
          at->push_back(entry);
        }
      }
    }
    return document;
  }

 private:
  Node& nodeOf(LeafTable const& table) {
    auto const found = std::ranges::find(nodes_, table.node, &Node::path);
    return found != nodes_.end() ? *found
                                 : nodes_.emplace_back(Node{table.node, table.listKey, {}});
  }

  std::vector<Node> nodes_;  // in the order in which they are shown
};

}  // namespace

OrderedJson openConfigView(TargetView const& targets) {
  Document document;
  eachRecord(targets, [&](TargetPlace const& place, TargetRecord const& record) {
    document.add(place.key, record);
  });
  return document.take();
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
