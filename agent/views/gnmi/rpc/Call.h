// What every call on a connection has.
#pragma once

#include <grpcpp/generic/async_generic_service.h>
#include <grpcpp/server_context.h>
#include <grpcpp/support/byte_buffer.h>

#include <memory>
#include <utility>

#include "agent/views/gnmi/Failure.h"
#include "agent/views/gnmi/rpc/AwaitedRequests.h"
#include "agent/views/gnmi/rpc/Callers.h"

namespace Agent::Gnmi {

/// A reactor that counts among its caller's calls, whose first request must come in time, and that
/// lives until the call is over. `Derived` has `fail(Failure)`, which may be called from any
/// thread.
template <class Derived>
class Call : public grpc::ServerGenericBidiReactor, public std::enable_shared_from_this<Derived> {
 public:
  void OnDone() final {
    place_.reset();
    auto const last = std::move(self_);
  }

 protected:
  /// Reads the first request, or fails if the caller has too many calls.
  static Derived* begin(std::shared_ptr<Derived> const& call, AwaitedRequests& awaited,
                        Callers& callers, grpc::CallbackServerContext const& context) {
    call->self_ = call;
    try {
      call->place_ = callers.begins(context.peer());
      call->wait_ = awaited.begins([weak = call->weak_from_this()] {
        if (auto const late = weak.lock()) {
          late->fail(requestIsLate());
        }
      });
      call->StartRead(&call->read_);
    } catch (Failure const& failure) {
      call->fail(failure);
    }
    return call.get();
  }

  void requestCame() { wait_.reset(); }
  grpc::ByteBuffer& read() { return read_; }

 private:
  std::unique_ptr<Callers::Call> place_;
  std::unique_ptr<AwaitedRequests::Wait> wait_;
  std::shared_ptr<Derived> self_;
  grpc::ByteBuffer read_;
};

}  // namespace Agent::Gnmi
