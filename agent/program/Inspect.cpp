#include "agent/program/Inspect.h"

#include <string_view>

#include "agent/program/ObjectTree.h"
#include "agent/program/OperationFiles.h"
#include "agent/program/Run.h"
#include "agent/program/SnapshotFolders.h"
#include "agent/program/Sonic.h"
#include "agent/program/Wiring.h"
#include "agent/program/WiringGraph.h"

namespace Agent {

namespace {

void print(Run& run, std::string_view text) {
  text.remove_suffix(text.ends_with('\n') ? 1 : 0);
  run.output().lineAdd(text);
}

void printMirror(Run& run) {
  print(run, "# Objects\n\n" + objectTree(run.session().database(), run.session().mirror()) +
                 "\n# Allocations\n\n" + allocationTable() + "\n" + wiringPage());
}

}  // namespace

int inspectMirror(Settings const& settings, std::optional<std::string> const& bridge,
                  std::vector<std::string> const& inputs) {
  if (!bridge && !areReadable(inputs)) {
    return unusable;
  }
  return Run(settings).execute([&](Run& run) {
    if (bridge) {
      applySnapshotFolders(run, *bridge, inputs, !settings.trace);
    } else {
      applyOperationFiles(run, inputs);
    }
    printMirror(run);
  });
}

int inspectSonic(Settings const& settings, Sonic::RedisSettings const& redis) {
  return followSonic(settings, {redis, true, &printMirror});
}

int printWiring(WiringForm form) {
  Settings nothing;
  nothing.show = Show::none;
  nothing.manualStart = true;
  return Run(nothing).execute(
      [form](Run& run) { print(run, form == WiringForm::graph ? wiringGraph() : wiringPage()); });
}

}  // namespace Agent
