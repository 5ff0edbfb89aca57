// One Subscribe call on its connection.
#pragma once

#include <grpcpp/server_context.h>
#include <grpcpp/support/byte_buffer.h>

#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "agent/views/gnmi/Hub.h"
#include "agent/views/gnmi/rpc/Call.h"
#include "agent/views/gnmi/rpc/Wire.h"

namespace Agent::Gnmi {

/// Takes from a stream of the hub what is to be sent, one message at a time: the next when the one
/// before has been taken by the connection, or is about to be, so that they can go out together.
class SubscribeCall final : public Call<SubscribeCall> {
 public:
  /// Lives until the call is over.
  static SubscribeCall* begin(Hub& hub, AwaitedRequests& awaited, Callers& callers,
                              grpc::CallbackServerContext const& context);

  void OnReadDone(bool isRead) override;
  void OnWriteDone(bool isWritten) override;
  void OnCancel() override;

 private:
  friend Call;

  using Bytes = std::vector<grpc::ByteBuffer>;

  explicit SubscribeCall(Hub& hub) : hub_(hub) {}

  void receive(gnmi::SubscribeRequest const& request);
  void subscribe(gnmi::SubscriptionList const& list);
  void fail(Failure const& failure);
  void send();
  bool advance();
  bool prepare();
  void add(StreamMessage const& message);
  grpc::WriteOptions nextWrite();
  std::shared_ptr<Bytes const> serialised(SharedChange const& change) const;

  Hub& hub_;
  std::shared_ptr<Stream> stream_;
  std::optional<Answer> answer_;

  // What is being sent. One thread at a time prepares and sends.
  std::mutex mutex_;
  std::deque<grpc::ByteBuffer> prepared_;
  grpc::ByteBuffer written_;
  std::optional<grpc::Status> end_;
  bool isSending_ = false;
  bool hasWritten_ = false;
  int starting_ = 0;
  bool isHalfClosed_ = false;
  bool isOver_ = false;
};

}  // namespace Agent::Gnmi
