// Sockets that listen on the addresses of a target.
#pragma once

#include <string>
#include <vector>

#include "Base/FileDescriptor.h"
#include "agent/views/gnmi/rpc/Addresses.h"

namespace Agent::Gnmi {

/// An address that is listened on: a host may have several sockets.
struct OpenAddress {
  std::vector<Base::FileDescriptor> sockets;
  /// The port; 0 for a socket file.
  int port = 0;
};

/// Connections wait there from now on. A socket file on which nobody answers is replaced. Throws
/// SettingsError that names the address, and the reason.
OpenAddress listenOn(Address const& address);

}  // namespace Agent::Gnmi
