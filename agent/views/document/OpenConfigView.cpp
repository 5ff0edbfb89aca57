#include "agent/views/document/OpenConfigView.h"

#include <optional>
#include <utility>

#include "agent/state/TargetRecord.h"
#include "agent/views/document/DocumentBuilder.h"
#include "agent/views/document/Leaves.h"

namespace Agent {

namespace {

OrderedJson leavesOf(LeafTable const& table, Key const& key, TargetRecord const& record) {
  OrderedJson leaves = OrderedJson::object();
  for (Leaf const& leaf : table.leaves) {
    if (auto const value = LeafTable::value(leaf, key, record)) {
      memberAdd(leaves, leaf.name, jsonOf(*value));
    }
  }
  return leaves;
}

// What an entry has in any case.
void standingAloneAdd(DocumentBuilder& document, LeafTable const& table, EntryKey const& entry,
                      Key const& key, TargetRecord const& record) {
  for (LeafTable const& other : leafTables) {
    if (other.node == table.node && other.standsAlone(other.leaves.front())) {
      OrderedJson leaves = OrderedJson::object();
      Leaf const& leaf = other.leaves.front();
      memberAdd(leaves, leaf.name, jsonOf(*LeafTable::value(leaf, key, record)));
      document.leavesAdd(other, entry, std::move(leaves));
    }
  }
}

}  // namespace

OrderedJson openConfigView(TargetView const& targets) {
  DocumentBuilder document;
  eachRecord(targets, [&](TargetPlace const& place, TargetRecord const& record) {
    LeafTable const& table = leafTableOf(record);
    if (auto const key = entryKeyOf(table, place.key, record)) {
      if (document.entryAdd(table, *key)) {
        standingAloneAdd(document, table, *key, place.key, record);
      }
      document.leavesAdd(table, *key, leavesOf(table, place.key, record));
    }
  });
  return document.take();
}

}  // namespace Agent
