#include "agent/views/gnmi/rpc/UnaryCall.h"

#include <utility>

#include "agent/views/gnmi/rpc/Wire.h"

namespace Agent::Gnmi {

UnaryCall* UnaryCall::begin(AwaitedRequests& awaited, Callers& callers,
                            grpc::CallbackServerContext const& context, Serve serve) {
  std::shared_ptr<UnaryCall> const call(new UnaryCall(std::move(serve)));
  call->self_ = call;
  try {
    call->call_ = callers.begins(context.peer());
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

void UnaryCall::OnReadDone(bool isRead) {
  wait_.reset();
  try {
    if (!isRead) {
      throw Failure(Code::invalidArgument, "the call ended without a request");
    }
    serve_(read_, *this);
  } catch (Failure const& failure) {
    fail(failure);
  }
}

void UnaryCall::answer(google::protobuf::Message const& response) {
  if (!isOver_.exchange(true)) {
    written_ = bytesOf(response);
    StartWriteAndFinish(&written_, {}, grpc::Status::OK);
  }
}

void UnaryCall::fail(Failure const& failure) {
  if (!isOver_.exchange(true)) {
    Finish(statusOf(failure));
  }
}

void UnaryCall::OnDone() {
  call_.reset();
  auto const last = std::move(self_);
}

}  // namespace Agent::Gnmi
