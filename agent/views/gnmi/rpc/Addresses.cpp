#include "agent/views/gnmi/rpc/Addresses.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <system_error>
#include <utility>

#include "Base/FileDescriptor.h"

namespace Agent::Gnmi {

namespace {

bool isPort(std::string_view text) {
  std::uint16_t port = 0;
  auto const* const end = text.data() + text.size();
  return !text.empty() && std::from_chars(text.data(), end, port).ptr == end;
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
  std::string const host = text_.substr(0, colon());
  constexpr std::uint32_t loopback = 127;
  constexpr unsigned hostBits = 24;
  in_addr number{};
  return host == "localhost" || host == "[::1]" ||
         (::inet_pton(AF_INET, host.c_str(), &number) == 1 &&
          ntohl(number.s_addr) >> hostBits == loopback);
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
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
  Base::FileDescriptor const asking(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (::connect(asking.number(), reinterpret_cast<sockaddr const*>(&address), sizeof address) ==
      0) {
    throw SettingsError(path + ": somebody else answers on it");
  }
  if (::unlink(path.c_str()) != 0) {
    throw SettingsError(path + ": " + std::generic_category().message(errno));
  }
}

}  // namespace Agent::Gnmi
