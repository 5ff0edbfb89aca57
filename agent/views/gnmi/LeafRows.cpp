#include "agent/views/gnmi/LeafRows.h"

#include <algorithm>
#include <stdexcept>

namespace Agent::Gnmi {

namespace {

constexpr std::string_view configContainer = "config";

void namesAdd(std::vector<std::string_view>& names, std::string_view path) {
  while (!path.empty()) {
    std::size_t const end = path.find('/');
    if (end != 0) {
      names.push_back(path.substr(0, end));
    }
    path.remove_prefix(end == std::string_view::npos ? path.size() : end + 1);
  }
}

struct Rows {
  std::vector<LeafRow> leaves;
  std::vector<NodeRows> nodes;

  Rows() {
    for (LeafTable const& table : leafTables) {
      auto found = std::ranges::find(nodes, table.node, &NodeRows::path);
      if (found == nodes.end()) {
        found = nodes.insert(found, NodeRows{table.node, table.listKey, {}, {}, 0});
      }
      found->tables.push_back(&table);
    }
    for (NodeRows& node : nodes) {
      node.first = static_cast<RowNumber>(leaves.size());
      for (LeafTable const* const table : node.tables) {
        for (Leaf const& leaf : table->leaves) {
          add(node, *table, leaf);
        }
      }
    }
  }

 private:
  void add(NodeRows& node, LeafTable const& table, Leaf const& leaf) {
    if (leaves.size() == rowCapacity) {
      throw std::length_error("more leaves than Agent::Gnmi::rowCapacity");
    }
    auto const number = static_cast<RowNumber>(leaves.size());
    std::size_t const colon = leaf.name.find(':');
    bool const isQualified = colon != std::string_view::npos;
    LeafRow row{&table,
                &leaf,
                number,
                static_cast<std::uint16_t>(&node - nodes.data()),
                isQualified ? leaf.name.substr(0, colon) : leafModule,
                {},
                0};
    namesAdd(row.names, table.node);
    row.keyed = row.names.size() - 1;
    namesAdd(row.names, table.container);
    row.names.push_back(isQualified ? leaf.name.substr(colon + 1) : leaf.name);
    if (table.listKey.empty()) {
      row.keyed = row.names.size();
    }
    node.rows.set(number);
    leaves.push_back(std::move(row));
  }
};

Rows const& rows() {
  static Rows const all;
  return all;
}

bool isConfig(LeafRow const& row) {
  return row.table->container == configContainer;
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

std::string keyText(EntryKey const& key) {
  if (auto const* const number = std::get_if<std::uint64_t>(&key)) {
    return std::to_string(*number);
  }
  auto const* const name = std::get_if<std::string>(&key);
  return name == nullptr ? std::string() : *name;
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
