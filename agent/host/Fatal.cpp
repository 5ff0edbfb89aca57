#include "agent/host/Fatal.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <utility>

namespace Agent {

namespace {

struct Applying {
  std::string_view source;
  std::size_t line = 0;
};
constinit Applying applying;

std::function<void()>& lastAct() {
  static std::function<void()> act;
  return act;
}

// Who sends a signal to end is not kept waiting any more.
void letSignalsEnd() {
  sigset_t signals;
  ::sigemptyset(&signals);
  ::sigaddset(&signals, SIGINT);
  ::sigaddset(&signals, SIGTERM);
  (void)::sigprocmask(SIG_UNBLOCK, &signals, nullptr);
}

std::string describe(std::exception_ptr const& error) {
  try {
    if (error) {
      std::rethrow_exception(error);
    }
    return "terminated without an exception";
  } catch (std::exception const& exception) {
    return exception.what();
  } catch (...) {
    return "an exception of an unknown type";
  }
}

[[noreturn]] void handleTerminate() {
  std::string line = "stp-openconfig-agent: fatal: ";
  if (!applying.source.empty()) {
    line.append(applying.source).append(":");
    line += applying.line == 0 ? " " : std::to_string(applying.line) + ": ";
  }
  line += describe(std::current_exception()) + "\n";
  (void)std::fwrite(line.data(), 1, line.size(), stderr);
  letSignalsEnd();
  if (lastAct()) {
    lastAct()();
  }
  std::abort();
}

}  // namespace

void installFatalHandler() {
  std::set_terminate(&handleTerminate);
}

void applyingIs(std::string_view source, std::size_t line) noexcept {
  applying = {source, line};
}

void beforeFatalEnd(std::function<void()> act) {
  lastAct() = std::move(act);
}

}  // namespace Agent
