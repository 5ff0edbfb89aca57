// What is written to the switch's databases.
#pragma once

#include <string>
#include <vector>

namespace Agent::Sonic {

/// A field of a hash in CONFIG_DB takes a value.
struct Write {
  std::string key;
  std::string field;
  std::string value;

  bool operator==(Write const&) const = default;
};

/// Writes that belong together.
struct Writes {
  std::vector<Write> writes;
  /// The keys, at least one, of all rows that say what is to be written, or that nothing is: if one
  /// of them has changed, it may be something else.
  std::vector<std::string> watched;
  /// Why nothing is written, where that is refused.
  std::string refusal = {};

  bool operator==(Writes const&) const = default;
};

}  // namespace Agent::Sonic
