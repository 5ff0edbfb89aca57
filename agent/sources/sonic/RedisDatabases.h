// Where the switch's databases are.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "agent/sources/sonic/Rows.h"

namespace Agent::Sonic {

/// Where a server listens: on a unix socket where there is a path, else on a port of a host.
struct RedisAddress {
  std::string path;
  std::string host;
  std::uint16_t port = 0;

  /// As it is given: "unix:PATH", "HOST:PORT" or "[V6]:PORT".
  std::string text() const;

  bool operator==(RedisAddress const&) const = default;
};

inline constexpr std::string_view usualRedisAddress = "unix:/var/run/redis/redis.sock";

/// Reads an address as text() writes it; throws a Refusal.
RedisAddress parseRedisAddress(std::string_view text);

/// One database of a server.
struct DatabaseLayout {
  unsigned number;
  /// What stands between the parts of a key.
  std::string separator;

  bool operator==(DatabaseLayout const&) const = default;
};

/// What the file of the databases says.
struct DatabaseConfig {
  /// Where the three databases are, if it says so.
  std::optional<RedisAddress> address;
  /// Of each Store.
  std::array<DatabaseLayout, 3> layouts{{{0, ":"}, {4, "|"}, {6, "|"}}};
  /// What it says in vain.
  std::vector<std::string> remarks;

  DatabaseLayout const& layout(Store store) const {
    return layouts.at(static_cast<std::size_t>(store));
  }
};

/// Reads the text of a database_config.json. A database that it does not have keeps its usual
/// number and separator. Throws a Refusal.
DatabaseConfig parseDatabaseConfig(std::string const& text);

/// The same of a file. Throws a Refusal that begins with the file's name.
DatabaseConfig readDatabaseConfig(std::string const& file);

}  // namespace Agent::Sonic
