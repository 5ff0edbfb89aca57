#include "Run.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "Fatal.h"
#include "Flashlog/FlashlogHandle.h"
#include "Interrupt.h"
#include "LineReader.h"
#include "Refusal.h"
#include "Snapshot.h"
#include "SnapshotDiff.h"
#include "Stp/Module.h"

namespace Agent {

namespace {

constexpr int allApplied = 0;
constexpr int someRefused = 1;
constexpr int unusable = 2;

void report(std::string const& message) {
  std::string const line = message + "\n";
  (void)std::fwrite(line.data(), 1, line.size(), stderr);
}

// A file of operations; standard input for "-".
class Input {
 public:
  explicit Input(std::string const& file) {
    if (file != "-") {
      // A pipe is waited for together with the signals, not here.
      descriptor_ = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
      if (descriptor_ < 0) {
        throw std::system_error(errno, std::system_category());
      }
    }
  }
  Input(Input const&) = delete;
  Input& operator=(Input const&) = delete;
  ~Input() {
    if (descriptor_ != STDIN_FILENO) {
      (void)::close(descriptor_);
    }
  }

  int descriptor() const { return descriptor_; }

 private:
  int descriptor_ = STDIN_FILENO;
};

// Why a file can't be read, as far as that shows before it is opened.
std::error_code whyUnreadable(std::string const& file) {
  struct stat status {};
  if (file == "-") {
    return {};
  }
  if (::stat(file.c_str(), &status) != 0 ||
      ::faccessat(AT_FDCWD, file.c_str(), R_OK, AT_EACCESS) != 0) {
    return {errno, std::system_category()};
  }
  return S_ISDIR(status.st_mode) ? std::make_error_code(std::errc::is_a_directory)
                                 : std::error_code();
}

// One run: what is set up around it, and its exit status.
class Run {
 public:
  explicit Run(Settings const& settings) : settings_(settings), output_(STDOUT_FILENO) {
    Interrupt::install();
  }

  // `applyInput` applies all input, as long as the run goes on.
  int execute(std::function<void(Run&)> const& applyInput) {
    std::optional<Flashlog::FlashlogHandle> flashlog;
    std::optional<Flashlog::DefaultHandleScope> flashlogInstalled;
    if (settings_.flashlog) {
      try {
        flashlog.emplace(*settings_.flashlog);
      } catch (std::system_error const& error) {
        report(std::string("--flashlog: ") + error.what());
        return unusable;
      }
      flashlogInstalled.emplace(*flashlog);
    }
    if (settings_.trace) {
      Stp::_defaultTraceHandle().levelIs(8, true);
    }
    session_.emplace(settings_, output_);
    applyInput(*this);
    session_->show();
    session_.reset();
    if (output_.error() && output_.error() != std::errc::broken_pipe) {
      report("standard output: " + output_.error().message());
      return unusable;
    }
    return Interrupt::requested() ? allApplied : status_;
  }

  // Whether there is still someone to work for.
  bool goesOn() const { return !Interrupt::requested() && !output_.error() && status_ != unusable; }

  Session& session() { return *session_; }

  void refused(std::string const& message) {
    report(message);
    status_ = someRefused;
  }
  void failed(std::string const& message) {
    report(message);
    status_ = unusable;
  }

 private:
  Settings const& settings_;
  DescriptorOutput output_;
  std::optional<Session> session_;
  int status_ = allApplied;
};

bool isSkipped(std::string_view line) {
  return line.starts_with('#') || line.find_first_not_of(" \t\r") == std::string_view::npos;
}

void applyLine(Run& run, std::string_view line, std::string_view source, std::size_t number) {
  try {
    if (line.size() > longestLine) {
      throw Refusal("longer than " + std::to_string(longestLine) + " bytes");
    }
    Operation const operation = parseOperation(line);
    applyingIs(source, number);
    run.session().apply(operation);
  } catch (Refusal const& refusal) {
    run.refused(std::string(source) + ":" + std::to_string(number) + ": " + refusal.what());
  }
  applyingIs("", 0);
}

void applyFile(Run& run, std::string const& file) {
  std::string const source = file == "-" ? "stdin" : file;
  try {
    Input const input(file);
    LineReader reader(input.descriptor(), longestLine);
    std::size_t number = 0;
    while (run.goesOn()) {
      auto const line = reader.next();
      if (!line) {
        return;
      }
      ++number;
      if (!isSkipped(*line)) {
        applyLine(run, *line, source, number);
      }
    }
  } catch (std::system_error const& error) {
    run.failed(source + ": " + error.code().message());
  }
}

void applySnapshot(Run& run, std::string const& bridge, std::string const& folder) {
  try {
    Snapshot const snapshot = readSnapshot(folder, bridge);
    applyingIs(folder, 0);
    for (Operation const& change : differences(snapshot, run.session().database().sources())) {
      run.session().apply(change);
    }
  } catch (SnapshotError const& error) {
    run.refused(error.what());
  }
  applyingIs("", 0);
}

}  // namespace

int runOperations(Settings const& settings, std::vector<std::string> const& files) {
  for (std::string const& file : files) {
    if (auto const error = whyUnreadable(file)) {
      report(file + ": " + error.message());
      return unusable;
    }
  }
  std::vector<std::string> const inputs = files.empty() ? std::vector<std::string>{"-"} : files;
  return Run(settings).execute([&](Run& run) {
    for (std::string const& file : inputs) {
      applyFile(run, file);
    }
  });
}

int replaySnapshots(Settings const& settings, std::string const& bridge,
                    std::vector<std::string> const& folders) {
  return Run(settings).execute([&](Run& run) {
    for (std::string const& folder : folders) {
      if (run.goesOn()) {
        applySnapshot(run, bridge, folder);
      }
    }
  });
}

}  // namespace Agent
