// How much one connection asks at a time.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace Agent::Gnmi {

/// Counts the calls of each connection. From any thread.
class Callers {
 public:
  explicit Callers(std::size_t most) : most_(most) {}

  /// One call; it ends with this.
  class Call {
   public:
    Call(Callers& callers, std::string peer) : callers_(callers), peer_(std::move(peer)) {}
    Call(Call const&) = delete;
    Call& operator=(Call const&) = delete;
    ~Call() { callers_.ends(peer_); }

   private:
    Callers& callers_;
    std::string peer_;
  };

  /// Throws a Failure if the peer has as many as it may. Peers on a socket file can't be told
  /// apart, and are not counted.
  std::unique_ptr<Call> begins(std::string const& peer);

 private:
  void ends(std::string const& peer);

  std::size_t most_;
  std::mutex mutex_;
  std::map<std::string, std::size_t> calls_;
};

}  // namespace Agent::Gnmi
