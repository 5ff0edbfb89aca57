#include "agent/host/Output.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

#include "agent/host/Fatal.h"

namespace Agent {

// The descriptor's O_NONBLOCK is not ours to set: other processes share it. A pipe that is writable
// takes PIPE_BUF bytes without making the writer wait, a socket can be told with each write, a file
// makes nobody wait, and a terminal can be opened once more.
DescriptorOutput::DescriptorOutput(Loop& loop, int descriptor)
    : loop_(loop), descriptor_(descriptor) {
  struct stat status {};
  isSocket_ = ::fstat(descriptor, &status) == 0 && S_ISSOCK(status.st_mode);
  if (::isatty(descriptor) != 0) {
    std::string const path = "/proc/self/fd/" + std::to_string(descriptor);
    own_ = Base::FileDescriptor(::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    descriptor_ = own_.isOpen() ? own_.number() : descriptor;
  }
  beforeFatalEnd([this] { writeAll(); });
}

DescriptorOutput::~DescriptorOutput() {
  beforeFatalEnd(nullptr);
}

void DescriptorOutput::lineAdd(std::string_view text) noexcept {
  if (error_) {
    return;
  }
  bool const isBehind = waiting() > 0;
  kept_.append(text).append("\n");
  if (!isBehind) {
    write();
  }
}

void DescriptorOutput::giveUp(std::errc reason) {
  error_ = std::error_code(static_cast<int>(reason), std::system_category());
  kept_.clear();
  written_ = 0;
  ready_.drop();
}

void DescriptorOutput::readerIsWatched() {
  isWatched_ = true;
  awaitReader();
}

bool DescriptorOutput::isWritable() const noexcept {
  pollfd writable{descriptor_, POLLOUT, 0};
  return ::poll(&writable, 1, 0) != 0;
}

// All that is taken without waiting.
void DescriptorOutput::write() noexcept {
  while (waiting() > 0 && !error_ && isWritable()) {
    char const* const bytes = kept_.data() + written_;
    std::size_t const size = std::min<std::size_t>(waiting(), PIPE_BUF);
    ssize_t const written = isSocket_ ? ::send(descriptor_, bytes, size, MSG_DONTWAIT)
                                      : ::write(descriptor_, bytes, size);
    if (written >= 0) {
      written_ += static_cast<std::size_t>(written);
      taken_ += static_cast<std::size_t>(written);
    } else if (errno == EAGAIN) {
      break;
    } else if (errno != EINTR) {
      error_ = std::error_code(errno, std::system_category());
    }
  }
  constexpr std::size_t worthMoving = std::size_t{64} << 10U;
  if (waiting() == 0 || error_) {
    kept_.clear();
    written_ = 0;
  } else if (written_ > worthMoving && written_ > kept_.size() / 2) {
    kept_.erase(0, written_);
    written_ = 0;
  }
  awaitReader();
}

// Before the end of the process, when nothing else is left to do.
void DescriptorOutput::writeAll() noexcept {
  while (waiting() > 0 && !error_) {
    pollfd writable{descriptor_, POLLOUT, 0};
    (void)::poll(&writable, 1, -1);
    write();
  }
}

void DescriptorOutput::awaitReader() noexcept {
  if (error_ || (waiting() == 0 && !isWatched_)) {
    ready_.drop();
    return;
  }
  std::uint32_t const events = waiting() > 0 ? std::uint32_t{EPOLLOUT} : 0;
  if (ready_) {
    ready_.eventsAre(events);
    return;
  }
  ready_ = loop_.whenReady(descriptor_, events, [this](std::uint32_t came) {
    if (waiting() == 0 && (came & (EPOLLERR | EPOLLHUP)) != 0) {
      giveUp(std::errc::broken_pipe);
    } else {
      write();
    }
  });
}

}  // namespace Agent
