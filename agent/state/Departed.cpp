#include "agent/state/Departed.h"

#include "agent/state/TargetRecord.h"

namespace Agent {

namespace {

bool isKnown(SourceView const& sources, Lumo::String const& port) {
  if (sources.input->portConfig(port) || sources.config->portConfig(port)) {
    return true;
  }
  bool isRunning = false;
  for (auto const& instance : sources.status->stpiStatus()) {
    isRunning = isRunning || instance.value->stpiPortStatus(port);
  }
  return isRunning;
}

}  // namespace

Changes departed(SourceView const& sources, TargetView const& targets) {
  Changes changes;
  for (auto const& record : targets.interfaceStateDir->state()) {
    if (!isKnown(sources, record.key.stringValue())) {
      changes.push_back(Change::erase(targets.interfaceStateDir,
                                      onlyAttribute<Stp::OCInterfaceStateDir>, record.key));
    }
  }
  return changes;
}

}  // namespace Agent
