// Where connections come in.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "Base/FileDescriptor.h"
#include "agent/views/gnmi/rpc/Addresses.h"
#include "agent/views/gnmi/rpc/Sockets.h"

namespace Agent::Gnmi {

/// How long a peer may leave unanswered what it was sent before it counts as gone. Longer than
/// streams have patience with clients, which are there and take nothing.
inline constexpr std::chrono::seconds unansweredPatience{80};

/// Accepts connections on all addresses, on a thread of its own, and hands them on. Who comes when
/// there are too many is turned away, and whoever comes later is not: the gRPC library's own
/// listeners end for good where a process has no descriptor left.
class Listeners {
 public:
  /// Is given the descriptor of a connection, which it owns.
  using Take = std::function<void(int connection)>;

  /// So many connections at a time, or fewer where the process may not open that many files.
  explicit Listeners(std::size_t mostConnections);
  Listeners(Listeners const&) = delete;
  Listeners& operator=(Listeners const&) = delete;
  /// Stops, and removes the socket files.
  ~Listeners();

  /// Before the start: connections wait until then. Returns the address with the port that was
  /// chosen where it is 0. Throws SettingsError that names it, and the reason.
  std::string open(Address const& address, Take take);

  void start();
  /// Nothing is accepted any more.
  void stop();

 private:
  struct Listener {
    OpenAddress open;
    std::string socketFile;
    Take take;
  };
  void run();
  bool accept(Base::FileDescriptor const& socket, Take const& take) const;

  int const mostDescriptors_;
  std::vector<Listener> listeners_;
  Base::FileDescriptor stop_;
  std::thread thread_;
};

}  // namespace Agent::Gnmi
