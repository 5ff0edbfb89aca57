#include "agent/views/document/DocumentBuilder.h"

#include <algorithm>
#include <cstdint>
#include <utility>

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
OrderedJson keyJson(EntryKey const& key) {
  OrderedJson json;
  if (auto const* const name = std::get_if<std::string>(&key)) {
    json = *name;
  } else if (auto const* const number = std::get_if<std::uint64_t>(&key)) {
    json = *number;
  }
  return json;
}

}  // namespace

std::optional<EntryKey> entryKeyOf(LeafTable const& table, Key const& key,
                                   TargetRecord const& record) {
  if (table.listKey.empty()) {
    return EntryKey();
  }
  auto value = LeafTable::value(table.leaves.front(), key, record);
  if (!value) {
    return std::nullopt;
  }
  if (auto* const name = std::get_if<std::string>(&*value)) {
    return EntryKey(std::move(*name));
  }
  return EntryKey(std::get<std::uint64_t>(*value));
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

bool EntryKeyLess::operator()(EntryKey const& a, EntryKey const& b) const {
  auto const* const name = std::get_if<std::string>(&a);
  auto const* const other = std::get_if<std::string>(&b);
  return name != nullptr && other != nullptr ? naturalLess(*name, *other) : a < b;
}

OrderedJson jsonOf(LeafValue const& value) {
  return std::visit([](auto const& of) { return jsonOf(of); }, value);
}

std::pair<OrderedJson*, bool> DocumentBuilder::entry(LeafTable const& table, EntryKey const& key) {
  auto found = std::ranges::find(nodes_, table.node, &Node::path);
  if (found == nodes_.end()) {
    found = nodes_.insert(found, Node{table.node, table.listKey, {}});
  }
  auto const [entry, isNew] = found->entries.try_emplace(key, OrderedJson::object());
  if (isNew && !table.listKey.empty()) {
    memberAdd(entry->second, table.listKey, keyJson(key));
  }
  return {&entry->second, isNew};
}

void DocumentBuilder::leavesAdd(LeafTable const& table, EntryKey const& key, OrderedJson leaves) {
  (*entry(table, key).first)[std::string(table.container)] = std::move(leaves);
}

OrderedJson DocumentBuilder::take() {
  OrderedJson document = OrderedJson::object();
  for (Node& node : nodes_) {
    OrderedJson* at = &document;
    std::string_view rest = node.path;
    while (!rest.empty()) {
      rest.remove_prefix(1);
      std::string_view const name = rest.substr(0, rest.find('/'));
      std::string const module = at == &document ? std::string(leafModule).append(":") : "";
      at = &(*at)[module + std::string(name)];
      rest.remove_prefix(name.size());
    }
    for (auto& [key, entry] : node.entries) {
      if (node.listKey.empty()) {
        *at = std::move(entry);
      } else {
        at->push_back(std::move(entry));
      }
    }
  }
  return document;
}

}  // namespace Agent
