// Snapshots of an engine: files in its own kind of JSON, each behind its name and apart by a byte
// 0xFF, which no file of valid UTF-8 holds. What is taken can be applied.
#include <map>
#include <optional>
#include <string>

#include "agent/sources/engine/EngineDifference.h"
#include "agent/sources/engine/EngineSnapshot.h"
#include "agent/state/Database.h"
#include "agent/state/Mirror.h"
#include "agent/text/Refusal.h"
#include "fuzz/Input.h"

namespace {

constexpr char separator = '\xFF';

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string_view rest = Fuzz::text(data, size);
  Agent::Database database;
  Agent::Mirror mirror(database);
  mirror.startAll();
  while (!rest.empty()) {
    // A snapshot ends with an empty name.
    std::map<std::string, std::string, std::less<>> files;
    while (!rest.empty()) {
      std::string_view const name = Fuzz::takeUntil(rest, separator);
      if (name.empty()) {
        break;
      }
      files.insert_or_assign(std::string(name), std::string(Fuzz::takeUntil(rest, separator)));
    }
    try {
      Agent::EngineSnapshot const snapshot = Agent::parseSnapshot(
          [&files](std::string const& name) {
            auto const file = files.find(name);
            return file == files.end() ? std::nullopt : std::optional(file->second);
          },
          "br0");
      database.apply(Agent::differences(snapshot, database.sources()));
      Fuzz::require(Agent::differences(snapshot, database.sources()).empty(),
                    "a snapshot that was applied differs no longer");
    } catch (Agent::SnapshotError const& error) {
      Fuzz::require(!error.reason().empty(), "a refusal has a reason");
    }
  }
  return 0;
}
