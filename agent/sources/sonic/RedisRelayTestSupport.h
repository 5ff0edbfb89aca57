// What stands between a source and its server, and lets a connection die without a word.
#pragma once

#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Base/FileDescriptor.h"
#include "agent/host/Loop.h"

namespace Agent::Sonic {

/// Passes on what comes at a unix socket to another, and back, as the loop turns.
class RedisRelay {
 public:
  RedisRelay(Loop& loop, std::string socket, std::string to)
      : loop_(loop), socket_(std::move(socket)), to_(std::move(to)), listening_(opened()) {
    sockaddr_un const address = addressOf(socket_);
    constexpr int queue = 10;
    require(::bind(listening_.number(), generic(address), sizeof address) == 0);
    require(::listen(listening_.number(), queue) == 0);
    accepting_ = loop_.whenReady(listening_.number(), EPOLLIN, [this](std::uint32_t) { accept(); });
  }

  std::string const& socket() const { return socket_; }

  /// Passes on nothing more of the connection that was made as the `at`th, which stays open.
  void dies(std::size_t at) {
    pairs_.at(at)->there.drop();
    pairs_.at(at)->back.drop();
  }

 private:
  struct Pair {
    Base::FileDescriptor near;
    Base::FileDescriptor far;
    Loop::Registration there;
    Loop::Registration back;
  };

  static void require(bool holds) {
    if (!holds) {
      throw std::runtime_error("the relay fails");
    }
  }
  static sockaddr_un addressOf(std::string const& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    require(path.size() < sizeof address.sun_path);
    path.copy(address.sun_path, path.size());
    return address;
  }
  static sockaddr const* generic(sockaddr_un const& address) {
    return reinterpret_cast<sockaddr const*>(&address);
  }
  static Base::FileDescriptor opened() {
    return Base::FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  }

  void accept() {
    auto pair = std::make_unique<Pair>();
    pair->near =
        Base::FileDescriptor(::accept4(listening_.number(), nullptr, nullptr, SOCK_CLOEXEC));
    pair->far = opened();
    sockaddr_un const address = addressOf(to_);
    require(::connect(pair->far.number(), generic(address), sizeof address) == 0);
    pair->there = passOn(*pair, pair->near, pair->far);
    pair->back = passOn(*pair, pair->far, pair->near);
    pairs_.push_back(std::move(pair));
  }
  Loop::Registration passOn(Pair& pair, Base::FileDescriptor const& from,
                            Base::FileDescriptor const& to) {
    return loop_.whenReady(from.number(), EPOLLIN, [&pair, &from, &to](std::uint32_t) {
      std::array<char, 4096> bytes{};
      ssize_t const size = ::read(from.number(), bytes.data(), bytes.size());
      if (size <= 0 || ::write(to.number(), bytes.data(), static_cast<std::size_t>(size)) != size) {
        ::shutdown(to.number(), SHUT_RDWR);
        pair.there.drop();
        pair.back.drop();
      }
    });
  }

  Loop& loop_;
  std::string socket_;
  std::string to_;
  Base::FileDescriptor listening_;
  Loop::Registration accepting_;
  std::vector<std::unique_ptr<Pair>> pairs_;
};

}  // namespace Agent::Sonic
