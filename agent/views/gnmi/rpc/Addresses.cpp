#include "agent/views/gnmi/rpc/Addresses.h"

#include <arpa/inet.h>
#include <sys/un.h>

#include <charconv>
#include <cstdint>
#include <string_view>
#include <system_error>
#include <utility>

namespace Agent::Gnmi {

namespace {

bool isPort(std::string_view text) {
  std::uint16_t port = 0;
  auto const* const end = text.data() + text.size();
  auto const [stop, error] = std::from_chars(text.data(), end, port);
  return error == std::errc() && stop == end;
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

}  // namespace Agent::Gnmi
