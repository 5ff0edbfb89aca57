// How a gNMI target is asked for.
#pragma once

#include <chrono>
#include <cstddef>

#include "agent/views/gnmi/ServerSettings.h"

namespace Agent {

/// Not at all without addresses.
struct GnmiSettings {
  Gnmi::ServerSettings server;
  std::size_t mostClients = 1024;
  std::chrono::milliseconds leastSampleInterval = std::chrono::seconds(1);
};

}  // namespace Agent
