#include "agent/host/Diagnostics.h"

#include <sys/ioctl.h>
#include <sys/stat.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "agent/host/Terminal.h"

namespace Agent {

namespace {

using Clock = std::chrono::steady_clock;

void write(std::string const& text) {
  (void)std::fwrite(text.data(), 1, text.size(), stderr);
}

bool isTerminal() {
  static bool const is = Agent::isTerminal(STDERR_FILENO);
  return is;
}

bool hasColours() {
  static bool const has = Agent::hasColours(STDERR_FILENO);
  return has;
}

// The service manager names the stream that it reads by device and inode.
bool isJournal() {
  static bool const is = [] {
    struct stat status {};
    char const* const stream = std::getenv("JOURNAL_STREAM");
    return stream != nullptr && ::fstat(STDERR_FILENO, &status) == 0 &&
           stream == std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
  }();
  return is;
}

struct Severity {
  std::string_view journal;
  std::string_view colour;
};

void tell(Severity const& severity, std::string_view text) {
  Diagnostics::progressEnd();
  std::string line;
  if (isJournal()) {
    line.append(severity.journal);
  }
  if (hasColours()) {
    line.append(severity.colour).append(text).append("\033[0m");
  } else {
    line.append(text);
  }
  write(line += '\n');
}

// What stands on the terminal's line of progress.
struct Progress {
  bool stands = false;
  Clock::time_point since;
};
constinit Progress shown;

std::size_t terminalWidth() {
  winsize size{};
  return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

}  // namespace

void Diagnostics::error(std::string_view text) {
  tell({SD_ERR, "\033[31m"}, text);
}

void Diagnostics::notice(std::string_view text) {
  tell({SD_NOTICE, "\033[32m"}, text);
}

void Diagnostics::progress(std::size_t number, std::size_t count, std::string_view step) {
  constexpr std::chrono::milliseconds readable{50};  // more often than this is only flicker
  if (!isTerminal() || (shown.stands && Clock::now() < shown.since + readable)) {
    return;
  }
  std::string text = std::to_string(number) + " of " + std::to_string(count) + ": ";
  text += step;
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, '?');
  text.resize(std::min(text.size(), terminalWidth() - 1));
  write("\r\033[K" + text);
  shown = {true, Clock::now()};
}

void Diagnostics::progressEnd() {
  if (shown.stands) {
    write("\r\033[K");
    shown.stands = false;
  }
}

}  // namespace Agent
