// One call with one request and one answer on its connection.
#pragma once

#include <google/protobuf/message.h>
#include <grpcpp/support/byte_buffer.h>

#include <atomic>
#include <functional>
#include <utility>

#include "agent/views/gnmi/Failure.h"
#include "agent/views/gnmi/rpc/Call.h"

namespace Agent::Gnmi {

/// Begins before its request is there, and so counts, and may be given up, while that comes; the
/// library's own would not.
class UnaryCall final : public Call<UnaryCall> {
 public:
  /// Answers the request, or has that done later; throws a Failure instead.
  using Serve = std::function<void(grpc::ByteBuffer& request, UnaryCall& call)>;

  /// Lives until it is answered.
  static UnaryCall* begin(AwaitedRequests& awaited, Callers& callers,
                          grpc::CallbackServerContext const& context, Serve serve);

  /// Once, from any thread.
  void answer(google::protobuf::Message const& response);
  /// Of several ends, the first counts.
  void fail(Failure const& failure);

  void OnReadDone(bool isRead) override;

 private:
  friend Call;

  explicit UnaryCall(Serve serve) : serve_(std::move(serve)) {}

  Serve const serve_;
  grpc::ByteBuffer written_;
  std::atomic<bool> isOver_ = false;
};

}  // namespace Agent::Gnmi
