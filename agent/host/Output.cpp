#include "agent/host/Output.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "agent/host/Interrupt.h"

namespace Agent {

void DescriptorOutput::lineAdd(std::string_view text) noexcept {
  std::string line;
  line.reserve(text.size() + 1);
  line.append(text).append("\n");
  write(line);
}

void DescriptorOutput::write(std::string_view bytes) noexcept {
  while (!bytes.empty() && !error_) {
    ssize_t const written = ::write(descriptor_, bytes.data(), bytes.size());
    if (written >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno == EAGAIN && !Interrupt::urged()) {
      pollfd writable{descriptor_, POLLOUT, 0};
      (void)::poll(&writable, 1, -1);
    } else if (errno != EINTR || Interrupt::urged()) {
      error_ = std::error_code(errno, std::system_category());
    }
  }
}

}  // namespace Agent
