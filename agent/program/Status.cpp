#include "agent/program/Status.h"

#include <unistd.h>

#include <chrono>
#include <utility>

#include "agent/host/Terminal.h"
#include "agent/program/Run.h"
#include "agent/program/SnapshotFolders.h"
#include "agent/program/Sonic.h"
#include "agent/views/status/BridgeStatus.h"
#include "agent/views/status/StatusJson.h"
#include "agent/views/status/StatusScreen.h"
#include "agent/views/status/TopologyGraph.h"

namespace Agent {

namespace {

std::uint64_t wallClock() {
  auto const now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

// Prints what is not what it printed before.
class Teller {
 public:
  explicit Teller(StatusRequest const& request)
      : request_(request),
        name_(request.redis ? request.redis->address.text() : request.engine.bridge) {}

  void tell(Session const& session, Output& output) {
    BridgeStatus status = bridgeStatus(session.database().targets());
    if (told_ == status) {
      return;
    }
    std::string text = textOf(status);
    text.erase(text.find_last_not_of('\n') + 1);
    output.lineAdd(before() + text);
    told_ = std::move(status);
  }

 private:
  std::string textOf(BridgeStatus const& status) const {
    switch (request_.form) {
      case StatusForm::json:
        return statusJson(name_, status).dump(-1, ' ', false, Json::error_handler_t::replace);
      case StatusForm::graph: return topologyGraph(name_, status);
      case StatusForm::screen: break;
    }
    return statusScreen(name_, status, {hasColours(STDOUT_FILENO), wallClock()});
  }

  // A screen that is told again takes the place of the one before.
  std::string before() const {
    bool const isScreen = request_.watch && request_.form == StatusForm::screen;
    return !isScreen ? "" : isTerminal(STDOUT_FILENO) ? "\033[H\033[2J" : told_ ? "\n" : "";
  }

  StatusRequest const& request_;
  std::string const name_;
  std::optional<BridgeStatus> told_;
};

}  // namespace

int showStatus(Settings settings, StatusRequest request) {
  settings.show = Show::none;
  Teller teller(request);
  if (request.folder) {
    return Run(settings).execute([&](Run& run) {
      if (applySnapshotFolders(run, request.engine.bridge, {*request.folder}, false) == 1) {
        teller.tell(run.session(), run.output());
      }
    });
  }
  auto const tell = [&teller](Run& run) { teller.tell(run.session(), run.output()); };
  if (request.redis) {
    return followSonic(settings, {*request.redis, !request.watch, tell});
  }
  request.engine.isOnce = !request.watch;
  request.engine.seen = tell;
  return followEngine(settings, request.engine);
}

}  // namespace Agent
