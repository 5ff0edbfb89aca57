// Snapshots from folders.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "agent/program/Run.h"

namespace Agent {

/// Applies what changes from one snapshot of a bridge to the next, in the order of their folders.
/// A snapshot that can't be read or isn't understood is refused as a whole. `showsProgress`: how
/// far it is stands on standard error meanwhile, if that is a terminal. `pace` passes between two.
/// Returns how many were applied.
std::size_t applySnapshotFolders(Run& run, std::string const& bridge,
                                 std::vector<std::string> const& folders, bool showsProgress,
                                 std::chrono::milliseconds pace = {});

/// A run of it. Returns the exit status: 0 when every snapshot was applied or the run was
/// interrupted, 1 when one was refused, 2 when a file can't be written.
int replaySnapshots(Settings const& settings, std::string const& bridge,
                    std::vector<std::string> const& folders, std::chrono::milliseconds pace);

}  // namespace Agent
