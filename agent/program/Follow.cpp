#include "agent/program/Follow.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <set>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

#include "agent/host/Diagnostics.h"
#include "agent/host/ServiceManager.h"
#include "agent/program/ReadersBrake.h"
#include "agent/program/Run.h"
#include "agent/sources/engine/AskingTimes.h"
#include "agent/sources/engine/EngineSource.h"
#include "agent/sources/engine/LinkEvents.h"

namespace Agent {

namespace {

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
        service_(run.loop()),
        source_(run.loop(), following.program, following.bridge, following.slowInterval),
        times_(following.interval, run.loop().now()) {
    constexpr std::chrono::seconds patience{2};
    run_.readersPatienceIs(patience);
    run_.output().readerIsWatched();
    if (!following_.isOnce) {
      awaitEvents();
    }
    schedule();
  }

  void follow() {
    run_.wait();
    ServiceManager::stopping();
    if (!hasBegun_) {
      run_.unseen(following_.bridge + ": the engine gave no answer, nothing is mirrored");
    }
  }

 private:
  void awaitEvents() {
    try {
      events_.emplace(run_.loop(), following_.bridge, [this] { event(); });
    } catch (std::system_error const& error) {
      Diagnostics::error(following_.bridge +
                         ": the kernel tells of no changes, the engine is asked " +
                         "every interval alone: " + error.what());
    }
  }

  void schedule() {
    next_ = run_.loop().at(times_.next(), [this] { ask(); });
  }

  void event() {
    times_.event(run_.loop().now());
    if (!source_.isAsking()) {
      schedule();
    }
  }

  void ask() {
    bool const isLast = times_.asks(run_.loop().now());
    source_.ask([this](EngineSource::Taken const& taken) { take(taken); }, isLast);
  }

  void take(EngineSource::Taken const& taken) {
    if (auto const* const error = std::get_if<EngineError>(&taken.result)) {
      outage_.continues(error->kind(), error->what());
      service_.working(error->what());
    } else if (brake_.isRead(run_.output())) {
      outage_.ends(following_.bridge);
      remark(taken.remarks);
      apply(std::get<EngineSnapshot>(taken.result));
      service_.working("Following " + following_.bridge);
    } else {
      service_.working("Waiting for the reader of standard output");
    }
    times_.answered(run_.loop().now());
    if (following_.isOnce) {
      run_.done();
    } else {
      schedule();
    }
  }

  void apply(EngineSnapshot const& snapshot) {
    if (!hasBegun_) {
      run_.session().start();
      hasBegun_ = true;
    }
    run_.apply(snapshot, following_.bridge);
    if (following_.seen) {
      following_.seen(run_);
    }
  }

  // Each is told when it comes.
  void remark(std::vector<std::string> const& remarks) {
    for (std::string const& text : remarks) {
      if (std::ranges::find(remarks_, text) == remarks_.end()) {
        Diagnostics::error(text);
      }
    }
    remarks_ = remarks;
  }

  Run& run_;
  Following const& following_;
  ServiceManager service_;
  EngineSource source_;
  AskingTimes times_;
  std::optional<LinkEvents> events_;
  Outage outage_;
  ReadersBrake brake_;
  std::vector<std::string> remarks_;
  bool hasBegun_ = false;
  Loop::Registration next_;
};

}  // namespace

int followEngine(Settings settings, Following const& following) {
  settings.manualStart = true;  // by the first snapshot
  return Run(settings).execute([&following](Run& run) { Follower(run, following).follow(); });
}

}  // namespace Agent
