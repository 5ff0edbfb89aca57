// The process that asks the engine: one run of its control program.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <string>

#include "Base/FileDescriptor.h"
#include "agent/host/Loop.h"

namespace Agent {

/// What one run of the control program came to.
struct EngineAnswer {
  /// What it printed until it ended, or was ended.
  std::string output;
  /// Why the output can't be all that was asked for; empty when the program ended well.
  std::string problem;
  /// Beside a problem, the first line that the program wrote on its standard error.
  std::string complaint;
};

/// More output than this is no answer; it is several times what the largest bridge needs.
inline constexpr std::size_t longestAnswer = std::size_t{32} << 20U;

/// One run of a program. Whatever the program started dies with it, at the end of its time or of
/// this at the latest.
class EngineProcess {
 public:
  using Done = std::function<void(EngineAnswer answer)>;

  /// Runs `program`, looked up in the PATH unless it holds a slash, for JSON output and with
  /// `commands` as its standard input. `done` is called once, as the loop turns; it may end this.
  /// SIGCHLD must not be ignored, and SIGPIPE must be (Interrupt.h sees to both).
  EngineProcess(Loop& loop, std::string const& program, std::string commands, Loop::Time deadline,
                Done done);
  EngineProcess(EngineProcess const&) = delete;
  EngineProcess& operator=(EngineProcess const&) = delete;
  ~EngineProcess();

 private:
  int start(std::string const& program);
  void watch(Loop::Time deadline);
  void write();
  void read(Base::FileDescriptor& from, Loop::Registration& reading, std::string& to);
  void ends(std::string problem);
  void hasEnded();
  int end() noexcept;
  void judge(int status);
  void tell();

  Loop& loop_;
  std::string commands_;
  std::size_t written_ = 0;
  Done done_;
  EngineAnswer answer_;
  std::string complaint_;
  pid_t pid_ = -1;
  Base::FileDescriptor ended_;
  Base::FileDescriptor input_;
  Base::FileDescriptor output_;
  Base::FileDescriptor errors_;
  // Dropped before the descriptors that they are about.
  Loop::Registration writing_;
  Loop::Registration reading_;
  Loop::Registration complaining_;
  Loop::Registration ending_;
  Loop::Registration limit_;
};

}  // namespace Agent
