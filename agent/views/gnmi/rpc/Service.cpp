#include "agent/views/gnmi/rpc/Service.h"

#include <chrono>
#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "agent/views/gnmi/Get.h"
#include "agent/views/gnmi/rpc/SubscribeCall.h"
#include "agent/views/gnmi/rpc/Wire.h"

namespace Agent::Gnmi {

namespace {

constexpr std::size_t mostCallsOfOne = 100;
constexpr char const* version = "0.10.0";

// A call with one answer, which is there when it begins unless it is a write.
class Unary final : public grpc::ServerUnaryReactor {
 public:
  explicit Unary(std::unique_ptr<Callers::Call> call) : call_(std::move(call)) {}

  void OnDone() override { delete this; }

 private:
  std::unique_ptr<Callers::Call> call_;
};

// Calls `answer` with the reactor, which that finishes; a Failure finishes it, too.
template <class Answering>
grpc::ServerUnaryReactor* served(Callers& callers, grpc::CallbackServerContext const& context,
                                 Answering const& answer) {
  std::unique_ptr<Callers::Call> call;
  std::optional<grpc::Status> failed;
  try {
    call = callers.begins(context.peer());
  } catch (Failure const& failure) {
    failed = statusOf(failure);
  }
  auto* const reactor = new Unary(std::move(call));
  if (!failed) {
    try {
      answer(*reactor);
      return reactor;
    } catch (Failure const& failure) {
      failed = statusOf(failure);
    }
  }
  reactor->Finish(*failed);
  return reactor;
}

DataType typeOf(gnmi::GetRequest::DataType type) {
  switch (type) {
    case gnmi::GetRequest::ALL: return DataType::all;
    case gnmi::GetRequest::CONFIG: return DataType::config;
    case gnmi::GetRequest::STATE: return DataType::state;
    case gnmi::GetRequest::OPERATIONAL: return DataType::operational;
    default: break;
  }
  throw Failure(Code::invalidArgument, "type " + std::to_string(static_cast<int>(type)) +
                                           " is none of ALL, CONFIG, STATE and OPERATIONAL");
}

// The answer to one path of a request.
gnmi::Notification answerTo(gnmi::GetRequest const& request, RequestPath const& path,
                            Snapshot const& state, RowSet const& rows) {
  Answer const answer(request.encoding(), request.prefix(), path.origin);
  gnmi::Notification notification = answer.notification(state.time());
  ResolvedPath const resolved = resolve(path);
  if (answer.isJson()) {
    for (Subtree const& subtree : subtreesOf(state, resolved, rows)) {
      answer.add(notification, pathOf(*subtree.node, subtree.key), subtree.value);
    }
  } else {
    for (LeafRef const& leaf : leavesOf(state, resolved, rows)) {
      answer.add(notification, leaf);
    }
  }
  return notification;
}

// The requests in the order in which they take effect, beside what they are called in the answer.
struct Requested {
  std::vector<WriteRequest> writes;
  std::vector<std::pair<gnmi::UpdateResult::Operation, gnmi::Path>> results;
};
Requested requested(gnmi::SetRequest const& request) {
  using Kind = WriteRequest::Kind;
  if (request.union_replace_size() != 0) {
    throw Failure(Code::unimplemented, "union_replace is not served");
  }
  RequestPath const prefix = fromWire(request.prefix());
  Requested result;
  auto const add = [&](Kind kind, gnmi::UpdateResult::Operation operation, gnmi::Path const& path,
                       WriteValue value) {
    result.writes.push_back({kind, joined(prefix, fromWire(path)), std::move(value)});
    result.results.emplace_back(operation, path);
  };
  for (gnmi::Path const& path : request.delete_()) {
    add(Kind::remove, gnmi::UpdateResult::DELETE, path, {});
  }
  for (gnmi::Update const& update : request.replace()) {
    add(Kind::replace, gnmi::UpdateResult::REPLACE, update.path(), fromWire(update));
  }
  for (gnmi::Update const& update : request.update()) {
    add(Kind::update, gnmi::UpdateResult::UPDATE, update.path(), fromWire(update));
  }
  return result;
}

}  // namespace

Service::Service(Hub& hub, Access const& access, Apply apply)
    : hub_(hub), access_(access), apply_(std::move(apply)), callers_(mostCallsOfOne) {
}

grpc::ServerUnaryReactor* Service::Capabilities(grpc::CallbackServerContext* context,
                                                gnmi::CapabilityRequest const* request,
                                                gnmi::CapabilityResponse* response) {
  return served(callers_, *context, [&](grpc::ServerUnaryReactor& reactor) {
    checkExtensions(request->extension());
    response->set_gnmi_version(version);
    for (Model const& model : models()) {
      gnmi::ModelData& data = *response->add_supported_models();
      data.set_name(std::string(model.name));
      data.set_organization(std::string(model.organization));
      data.set_version(std::string(model.version));
    }
    for (gnmi::Encoding const encoding : {gnmi::JSON, gnmi::JSON_IETF, gnmi::PROTO}) {
      response->add_supported_encodings(encoding);
    }
    reactor.Finish(grpc::Status::OK);
  });
}

grpc::ServerUnaryReactor* Service::Get(grpc::CallbackServerContext* context,
                                       gnmi::GetRequest const* request,
                                       gnmi::GetResponse* response) {
  return served(callers_, *context, [&](grpc::ServerUnaryReactor& reactor) {
    checkExtensions(request->extension());
    RowSet const rows = rowsOf(typeOf(request->type())) & rowsOf(fromWire(request->use_models()));
    RequestPath const prefix = fromWire(request->prefix());
    Snapshot const state = hub_.snapshot();
    if (request->path_size() == 0) {
      *response->add_notification() = answerTo(*request, joined(prefix, {}), state, rows);
    }
    for (gnmi::Path const& path : request->path()) {
      *response->add_notification() =
          answerTo(*request, joined(prefix, fromWire(path)), state, rows);
    }
    reactor.Finish(grpc::Status::OK);
  });
}

grpc::ServerUnaryReactor* Service::Set(grpc::CallbackServerContext* context,
                                       gnmi::SetRequest const* request,
                                       gnmi::SetResponse* response) {
  return served(callers_, *context, [&](grpc::ServerUnaryReactor& reactor) {
    checkExtensions(request->extension());
    access_.requireWriter(*context);
    Requested asked = requested(*request);
    auto const finish = [&reactor, response, prefix = request->prefix(),
                         results = std::move(asked.results)](bool isApplied) {
      if (!isApplied) {
        reactor.Finish({grpc::UNAVAILABLE, "the target is shutting down"});
        return;
      }
      *response->mutable_prefix() = prefix;
      for (auto const& [operation, path] : results) {
        gnmi::UpdateResult& result = *response->add_response();
        result.set_op(operation);
        *result.mutable_path() = path;
      }
      response->set_timestamp(
          std::chrono::nanoseconds(std::chrono::system_clock::now().time_since_epoch()).count());
      reactor.Finish(grpc::Status::OK);
    };
    apply_(Write(asked.writes), finish);
  });
}

grpc::ServerBidiReactor<grpc::ByteBuffer, grpc::ByteBuffer>* Service::Subscribe(
    grpc::CallbackServerContext* context) {
  return SubscribeCall::begin(hub_, callers_, *context);
}

}  // namespace Agent::Gnmi
