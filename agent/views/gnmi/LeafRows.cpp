#include "agent/views/gnmi/LeafRows.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace Agent::Gnmi {

namespace {

// Whether the path of a list is that of the list around another.
bool isAround(std::string_view list, std::string_view path) {
  return list.ends_with(']') && path.size() > list.size() && path.starts_with(list);
}

struct Rows {
  std::vector<LeafRow> leaves;
  std::vector<NodeRows> nodes;

  Rows() {
    for (LeafTable const& table : leafTables()) {
      if (nodes.empty() || nodes.back().path != table.node) {
        nodes.push_back({table.node, {}, {}, static_cast<RowNumber>(leaves.size()), {}});
      }
      nodes.back().tables.push_back(&table);
      for (Leaf const& leaf : table.leaves) {
        add(table, leaf);
      }
    }
    for (NodeRows& node : nodes) {
      auto const outer = std::ranges::find_if(
          nodes, [&](NodeRows const& other) { return isAround(other.path, node.path); });
      if (outer != nodes.end()) {
        node.outer = static_cast<std::uint16_t>(outer - nodes.begin());
      }
    }
  }

 private:
  void add(LeafTable const& table, Leaf const& leaf) {
    if (leaves.size() == rowCapacity) {
      throw std::length_error("more leaves than Agent::Gnmi::rowCapacity");
    }
    auto const number = static_cast<RowNumber>(leaves.size());
    LeafRow row{&table, &leaf, number, static_cast<std::uint16_t>(nodes.size() - 1),
                pathSteps(table.node)};
    for (std::string_view const below : {table.container, leaf.name}) {
      std::ranges::copy(pathSteps(below, row.module()), std::back_inserter(row.steps));
    }
    nodes.back().rows.set(number);
    leaves.push_back(std::move(row));
  }
};

Rows const& rows() {
  static Rows const all;
  return all;
}

bool isConfig(LeafRow const& row) {
  return row.table->isConfig();
}

bool hasConfig(LeafRow const& of) {
  return std::ranges::any_of(rows().leaves, [&](LeafRow const& row) {
    return isConfig(row) && row.node == of.node && row.leaf->name == of.leaf->name;
  });
}

template <class Which>
RowSet rowsThat(Which const& which) {
  RowSet set;
  for (LeafRow const& row : rows().leaves) {
    set.set(row.number, which(row));
  }
  return set;
}

}  // namespace

std::string keyText(PlainKey const& key) {
  if (auto const* const number = std::get_if<std::uint64_t>(&key)) {
    return std::to_string(*number);
  }
  return std::get<std::string>(key);
}

std::span<LeafRow const> leafRows() {
  return rows().leaves;
}

std::span<NodeRows const> nodeRows() {
  return rows().nodes;
}

RowSet rowsOf(DataType type) {
  return rowsThat([type](LeafRow const& row) {
    switch (type) {
      case DataType::config: return isConfig(row);
      case DataType::state: return !isConfig(row);
      case DataType::operational: return !isConfig(row) && !hasConfig(row);
      case DataType::all: break;
    }
    return true;
  });
}

RowSet counterRows() {
  return rowsThat([](LeafRow const& row) { return row.leaf->type.isCounter; });
}

}  // namespace Agent::Gnmi
