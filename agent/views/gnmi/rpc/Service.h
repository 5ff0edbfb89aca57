// The calls of the protocol.
#pragma once

#include <grpcpp/generic/async_generic_service.h>

#include <functional>
#include <optional>

#include "agent/views/gnmi/Failure.h"
#include "agent/views/gnmi/Hub.h"
#include "agent/views/gnmi/Write.h"
#include "agent/views/gnmi/rpc/Access.h"
#include "agent/views/gnmi/rpc/AwaitedRequests.h"
#include "agent/views/gnmi/rpc/Callers.h"
#include "agent/views/gnmi/rpc/UnaryCall.h"
#include "github.com/openconfig/gnmi/proto/gnmi/gnmi.grpc.pb.h"

namespace Agent::Gnmi {

/// Has a write take effect on the notification thread, and calls `done` from there when the mirror
/// has run; with false if there is no such thread any more.
using Apply =
    std::function<void(Write write, std::function<void(std::optional<Failure> failure)> done)>;

// What is generic comes through CreateReactor.
using ServiceBase = gnmi::gNMI::WithGenericMethod_Capabilities<
    gnmi::gNMI::WithGenericMethod_Get<gnmi::gNMI::WithGenericMethod_Set<
        gnmi::gNMI::WithRawCallbackMethod_Subscribe<gnmi::gNMI::Service>>>>;

/// All that it is given must outlive it, and its calls. To be registered as both that it is.
class Service final : public ServiceBase, public grpc::CallbackGenericService {
 public:
  Service(Hub& hub, Access const& access, Apply apply);

  /// Calls of one request and one answer, by their names.
  grpc::ServerGenericBidiReactor* CreateReactor(
      grpc::GenericCallbackServerContext* context) override;
  /// Messages are bytes: what several streams are told alike is serialised once.
  grpc::ServerBidiReactor<grpc::ByteBuffer, grpc::ByteBuffer>* Subscribe(
      grpc::CallbackServerContext* context) override;

  /// Gives up the calls of which the request does not come; to be called every second or so.
  void look() { awaited_.look(SteadyClock::now()); }

 private:
  void get(grpc::ByteBuffer& bytes, UnaryCall& call);
  void set(grpc::ByteBuffer& bytes, UnaryCall& call, grpc::CallbackServerContext const& context);

  Hub& hub_;
  Access const& access_;
  Apply apply_;
  AwaitedRequests awaited_;
  Callers callers_;
};

}  // namespace Agent::Gnmi
