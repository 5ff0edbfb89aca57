// The server that carries the calls: addresses, credentials and limits.
#pragma once

#include <grpcpp/server.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "agent/views/gnmi/Hub.h"
#include "agent/views/gnmi/ServerSettings.h"
#include "agent/views/gnmi/rpc/Access.h"
#include "agent/views/gnmi/rpc/Addresses.h"
#include "agent/views/gnmi/rpc/Certificates.h"
#include "agent/views/gnmi/rpc/Listeners.h"
#include "agent/views/gnmi/rpc/Service.h"

namespace Agent::Gnmi {

class Server {
 public:
  /// Opens the addresses and serves, so many connections at a time. Throws SettingsError that names
  /// what can't be used.
  Server(ServerSettings const& settings, std::size_t mostConnections, Hub& hub, Apply apply);
  Server(Server const&) = delete;
  Server& operator=(Server const&) = delete;
  /// Ends the calls that there still are, and closes the addresses. Streams should have ended, and
  /// writes be answered.
  ~Server();

  /// With the ports that were chosen.
  std::vector<std::string> const& addresses() const { return opened_; }

  /// Looks whether certificates or users have changed, and gives up the calls of which the request
  /// does not come; to be called every second or so. Calls `tell` with what can't be used, once.
  void look(std::function<void(std::string const&)> const& tell);

 private:
  std::shared_ptr<grpc::ServerCredentials> credentialsFor(Address const& address) const;
  void open(std::vector<Address> const& addresses);
  void lookAtUsers(std::function<void(std::string const&)> const& tell);

  ServerSettings const settings_;
  std::optional<Certificates> certificates_;
  std::optional<std::string> usersText_;
  Access access_;
  Service service_;
  std::unique_ptr<grpc::Server> server_;
  Listeners listeners_;
  std::vector<std::string> opened_;
};

}  // namespace Agent::Gnmi
