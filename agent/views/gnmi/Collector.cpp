#include "agent/views/gnmi/Collector.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>
#include <tuple>
#include <utility>
#include <variant>

namespace Agent::Gnmi {

namespace {

// Where the leaves of a table stand: in which node, and among its tables.
struct TablePlace {
  std::uint16_t node = 0;
  std::size_t table = 0;
};

TablePlace const& placeOf(LeafTable const& table) {
  static std::vector<TablePlace> const places = [] {
    std::vector<TablePlace> all;
    for (std::uint16_t node = 0; node < nodeRows().size(); ++node) {
      for (std::size_t at = 0; at < nodeRows()[node].tables.size(); ++at) {
        all.push_back({node, at});
      }
    }
    return all;
  }();
  return places[static_cast<std::size_t>(&table - leafTables().data())];
}

// The index of a target's type of record.
std::size_t recordTypeOf(std::string_view target) {
  static auto const names =
      std::apply([](auto const&... root) { return std::array{root.name...}; }, TargetView::roots());
  return static_cast<std::size_t>(std::ranges::find(names, target) - names.begin());
}

// What a key is known by among those of one node: the bridge's own, of which there is one, by 0.
std::uint64_t number(Key const& key) {
  if (auto const* const port = std::get_if<Lanx::IntfId>(&key)) {
    return port->value();
  }
  if (auto const* const treePort = std::get_if<Stp::TreePortId>(&key)) {
    return treePort->value();
  }
  if (auto const* const tree = std::get_if<Stp::TreeId>(&key)) {
    return tree->kind() == Stp::TreeId::Kind::mst ? tree->value() : 0;
  }
  auto const* const id = std::get_if<std::uint16_t>(&key);
  return id == nullptr ? 0 : *id;
}

// The key of the entry in whose lists that of a key is.
Key outerOf(Key const& key) {
  return std::get<Stp::TreePortId>(key).tree;
}

}  // namespace

Collector::Collector(ObservedTargets& targets, Hub& hub)
    : targets_(targets), hub_(hub), nodes_(nodeRows().size()) {
  targets_.observerAdd(*this, ObservedTargets::From::presentState);
  changeSetEnds();
}

Collector::~Collector() {
  targets_.observerDel(*this);
}

void Collector::recordIs(TargetPlace const& place, TargetRecord const& record) noexcept {
  if (auto* const present = written(place, true)) {
    *present = record;
  }
}

void Collector::recordGone(TargetPlace const& place) noexcept {
  if (auto* const present = written(place, false)) {
    *present = std::nullopt;
  }
}

void Collector::changeSetEnds() noexcept {
  std::vector<EntryDraft> drafts;
  for (auto const& [node, key] : dirty_) {
    auto const found = nodes_[node].find(key);
    KeptEntry& kept = found->second;
    EntryDraft draft = draftOf(node, kept);
    kept.isDirty = false;
    for (Kept& record : kept.records) {
      if (std::exchange(record.isWritten, false)) {
        record.published = record.present;
      }
    }
    if (draft.updates.any() || draft.deletes.any()) {
      kept.entry = draft.after;
      drafts.push_back(std::move(draft));
    }
    if (kept.present == 0) {
      nodes_[node].erase(found);
    }
  }
  dirty_.clear();
  if (!drafts.empty()) {
    std::ranges::sort(drafts, [](EntryDraft const& a, EntryDraft const& b) {
      return entryLess(a.any(), b.any());
    });
    hub_.publish(std::move(drafts));
  }
}

// The record of a place, to be written; null if the model has nothing of it.
std::optional<TargetRecord>* Collector::written(TargetPlace const& place, bool isThere) {
  LeafTable const* const table = leafTableOf(recordTypeOf(place.target), place.key);
  if (table == nullptr) {
    return nullptr;
  }
  auto const [node, at] = placeOf(*table);
  KeptEntry& kept = dirty(node, place.key);
  Kept& record = kept.records[at];
  record.isWritten = true;
  if (record.present.has_value() != isThere) {
    count(node, place.key, kept, isThere);
  }
  return &record.present;
}

Collector::KeptEntry& Collector::dirty(std::uint16_t node, Key const& key) {
  std::uint64_t const of = number(key);
  auto const [found, isNew] = nodes_[node].try_emplace(of);
  KeptEntry& kept = found->second;
  if (isNew) {
    kept.key = entryKeyOf(key);
    kept.records.resize(nodeRows()[node].tables.size());
  }
  if (!std::exchange(kept.isDirty, true)) {
    dirty_.emplace_back(node, of);
  }
  return kept;
}

// What makes an entry be there comes or goes. With the first an entry comes itself, which is one
// more, or less with the last, for the entry around it.
void Collector::count(std::uint16_t node, Key const& key, KeptEntry& kept, bool isThere) {
  kept.present += isThere ? 1 : -1;
  auto const outer = nodeRows()[node].outer;
  if (outer && kept.key && kept.present == (isThere ? 1 : 0)) {
    Key const around = outerOf(key);
    count(*outer, around, dirty(*outer, around), isThere);
  }
}

// What the records that are there now make of the entry that was published.
EntryDraft Collector::draftOf(std::uint16_t node, KeptEntry const& kept) {
  EntryDraft draft{kept.entry, nullptr, {}, {}};
  NodeRows const& rows = nodeRows()[node];
  bool const isThere = kept.key && kept.present != 0;
  bool hasState = false;
  for (std::size_t table = 0; table < kept.records.size(); ++table) {
    hasState = hasState || (kept.records[table].present && !rows.tables[table]->isConfig());
  }
  auto const after = std::make_shared<Entry>(Entry{node, kept.key.value_or(EntryKey()), {}});
  after->leaves.reserve(rows.leaves().size());
  static std::vector<LeafState> const none;
  auto const& leavesBefore = kept.entry ? kept.entry->leaves : none;
  auto next = leavesBefore.begin();
  std::size_t table = 0;
  for (LeafRow const& row : rows.leaves()) {
    while (rows.tables[table] != row.table) {
      ++table;
    }
    bool const wasThere = next != leavesBefore.end() && next->row == row.number;
    LeafState const* const before = wasThere ? &*next++ : nullptr;
    Kept const& record = kept.records[table];
    std::optional<LeafValue> value;
    if (row.leaf->isKey()) {
      bool const stands = isThere && (hasState || row.table->isConfig());
      if (stands && before == nullptr) {
        value = keyValue(*kept.key);
      } else if (stands) {
        after->leaves.push_back(*before);
        continue;
      }
    } else if (isThere && record.present) {
      bool const isSame =
          !record.isWritten ||
          (record.published && row.leaf->isSame(*record.present, *record.published));
      if (isSame) {
        if (before != nullptr) {
          after->leaves.push_back(*before);
        }
        continue;
      }
      value = LeafTable::value(*row.leaf, *record.present);
    }
    if (!value) {
      draft.deletes.set(row.number, before != nullptr);
    } else if (before != nullptr && *before->value == *value) {
      after->leaves.push_back(*before);
    } else {
      draft.updates.set(row.number);
      after->leaves.push_back({row.number, std::make_shared<LeafValue const>(std::move(*value)), 0,
                               before == nullptr ? 0 : before->created});
    }
  }
  if (!after->leaves.empty()) {
    draft.after = after;
  }
  return draft;
}

}  // namespace Agent::Gnmi
