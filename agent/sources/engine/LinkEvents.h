// What the kernel tells of a bridge and its ports (rtnetlink(7)).
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "agent/host/Loop.h"

struct mnl_socket;
struct nlmsghdr;

namespace Agent {

/// Calls whenever a bridge or one of its ports came, went or changed: its link, its membership, its
/// port state, but nothing that the engine keeps to itself. Events that were lost since too many
/// came count as one.
class LinkEvents {
 public:
  /// Throws std::system_error where the kernel tells nothing.
  LinkEvents(Loop& loop, std::string bridge, Loop::Call onEvent);

 private:
  struct Close {
    void operator()(mnl_socket* socket) const noexcept;
  };

  void lookForBridge();
  void read();
  bool isEvent(nlmsghdr const& message);

  std::string bridge_;
  Loop::Call onEvent_;
  unsigned index_ = 0;  // of the bridge, 0 while there is none
  std::vector<char> buffer_;
  std::unique_ptr<mnl_socket, Close> socket_;
  Loop::Registration reading_;
};

}  // namespace Agent
