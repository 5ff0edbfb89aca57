#include "agent/host/LineReader.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace Agent {

std::optional<std::string_view> LineReader::next() {
  line_.clear();
  for (;;) {
    std::size_t const end = unread_.find('\n');
    std::string_view const part = unread_.substr(0, end);
    unread_.remove_prefix(std::min(unread_.size(), part.size() + 1));
    if (line_.empty() && end != std::string_view::npos) {
      return part;
    }
    line_.append(part.substr(0, longest_ + 1 - line_.size()));
    if (end != std::string_view::npos) {
      return line_;
    }
    Filled const filled = fill();
    if (filled == Filled::ended && !line_.empty()) {
      return line_;
    }
    if (filled != Filled::some) {
      return std::nullopt;
    }
  }
}

LineReader::Filled LineReader::fill() {
  while (wait_(descriptor_)) {
    ssize_t const size = ::read(descriptor_, buffer_.data(), buffer_.size());
    if (size >= 0) {
      unread_ = std::string_view(buffer_.data(), static_cast<std::size_t>(size));
      return size > 0 ? Filled::some : Filled::ended;
    }
    if (errno != EINTR && errno != EAGAIN) {
      throw std::system_error(errno, std::system_category());
    }
  }
  return Filled::interrupted;
}

}  // namespace Agent
