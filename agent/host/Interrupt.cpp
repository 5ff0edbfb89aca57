#include "agent/host/Interrupt.h"

#include <cerrno>
#include <csignal>
#include <system_error>

namespace Agent {

namespace {

void dispose(int signal, sighandler_t how) {
  if (std::signal(signal, how) == SIG_ERR) {
    throw std::system_error(errno, std::system_category(), "signal");
  }
}

}  // namespace

Interrupt::Interrupt(Loop& loop)
    : interrupted_(loop.onSignal(SIGINT, [this] { ++signals_; })),
      terminated_(loop.onSignal(SIGTERM, [this] { ++signals_; })) {
  dispose(SIGPIPE, SIG_IGN);
  dispose(SIGCHLD, SIG_DFL);
  dispose(SIGINT, SIG_DFL);  // one that is ignored is never seen
  dispose(SIGTERM, SIG_DFL);
}

}  // namespace Agent
