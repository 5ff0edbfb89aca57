// Operations on the database, and their notation as one JSON object a line.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "agent/sources/operations/Place.h"
#include "agent/state/Database.h"
#include "agent/state/Mirror.h"
#include "agent/text/Json.h"

namespace Agent {

/// One operation, with the members that it was given.
struct Operation {
  /// Which operation this is: one of the names that agent scripts use.
  std::string op = {};
  Path path = {};
  /// For `create` and `replace` an object, empty where none is given.
  Json value = Json::object();
  /// Names a class of top-level objects; empty for all.
  std::string object = {};
  /// What `call` invokes.
  std::string operation = {};
};

/// The longest line that is read, in bytes; no sensible operation comes near.
inline constexpr std::size_t longestLine = std::size_t{16} << 20U;

/// Reads an operation from the JSON object in `line`: which members it has, and their JSON types.
/// Throws a Refusal.
Operation parseOperation(std::string_view line);

/// Applies operations to one database and its mirror.
class Operations {
 public:
  /// `show` is called by a `show` operation. Database and mirror must outlive this.
  Operations(Database& database, Mirror& mirror, std::function<void()> show);

  /// Checks an operation against the database, then applies it whole. Throws a Refusal from the
  /// check; nothing has changed then. An exception from the library ends the process: a change that
  /// was begun can't be taken back.
  void apply(Operation const& operation);

 private:
  Database& database_;
  Mirror& mirror_;
  std::function<void()> show_;
};

}  // namespace Agent
