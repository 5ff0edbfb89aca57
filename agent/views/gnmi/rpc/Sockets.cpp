#include "agent/views/gnmi/rpc/Sockets.h"

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <system_error>
#include <utility>

namespace Agent::Gnmi {

namespace {

constexpr mode_t socketFileMask = 0117;  // leaves mode 0660

class Umask {
 public:
  explicit Umask(mode_t mask) : before_(::umask(mask)) {}
  Umask(Umask const&) = delete;
  Umask& operator=(Umask const&) = delete;
  ~Umask() { ::umask(before_); }

 private:
  mode_t before_;
};

[[noreturn]] void refuse(Address const& address, std::string const& reason) {
  throw SettingsError(address.text() + ": " + reason);
}

std::string errorText(int error) {
  return std::generic_category().message(error);
}

// None if it can't be; errno says why.
Base::FileDescriptor listening(int family, sockaddr const* address, socklen_t size) {
  Base::FileDescriptor socket(::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  int const on = 1;
  int const off = 0;
  (void)::setsockopt(socket.number(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (family == AF_INET6) {
    // All addresses of IPv6 are those of IPv4, too.
    (void)::setsockopt(socket.number(), IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof off);
  }
  bool const listens =
      ::bind(socket.number(), address, size) == 0 && ::listen(socket.number(), SOMAXCONN) == 0;
  return listens ? std::move(socket) : Base::FileDescriptor();
}

void clearSocketFile(Address const& address, sockaddr_un const& name) {
  struct stat status {};
  if (::lstat(name.sun_path, &status) != 0) {
    return;
  }
  if (!S_ISSOCK(status.st_mode)) {
    refuse(address, "is there, and no socket");
  }
  Base::FileDescriptor const asking(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (::connect(asking.number(), reinterpret_cast<sockaddr const*>(&name), sizeof name) == 0) {
    refuse(address, "somebody else answers on it");
  }
  if (::unlink(name.sun_path) != 0) {
    refuse(address, errorText(errno));
  }
}

OpenAddress listenOnFile(Address const& address) {
  sockaddr_un name{};
  name.sun_family = AF_UNIX;
  std::strncpy(name.sun_path, address.path().c_str(), sizeof name.sun_path - 1);
  clearSocketFile(address, name);
  Umask const mask(socketFileMask);
  OpenAddress open;
  open.sockets.push_back(listening(AF_UNIX, reinterpret_cast<sockaddr const*>(&name), sizeof name));
  if (!open.sockets.front().isOpen()) {
    refuse(address, errorText(errno));
  }
  return open;
}

int portOf(Base::FileDescriptor const& socket) {
  sockaddr_storage name{};
  socklen_t size = sizeof name;
  (void)::getsockname(socket.number(), reinterpret_cast<sockaddr*>(&name), &size);
  // In the same place for both families.
  return ntohs(reinterpret_cast<sockaddr_in const&>(name).sin_port);
}

// What a host's name stands for may be more than this machine has.
bool isElsewhere(int error) {
  return error == EADDRNOTAVAIL || error == EAFNOSUPPORT;
}

struct FreeAddresses {
  void operator()(addrinfo* first) const { ::freeaddrinfo(first); }
};
using AddressList = std::unique_ptr<addrinfo, FreeAddresses>;

AddressList addressesOf(Address const& address) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_PASSIVE;
  addrinfo* found = nullptr;
  if (int const error =
          ::getaddrinfo(address.host().c_str(), address.port().c_str(), &hints, &found)) {
    refuse(address, ::gai_strerror(error));
  }
  return AddressList(found);
}

void portIs(addrinfo const* first, int port) {
  for (addrinfo const* each = first; each != nullptr; each = each->ai_next) {
    reinterpret_cast<sockaddr_in*>(each->ai_addr)->sin_port =
        htons(static_cast<std::uint16_t>(port));
  }
}

// A name can have one address twice.
bool stoodBefore(addrinfo const* first, addrinfo const& one) {
  for (addrinfo const* each = first; each != &one; each = each->ai_next) {
    if (each->ai_addrlen == one.ai_addrlen &&
        std::memcmp(each->ai_addr, one.ai_addr, one.ai_addrlen) == 0) {
      return true;
    }
  }
  return false;
}

OpenAddress listenOnHost(Address const& address) {
  AddressList const all = addressesOf(address);
  OpenAddress open;
  int skipped = 0;
  for (addrinfo const* each = all.get(); each != nullptr; each = each->ai_next) {
    if (stoodBefore(all.get(), *each)) {
      continue;
    }
    auto socket = listening(each->ai_family, each->ai_addr, each->ai_addrlen);
    if (socket.isOpen()) {
      open.port = portOf(socket);
      portIs(all.get(), open.port);
      open.sockets.push_back(std::move(socket));
    } else if (!isElsewhere(skipped = errno)) {
      refuse(address, errorText(errno));
    }
  }
  if (open.sockets.empty()) {
    refuse(address, errorText(skipped));
  }
  return open;
}

}  // namespace

OpenAddress listenOn(Address const& address) {
  return address.isSocketFile() ? listenOnFile(address) : listenOnHost(address);
}

}  // namespace Agent::Gnmi
