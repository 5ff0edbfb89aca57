#include "agent/sources/sonic/Complaints.h"

#include <array>
#include <cstddef>
#include <utility>

#include "agent/text/Json.h"
#include "agent/text/Refusal.h"

namespace Agent::Sonic {

std::string_view nameOf(Store store) {
  constexpr std::array<std::string_view, 3> names{"APPL_DB", "CONFIG_DB", "STATE_DB"};
  return names.at(static_cast<std::size_t>(store));
}

void Complaints::rowIs(Store store, std::string const& key, WrongFields wrong) {
  if (wrong.empty()) {
    rows_.erase({store, key});
    return;
  }
  Row& row = rows_[{store, key}];
  row.scan = scan_;
  std::erase_if(row.told, [&wrong](auto const& field) { return !wrong.contains(field.first); });
  for (auto& [field, now] : wrong) {
    std::set<std::string>& told = row.told[field];
    if (told.size() == mostOfField || !told.insert(std::move(now.bytes)).second) {
      continue;
    }
    std::string line = std::string(nameOf(store)) + " " + inQuotes(key) + ": ";
    if (!field.empty()) {
      line += memberText(field) + ": ";
    }
    line += now.text;
    if (told.size() == mostOfField) {
      line += ", and nothing more is told of it until it is right or gone";
    }
    tell(std::move(line));
  }
}

void Complaints::tell(std::string line) {
  if (told_.size() < mostAtOnce) {
    told_.push_back(std::move(line));
  } else {
    ++untold_;
  }
}

std::vector<std::string> Complaints::take() {
  if (untold_ > 0) {
    told_.push_back("and " + std::to_string(std::exchange(untold_, 0)) +
                    " more that can't be read");
  }
  return std::exchange(told_, {});
}

void Complaints::scanEnd() {
  std::erase_if(rows_, [this](auto const& row) { return row.second.scan != scan_; });
}

}  // namespace Agent::Sonic
