// The agent as a child process, with a pipe for each of its standard streams.
#pragma once

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <vector>

namespace Test {

/// How a process ended, and all that it wrote and nobody read before.
struct Outcome {
  std::string out;
  std::string err;
  int status = -1;  ///< exit status, -1 if a signal ended it
  int signal = 0;   ///< the signal that ended it, 0 if none
};

/// What standard error is to the agent; to a shared terminal standard output leads as well.
enum class Errors { pipe, terminal, sharedTerminal, journal };

/// What surrounds the agent.
struct Surroundings {
  Errors errors = Errors::pipe;
  /// The width of a terminal; 0 where it does not tell.
  unsigned short columns = 60;
  /// Further variables of the environment, "NAME=VALUE", and "NAME" for one that is not to be
  /// there.
  std::vector<std::string> environment = {};
};

/// A running agent. Waiting for it longer than a test could need kills it and fails the test.
class Process {
 public:
  explicit Process(std::vector<std::string> const& arguments, Surroundings const& around = {});
  Process(Process const&) = delete;
  Process& operator=(Process const&) = delete;
  ~Process();

  /// Writes to its standard input.
  void write(std::string const& text);
  void closeInput();

  /// Closes the end from which its standard output is read.
  void closeOutput();

  /// The next line of its standard output, without its end.
  std::string readLine() { return readLine(out, {out, err}); }
  /// Reads at most so much of its standard output, once, and tells how much it was.
  std::size_t readPiece(std::size_t most);
  /// The next line of its standard error. What it prints meanwhile stays in its pipe.
  std::string readErrorLine() { return readLine(err, {err}); }

  void signal(int number) const;

  /// Sends it a signal now and then until it ends, and reads nothing meanwhile.
  void signalUntilItEnds(int number) const;

  /// Closes its standard input, reads what it still writes, and waits for its end.
  Outcome finish();

  /// Waits for its end, and reads only then what it wrote and what its pipes still hold.
  Outcome finishUnread();

 private:
  enum Stream : std::size_t { in, out, err };

  std::string readLine(Stream stream, std::initializer_list<Stream> taken);
  bool readSome(std::initializer_list<Stream> streams);
  void closeStream(Stream stream);

  pid_t pid_ = -1;
  std::array<int, 3> ends_{-1, -1, -1};
  std::array<std::string, 3> read_;
};

/// Runs the agent to its end with `input` as its standard input.
Outcome runAgent(std::vector<std::string> const& arguments, std::string const& input = "",
                 Surroundings const& around = {});

/// A folder of its own for one test, removed at its end.
class Folder {
 public:
  Folder();
  Folder(Folder const&) = delete;
  Folder& operator=(Folder const&) = delete;
  ~Folder();

  /// The path of a file in it.
  std::string path(std::string const& name) const { return (path_ / name).string(); }

  /// Writes a file and returns its path.
  std::string file(std::string const& name, std::string const& content) const;

 private:
  std::filesystem::path path_;
};

/// Makes a folder the current one for a scope, then the one that was.
class WorkingFolder {
 public:
  explicit WorkingFolder(Folder const& folder) : before_(std::filesystem::current_path()) {
    std::filesystem::current_path(folder.path(""));
  }
  WorkingFolder(WorkingFolder const&) = delete;
  WorkingFolder& operator=(WorkingFolder const&) = delete;
  ~WorkingFolder() { std::filesystem::current_path(before_); }

 private:
  std::filesystem::path before_;
};

}  // namespace Test
