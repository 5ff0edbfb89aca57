#include "agent/views/gnmi/rpc/UnaryCall.h"

#include <utility>

#include "agent/views/gnmi/rpc/Wire.h"

namespace Agent::Gnmi {

UnaryCall* UnaryCall::begin(AwaitedRequests& awaited, Callers& callers,
                            grpc::CallbackServerContext const& context, Serve serve) {
  std::shared_ptr<UnaryCall> const call(new UnaryCall(std::move(serve)));
  return Call::begin(call, awaited, callers, context);
}

void UnaryCall::OnReadDone(bool isRead) {
  requestCame();
  try {
    if (!isRead) {
      throw Failure(Code::invalidArgument, "the call ended without a request");
    }
    serve_(read(), *this);
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

}  // namespace Agent::Gnmi
