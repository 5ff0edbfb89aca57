#include "agent/host/Fatal.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

namespace Agent {

namespace {

struct Applying {
  std::string_view source;
  std::size_t line = 0;
};
constinit Applying applying;

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
  std::abort();
}

}  // namespace

void installFatalHandler() {
  std::set_terminate(&handleTerminate);
}

void applyingIs(std::string_view source, std::size_t line) noexcept {
  applying = {source, line};
}

}  // namespace Agent
