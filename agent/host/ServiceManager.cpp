#include "agent/host/ServiceManager.h"

#include <systemd/sd-daemon.h>

#include <chrono>
#include <cstdint>

namespace Agent {

ServiceManager::ServiceManager(Loop& loop) : loop_(loop) {
  std::uint64_t microseconds = 0;
  if (::sd_watchdog_enabled(0, &microseconds) > 0) {
    period_ = std::chrono::microseconds(microseconds / 2);
  }
}

void ServiceManager::working(std::string const& status) {
  (void)::sd_notify(0, ("READY=1\nWATCHDOG=1\nSTATUS=" + status).c_str());
  if (period_ && !nextSign_) {
    nextSign_ = loop_.after(*period_, [this] { alive(); });
  }
}

void ServiceManager::alive() {
  (void)::sd_notify(0, "WATCHDOG=1");
  nextSign_ = loop_.after(*period_, [this] { alive(); });
}

void ServiceManager::stopping() {
  (void)::sd_notify(0, "STOPPING=1");
}

}  // namespace Agent
