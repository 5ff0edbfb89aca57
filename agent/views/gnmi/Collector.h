// Makes change sets of what happens in the targets.
#pragma once

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "agent/state/TargetObserver.h"
#include "agent/views/gnmi/Entry.h"
#include "agent/views/gnmi/Hub.h"

namespace Agent::Gnmi {

/// Lives on the notification thread. Remembers which records were written, and at the end of a
/// change set looks what of their leaves has changed. What ends as it began is no change.
class Collector final : public TargetObserver {
 public:
  /// Publishes the present state at once. Both must outlive this.
  Collector(ObservedTargets& targets, Hub& hub);
  ~Collector() override;

  void recordIs(TargetPlace const& place, TargetRecord const& record) noexcept override;
  void recordGone(TargetPlace const& place) noexcept override;
  void changeSetEnds() noexcept override;

 private:
  // Of one table: the record that was published, and the one that is there now.
  struct Kept {
    std::optional<TargetRecord> published;
    std::optional<TargetRecord> present;
    bool isWritten = false;
  };
  struct KeptEntry {
    std::optional<EntryKey> key;  // none if the model can't have it
    std::vector<Kept> records;    // by the tables of the node
    std::size_t present = 0;  // how many records are there, and entries of lists within this one
    EntryPtr entry;
    bool isDirty = false;
  };

  std::optional<TargetRecord>* written(TargetPlace const& place, bool isThere);
  KeptEntry& dirty(std::uint16_t node, Key const& key);
  void count(std::uint16_t node, Key const& key, KeptEntry& kept, bool isThere);
  static EntryDraft draftOf(std::uint16_t node, KeptEntry const& kept);

  ObservedTargets& targets_;
  Hub& hub_;
  std::vector<std::unordered_map<std::uint64_t, KeptEntry>> nodes_;  // by the number of the key
  std::vector<std::pair<std::uint16_t, std::uint64_t>> dirty_;
};

}  // namespace Agent::Gnmi
