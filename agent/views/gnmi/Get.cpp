#include "agent/views/gnmi/Get.h"

#include <algorithm>
#include <map>
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

// Adds the leaves of an entry that are among rows to a document.
void entryAdd(DocumentBuilder& document, Entry const& entry, RowSet const& rows) {
  LeafTable const* table = nullptr;
  OrderedJson* leaves = nullptr;
  for (LeafState const& leaf : entry.leaves) {
    if (!rows[leaf.row]) {
      continue;
    }
    LeafRow const& row = leafRows()[leaf.row];
    if (row.table != table) {
      table = row.table;
      leaves = &document.leaves(*table, entry.key);
    }
    memberAdd(*leaves, row.leaf->name, jsonOf(row.leaf->type, *leaf.value));
  }
}

// The name of a node as JSON has it.
std::string nameOf(SchemaNode const& node) {
  std::string const name(node.name());
  return node.module() == node.parent()->module() ? name : std::string(node.module()) + ":" + name;
}

// What stands in a document at a node, in the only entry that each list above has.
OrderedJson valueAt(OrderedJson document, SchemaNode const& node) {
  if (node.parent() == nullptr) {
    return document;
  }
  OrderedJson above = valueAt(std::move(document), *node.parent());
  OrderedJson value = std::move(above.at(nameOf(node)));
  return node.isList() ? std::move(value.at(0)) : value;
}

// The members of an object below a node, with their modules.
OrderedJson qualified(OrderedJson value, SchemaNode const& node) {
  if (!value.is_object() || node.parent() == nullptr) {
    return value;
  }
  OrderedJson object = OrderedJson::object();
  for (auto& [name, member] : value.get_ref<OrderedJson::object_t&>()) {
    bool const isBare = name.find(':') == std::string::npos;
    memberAdd(object, (isBare ? std::string(node.module()) + ":" : "") + name, std::move(member));
  }
  return object;
}

// The keys of an entry down to those of so many lists.
EntryKey keyOf(Entry const& entry, std::size_t lists) {
  EntryKey key;
  std::copy_n(entry.key.begin(), std::min(lists, key.size()), key.begin());
  return key;
}

// Of each entry of the list at or above the node on its own.
void subtreesAdd(std::vector<Subtree>& to, Snapshot const& state, MeantNode const& meant,
                 RowSet const& among) {
  Selection selection;
  selection.add(meant.node->rows() & among, meant.pattern);
  std::map<EntryKey, DocumentBuilder, EntryKeyLess> documents;
  state.visit(selection, [&](EntryPtr const& entry, RowSet const& rows) {
    if (std::ranges::any_of(entry->leaves, [&](LeafState const& leaf) { return rows[leaf.row]; })) {
      entryAdd(documents[keyOf(*entry, meant.node->lists())], *entry, rows);
    }
  });
  for (auto& [key, document] : documents) {
    to.push_back({meant.node, key, qualified(valueAt(document.take(), *meant.node), *meant.node)});
  }
}

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
  std::vector<Subtree> subtrees;
  for (MeantNode const& meant : path.nodes) {
    subtreesAdd(subtrees, state, meant, rows);
  }
  return subtrees;
}

}  // namespace Agent::Gnmi
