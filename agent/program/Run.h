// One run of the agent: what is set up around its work, and its exit status.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "agent/host/Interrupt.h"
#include "agent/host/Loop.h"
#include "agent/host/Output.h"
#include "agent/program/Session.h"
#include "agent/sources/engine/EngineSnapshot.h"

namespace Agent {

/// The exit statuses.
inline constexpr int allApplied = 0;
inline constexpr int someRefused = 1;
inline constexpr int unusable = 2;
inline constexpr int neverSeen = 3;

class Run {
 public:
  /// `settings` must outlive this. Takes over the signals that end a run.
  explicit Run(Settings const& settings);

  /// Sets traces and session up, lets `work` work as long as the run goes on, shows the targets,
  /// and waits until the reader has taken all results. Where clients are served, they are so from
  /// before the work until the run is interrupted. Returns the exit status: that of the worst that
  /// was reported; for refusals 0 when the work was interrupted.
  int execute(std::function<void(Run&)> const& work);

  Loop& loop() { return loop_; }

  /// During `execute` only.
  Session& session() { return *session_; }
  DescriptorOutput& output() { return output_; }

  /// Whether there is still someone to work for. Lets the loop handle what has come, and waits
  /// until the reader has taken what was printed. Not from inside a callback of the loop, and
  /// neither are the next three.
  bool goesOn();
  /// Waits until there is nobody left to work for.
  void wait();
  /// The same, but no longer than this.
  void waitFor(std::chrono::milliseconds duration);
  /// Waits until a descriptor can be read, or has ended or failed; false when there is nobody left
  /// to work for.
  bool waitReadable(int descriptor);

  /// An interrupted run waits no longer than this for a reader who takes nothing.
  void readersPatienceIs(std::chrono::seconds patience) { readersPatience_ = patience; }

  /// Makes the sources say what a snapshot says. `name` stands for it if the process has to end.
  void apply(EngineSnapshot const& snapshot, std::string const& name);

  /// Says that the work is done: there is nobody left to work for.
  void done() { isDone_ = true; }

  /// Reports what was not applied.
  void refused(std::string const& message);
  /// Reports what makes the run pointless, and ends it.
  void failed(std::string const& message);
  /// Reports that what was to be mirrored was never seen: nothing is shown.
  void unseen(std::string const& message);

 private:
  bool isWanted() const;
  int workAndShow(std::function<void(Run&)> const& work);
  void awaitReader();

  Settings const& settings_;
  Loop loop_;
  Interrupt interrupt_;
  DescriptorOutput output_;
  std::optional<Session> session_;
  std::optional<std::chrono::seconds> readersPatience_;
  int status_ = allApplied;
  bool isDone_ = false;
};

}  // namespace Agent
