#include "agent/views/gnmi/rpc/Access.h"

#include <grpc/grpc_security_constants.h>

#include <optional>
#include <string>
#include <utility>

namespace Agent::Gnmi {

namespace {

using Metadata = std::multimap<grpc::string_ref, grpc::string_ref>;

std::optional<std::string> valueOf(Metadata const& metadata, char const* name) {
  auto const found = metadata.find(name);
  return found == metadata.end()
             ? std::nullopt
             : std::optional(std::string(found->second.data(), found->second.size()));
}

// Who the certificate of the peer says it is.
std::optional<std::string> commonName(grpc::AuthContext const& peer) {
  auto const names = peer.FindPropertyValues(GRPC_X509_CN_PROPERTY_NAME);
  return peer.IsPeerAuthenticated() && !names.empty()
             ? std::optional(std::string(names.front().data(), names.front().size()))
             : std::nullopt;
}

bool isPlaintext(grpc::AuthContext const& peer) {
  auto const types = peer.FindPropertyValues(GRPC_TRANSPORT_SECURITY_TYPE_PROPERTY_NAME);
  return types.empty() || (types.front() != GRPC_SSL_TRANSPORT_SECURITY_TYPE &&
                           types.front() != GRPC_TLS_TRANSPORT_SECURITY_TYPE);
}

}  // namespace

class Access::Processor final : public grpc::AuthMetadataProcessor {
 public:
  explicit Processor(Access& access) : access_(access) {}

  bool IsBlocking() const override { return true; }

  grpc::Status Process(InputMetadata const& metadata, grpc::AuthContext* peer,
                       OutputMetadata* consumed, OutputMetadata* /*response*/) override {
    auto const name = valueOf(metadata, "username");
    auto const password = valueOf(metadata, "password");
    if (password) {
      consumed->emplace("password", *password);
    }
    // A name that comes through to the call is one whose password was right.
    auto const users = access_.users();
    bool const isClaimed = users != nullptr && name && password;
    if (name && !isClaimed) {
      consumed->emplace("username", *name);
    }
    if (users == nullptr) {
      return grpc::Status::OK;
    }
    if (metadata.count("username") > 1 || metadata.count("password") > 1) {
      return {grpc::UNAUTHENTICATED, "more than one user name or password"};
    }
    if (isClaimed) {
      return users->isPassword(*name, *password)
                 ? grpc::Status::OK
                 : grpc::Status(grpc::UNAUTHENTICATED, "wrong user name or password");
    }
    auto const certified = commonName(*peer);
    return certified && users->findCertified(*certified) != nullptr
               ? grpc::Status::OK
               : grpc::Status(grpc::UNAUTHENTICATED,
                              certified ? "the certificate's common name is no user's who needs "
                                          "no password"
                                        : "user name and password are missing");
  }

 private:
  Access& access_;
};

Access::Access(std::shared_ptr<Users const> users, bool asksCertificates)
    : asksCertificates_(asksCertificates), users_(std::move(users)) {
}

void Access::usersAre(std::shared_ptr<Users const> users) {
  std::lock_guard const lock(mutex_);
  users_ = std::move(users);
}

std::shared_ptr<Users const> Access::users() const {
  std::lock_guard const lock(mutex_);
  return users_;
}

std::shared_ptr<grpc::AuthMetadataProcessor> Access::processor() {
  return std::make_shared<Processor>(*this);
}

void Access::requireWriter(grpc::CallbackServerContext const& context) const {
  auto const peer = context.auth_context();
  if (isPlaintext(*peer)) {
    return;
  }
  auto const users = this->users();
  if (users == nullptr) {
    throw Failure(Code::permissionDenied,
                  asksCertificates_ ? "without a file of users, certificates may read alone"
                                    : "without users, everybody may read and nobody may set");
  }
  // A name that came through counts more than a certificate.
  auto const name = valueOf(context.client_metadata(), "username");
  auto const certified = commonName(*peer);
  User const* const user = name ? users->find(*name) : users->findCertified(certified.value_or(""));
  if (user == nullptr || user->role != Role::write) {
    throw Failure(Code::permissionDenied, "the user has the role read");
  }
}

}  // namespace Agent::Gnmi
