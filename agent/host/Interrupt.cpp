#include "agent/host/Interrupt.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <limits>
#include <system_error>
#include <vector>

namespace Agent {

namespace {

// The handler writes a byte into this pipe, so that a signal just before a wait ends the wait too.
constinit std::array<int, 2> wakeUp{-1, -1};
constinit volatile std::sig_atomic_t signals = 0;  // up to 2

extern "C" void handleSignal(int /*signal*/) {
  int const error = errno;
  signals = signals == 0 ? 1 : 2;
  (void)!::write(wakeUp[1], "", 1);
  errno = error;
}

[[noreturn]] void fail(char const* what) {
  throw std::system_error(errno, std::system_category(), what);
}

// For poll(2); rounded up, so that what is waited for has come.
int millisecondsUntil(std::optional<Interrupt::Clock::time_point> deadline) {
  if (!deadline) {
    return -1;
  }
  auto const rest =
      std::chrono::ceil<std::chrono::milliseconds>(*deadline - Interrupt::Clock::now()).count();
  return static_cast<int>(std::clamp<decltype(rest)>(rest, 0, std::numeric_limits<int>::max()));
}

}  // namespace

void Interrupt::install() {
  if (wakeUp[0] == -1 && ::pipe2(wakeUp.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
    fail("pipe2");
  }
  struct sigaction action {};
  action.sa_handler = &handleSignal;
  ::sigemptyset(&action.sa_mask);
  ::sigaddset(&action.sa_mask, SIGINT);  // one after the other: both are counted
  ::sigaddset(&action.sa_mask, SIGTERM);
  if (::sigaction(SIGINT, &action, nullptr) != 0 || ::sigaction(SIGTERM, &action, nullptr) != 0) {
    fail("sigaction");
  }
  action.sa_handler = SIG_IGN;
  if (::sigaction(SIGPIPE, &action, nullptr) != 0) {
    fail("sigaction");
  }
  action.sa_handler = SIG_DFL;  // if ignored, how children ended could not be asked
  if (::sigaction(SIGCHLD, &action, nullptr) != 0) {
    fail("sigaction");
  }
}

bool Interrupt::requested() noexcept {
  return signals != 0;
}

bool Interrupt::urged() noexcept {
  return signals > 1;
}

bool Interrupt::wait(std::span<pollfd> awaited, std::optional<Clock::time_point> deadline) {
  std::vector<pollfd> all(awaited.begin(), awaited.end());
  all.push_back({wakeUp[0], POLLIN, 0});
  while (!requested()) {
    int const ready = ::poll(all.data(), all.size(), millisecondsUntil(deadline));
    if (ready < 0 && errno != EINTR) {
      fail("poll");
    }
    bool const anyAwaited =
        std::any_of(all.begin(), all.end() - 1, [](pollfd const& one) { return one.revents != 0; });
    if ((ready > 0 && anyAwaited) || (deadline && Clock::now() >= *deadline)) {
      std::copy(all.begin(), all.end() - 1, awaited.begin());
      return !requested();
    }
  }
  return false;
}

bool Interrupt::waitReadable(int descriptor) {
  std::array<pollfd, 1> awaited{pollfd{descriptor, POLLIN, 0}};
  return wait(awaited, std::nullopt);
}

}  // namespace Agent
