#include "agent/program/Follow.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <system_error>

#include "agent/host/Diagnostics.h"
#include "agent/host/Interrupt.h"
#include "agent/host/ServiceManager.h"
#include "agent/program/Run.h"
#include "agent/sources/engine/EngineSource.h"

namespace Agent {

namespace {

using Clock = Interrupt::Clock;

// The time in which no snapshot can be taken, and what was told of it.
class Outage {
 public:
  void continues(std::string const& kind, std::string const& reason) {
    if (told_.size() < mostKinds && told_.insert(kind).second) {
      Diagnostics::error(reason);
    }
  }

  void ends(std::string const& bridge) {
    if (!told_.empty()) {
      Diagnostics::notice(bridge + ": the engine answers again");
      told_.clear();
    }
  }

 private:
  static constexpr std::size_t mostKinds = 8;  // more of them tell the operator nothing new

  std::set<std::string> told_;
};

class Follower {
 public:
  Follower(Run& run, Following const& following)
      : run_(run),
        following_(following),
        source_(following.program, following.bridge, limit(service_)) {}

  void follow() {
    auto begun = Clock::now();
    while (run_.goesOn() && step()) {
      begun = std::max(begun + following_.interval, Clock::now());
      if (!waitUntil(begun)) {
        break;
      }
    }
    ServiceManager::stopping();
  }

 private:
  // How long the engine may take to answer.
  static std::chrono::milliseconds limit(ServiceManager const& service) {
    constexpr std::chrono::milliseconds limit{5000};
    auto const patience = service.patience();
    return patience ? std::min(limit, std::chrono::ceil<std::chrono::milliseconds>(*patience))
                    : limit;
  }

  // False when a signal to end came.
  bool step() {
    try {
      auto const snapshot = source_.next();
      if (!snapshot) {
        return false;
      }
      outage_.ends(following_.bridge);
      run_.apply(*snapshot, following_.bridge);
      service_.working("Following " + following_.bridge);
    } catch (EngineError const& error) {
      fails(error.kind(), error.what());
    } catch (std::system_error const& error) {
      fails("system", following_.program + ": " + error.what());
    }
    return true;
  }

  void fails(std::string const& kind, std::string const& reason) {
    outage_.continues(kind, reason);
    service_.working(reason);
  }

  // False when there is nobody left to work for. The service manager hears of the process
  // meanwhile.
  bool waitUntil(Clock::time_point end) const {
    std::array<pollfd, 1> reader{pollfd{STDOUT_FILENO, 0, 0}};  // tells when it goes
    while (Clock::now() < end) {
      auto const patience = service_.patience();
      auto const until = patience ? std::min(end, Clock::now() + *patience) : end;
      if (!Interrupt::wait(reader, until) || reader.front().revents != 0) {
        return false;
      }
      ServiceManager::alive();
    }
    return true;
  }

  Run& run_;
  Following const& following_;
  ServiceManager service_;
  EngineSource source_;
  Outage outage_;
};

}  // namespace

int followEngine(Settings const& settings, Following const& following) {
  return Run(settings).execute([&following](Run& run) { Follower(run, following).follow(); });
}

}  // namespace Agent
