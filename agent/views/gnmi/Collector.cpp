#include "agent/views/gnmi/Collector.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>
#include <tuple>
#include <variant>

namespace Agent::Gnmi {

namespace {

// By the index of a record's type, as the tables: where its leaves stand.
struct TablePlace {
  std::string_view target;
  std::uint16_t node = 0;
  std::size_t table = 0;
};
using TablePlaces = std::array<TablePlace, std::variant_size_v<TargetRecord>>;

TablePlaces const& tablePlaces() {
  static TablePlaces const places = [] {
    TablePlaces all;
    std::apply(
        [&all](auto const&... root) {
          std::size_t at = 0;
          ((all.at(at++).target = root.name), ...);
        },
        TargetView::roots());
    for (std::size_t at = 0; at < all.size(); ++at) {
      for (std::uint16_t node = 0; node < nodeRows().size(); ++node) {
        auto const& tables = nodeRows()[node].tables;
        auto const found = std::ranges::find(tables, &leafTables.at(at));
        if (found != tables.end()) {
          all.at(at).node = node;
          all.at(at).table = static_cast<std::size_t>(found - tables.begin());
        }
      }
    }
    return all;
  }();
  return places;
}

std::uint32_t number(Key const& key) {
  if (auto const* const name = std::get_if<Lanx::IntfId>(&key)) {
    return name->value();
  }
  auto const* const id = std::get_if<std::uint16_t>(&key);
  return id == nullptr ? 0 : *id;
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
  written(place) = record;
}

void Collector::recordGone(TargetPlace const& place) noexcept {
  written(place) = std::nullopt;
}

void Collector::changeSetEnds() noexcept {
  std::vector<EntryDraft> drafts;
  for (auto const& [node, key] : dirty_) {
    auto const found = nodes_[node].find(key);
    KeptEntry& kept = found->second;
    EntryDraft draft = draftOf(node, kept);
    bool const isThere = std::ranges::any_of(
        kept.records, [](Kept const& record) { return record.present.has_value(); });
    kept.isDirty = false;
    for (Kept& record : kept.records) {
      record.published = record.present;
    }
    if (draft.updates.any() || draft.deletes.any()) {
      kept.entry = draft.after;
      drafts.push_back(std::move(draft));
    }
    if (!isThere) {
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

// The record of a place, to be written.
std::optional<TargetRecord>& Collector::written(TargetPlace const& place) {
  auto const* const found = std::ranges::find(tablePlaces(), place.target, &TablePlace::target);
  std::uint32_t const key = number(place.key);
  KeptEntry& kept = nodes_[found->node][key];
  if (!kept.isDirty) {
    kept.isDirty = true;
    kept.key = place.key;
    kept.records.resize(nodeRows()[found->node].tables.size());
    dirty_.emplace_back(found->node, key);
  }
  return kept.records[found->table].present;
}

// What the records that are there now make of the entry that was published.
EntryDraft Collector::draftOf(std::uint16_t node, KeptEntry const& kept) {
  EntryDraft draft{kept.entry, nullptr, {}, {}};
  auto const anyRecord = std::ranges::find_if(
      kept.records, [](Kept const& record) { return record.present.has_value(); });
  std::optional<EntryKey> key;
  if (anyRecord != kept.records.end()) {
    key = entryKeyOf(leafTableOf(*anyRecord->present), kept.key, *anyRecord->present);
  }
  if (key) {
    draft.after = std::make_shared<Entry>(Entry{node, std::move(*key), {}});
    draft.after->leaves.reserve(nodeRows()[node].rows.count());
  }
  std::size_t table = 0;
  for (LeafRow const& row : nodeRows()[node].leaves()) {
    while (nodeRows()[node].tables[table] != row.table) {
      ++table;
    }
    LeafState const* const before = kept.entry ? kept.entry->find(row.number) : nullptr;
    Kept const& record = kept.records[table];
    bool const isThere = key && (record.present || row.table->standsAlone(*row.leaf));
    if (!isThere) {
      draft.deletes.set(row.number, before != nullptr);
      continue;
    }
    if (before != nullptr && record.present && record.published &&
        row.leaf->isSame(*record.present, *record.published)) {
      draft.after->leaves.push_back(*before);
      continue;
    }
    auto value = LeafTable::value(*row.leaf, kept.key,
                                  record.present ? *record.present : *anyRecord->present);
    if (!value) {
      draft.deletes.set(row.number, before != nullptr);
    } else if (before != nullptr && *before->value == *value) {
      draft.after->leaves.push_back(*before);
    } else {
      draft.updates.set(row.number);
      draft.after->leaves.push_back({row.number,
                                     std::make_shared<LeafValue const>(std::move(*value)), 0,
                                     before == nullptr ? 0 : before->created});
    }
  }
  return draft;
}

}  // namespace Agent::Gnmi
