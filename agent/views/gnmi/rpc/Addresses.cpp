#include "agent/views/gnmi/rpc/Addresses.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <system_error>
#include <utility>

#include "Base/FileDescriptor.h"

namespace Agent::Gnmi {

namespace {

bool isPort(std::string_view text) {
  std::uint16_t port = 0;
  auto const* const end = text.data() + text.size();
  auto const [stop, error] = std::from_chars(text.data(), end, port);
  return error == std::errc() && stop == end;
}

sockaddr_un socketFile(std::string const& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  return address;
}

// Empty if it can be.
std::string whyNotBound(int family, sockaddr const* address, socklen_t size) {
  Base::FileDescriptor const trial(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0));
  int const on = 1;
  (void)::setsockopt(trial.number(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  bool const isBound =
      ::bind(trial.number(), address, size) == 0 && ::listen(trial.number(), 1) == 0;
  return isBound ? "" : std::generic_category().message(errno);
}

// Of a host, the first of its addresses that can't be had says it.
std::string whyHostNotBound(Address const& address) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_PASSIVE;
  addrinfo* found = nullptr;
  if (int const error =
          ::getaddrinfo(address.host().c_str(), address.port().c_str(), &hints, &found)) {
    return ::gai_strerror(error);
  }
  std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> const all(found, &::freeaddrinfo);
  std::string reason;
  for (addrinfo const* each = found; each != nullptr && reason.empty(); each = each->ai_next) {
    reason = whyNotBound(each->ai_family, each->ai_addr, each->ai_addrlen);
  }
  return reason;
}

bool isHost(std::string_view text) {
  bool const isBracketed = text.size() > 2 && text.front() == '[' && text.back() == ']';
  return isBracketed || (!text.empty() && text.find_first_of("[]:/ ") == std::string_view::npos);
}

}  // namespace

Address::Address(std::string text) : text_(std::move(text)) {
  if (isSocketFile()) {
    if (path().empty() || path().size() >= sizeof(sockaddr_un::sun_path)) {
      throw SettingsError(text_ + ": no path of a socket file");
    }
    return;
  }
  if (colon() == std::string::npos || !isHost(std::string_view(text_).substr(0, colon())) ||
      !isPort(std::string_view(text_).substr(colon() + 1))) {
    throw SettingsError(text_ + ": not HOST:PORT, [V6]:PORT or unix:PATH");
  }
}

bool Address::isLocal() const {
  if (isSocketFile()) {
    return true;
  }
  std::string const host = this->host();
  constexpr std::uint32_t loopback = 127;
  constexpr unsigned hostBits = 24;
  in_addr number{};
  return host == "localhost" || host == "::1" ||
         (::inet_pton(AF_INET, host.c_str(), &number) == 1 &&
          ntohl(number.s_addr) >> hostBits == loopback);
}

std::string Address::host() const {
  bool const isBracketed = text_.front() == '[';
  return isBracketed ? text_.substr(1, colon() - 2) : text_.substr(0, colon());
}

std::string Address::withPort(int port) const {
  return isSocketFile() ? text_ : text_.substr(0, colon() + 1) + std::to_string(port);
}

void clearSocketFile(std::string const& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) {
    return;
  }
  if (!S_ISSOCK(status.st_mode)) {
    throw SettingsError(path + ": is there, and no socket");
  }
  sockaddr_un const address = socketFile(path);
  Base::FileDescriptor const asking(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (::connect(asking.number(), reinterpret_cast<sockaddr const*>(&address), sizeof address) ==
      0) {
    throw SettingsError(path + ": somebody else answers on it");
  }
  if (::unlink(path.c_str()) != 0) {
    throw SettingsError(path + ": " + std::generic_category().message(errno));
  }
}

std::string whyNotOpened(Address const& address) {
  std::string reason;
  if (address.isSocketFile()) {
    sockaddr_un const file = socketFile(address.path());
    reason = whyNotBound(AF_UNIX, reinterpret_cast<sockaddr const*>(&file), sizeof file);
    if (reason.empty()) {
      (void)::unlink(address.path().c_str());
    }
  } else {
    reason = whyHostNotBound(address);
  }
  return reason.empty() ? "can't be opened" : reason;
}

}  // namespace Agent::Gnmi
