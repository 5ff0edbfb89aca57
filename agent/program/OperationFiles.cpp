#include "agent/program/OperationFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <system_error>

#include "agent/host/Diagnostics.h"
#include "agent/host/Fatal.h"
#include "agent/host/LineReader.h"
#include "agent/text/Refusal.h"

namespace Agent {

namespace {

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

}  // namespace

bool areReadable(std::vector<std::string> const& files) {
  return std::ranges::all_of(files, [](std::string const& file) {
    auto const error = whyUnreadable(file);
    if (error) {
      Diagnostics::error(file + ": " + error.message());
    }
    return !error;
  });
}

void applyOperationFiles(Run& run, std::vector<std::string> const& files) {
  for (std::string const& file : files.empty() ? std::vector<std::string>{"-"} : files) {
    applyFile(run, file);
  }
}

int runOperations(Settings const& settings, std::vector<std::string> const& files) {
  if (!areReadable(files)) {
    return unusable;
  }
  return Run(settings).execute([&files](Run& run) { applyOperationFiles(run, files); });
}

}  // namespace Agent
