#include "agent/sources/engine/EngineProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/epoll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

#include "agent/host/SystemCall.h"

namespace Agent {

namespace {

using Base::FileDescriptor;

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    requireSuccess(::pipe2(ends.data(), O_CLOEXEC) == 0, "pipe2");
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

}  // namespace

EngineProcess::EngineProcess(Loop& loop, std::string const& program, std::string commands,
                             Loop::Time deadline, Done done)
    : loop_(loop), commands_(std::move(commands)), done_(std::move(done)) {
  try {
    if (int const error = start(program)) {
      answer_.problem = "can't be started: " + std::generic_category().message(error);
      limit_ = loop_.at(loop_.now(), [this] { tell(); });
      return;
    }
    watch(deadline);
  } catch (...) {
    end();
    throw;
  }
}

EngineProcess::~EngineProcess() {
  end();
}

// Returns an error number.
int EngineProcess::start(std::string const& program) {
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
    requireSuccess(::fcntl(mine->number(), F_SETFL, O_NONBLOCK) == 0, "fcntl");
  }
  ended_ = FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)));
  requireSuccess(ended_.isOpen(), "pidfd_open");
  input_ = std::move(input.writing);
  output_ = std::move(output.reading);
  errors_ = std::move(errors.reading);
  return 0;
}

void EngineProcess::watch(Loop::Time deadline) {
  writing_ = loop_.whenReady(input_.number(), EPOLLOUT, [this](std::uint32_t) { write(); });
  reading_ = loop_.whenReady(output_.number(), EPOLLIN,
                             [this](std::uint32_t) { read(output_, reading_, answer_.output); });
  complaining_ = loop_.whenReady(errors_.number(), EPOLLIN, [this](std::uint32_t) {
    read(errors_, complaining_, complaint_);
  });
  ending_ = loop_.whenReady(ended_.number(), EPOLLIN, [this](std::uint32_t) { hasEnded(); });
  limit_ = loop_.at(deadline, [this] { ends("does not answer"); });
}

void EngineProcess::write() {
  ssize_t const size =
      ::write(input_.number(), commands_.data() + written_, commands_.size() - written_);
  if (size >= 0) {
    written_ += static_cast<std::size_t>(size);
  }
  if (written_ == commands_.size() || (size < 0 && errno != EAGAIN && errno != EINTR)) {
    writing_.drop();
    input_.close();
  }
}

// All that there is without waiting.
void EngineProcess::read(FileDescriptor& from, Loop::Registration& reading, std::string& to) {
  std::array<char, 65536> buffer{};
  while (from.isOpen() && to.size() <= longestAnswer) {
    ssize_t const size = ::read(from.number(), buffer.data(), buffer.size());
    if (size > 0) {
      to.append(buffer.data(), static_cast<std::size_t>(size));
    } else if (size < 0 && errno == EAGAIN) {
      break;
    } else if (size == 0 || errno != EINTR) {
      reading.drop();
      from.close();
    }
  }
  if (answer_.output.size() + complaint_.size() > longestAnswer) {
    ends("printed more than " + std::to_string(longestAnswer) + " bytes");
  }
}

// Nothing more is read; what is told waits until the process has gone.
void EngineProcess::ends(std::string problem) {
  if (answer_.problem.empty()) {
    answer_.problem = std::move(problem);
  }
  reading_.drop();
  complaining_.drop();
  output_.close();
  errors_.close();
  (void)::kill(-pid_, SIGKILL);
}

void EngineProcess::hasEnded() {
  read(output_, reading_, answer_.output);
  read(errors_, complaining_, complaint_);
  ending_.drop();
  judge(end());
  tell();
}

// Ends what is left of the process and all that it started; returns its status.
int EngineProcess::end() noexcept {
  int status = 0;
  if (pid_ > 0) {
    (void)::kill(-pid_, SIGKILL);
    while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
  }
  return status;
}

void EngineProcess::judge(int status) {
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

// The last thing: whoever is told may end this.
void EngineProcess::tell() {
  limit_.drop();
  writing_.drop();
  Done const done = std::move(done_);
  done(std::move(answer_));
}

}  // namespace Agent
