// What can't be read of the databases, each told once.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/sources/sonic/Rows.h"

namespace Agent::Sonic {

/// The name by which operators know a database: "CONFIG_DB".
std::string_view nameOf(Store store);

/// What is wrong with a row: by the field, or by the empty text for the row as a whole, the bytes
/// at fault and what is said of them.
struct Wrong {
  std::string bytes;
  std::string text;
};
using WrongFields = std::map<std::string, Wrong, std::less<>>;

/// Remembers what is wrong, and tells it when it becomes so: again only after it was right, gone or
/// other bytes.
class Complaints {
 public:
  /// All that is wrong with a row now; nothing, if it is right or gone.
  void rowIs(Store store, std::string const& key, WrongFields wrong);

  /// From now on all rows are said anew; those that are not until the end of it are gone.
  void scanBegin() { ++scan_; }
  void scanEnd();

  /// What is to be told since the last call, a line each.
  std::vector<std::string> take() { return std::exchange(told_, {}); }

 private:
  struct Row {
    WrongFields wrong;
    std::uint64_t scan = 0;
  };

  std::map<std::pair<Store, std::string>, Row> rows_;
  std::uint64_t scan_ = 0;
  std::vector<std::string> told_;
};

}  // namespace Agent::Sonic
