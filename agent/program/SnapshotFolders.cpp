#include "agent/program/SnapshotFolders.h"

#include <unistd.h>

#include <filesystem>

#include "agent/host/Diagnostics.h"

namespace Agent {

namespace {

// Whether it was applied.
bool applyFolder(Run& run, std::string const& bridge, std::string const& folder) {
  try {
    std::vector<SnapshotRemark> remarks;
    EngineSnapshot const snapshot = readSnapshot(folder, bridge, &remarks);
    for (SnapshotRemark const& remark : remarks) {
      Diagnostics::error((std::filesystem::path(folder) / remark.file).string() + ": " +
                         remark.text);
    }
    run.apply(snapshot, folder);
    return true;
  } catch (SnapshotError const& error) {
    run.refused(error.what());
    return false;
  }
}

}  // namespace

std::size_t applySnapshotFolders(Run& run, std::string const& bridge,
                                 std::vector<std::string> const& folders, bool showsProgress,
                                 std::chrono::milliseconds pace) {
  std::size_t number = 0;
  std::size_t applied = 0;
  for (std::string const& folder : folders) {
    if (number > 0 && pace > std::chrono::milliseconds::zero()) {
      run.waitFor(pace);
    }
    if (!run.goesOn()) {
      break;
    }
    ++number;
    if (showsProgress) {
      Diagnostics::progress(number, folders.size(), folder);
    }
    applied += applyFolder(run, bridge, folder) ? 1 : 0;
  }
  Diagnostics::progressEnd();
  return applied;
}

int replaySnapshots(Settings const& settings, std::string const& bridge,
                    std::vector<std::string> const& folders, std::chrono::milliseconds pace) {
  // Lines of a trace, or results on the same terminal, tell how far it is as well.
  bool const linesBetween = settings.trace || (settings.watch && ::isatty(STDOUT_FILENO) != 0);
  return Run(settings).execute(
      [&](Run& run) { applySnapshotFolders(run, bridge, folders, !linesBetween, pace); });
}

}  // namespace Agent
