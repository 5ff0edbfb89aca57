#include "agent/program/OperationFiles.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <system_error>

#include "Base/FileDescriptor.h"
#include "agent/host/Diagnostics.h"
#include "agent/host/Fatal.h"
#include "agent/host/LineReader.h"
#include "agent/text/Refusal.h"

namespace Agent {

namespace {

// A file of operations, which stays closed for standard input.
Base::FileDescriptor open(std::string const& file) {
  if (file == "-") {
    return {};
  }
  // A pipe that nobody writes to yet is waited for together with all else, not here.
  Base::FileDescriptor opened(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!opened.isOpen()) {
    throw std::system_error(errno, std::system_category());
  }
  return opened;
}

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
    Base::FileDescriptor const input = open(file);
    LineReader reader(input.isOpen() ? input.number() : STDIN_FILENO, longestLine,
                      [&run](int descriptor) { return run.waitReadable(descriptor); });
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
