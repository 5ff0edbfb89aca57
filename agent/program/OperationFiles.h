// Operations from files.
#pragma once

#include <string>
#include <vector>

#include "agent/program/Run.h"

namespace Agent {

/// Reports the first of the files that can't be read, as far as that shows before it is opened, and
/// returns false then.
bool areReadable(std::vector<std::string> const& files);

/// Applies the operations in the files, in order and each as soon as it is read; "-" is standard
/// input, and so is no file at all. What is refused is reported as `FILE:LINE: reason`.
void applyOperationFiles(Run& run, std::vector<std::string> const& files);

/// A run of it. Returns the exit status: 0 when every line was applied or the run was interrupted,
/// 1 when a line was refused, 2 when a file can't be read or written. Nothing is applied when one
/// of the files can't be read from the start.
int runOperations(Settings const& settings, std::vector<std::string> const& files);

}  // namespace Agent
