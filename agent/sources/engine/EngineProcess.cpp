#include "agent/sources/engine/EngineProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

#include "Base/FileDescriptor.h"
#include "agent/text/Json.h"

namespace Agent {

namespace {

using Base::FileDescriptor;

void require(bool holds, char const* what) {
  if (!holds) {
    throw std::system_error(errno, std::system_category(), what);
  }
}

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    require(::pipe2(ends.data(), O_CLOEXEC) == 0, "pipe2");
    reading = FileDescriptor(ends[0]);
    writing = FileDescriptor(ends[1]);
  }

  FileDescriptor reading;
  FileDescriptor writing;
};

// How the child's streams and signals are to be: a group of its own, so that what it starts can be
// ended with it and the terminal's signals are the agent's alone, and no signal ignored or held.
class SpawnPlan {
 public:
  SpawnPlan() {
    ::posix_spawn_file_actions_init(&actions_);
    ::posix_spawnattr_init(&attributes_);
    ::posix_spawnattr_setflags(
        &attributes_, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    sigset_t signals;
    ::sigemptyset(&signals);
    ::posix_spawnattr_setsigmask(&attributes_, &signals);
    ::sigfillset(&signals);
    ::posix_spawnattr_setsigdefault(&attributes_, &signals);
  }
  SpawnPlan(SpawnPlan const&) = delete;
  SpawnPlan& operator=(SpawnPlan const&) = delete;
  ~SpawnPlan() {
    ::posix_spawn_file_actions_destroy(&actions_);
    ::posix_spawnattr_destroy(&attributes_);
  }

  void streamIs(int stream, FileDescriptor const& descriptor) {
    ::posix_spawn_file_actions_adddup2(&actions_, descriptor.number(), stream);
  }

  /// Returns an error number.
  int spawn(pid_t& pid, std::string program) const {
    std::string format = "-f";
    std::string json = "json";
    std::string batch = "-s";
    std::array<char*, 5> arguments{program.data(), format.data(), json.data(), batch.data(),
                                   nullptr};
    return ::posix_spawnp(&pid, program.c_str(), &actions_, &attributes_, arguments.data(),
                          environ);
  }

 private:
  posix_spawn_file_actions_t actions_{};
  posix_spawnattr_t attributes_{};
};

std::string firstLine(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
  return std::string(text.substr(0, text.find_first_of("\r\n")));
}

class EngineProcess {
 public:
  EngineProcess(std::string_view commands, Interrupt::Clock::time_point deadline)
      : commands_(commands), deadline_(deadline) {}
  EngineProcess(EngineProcess const&) = delete;
  EngineProcess& operator=(EngineProcess const&) = delete;
  ~EngineProcess() { end(); }

  std::optional<EngineAnswer> run(std::string const& program) {
    if (int const error = start(program)) {
      answer_.problem = "can't be started: " + std::generic_category().message(error);
      return std::move(answer_);
    }
    while (isAnswering()) {
    }
    int const status = end();
    if (Interrupt::requested()) {
      return std::nullopt;
    }
    judge(status);
    return std::move(answer_);
  }

 private:
  int start(std::string const& program) {
    Pipe input;
    Pipe output;
    Pipe errors;
    SpawnPlan plan;
    plan.streamIs(STDIN_FILENO, input.reading);
    plan.streamIs(STDOUT_FILENO, output.writing);
    plan.streamIs(STDERR_FILENO, errors.writing);
    if (int const error = plan.spawn(pid_, program)) {
      pid_ = -1;
      return error;
    }
    for (FileDescriptor const* const mine : {&input.writing, &output.reading, &errors.reading}) {
      require(::fcntl(mine->number(), F_SETFL, O_NONBLOCK) == 0, "fcntl");
    }
    ended_ = FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)));
    require(ended_.isOpen(), "pidfd_open");
    input_ = std::move(input.writing);
    output_ = std::move(output.reading);
    errors_ = std::move(errors.reading);
    return 0;
  }

  // Takes and gives what there is; false when there is nothing more to wait for.
  bool isAnswering() {
    std::array<pollfd, 4> awaited{
        pollfd{input_.number(), POLLOUT, 0}, pollfd{output_.number(), POLLIN, 0},
        pollfd{errors_.number(), POLLIN, 0}, pollfd{ended_.number(), POLLIN, 0}};
    if (!Interrupt::wait(awaited, deadline_)) {
      return false;
    }
    bool const hasEnded = awaited[3].revents != 0;
    if (awaited[0].revents != 0) {
      writeSome();
    }
    read(output_, answer_.output);
    read(errors_, complaint_);
    if (answer_.output.size() + complaint_.size() > longestAnswer) {
      answer_.problem = "printed more than " + std::to_string(longestAnswer) + " bytes";
    } else if (!hasEnded && Interrupt::Clock::now() >= deadline_) {
      answer_.problem = "does not answer";
    }
    return !hasEnded && answer_.problem.empty();
  }

  void writeSome() {
    ssize_t const size = ::write(input_.number(), commands_.data(), commands_.size());
    if (size >= 0) {
      commands_.remove_prefix(static_cast<std::size_t>(size));
    }
    if (commands_.empty() || (size < 0 && errno != EAGAIN && errno != EINTR)) {
      input_.close();
    }
  }

  // All that there is without waiting.
  static void read(FileDescriptor& from, std::string& to) {
    std::array<char, 65536> buffer{};
    while (from.isOpen() && to.size() <= longestAnswer) {
      ssize_t const size = ::read(from.number(), buffer.data(), buffer.size());
      if (size > 0) {
        to.append(buffer.data(), static_cast<std::size_t>(size));
      } else if (size < 0 && errno == EAGAIN) {
        return;
      } else if (size == 0 || errno != EINTR) {
        from.close();
      }
    }
  }

  // Ends what is left of the process and all that it started; returns its status.
  int end() {
    int status = 0;
    if (pid_ > 0) {
      (void)::kill(-pid_, SIGKILL);
      pid_t ended = 0;
      do {
        ended = ::waitpid(pid_, &status, 0);
      } while (ended < 0 && errno == EINTR);
      pid_ = -1;
      if (ended < 0 && answer_.problem.empty()) {
        answer_.problem = "ended unseen";
      }
    }
    return status;
  }

  void judge(int status) {
    std::string& problem = answer_.problem;
    if (problem.empty() && WIFSIGNALED(status)) {
      problem = "was ended by signal " + std::to_string(WTERMSIG(status));
    } else if (problem.empty() && WEXITSTATUS(status) != 0) {
      problem = "failed with status " + std::to_string(WEXITSTATUS(status));
    }
    if (!problem.empty()) {
      answer_.complaint = firstLine(complaint_);
    }
  }

  std::string_view commands_;
  Interrupt::Clock::time_point deadline_;
  pid_t pid_ = -1;
  FileDescriptor ended_;
  FileDescriptor input_;
  FileDescriptor output_;
  FileDescriptor errors_;
  EngineAnswer answer_;
  std::string complaint_;
};

}  // namespace

std::optional<EngineAnswer> askEngine(std::string const& program, std::string_view commands,
                                      Interrupt::Clock::time_point deadline) {
  return EngineProcess(commands, deadline).run(program);
}

}  // namespace Agent
