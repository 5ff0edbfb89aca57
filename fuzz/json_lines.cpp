// Operations as JSON lines, against a database with its mirrors: a line is refused or applied, and
// what the targets then hold can be shown.
//
// To put another entity in the place of one whose mirrors live is a broken invariant of the source,
// and ends the process by contract; `replace` is therefore tried on a database without mirrors.
#include <nlohmann/json.hpp>

#include "agent/sources/operations/Operations.h"
#include "agent/text/Refusal.h"
#include "agent/views/document/OpenConfigView.h"
#include "agent/views/entities/EntitiesView.h"
#include "fuzz/Input.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  std::string_view rest = Fuzz::text(data, size);
  bool const replaces =
      rest.find("replace") != std::string_view::npos || rest.find("\\u") != std::string_view::npos;
  Agent::Database database;
  Agent::Mirror mirror(database);
  Agent::Operations operations(database, mirror, [] {});
  if (!replaces) {
    mirror.startAll();
  }
  while (!rest.empty()) {
    try {
      Agent::Operation const operation = Agent::parseOperation(Fuzz::takeUntil(rest, '\n'));
      if (!replaces || operation.op != "start") {
        operations.apply(operation);
      }
    } catch (Agent::Refusal const& refusal) {
      Fuzz::require(*refusal.what() != '\0', "a refusal has a reason");
    }
  }
  Fuzz::require(Agent::entitiesView(database.targets()).dump().size() > 2, "the targets are shown");
  (void)Agent::openConfigView(database.targets()).dump();
  return 0;
}
