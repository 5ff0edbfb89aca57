// The calls of the protocol.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "agent/views/gnmi/Hub.h"
#include "agent/views/gnmi/Write.h"
#include "agent/views/gnmi/rpc/Access.h"
#include "agent/views/gnmi/rpc/Callers.h"
#include "github.com/openconfig/gnmi/proto/gnmi/gnmi.grpc.pb.h"

namespace Agent::Gnmi {

/// Has a write take effect on the notification thread, and calls `done` from there when the mirror
/// has run; with false if there is no such thread any more.
using Apply = std::function<void(Write write, std::function<void(bool isApplied)> done)>;

using ServiceBase = gnmi::gNMI::WithCallbackMethod_Capabilities<
    gnmi::gNMI::WithCallbackMethod_Get<gnmi::gNMI::WithCallbackMethod_Set<
        gnmi::gNMI::WithRawCallbackMethod_Subscribe<gnmi::gNMI::Service>>>>;

/// All that it is given must outlive it, and its calls.
class Service final : public ServiceBase {
 public:
  Service(Hub& hub, Access const& access, Apply apply);

  grpc::ServerUnaryReactor* Capabilities(grpc::CallbackServerContext* context,
                                         gnmi::CapabilityRequest const* request,
                                         gnmi::CapabilityResponse* response) override;
  grpc::ServerUnaryReactor* Get(grpc::CallbackServerContext* context,
                                gnmi::GetRequest const* request,
                                gnmi::GetResponse* response) override;
  grpc::ServerUnaryReactor* Set(grpc::CallbackServerContext* context,
                                gnmi::SetRequest const* request,
                                gnmi::SetResponse* response) override;
  /// Messages are bytes: what several streams are told alike is serialised once.
  grpc::ServerBidiReactor<grpc::ByteBuffer, grpc::ByteBuffer>* Subscribe(
      grpc::CallbackServerContext* context) override;

 private:
  Hub& hub_;
  Access const& access_;
  Apply apply_;
  Callers callers_;
};

}  // namespace Agent::Gnmi
