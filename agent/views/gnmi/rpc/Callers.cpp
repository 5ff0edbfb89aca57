#include "agent/views/gnmi/rpc/Callers.h"

#include "agent/views/gnmi/Failure.h"

namespace Agent::Gnmi {

std::unique_ptr<Callers::Call> Callers::begins(std::string const& peer) {
  if (peer.rfind("unix:", 0) == 0) {
    return nullptr;
  }
  std::lock_guard const lock(mutex_);
  std::size_t& calls = calls_[peer];
  if (calls == most_) {
    throw Failure(Code::resourceExhausted, "this connection has " + std::to_string(most_) +
                                               " calls already, no more are served at a time");
  }
  ++calls;
  return std::make_unique<Call>(*this, peer);
}

void Callers::ends(std::string const& peer) {
  std::lock_guard const lock(mutex_);
  auto const found = calls_.find(peer);
  if (--found->second == 0) {
    calls_.erase(found);
  }
}

}  // namespace Agent::Gnmi
