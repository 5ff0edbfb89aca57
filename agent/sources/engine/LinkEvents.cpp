#include "agent/sources/engine/LinkEvents.h"

#include <libmnl/libmnl.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <cerrno>
#include <utility>

#include "agent/host/SystemCall.h"

namespace Agent {

void LinkEvents::Close::operator()(mnl_socket* socket) const noexcept {
  (void)::mnl_socket_close(socket);
}

LinkEvents::LinkEvents(Loop& loop, std::string bridge, Loop::Call onEvent)
    : bridge_(std::move(bridge)),
      onEvent_(std::move(onEvent)),
      buffer_(std::size_t{64} << 10U),
      socket_(::mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC | SOCK_NONBLOCK)) {
  requireSuccess(socket_ != nullptr, "netlink");
  requireSuccess(::mnl_socket_bind(socket_.get(), RTMGRP_LINK, MNL_SOCKET_AUTOPID) == 0, "netlink");
  lookForBridge();
  reading_ = loop.whenReady(::mnl_socket_get_fd(socket_.get()), EPOLLIN,
                            [this](std::uint32_t /*events*/) { read(); });
}

// While the socket hears: a bridge that comes before it does would be missed.
void LinkEvents::lookForBridge() {
  index_ = ::if_nametoindex(bridge_.c_str());
}

void LinkEvents::read() {
  bool happened = false;
  for (;;) {
    ssize_t const size = ::mnl_socket_recvfrom(socket_.get(), buffer_.data(), buffer_.size());
    if (size <= 0) {
      if (size < 0 && errno == EINTR) {
        continue;
      }
      bool const isEmpty = size < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
      happened = happened || !isEmpty;  // ENOBUFS, or a message too long: it was one
      if (size < 0 && (errno == ENOBUFS || errno == ENOSPC)) {
        lookForBridge();
        continue;
      }
      break;
    }
    int left = static_cast<int>(size);
    for (auto const* message = reinterpret_cast<nlmsghdr const*>(buffer_.data());
         ::mnl_nlmsg_ok(message, left); message = ::mnl_nlmsg_next(message, &left)) {
      happened = isEvent(*message) || happened;
    }
  }
  if (happened) {
    onEvent_();
  }
}

bool LinkEvents::isEvent(nlmsghdr const& message) {
  if (message.nlmsg_type != RTM_NEWLINK && message.nlmsg_type != RTM_DELLINK) {
    return false;
  }
  auto const* const link = static_cast<ifinfomsg const*>(::mnl_nlmsg_get_payload(&message));
  std::string name;
  unsigned master = 0;
  auto const* const end = static_cast<char const*>(::mnl_nlmsg_get_payload_tail(&message));
  auto const* attribute =
      static_cast<nlattr const*>(::mnl_nlmsg_get_payload_offset(&message, sizeof(ifinfomsg)));
  for (; ::mnl_attr_ok(attribute, static_cast<int>(end - reinterpret_cast<char const*>(attribute)));
       attribute = ::mnl_attr_next(attribute)) {
    switch (::mnl_attr_get_type(attribute)) {
      case IFLA_IFNAME: name = ::mnl_attr_get_str(attribute); break;
      case IFLA_MASTER: master = ::mnl_attr_get_u32(attribute); break;
      default: break;
    }
  }
  auto const index = static_cast<unsigned>(link->ifi_index);
  if (name == bridge_) {
    index_ = message.nlmsg_type == RTM_DELLINK && link->ifi_family == AF_UNSPEC ? 0 : index;
    return true;
  }
  return index_ != 0 && (index == index_ || master == index_);
}

}  // namespace Agent
