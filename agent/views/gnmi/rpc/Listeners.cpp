#include "agent/views/gnmi/rpc/Listeners.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <utility>

namespace Agent::Gnmi {

namespace {

// For all else that the agent opens: files, pipes, the engine's tool.
constexpr rlim_t keptDescriptors = 32;
// How long to wait where the system has no room for a connection.
constexpr int millisecondsForRoom = 100;

// The lowest free number is taken first, so the number of a descriptor says how many there are. As
// many are asked for as are needed.
int mostDescriptors(std::size_t connections) {
  rlim_t const wanted = connections + keptDescriptors;
  rlimit limit{};
  (void)::getrlimit(RLIMIT_NOFILE, &limit);
  if (limit.rlim_cur < wanted) {
    limit.rlim_cur = std::min(limit.rlim_max, wanted);
    (void)::setrlimit(RLIMIT_NOFILE, &limit);
  }
  return static_cast<int>(std::min(limit.rlim_cur, wanted) - keptDescriptors);
}

bool isOfOneConnection(int error) {
  return error == EINTR || error == ECONNABORTED || error == EPROTO;
}

}  // namespace

Listeners::Listeners(std::size_t mostConnections)
    : mostDescriptors_(mostDescriptors(mostConnections)),
      stop_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
}

Listeners::~Listeners() {
  stop();
  for (Listener const& listener : listeners_) {
    if (!listener.socketFile.empty()) {
      (void)::unlink(listener.socketFile.c_str());
    }
  }
}

std::string Listeners::open(Address const& address, Take take) {
  OpenAddress open = listenOn(address);
  std::string text = address.withPort(open.port);
  listeners_.push_back(
      {std::move(open), address.isSocketFile() ? address.path() : "", std::move(take)});
  return text;
}

void Listeners::start() {
  if (!stop_.isOpen()) {
    throw SettingsError("no descriptor is left");
  }
  thread_ = std::thread([this] { run(); });
}

void Listeners::stop() {
  std::uint64_t const one = 1;
  (void)!::write(stop_.number(), &one, sizeof one);
  if (thread_.joinable()) {
    thread_.join();
  }
}

void Listeners::run() {
  struct Polled {
    Base::FileDescriptor const* socket;
    Take const* take;
  };
  std::vector<pollfd> polls{{stop_.number(), POLLIN, 0}};
  std::vector<Polled> polled;
  for (Listener const& listener : listeners_) {
    for (auto const& socket : listener.open.sockets) {
      polls.push_back({socket.number(), POLLIN, 0});
      polled.push_back({&socket, &listener.take});
    }
  }
  bool hasRoom = true;
  while (true) {
    // Without room the sockets are not looked at for a while: they would be ready at once.
    int const count =
        ::poll(polls.data(), hasRoom ? polls.size() : 1, hasRoom ? -1 : millisecondsForRoom);
    if (count > 0 && polls.front().revents != 0) {
      return;
    }
    bool const hasWaited = !std::exchange(hasRoom, true);
    for (std::size_t at = 0; at < polled.size(); ++at) {
      if (hasWaited || polls[at + 1].revents != 0) {
        hasRoom = accept(*polled[at].socket, *polled[at].take) && hasRoom;
      }
    }
  }
}

// One connection; what else waits is seen at the next turn. False if the system has no room.
bool Listeners::accept(Base::FileDescriptor const& socket, Take const& take) const {
  Base::FileDescriptor connection(
      ::accept4(socket.number(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
  if (!connection.isOpen()) {
    return errno == EAGAIN || isOfOneConnection(errno);
  }
  if (connection.number() < mostDescriptors_) {
    // Socket files have neither.
    int const on = 1;
    constexpr int patience = std::chrono::milliseconds(unansweredPatience).count();
    (void)::setsockopt(connection.number(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    (void)::setsockopt(connection.number(), IPPROTO_TCP, TCP_USER_TIMEOUT, &patience,
                       sizeof patience);
    take(connection.release());
  }
  return true;
}

}  // namespace Agent::Gnmi
