#include "agent/program/GnmiTarget.h"

#include <algorithm>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "agent/host/Diagnostics.h"
#include "agent/views/gnmi/Collector.h"
#include "agent/views/gnmi/Failure.h"
#include "agent/views/gnmi/Hub.h"
#include "agent/views/gnmi/rpc/Server.h"

namespace Agent {

namespace {

constexpr std::chrono::seconds betweenLooks{1};
constexpr std::size_t leastConnections = 4096;

Gnmi::HubSettings hubSettings(GnmiSettings const& settings) {
  Gnmi::HubSettings result;
  result.mostStreams = settings.mostClients;
  result.limits.leastInterval = settings.leastSampleInterval;
  result.limits.counterInterval =
      std::max(result.limits.counterInterval, result.limits.leastInterval);
  return result;
}

// Every client that is served may have a connection of its own, and so may those that only ask.
std::size_t mostConnections(GnmiSettings const& settings) {
  return std::max(leastConnections, 2 * settings.mostClients);
}

// The way of writes from the threads of the server to the loop's.
struct Writes {
  using Done = std::function<void(std::optional<Gnmi::Failure> failure)>;

  void post(Loop& loop, Session& session, Gnmi::Write write, Done done) {
    {
      std::lock_guard const lock(mutex);
      if (isOpen) {
        loop.post([&session, write = std::move(write), done = std::move(done)] {
          if (write.isEmpty()) {
            done(std::nullopt);
            return;
          }
          session.write([write](Stp::VlanSet present) { return write.disabledVlans(present); },
                        [done](std::optional<std::string> const& refusal) {
                          done(refusal ? std::optional(Gnmi::Failure(Gnmi::Code::failedPrecondition,
                                                                     *refusal))
                                       : std::nullopt);
                        });
        });
        return;
      }
    }
    done(Gnmi::Failure(Gnmi::Code::unavailable, "the target is shutting down"));
  }
  void close() {
    std::lock_guard const lock(mutex);
    isOpen = false;
  }

  std::mutex mutex;
  bool isOpen = true;
};

class ServingTarget final : public GnmiTarget {
 public:
  ServingTarget(GnmiSettings const& settings, Loop& loop, Session& session)
      : loop_(loop), hub_(hubSettings(settings)), collector_(session.observed(), hub_) {
    hub_.start();
    server_ = std::make_unique<Gnmi::Server>(
        settings.server, mostConnections(settings), hub_,
        [this, &session](Gnmi::Write write, Writes::Done done) {
          writes_.post(loop_, session, std::move(write), std::move(done));
        });
    for (std::string const& address : server_->addresses()) {
      Diagnostics::notice("gnmi: listening on " + address);
    }
    lookSoon();
  }

  // First nobody can write any more, then all that was written before is answered.
  ~ServingTarget() override {
    writes_.close();
    loop_.turn(Loop::Clock::duration::zero());
    hub_.shutdown();
  }

 private:
  void lookSoon() {
    looking_ = loop_.after(betweenLooks, [this] {
      server_->look([](std::string const& flaw) {
        Diagnostics::error("gnmi: " + flaw + "; what was there before stays in use");
      });
      lookSoon();
    });
  }

  Loop& loop_;
  Writes writes_;
  Gnmi::Hub hub_;
  Gnmi::Collector collector_;
  std::unique_ptr<Gnmi::Server> server_;
  Loop::Registration looking_;
};

}  // namespace

bool const hasGnmi = true;

std::unique_ptr<GnmiTarget> serveGnmi(GnmiSettings const& settings, Loop& loop, Session& session) {
  return std::make_unique<ServingTarget>(settings, loop, session);
}

}  // namespace Agent
