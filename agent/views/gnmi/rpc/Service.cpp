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
                       Json value) {
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

template <class Request>
Request read(grpc::ByteBuffer& bytes) {
  Request request;
  parse(bytes, request);
  checkExtensions(request.extension());
  return request;
}

void capabilities(grpc::ByteBuffer& bytes, UnaryCall& call) {
  (void)read<gnmi::CapabilityRequest>(bytes);
  gnmi::CapabilityResponse response;
  response.set_gnmi_version(version);
  for (Model const& model : models()) {
    gnmi::ModelData& data = *response.add_supported_models();
    data.set_name(std::string(model.name));
    data.set_organization(std::string(model.organization));
    data.set_version(std::string(model.version));
  }
  for (gnmi::Encoding const encoding : {gnmi::JSON, gnmi::JSON_IETF, gnmi::PROTO}) {
    response.add_supported_encodings(encoding);
  }
  call.answer(response);
}

}  // namespace

Service::Service(Hub& hub, Access const& access, Apply apply)
    : hub_(hub), access_(access), apply_(std::move(apply)), callers_(mostCallsOfOne) {
}

grpc::ServerGenericBidiReactor* Service::CreateReactor(
    grpc::GenericCallbackServerContext* context) {
  std::string const& method = context->method();
  UnaryCall::Serve serve;
  if (method == "/gnmi.gNMI/Capabilities") {
    serve = &capabilities;
  } else if (method == "/gnmi.gNMI/Get") {
    serve = [this](grpc::ByteBuffer& request, UnaryCall& call) { get(request, call); };
  } else if (method == "/gnmi.gNMI/Set") {
    serve = [this, context](grpc::ByteBuffer& request, UnaryCall& call) {
      set(request, call, *context);
    };
  } else {
    return grpc::CallbackGenericService::CreateReactor(context);
  }
  return UnaryCall::begin(awaited_, callers_, *context, std::move(serve));
}

void Service::get(grpc::ByteBuffer& bytes, UnaryCall& call) {
  auto const request = read<gnmi::GetRequest>(bytes);
  RowSet const rows = rowsOf(typeOf(request.type())) & rowsOf(fromWire(request.use_models()));
  RequestPath const prefix = fromWire(request.prefix());
  Snapshot const state = hub_.snapshot();
  gnmi::GetResponse response;
  if (request.path_size() == 0) {
    *response.add_notification() = answerTo(request, joined(prefix, {}), state, rows);
  }
  for (gnmi::Path const& path : request.path()) {
    *response.add_notification() = answerTo(request, joined(prefix, fromWire(path)), state, rows);
  }
  call.answer(response);
}

void Service::set(grpc::ByteBuffer& bytes, UnaryCall& call,
                  grpc::CallbackServerContext const& context) {
  auto const request = read<gnmi::SetRequest>(bytes);
  access_.requireWriter(context);
  Requested asked = requested(request);
  auto const finish = [call = call.shared_from_this(), prefix = request.prefix(),
                       results = std::move(asked.results)](std::optional<Failure> const& failure) {
    if (failure) {
      call->fail(*failure);
      return;
    }
    gnmi::SetResponse response;
    *response.mutable_prefix() = prefix;
    for (auto const& [operation, path] : results) {
      gnmi::UpdateResult& result = *response.add_response();
      result.set_op(operation);
      *result.mutable_path() = path;
    }
    response.set_timestamp(
        std::chrono::nanoseconds(std::chrono::system_clock::now().time_since_epoch()).count());
    call->answer(response);
  };
  apply_(Write(asked.writes), finish);
}

grpc::ServerBidiReactor<grpc::ByteBuffer, grpc::ByteBuffer>* Service::Subscribe(
    grpc::CallbackServerContext* context) {
  return SubscribeCall::begin(hub_, awaited_, callers_, *context);
}

}  // namespace Agent::Gnmi
