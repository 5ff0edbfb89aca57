// One run of the agent: what is set up around its work, and its exit status.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "agent/host/Output.h"
#include "agent/program/Session.h"
#include "agent/sources/engine/EngineSnapshot.h"

namespace Agent {

/// The exit statuses.
inline constexpr int allApplied = 0;
inline constexpr int someRefused = 1;
inline constexpr int unusable = 2;

class Run {
 public:
  /// `settings` must outlive this. Takes over the signals that end a run.
  explicit Run(Settings const& settings);

  /// Sets traces and session up, lets `work` work as long as the run goes on, and shows the
  /// targets. Returns the exit status: that of the worst that was reported; 0 when the run was
  /// interrupted.
  int execute(std::function<void(Run&)> const& work);

  /// Whether there is still someone to work for.
  bool goesOn() const;

  /// During `execute` only.
  Session& session() { return *session_; }
  Output& output() { return output_; }

  /// Makes the sources say what a snapshot says. `name` stands for it if the process has to end.
  void apply(EngineSnapshot const& snapshot, std::string const& name);

  /// Reports what was not applied.
  void refused(std::string const& message);
  /// Reports what makes the run pointless, and ends it.
  void failed(std::string const& message);

 private:
  Settings const& settings_;
  DescriptorOutput output_;
  std::optional<Session> session_;
  int status_ = allApplied;
};

}  // namespace Agent
