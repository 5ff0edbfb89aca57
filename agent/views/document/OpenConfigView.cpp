#include "agent/views/document/OpenConfigView.h"

#include <optional>

#include "agent/state/TargetRecord.h"
#include "agent/views/document/DocumentBuilder.h"
#include "agent/views/document/Leaves.h"

namespace Agent {

namespace {

// The leaves of keys that are there because a record of a table is, whatever other records are.
void keysAdd(DocumentBuilder& document, LeafTable const& table, EntryKey const& key) {
  for (LeafTable const& other : leafTables()) {
    if (other.hasKeyBeside(table)) {
      EntryKey const of = other.node == table.node ? key : EntryKey{key.front()};
      OrderedJson& leaves = document.leaves(other, of);
      Leaf const& leaf = other.leaves.front();
      if (leaves.empty()) {
        memberAdd(leaves, leaf.name, jsonOf(leaf.type, keyValue(of)));
      }
    }
  }
}

}  // namespace

OrderedJson openConfigView(TargetView const& targets) {
  DocumentBuilder document;
  eachRecord(targets, [&](TargetPlace const& place, TargetRecord const& record) {
    LeafTable const* const table = leafTableOf(record.index(), place.key);
    auto const key = entryKeyOf(place.key);
    if (table == nullptr || !key) {
      return;
    }
    keysAdd(document, *table, *key);
    OrderedJson& leaves = document.leaves(*table, *key);
    for (Leaf const& leaf : table->leaves) {
      auto const value = leaf.isKey() ? std::nullopt : LeafTable::value(leaf, record);
      if (value) {
        memberAdd(leaves, leaf.name, jsonOf(leaf.type, *value));
      }
    }
  });
  return document.take();
}

}  // namespace Agent
