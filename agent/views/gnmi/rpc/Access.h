// Who may do what: asked once a call, before it begins.
#pragma once

#include <grpcpp/security/auth_metadata_processor.h>
#include <grpcpp/server_context.h>

#include <memory>
#include <mutex>

#include "agent/views/gnmi/Failure.h"
#include "agent/views/gnmi/rpc/Users.h"

namespace Agent::Gnmi {

/// The rules of one target. From any thread.
class Access {
 public:
  /// `users` is null where there is no such file.
  Access(std::shared_ptr<Users const> users, bool asksCertificates);

  void usersAre(std::shared_ptr<Users const> users);

  /// For the credentials of an address that speaks TLS: checks names and passwords, off the threads
  /// that serve calls.
  std::shared_ptr<grpc::AuthMetadataProcessor> processor();

  /// Throws a Failure if the caller may not write.
  void requireWriter(grpc::CallbackServerContext const& context) const;

 private:
  class Processor;

  std::shared_ptr<Users const> users() const;

  bool asksCertificates_;
  mutable std::mutex mutex_;
  std::shared_ptr<Users const> users_;
};

}  // namespace Agent::Gnmi
