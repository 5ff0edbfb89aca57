// The files that a target is given.
#pragma once

#include <string>

#include "agent/views/gnmi/ServerSettings.h"

namespace Agent::Gnmi {

/// Throws SettingsError that names the file, and why it can't be read.
std::string contentsOf(std::string const& file);

}  // namespace Agent::Gnmi
