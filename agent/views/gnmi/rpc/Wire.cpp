#include "agent/views/gnmi/rpc/Wire.h"

#include <grpcpp/impl/codegen/proto_utils.h>

#include <array>
#include <utility>
#include <variant>

#include "agent/views/document/DocumentBuilder.h"

// Fields that clients should not send any more are looked at, so that they are not ignored.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace Agent::Gnmi {

namespace {

using Bytes = grpc::SerializationTraits<google::protobuf::Message>;

std::string nameOf(gnmi::Encoding encoding) {
  return gnmi::Encoding_IsValid(encoding) ? gnmi::Encoding_Name(encoding)
                                          : std::to_string(static_cast<int>(encoding));
}

void write(gnmi::TypedValue& to, bool value) {
  to.set_bool_val(value);
}
void write(gnmi::TypedValue& to, std::uint64_t value) {
  to.set_uint_val(value);
}
void write(gnmi::TypedValue& to, std::string const& value) {
  to.set_string_val(value);
}
void write(gnmi::TypedValue& to, Identity const& value) {
  to.set_string_val(std::string(value.name));
}
void write(gnmi::TypedValue& to, std::vector<LeafEntry> const& entries) {
  gnmi::ScalarArray& list = *to.mutable_leaflist_val();
  for (LeafEntry const& entry : entries) {
    std::visit([&list](auto const& value) { write(*list.add_element(), value); }, entry);
  }
}

Json readJson(std::string const& text) {
  Json json = Json::parse(text, nullptr, false);
  if (json.is_discarded()) {
    throw Failure(Code::invalidArgument, "the value " + inQuotes(text) + " is no JSON");
  }
  return json;
}

Json readScalar(gnmi::TypedValue const& value) {
  switch (value.value_case()) {
    case gnmi::TypedValue::kUintVal: return value.uint_val();
    case gnmi::TypedValue::kIntVal:
      // As JSON has it: what is not negative is unsigned.
      return value.int_val() < 0 ? Json(value.int_val())
                                 : Json(static_cast<std::uint64_t>(value.int_val()));
    case gnmi::TypedValue::kStringVal: return value.string_val();
    case gnmi::TypedValue::kBoolVal: return value.bool_val();
    case gnmi::TypedValue::kDoubleVal: return value.double_val();
    case gnmi::TypedValue::kFloatVal: return value.float_val();
    default: break;
  }
  throw Failure(Code::invalidArgument, "a value of this type is never one of a leaf's");
}

}  // namespace

grpc::Status statusOf(Failure const& failure) {
  return {static_cast<grpc::StatusCode>(failure.code()), failure.what()};
}

grpc::ByteBuffer bytesOf(google::protobuf::Message const& message) {
  grpc::ByteBuffer bytes;
  bool isOwned = false;
  (void)Bytes::Serialize(message, &bytes, &isOwned);
  return bytes;
}

void parse(grpc::ByteBuffer& bytes, google::protobuf::Message& message) {
  if (!Bytes::Deserialize(&bytes, &message).ok()) {
    throw Failure(Code::invalidArgument, "the message is no " + message.GetDescriptor()->name());
  }
}

RequestPath fromWire(gnmi::Path const& path) {
  if (path.element_size() != 0 && path.elem_size() == 0) {
    throw Failure(Code::invalidArgument, "element \"" + path.element(0) +
                                             "\": paths have their names in elem, the field "
                                             "element is deprecated");
  }
  RequestPath result;
  result.origin = path.origin();
  for (gnmi::PathElem const& elem : path.elem()) {
    result.elements.push_back({elem.name(), {elem.key().begin(), elem.key().end()}});
  }
  return result;
}

std::vector<ModelName> fromWire(google::protobuf::RepeatedPtrField<gnmi::ModelData> const& models) {
  std::vector<ModelName> names;
  for (gnmi::ModelData const& model : models) {
    names.push_back({model.name(), model.organization(), model.version()});
  }
  return names;
}

SubscribeRequest fromWire(gnmi::SubscriptionList const& list) {
  SubscribeRequest request;
  request.mode = static_cast<CallMode>(list.mode());
  request.prefix = fromWire(list.prefix());
  for (gnmi::Subscription const& subscription : list.subscription()) {
    request.paths.push_back({fromWire(subscription.path()),
                             static_cast<PathMode>(subscription.mode()),
                             subscription.sample_interval(), subscription.suppress_redundant(),
                             subscription.heartbeat_interval()});
  }
  request.useModels = fromWire(list.use_models());
  request.updatesOnly = list.updates_only();
  return request;
}

Json fromWire(gnmi::Update const& update) {
  if (update.has_value()) {
    throw Failure(Code::invalidArgument, "an update has its value in val, value is deprecated");
  }
  gnmi::TypedValue const& value = update.val();
  switch (value.value_case()) {
    case gnmi::TypedValue::kJsonVal: return readJson(value.json_val());
    case gnmi::TypedValue::kJsonIetfVal: return readJson(value.json_ietf_val());
    case gnmi::TypedValue::kAsciiVal:
      throw Failure(Code::unimplemented, "a value in the encoding ASCII can't be set");
    case gnmi::TypedValue::kAnyVal:
    case gnmi::TypedValue::kProtoBytes:
      throw Failure(Code::unimplemented, "a value as a protobuf message can't be set");
    case gnmi::TypedValue::kBytesVal:
      throw Failure(Code::invalidArgument, "bytes_val: no leaf has a value of bytes");
    case gnmi::TypedValue::VALUE_NOT_SET:
      throw Failure(Code::invalidArgument, "an update without a value");
    case gnmi::TypedValue::kLeaflistVal: {
      Json list = Json::array();
      for (gnmi::TypedValue const& element : value.leaflist_val().element()) {
        list.push_back(readScalar(element));
      }
      return list;
    }
    default: return readScalar(value);
  }
}

void checkExtensions(google::protobuf::RepeatedPtrField<gnmi_ext::Extension> const& extensions) {
  using Case = gnmi_ext::Extension::ExtCase;
  struct Named {
    Case ext;
    char const* name;
  };
  static constexpr std::array unserved{
      Named{Case::kMasterArbitration, "master_arbitration"},
      Named{Case::kHistory, "history"},
      Named{Case::kCommit, "commit"},
      Named{Case::kDepth, "depth"},
      Named{Case::kConfigSubscription, "config_subscription"},
  };
  for (gnmi_ext::Extension const& extension : extensions) {
    for (Named const& named : unserved) {
      if (extension.ext_case() == named.ext) {
        throw Failure(Code::unimplemented,
                      std::string("the extension ") + named.name + " is not served");
      }
    }
  }
}

gnmi::Path toWire(std::vector<PathElement> const& elements) {
  gnmi::Path path;
  for (PathElement const& element : elements) {
    gnmi::PathElem& elem = *path.add_elem();
    elem.set_name(element.name);
    for (auto const& [name, value] : element.keys) {
      (*elem.mutable_key())[name] = value;
    }
  }
  return path;
}

Answer::Answer(gnmi::Encoding encoding, gnmi::Path const& prefix, std::string origin)
    : encoding_(encoding) {
  if (encoding != gnmi::JSON && encoding != gnmi::JSON_IETF && encoding != gnmi::PROTO) {
    throw Failure(Code::unimplemented, "the encoding " + nameOf(encoding) +
                                           " is not served; JSON, JSON_IETF and PROTO are");
  }
  prefix_.set_target(prefix.target());
  prefix_.set_origin(std::move(origin));
  key_ = std::to_string(static_cast<int>(encoding)) + "/" +
         std::to_string(prefix_.origin().size()) + "/" + prefix_.origin() + prefix_.target();
}

gnmi::Notification Answer::notification(Nanoseconds time) const {
  gnmi::Notification notification;
  notification.set_timestamp(time);
  if (!prefix_.origin().empty() || !prefix_.target().empty()) {
    *notification.mutable_prefix() = prefix_;
  }
  return notification;
}

gnmi::Notification Answer::notification(Notification const& from) const {
  gnmi::Notification result = notification(from.time);
  for (LeafRef const& leaf : from.deletes) {
    *result.add_delete_() = toWire(pathOf(leaf.row(), leaf.key()));
  }
  for (Update const& update : from.updates) {
    add(result, update.leaf, update.duplicates);
  }
  return result;
}

void Answer::add(gnmi::Notification& to, LeafRef const& leaf, std::uint32_t duplicates) const {
  gnmi::Update& update = *to.add_update();
  *update.mutable_path() = toWire(pathOf(leaf.row(), leaf.key()));
  update.set_duplicates(duplicates);
  if (isJson()) {
    write(*update.mutable_val(), jsonOf(leaf.row().leaf->type, leaf.value()));
  } else {
    std::visit([&](auto const& value) { Gnmi::write(*update.mutable_val(), value); }, leaf.value());
  }
}

void Answer::add(gnmi::Notification& to, std::vector<PathElement> const& path,
                 OrderedJson const& value) const {
  gnmi::Update& update = *to.add_update();
  *update.mutable_path() = toWire(path);
  write(*update.mutable_val(), value);
}

void Answer::write(gnmi::TypedValue& to, OrderedJson const& value) const {
  if (encoding_ == gnmi::JSON) {
    to.set_json_val(value.dump());
  } else {
    to.set_json_ietf_val(value.dump());
  }
}

}  // namespace Agent::Gnmi
