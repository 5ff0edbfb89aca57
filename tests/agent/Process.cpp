#include "Process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace Test {

namespace {

constexpr int patience = 60'000;  // milliseconds without a sign of life

void require(bool holds, char const* what) {
  if (!holds) {
    throw std::runtime_error(std::string(what) + ": " + std::to_string(errno));
  }
}

std::array<int, 2> makePipe() {
  std::array<int, 2> ends{};
  require(::pipe2(ends.data(), O_CLOEXEC) == 0, "pipe2");
  return ends;
}

// Two ends of a terminal: for the reader, and for the agent.
std::array<int, 2> makeTerminal(unsigned short columns) {
  std::array<int, 2> ends{};
  winsize size{.ws_row = 24, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
  require(::openpty(&ends[0], &ends[1], nullptr, nullptr, &size) == 0, "openpty");
  for (int const end : ends) {
    ::fcntl(end, F_SETFD, FD_CLOEXEC);
  }
  return ends;
}

// How the service manager says that a stream leads to the journal.
std::string journalStream(int descriptor) {
  struct stat status {};
  require(::fstat(descriptor, &status) == 0, "fstat");
  return "JOURNAL_STREAM=" + std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

}  // namespace

Process::Process(std::vector<std::string> const& arguments, Surroundings const& around) {
  std::vector<char*> argv{const_cast<char*>(STP_AGENT)};
  for (std::string const& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  auto const input = makePipe();
  auto const output = makePipe();
  bool const isShared = around.errors == Errors::sharedTerminal;
  auto const errors =
      isShared || around.errors == Errors::terminal ? makeTerminal(around.columns) : makePipe();
  std::vector<std::string> variables{"TERM=xterm"};
  variables.insert(variables.end(), around.environment.begin(), around.environment.end());
  if (around.errors == Errors::journal) {
    variables.push_back(journalStream(errors[1]));
  }
  pid_ = ::fork();
  require(pid_ >= 0, "fork");
  if (pid_ == 0) {
    ::dup2(input[0], STDIN_FILENO);
    ::dup2(isShared ? errors[1] : output[1], STDOUT_FILENO);
    ::dup2(errors[1], STDERR_FILENO);
    for (std::string& variable : variables) {
      ::putenv(variable.data());
    }
    std::signal(SIGPIPE, SIG_DFL);  // as any parent would leave it
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  ::close(input[0]);
  ::close(output[1]);
  ::close(errors[1]);
  ends_ = {input[1], output[0], errors[0]};
  std::signal(SIGPIPE, SIG_IGN);  // the agent may end before it has read its input
}

Process::~Process() {
  for (Stream const stream : {in, out, err}) {
    closeStream(stream);
  }
  if (pid_ > 0) {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
}

void Process::closeStream(Stream stream) {
  if (ends_[stream] >= 0) {
    ::close(std::exchange(ends_[stream], -1));
  }
}

// What the agent writes meanwhile is read, so that neither waits for the other.
void Process::write(std::string const& text) {
  std::size_t written = 0;
  ::fcntl(ends_[in], F_SETFL, O_NONBLOCK);
  while (written < text.size()) {
    ssize_t const size = ::write(ends_[in], text.data() + written, text.size() - written);
    if (size >= 0) {
      written += static_cast<std::size_t>(size);
    } else if (errno == EAGAIN) {
      pollfd writable{ends_[in], POLLOUT, 0};
      if (::poll(&writable, 1, 1) == 0) {
        pollfd readable{ends_[out], POLLIN, 0};
        if (::poll(&readable, 1, 0) > 0) {
          readSome({out, err});
        }
      }
    } else {
      return;
    }
  }
}

void Process::closeInput() {
  closeStream(in);
}

void Process::closeOutput() {
  closeStream(out);
}

// Reads from what of these streams has something to read; false when all have ended.
bool Process::readSome(std::initializer_list<Stream> streams) {
  std::vector<pollfd> readable;
  bool isOpen = false;
  for (Stream const stream : streams) {
    readable.push_back({ends_[stream], POLLIN, 0});
    isOpen = isOpen || ends_[stream] >= 0;
  }
  if (!isOpen) {
    return false;
  }
  if (::poll(readable.data(), readable.size(), patience) <= 0) {
    ADD_FAILURE() << "the agent neither wrote nor ended";
    ::kill(pid_, SIGKILL);
    closeStream(out);
    closeStream(err);
    return false;
  }
  auto polled = readable.begin();
  for (Stream const stream : streams) {
    if ((polled++)->revents != 0) {
      std::array<char, 65536> buffer{};
      ssize_t const size = ::read(ends_[stream], buffer.data(), buffer.size());
      if (size > 0) {
        read_[stream].append(buffer.data(), static_cast<std::size_t>(size));
      } else {
        closeStream(stream);
      }
    }
  }
  return true;
}

std::string Process::readLine(Stream stream, std::initializer_list<Stream> taken) {
  std::string& text = read_[stream];
  while (text.find('\n') == std::string::npos) {
    if (!readSome(taken)) {
      ADD_FAILURE() << "no further line";
      return "";
    }
  }
  std::string line = text.substr(0, text.find('\n'));
  text.erase(0, line.size() + 1);
  return line;
}

std::size_t Process::readPiece(std::size_t most) {
  std::string piece(most, '\0');
  ssize_t const size = ::read(ends_[out], piece.data(), piece.size());
  require(size >= 0, "read");
  read_[out].append(piece, 0, static_cast<std::size_t>(size));
  return static_cast<std::size_t>(size);
}

void Process::signal(int number) const {
  ::kill(pid_, number);
}

void Process::signalUntilItEnds(int number) const {
  constexpr int patience = 6000;
  for (int attempt = 0; attempt < patience; ++attempt) {
    siginfo_t ended{};
    require(::waitid(P_PID, static_cast<id_t>(pid_), &ended, WEXITED | WNOHANG | WNOWAIT) == 0,
            "waitid");
    if (ended.si_pid == pid_) {
      return;
    }
    signal(number);
    ::usleep(10'000);
  }
  ADD_FAILURE() << "signals do not end it";
}

Outcome Process::finishUnread() {
  siginfo_t ended{};
  for (int left = patience / 10; left > 0 && ended.si_pid != pid_; --left) {
    ::usleep(10'000);
    require(::waitid(P_PID, static_cast<id_t>(pid_), &ended, WEXITED | WNOHANG | WNOWAIT) == 0,
            "waitid");
  }
  EXPECT_EQ(ended.si_pid, pid_) << "it does not end";
  return finish();
}

Outcome Process::finish() {
  closeInput();
  while (readSome({out, err})) {
  }
  int status = 0;
  ::waitpid(std::exchange(pid_, -1), &status, 0);
  return {read_[out], read_[err], WIFEXITED(status) ? WEXITSTATUS(status) : -1,
          WIFSIGNALED(status) ? WTERMSIG(status) : 0};
}

Outcome runAgent(std::vector<std::string> const& arguments, std::string const& input,
                 Surroundings const& around) {
  Process agent(arguments, around);
  agent.write(input);
  return agent.finish();
}

Folder::Folder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "agent-XXXXXX").string();
  require(::mkdtemp(pattern.data()) != nullptr, "mkdtemp");
  path_ = pattern;
}

Folder::~Folder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string Folder::file(std::string const& name, std::string const& content) const {
  std::string const at = path(name);
  std::filesystem::create_directories(std::filesystem::path(at).parent_path());
  std::ofstream(at, std::ios::binary) << content;
  return at;
}

}  // namespace Test
