#include "agent/views/gnmi/rpc/SubscribeCall.h"

#include <array>
#include <utility>
#include <variant>

namespace Agent::Gnmi {

namespace {

grpc::ByteBuffer updateBytes(gnmi::Notification notification) {
  gnmi::SubscribeResponse response;
  *response.mutable_update() = std::move(notification);
  return bytesOf(response);
}

grpc::ByteBuffer syncBytes() {
  gnmi::SubscribeResponse response;
  response.set_sync_response(true);
  return bytesOf(response);
}

}  // namespace

SubscribeCall* SubscribeCall::begin(Hub& hub, AwaitedRequests& awaited, Callers& callers,
                                    grpc::CallbackServerContext const& context) {
  std::shared_ptr<SubscribeCall> const call(new SubscribeCall(hub));
  return Call::begin(call, awaited, callers, context);
}

// A client that has said all that it has to say may still listen.
void SubscribeCall::OnReadDone(bool isRead) {
  requestCame();
  if (!isRead) {
    {
      std::lock_guard const lock(mutex_);
      isHalfClosed_ = true;
    }
    send();
    return;
  }
  gnmi::SubscribeRequest request;
  try {
    parse(read(), request);
    checkExtensions(request.extension());
    receive(request);
  } catch (Failure const& failure) {
    fail(failure);
    return;
  }
  StartRead(&read());
  send();
}

void SubscribeCall::receive(gnmi::SubscribeRequest const& request) {
  switch (request.request_case()) {
    case gnmi::SubscribeRequest::kSubscribe:
      if (stream_ != nullptr) {
        throw Failure(Code::invalidArgument, "a second subscribe on one call");
      }
      subscribe(request.subscribe());
      return;
    case gnmi::SubscribeRequest::kPoll:
      if (stream_ == nullptr) {
        throw Failure(Code::invalidArgument, "a poll before the subscribe");
      }
      stream_->poll();
      return;
    case gnmi::SubscribeRequest::REQUEST_NOT_SET: break;
  }
  throw Failure(Code::invalidArgument, "the message has neither subscribe nor poll");
}

void SubscribeCall::subscribe(gnmi::SubscriptionList const& list) {
  SubscribeRequest const asked = fromWire(list);
  std::string origin = asked.prefix.origin;
  for (PathRequest const& path : asked.paths) {
    origin = origin.empty() ? path.path.origin : origin;
  }
  Answer answer(list.encoding(), list.prefix(), std::move(origin));
  // Without the lock: the hub may tell other calls of what happened before this one.
  auto stream = hub_.subscribe(asked, [weak = weak_from_this()] {
    if (auto const call = weak.lock()) {
      call->send();
    }
  });
  std::lock_guard const lock(mutex_);
  answer_.emplace(std::move(answer));
  stream_ = std::move(stream);
}

void SubscribeCall::fail(Failure const& failure) {
  {
    std::lock_guard const lock(mutex_);
    end_ = statusOf(failure);
  }
  send();
}

// Whatever is called of the connection is called without the lock, since it may call back at once.
// The call may be over before a start returns.
void SubscribeCall::send() {
  auto const self = shared_from_this();
  while (true) {
    std::optional<grpc::Status> end;
    grpc::WriteOptions options;
    {
      std::lock_guard const lock(mutex_);
      if (!advance()) {
        return;
      }
      if (isOver_) {
        end = end_;
      } else {
        options = nextWrite();
      }
    }
    if (end) {
      // Here, since a client that takes nothing delays what follows.
      if (stream_ != nullptr) {
        hub_.unsubscribe(stream_);
      }
      Finish(*end);
      return;
    }
    StartWrite(&written_, options);
    std::lock_guard const lock(mutex_);
    --starting_;
  }
}

// Whether there is something to be done now: to finish, or to write. Only the end may overtake what
// is being sent, but not while that is being started: who starts it asks again.
bool SubscribeCall::advance() {
  bool const isStuck = isSending_ && stream_ != nullptr && stream_->hasEnded();
  if (isOver_ || (isSending_ && !isStuck) || (isStuck && starting_ > 0)) {
    return false;
  }
  if (isStuck) {
    prepared_.clear();
  }
  if (!prepare()) {
    return false;
  }
  isSending_ = true;
  isOver_ = end_.has_value();
  starting_ += isOver_ ? 0 : 1;
  return true;
}

// What is next: the end, or what is to be written; false if there is nothing yet.
bool SubscribeCall::prepare() {
  while (!end_ && prepared_.empty()) {
    auto message = stream_ == nullptr ? std::nullopt : stream_->next();
    if (!message) {
      // Nobody can ask any more.
      bool const isAsked = stream_ != nullptr && stream_->plan().mode != CallMode::poll;
      if (isHalfClosed_ && !isAsked) {
        end_ = stream_ == nullptr
                   ? grpc::Status(grpc::INVALID_ARGUMENT, "the call ended without a subscribe")
                   : grpc::Status::OK;
      }
      return end_.has_value();
    }
    add(*message);
  }
  return true;
}

// To be sent behind what is prepared.
void SubscribeCall::add(StreamMessage const& message) {
  if (auto const* const change = std::get_if<SharedChange>(&message)) {
    auto const bytes = serialised(*change);
    prepared_.insert(prepared_.end(), bytes->begin(), bytes->end());
  } else if (auto const* const notification = std::get_if<Notification>(&message)) {
    prepared_.push_back(updateBytes(answer_->notification(*notification)));
  } else if (std::holds_alternative<Sync>(message)) {
    prepared_.push_back(syncBytes());
  } else {
    auto const& last = std::get<End>(message);
    end_ = last.code == Code::ok ? grpc::Status::OK : statusOf(Failure(last.code, last.message));
  }
}

// Takes what is written next. With the hint the connection may wait for the message behind it,
// which has to be there for that; with one on the first message it would wait for ever at times.
grpc::WriteOptions SubscribeCall::nextWrite() {
  written_ = prepared_.front();
  prepared_.pop_front();
  grpc::WriteOptions options;
  if (hasWritten_) {
    auto const message = prepared_.empty() ? stream_->following() : std::nullopt;
    if (message) {
      add(*message);
    }
    if (!prepared_.empty()) {
      options.set_buffer_hint();
    }
  }
  return options;
}

std::shared_ptr<SubscribeCall::Bytes const> SubscribeCall::serialised(
    SharedChange const& change) const {
  std::string const key = std::to_string(change.filter->id()) + "/" + answer_->key();
  return change.changes->shared<Bytes>(key, [&] {
    auto bytes = std::make_shared<Bytes>();
    for (Notification const& notification : change.filter->notifications(*change.changes)) {
      bytes->push_back(updateBytes(answer_->notification(notification)));
    }
    return bytes;
  });
}

void SubscribeCall::OnWriteDone(bool isWritten) {
  {
    std::lock_guard const lock(mutex_);
    if (isOver_) {
      return;
    }
    isSending_ = false;
    hasWritten_ = true;
    if (!isWritten) {
      end_ = grpc::Status::CANCELLED;
    }
  }
  send();
}

void SubscribeCall::OnCancel() {
  fail(Failure(Code::unavailable, "the client is gone"));
}

}  // namespace Agent::Gnmi
