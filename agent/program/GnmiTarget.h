// The gNMI target of a run: its state, its server, and its place on the loop.
#pragma once

#include <memory>

#include "agent/host/Loop.h"
#include "agent/program/GnmiSettings.h"
#include "agent/program/Session.h"

#include "agent/views/gnmi/ServerSettings.h"

namespace Agent {

/// Serves while it is there. To be dropped outside of the loop's callbacks: then all streams end as
/// unavailable, and the writes that wait are answered.
class GnmiTarget {
 public:
  GnmiTarget() = default;
  GnmiTarget(GnmiTarget const&) = delete;
  GnmiTarget& operator=(GnmiTarget const&) = delete;
  virtual ~GnmiTarget() = default;
};

/// Whether this program was built with it.
extern bool const hasGnmi;

/// Opens the addresses, and says where it listens. Loop and session must outlive the target. Throws
/// Gnmi::SettingsError that names what can't be used.
std::unique_ptr<GnmiTarget> serveGnmi(GnmiSettings const& settings, Loop& loop, Session& session);

}  // namespace Agent
