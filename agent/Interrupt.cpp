#include "Interrupt.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

namespace Agent {

namespace {

// The handler writes a byte into this pipe, so that a signal just before a wait ends the wait too.
constinit std::array<int, 2> wakeUp{-1, -1};
constinit volatile std::sig_atomic_t signalled = 0;

extern "C" void handleSignal(int /*signal*/) {
  int const error = errno;
  signalled = 1;
  (void)!::write(wakeUp[1], "", 1);
  errno = error;
}

[[noreturn]] void fail(char const* what) {
  throw std::system_error(errno, std::system_category(), what);
}

}  // namespace

void Interrupt::install() {
  if (wakeUp[0] == -1 && ::pipe2(wakeUp.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
    fail("pipe2");
  }
  struct sigaction action {};
  action.sa_handler = &handleSignal;
  ::sigemptyset(&action.sa_mask);
  if (::sigaction(SIGINT, &action, nullptr) != 0 || ::sigaction(SIGTERM, &action, nullptr) != 0) {
    fail("sigaction");
  }
  action.sa_handler = SIG_IGN;
  if (::sigaction(SIGPIPE, &action, nullptr) != 0) {
    fail("sigaction");
  }
}

bool Interrupt::requested() noexcept {
  return signalled != 0;
}

bool Interrupt::waitReadable(int descriptor) {
  std::array<pollfd, 2> awaited{pollfd{descriptor, POLLIN, 0}, pollfd{wakeUp[0], POLLIN, 0}};
  while (!requested()) {
    int const ready = ::poll(awaited.data(), awaited.size(), -1);
    if (ready < 0 && errno != EINTR) {
      fail("poll");
    }
    if (ready > 0 && awaited[0].revents != 0) {
      return !requested();
    }
  }
  return false;
}

}  // namespace Agent
