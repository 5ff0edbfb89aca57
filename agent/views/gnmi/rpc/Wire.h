// Between the messages of the protocol and what they mean here.
#pragma once

#include <google/protobuf/message.h>
#include <grpcpp/support/byte_buffer.h>
#include <grpcpp/support/status.h>

#include <string>
#include <vector>

#include "agent/views/gnmi/Failure.h"
#include "agent/views/gnmi/Notification.h"
#include "agent/views/gnmi/RequestPath.h"
#include "agent/views/gnmi/Schema.h"
#include "agent/views/gnmi/Subscription.h"
#include "agent/views/gnmi/Write.h"
#include "github.com/openconfig/gnmi/proto/gnmi/gnmi.pb.h"

namespace Agent::Gnmi {

grpc::Status statusOf(Failure const& failure);

grpc::ByteBuffer bytesOf(google::protobuf::Message const& message);
/// Throws a Failure if the bytes are no such message. They may be gone then.
void parse(grpc::ByteBuffer& bytes, google::protobuf::Message& message);

/// Throws a Failure for a path in the deprecated form alone; some clients send both.
RequestPath fromWire(gnmi::Path const& path);
std::vector<ModelName> fromWire(google::protobuf::RepeatedPtrField<gnmi::ModelData> const& models);
SubscribeRequest fromWire(gnmi::SubscriptionList const& list);
/// Its value. Throws a Failure for one that can't be set, or read.
Json fromWire(gnmi::Update const& update);

/// Throws a Failure for an extension that changes what a request means; others are ignored.
void checkExtensions(google::protobuf::RepeatedPtrField<gnmi_ext::Extension> const& extensions);

/// How the values of an answer are written, and what its prefix repeats of the request.
class Answer {
 public:
  /// Throws a Failure for an encoding that is not served.
  Answer(gnmi::Encoding encoding, gnmi::Path const& prefix, std::string origin);

  /// Time and prefix, and nothing else yet.
  gnmi::Notification notification(Nanoseconds time) const;
  gnmi::Notification notification(Notification const& from) const;

  void add(gnmi::Notification& to, LeafRef const& leaf, std::uint32_t duplicates = 0) const;
  /// JSON alone.
  void add(gnmi::Notification& to, std::vector<PathElement> const& path,
           OrderedJson const& value) const;

  bool isJson() const { return encoding_ != gnmi::PROTO; }
  /// Equal for answers that write the same.
  std::string const& key() const { return key_; }

 private:
  void write(gnmi::TypedValue& to, OrderedJson const& value) const;

  gnmi::Encoding encoding_;
  gnmi::Path prefix_;
  std::string key_;
};

gnmi::Path toWire(std::vector<PathElement> const& elements);

}  // namespace Agent::Gnmi
