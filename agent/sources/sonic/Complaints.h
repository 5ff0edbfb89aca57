// What can't be read of the databases, told as often as it helps.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
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

/// Remembers what is wrong, and tells it when it becomes so: the same bytes again only after the
/// field was right or gone. Neither one that is always wrong in another way nor many at once are
/// told without end.
class Complaints {
 public:
  /// So many values of a field are told, until it was right or gone.
  static constexpr std::size_t mostOfField = 8;
  /// So many lines at once; the number of the others is.
  static constexpr std::size_t mostAtOnce = 100;

  /// All that is wrong with a row now; nothing, if it is right or gone.
  void rowIs(Store store, std::string const& key, WrongFields wrong);

  /// From now on all rows are said anew; those that are not until the end of it are gone.
  void scanBegin() { ++scan_; }
  void scanEnd();

  /// What is to be told since the last call, a line each.
  std::vector<std::string> take();

 private:
  struct Row {
    // What was told of each field that is wrong.
    std::map<std::string, std::set<std::string>, std::less<>> told;
    std::uint64_t scan = 0;
  };

  void tell(std::string line);

  std::map<std::pair<Store, std::string>, Row> rows_;
  std::uint64_t scan_ = 0;
  std::vector<std::string> told_;
  std::size_t untold_ = 0;  // beyond these
};

}  // namespace Agent::Sonic
