// Rows of SONiC's databases, as they were read: raw bytes, without any meaning.
//
// Whoever speaks to Redis makes them, and whoever knows what they mean takes them (Mapping.h).
// Neither knows the other.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace Agent::Sonic {

/// The databases that are followed: APPL_DB, CONFIG_DB and STATE_DB.
enum class Store : std::uint8_t { application, configuration, state };
inline constexpr std::array stores{Store::application, Store::configuration, Store::state};

/// The fields of a hash, by their names.
using Fields = std::map<std::string, std::string, std::less<>>;

/// What lies under a key.
struct RowRead {
  Store store = Store::application;
  std::string key;
  /// Absent: there is no such row.
  std::optional<Fields> fields;
  /// Something lies there that is no hash. Then there are no fields.
  bool isWrongType = false;
};

}  // namespace Agent::Sonic
