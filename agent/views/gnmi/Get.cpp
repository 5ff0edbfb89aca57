#include "agent/views/gnmi/Get.h"

#include <algorithm>
#include <utility>

#include "agent/views/document/DocumentBuilder.h"
#include "agent/views/gnmi/Failure.h"

namespace Agent::Gnmi {

namespace {

// One path can mean one thing alone, and that is not there.
void refuseAbsent(Snapshot const& state, ResolvedPath const& path) {
  if (!path.isWild && state.leaves(path.selection).empty()) {
    throw Failure(Code::notFound, path.text + ": there is nothing now");
  }
}

// The list at or above a node, or null.
SchemaNode const* listOf(SchemaNode const& node) {
  SchemaNode const* at = &node;
  while (at != nullptr && !at->isList()) {
    at = at->parent();
  }
  return at;
}

// Adds the leaves of an entry that are among rows to a document, table by table.
void entryAdd(DocumentBuilder& document, Entry const& entry, RowSet const& rows) {
  auto leaf = entry.leaves.begin();
  while (leaf != entry.leaves.end()) {
    LeafTable const& table = *leafRows()[leaf->row].table;
    OrderedJson leaves = OrderedJson::object();
    for (; leaf != entry.leaves.end() && leafRows()[leaf->row].table == &table; ++leaf) {
      if (rows[leaf->row]) {
        memberAdd(leaves, leafRows()[leaf->row].leaf->name, jsonOf(*leaf->value));
      }
    }
    if (!leaves.empty()) {
      document.leavesAdd(table, entry.key, std::move(leaves));
    }
  }
}

// What stands in a document at a node, in the only entry that each list above has.
OrderedJson valueAt(OrderedJson document, SchemaNode const& node) {
  if (node.parent() == nullptr) {
    return document;
  }
  OrderedJson above = valueAt(std::move(document), *node.parent());
  bool const isFirst = node.parent()->parent() == nullptr;
  std::string const name = node.isLeaf() ? std::string(node.row()->leaf->name)
                           : isFirst ? std::string(node.module()).append(":").append(node.name())
                                     : std::string(node.name());
  OrderedJson value = std::move(above.at(name));
  return node.isList() ? std::move(value.at(0)) : value;
}

// The members of an object below a node, with their modules.
OrderedJson qualified(OrderedJson value, SchemaNode const& node) {
  if (!value.is_object() || node.parent() == nullptr) {
    return value;
  }
  OrderedJson object = OrderedJson::object();
  for (auto& [name, member] : value.get_ref<OrderedJson::object_t&>()) {
    std::string const module =
        name.find(':') == std::string::npos ? std::string(node.child(name)->module()) + ":" : "";
    memberAdd(object, module + name, std::move(member));
  }
  return object;
}

class Subtrees {
 public:
  Subtrees(Snapshot const& state, RowSet const& rows) : state_(state), rows_(rows) {}

  // Each entry of the list at or above the node on its own.
  void add(MeantNode const& meant) {
    Selection selection;
    if (std::holds_alternative<std::monostate>(meant.key)) {
      selection.add(meant.node->rows() & rows_);
    } else {
      selection.add(meant.node->rows() & rows_, meant.key);
    }
    if (listOf(*meant.node) == nullptr) {
      DocumentBuilder document;
      bool isEmpty = true;
      state_.visit(selection, [&](EntryPtr const& entry, RowSet const& rows) {
        entryAdd(document, *entry, rows);
        isEmpty = isEmpty && !has(*entry, rows);
      });
      if (!isEmpty) {
        add(*meant.node, {}, document);
      }
      return;
    }
    state_.visit(selection, [&](EntryPtr const& entry, RowSet const& rows) {
      if (has(*entry, rows)) {
        DocumentBuilder document;
        entryAdd(document, *entry, rows);
        add(*meant.node, entry->key, document);
      }
    });
  }

  std::vector<Subtree> take() { return std::move(subtrees_); }

 private:
  static bool has(Entry const& entry, RowSet const& rows) {
    return std::ranges::any_of(entry.leaves, [&](LeafState const& leaf) { return rows[leaf.row]; });
  }

  void add(SchemaNode const& node, EntryKey const& key, DocumentBuilder& document) {
    subtrees_.push_back({&node, key, qualified(valueAt(document.take(), node), node)});
  }

  Snapshot const& state_;
  RowSet const& rows_;
  std::vector<Subtree> subtrees_;
};

}  // namespace

std::vector<LeafRef> leavesOf(Snapshot const& state, ResolvedPath const& path, RowSet const& rows) {
  refuseAbsent(state, path);
  Selection selection = path.selection;
  selection.restrictTo(rows);
  return state.leaves(selection);
}

std::vector<Subtree> subtreesOf(Snapshot const& state, ResolvedPath const& path,
                                RowSet const& rows) {
  refuseAbsent(state, path);
  Subtrees subtrees(state, rows);
  for (MeantNode const& meant : path.nodes) {
    subtrees.add(meant);
  }
  return subtrees.take();
}

}  // namespace Agent::Gnmi
