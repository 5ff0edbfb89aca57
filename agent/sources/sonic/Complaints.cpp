#include "agent/sources/sonic/Complaints.h"

#include <array>
#include <cstddef>

#include "agent/text/Json.h"
#include "agent/text/Refusal.h"

namespace Agent::Sonic {

std::string_view nameOf(Store store) {
  constexpr std::array<std::string_view, 3> names{"APPL_DB", "CONFIG_DB", "STATE_DB"};
  return names.at(static_cast<std::size_t>(store));
}

void Complaints::rowIs(Store store, std::string const& key, WrongFields wrong) {
  auto const at = rows_.find({store, key});
  if (wrong.empty()) {
    if (at != rows_.end()) {
      rows_.erase(at);
    }
    return;
  }
  for (auto const& [field, now] : wrong) {
    if (at != rows_.end()) {
      auto const before = at->second.wrong.find(field);
      if (before != at->second.wrong.end() && before->second.bytes == now.bytes) {
        continue;
      }
    }
    std::string line = std::string(nameOf(store)) + " " + inQuotes(key) + ": ";
    if (!field.empty()) {
      line += memberText(field) + ": ";
    }
    told_.push_back(line + now.text);
  }
  rows_.insert_or_assign({store, key}, Row{std::move(wrong), scan_});
}

void Complaints::scanEnd() {
  std::erase_if(rows_, [this](auto const& row) { return row.second.scan != scan_; });
}

}  // namespace Agent::Sonic
