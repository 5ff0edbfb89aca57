#include "agent/views/gnmi/rpc/Server.h"

#include <absl/synchronization/mutex.h>
#include <grpc/support/log.h>
#include <grpcpp/ext/proto_server_reflection_plugin.h>
#include <grpcpp/resource_quota.h>
#include <grpcpp/server_builder.h>

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <utility>

#include "agent/views/gnmi/rpc/Files.h"

namespace Agent::Gnmi {

namespace {

using Acceptor = grpc::experimental::ExternalConnectionAcceptor;

constexpr int largestMessage = 1 << 20;
constexpr int largestMetadata = 16 << 10;
// Beyond those that are served at a time, so that a word why reaches who asks for more.
constexpr int mostCallsOnOneConnection = 200;
// How much of what is sent may wait to go out together: what one record of TLS holds.
constexpr int largestBatch = 16 << 10;
// Of what connections send and of what calls take, which is 6 MiB with 1,000 subscribers. A message
// is kept until it is there, however large it says it will be, and nothing else bounds that. Beyond
// it, calls are ended until there is room: one of each connection in turn, the eldest first.
constexpr std::size_t mostMemory = std::size_t{512} << 20;
constexpr int millisecondsBetweenPings = 10'000;
constexpr int millisecondsForAPing = std::chrono::milliseconds(unansweredPatience).count();
// Of the client's own pings, which some send every 10 s.
constexpr int leastMillisecondsBetweenPings = 5'000;
// Of who connects and then says nothing, and of who has asked for nothing for long.
constexpr int millisecondsForAHandshake = 20'000;
constexpr int millisecondsWithoutCalls = 300'000;

std::shared_ptr<Users const> readUsers(std::optional<std::string> const& file) {
  return file ? std::make_shared<Users const>(*file) : nullptr;
}

// Nothing if there is no such file, or it can't be read.
std::optional<std::string> textOf(std::optional<std::string> const& file) {
  try {
    return file ? std::optional(contentsOf(*file)) : std::nullopt;
  } catch (SettingsError const&) {
    return std::nullopt;
  }
}

std::optional<Certificates> readCertificates(ServerSettings const& settings) {
  if (settings.certificate.has_value() != settings.key.has_value()) {
    throw SettingsError(settings.key ? "a key without a certificate"
                                     : "a certificate without a key");
  }
  if (!settings.certificate) {
    if (settings.clientAuthority || settings.users) {
      throw SettingsError("--gnmi-users and --gnmi-client-ca need --gnmi-cert and --gnmi-key");
    }
    return std::nullopt;
  }
  return std::optional<Certificates>(
      std::in_place,
      CertificateFiles{*settings.certificate, *settings.key, settings.clientAuthority});
}

// Debian builds it with a search for deadlocks at every lock, for its developers.
void lockWithoutSearch() {
  absl::SetMutexDeadlockDetectionMode(absl::OnDeadlockCycle::kIgnore);
}

// What the library would write to standard error is for its developers, who ask for it by its own
// environment variable.
void quietLibrary() {
  if (std::getenv("GRPC_VERBOSITY") == nullptr) {
    gpr_set_log_function([](gpr_log_func_args* /*line*/) {});
  }
}

}  // namespace

Server::Server(ServerSettings const& settings, std::size_t mostConnections, Hub& hub, Apply apply)
    : settings_(settings),
      certificates_(readCertificates(settings)),
      usersText_(textOf(settings.users)),
      access_(readUsers(settings.users), settings.clientAuthority.has_value()),
      service_(hub, access_, std::move(apply)),
      listeners_(mostConnections) {
  quietLibrary();
  lockWithoutSearch();
  std::vector<Address> const addresses(settings.addresses.begin(), settings.addresses.end());
  open(addresses);
}

Server::~Server() {
  listeners_.stop();
  server_->Shutdown(std::chrono::system_clock::now());
}

std::shared_ptr<grpc::ServerCredentials> Server::credentialsFor(Address const& address) const {
  if (settings_.isInsecure && address.isLocal()) {
    return grpc::InsecureServerCredentials();
  }
  if (!certificates_) {
    throw SettingsError(address.text() + ": needs --gnmi-cert and --gnmi-key" +
                        (address.isLocal() ? ", or --gnmi-insecure" : ""));
  }
  return certificates_->credentials();
}

void Server::open(std::vector<Address> const& addresses) {
  grpc::reflection::InitProtoReflectionServerBuilderPlugin();
  grpc::ServerBuilder builder;
  builder.SetMaxReceiveMessageSize(largestMessage);
  builder.AddChannelArgument(GRPC_ARG_MAX_METADATA_SIZE, largestMetadata);
  builder.AddChannelArgument(GRPC_ARG_MAX_CONCURRENT_STREAMS, mostCallsOnOneConnection);
  builder.AddChannelArgument(GRPC_ARG_HTTP2_WRITE_BUFFER_SIZE, largestBatch);
  builder.AddChannelArgument(GRPC_ARG_KEEPALIVE_TIME_MS, millisecondsBetweenPings);
  builder.AddChannelArgument(GRPC_ARG_KEEPALIVE_TIMEOUT_MS, millisecondsForAPing);
  builder.AddChannelArgument(GRPC_ARG_KEEPALIVE_PERMIT_WITHOUT_CALLS, 1);
  builder.AddChannelArgument(GRPC_ARG_HTTP2_MAX_PINGS_WITHOUT_DATA, 0);
  builder.AddChannelArgument(GRPC_ARG_HTTP2_MIN_RECV_PING_INTERVAL_WITHOUT_DATA_MS,
                             leastMillisecondsBetweenPings);
  builder.AddChannelArgument(GRPC_ARG_SERVER_HANDSHAKE_TIMEOUT_MS, millisecondsForAHandshake);
  builder.AddChannelArgument(GRPC_ARG_MAX_CONNECTION_IDLE_MS, millisecondsWithoutCalls);
  builder.SetResourceQuota(grpc::ResourceQuota("gnmi").Resize(mostMemory));
  builder.RegisterService(&service_);
  builder.RegisterCallbackGenericService(&service_);
  for (Address const& address : addresses) {
    auto const credentials = credentialsFor(address);
    if (certificates_ && !(settings_.isInsecure && address.isLocal())) {
      credentials->SetAuthMetadataProcessor(access_.processor());
    }
    std::shared_ptr<Acceptor> const acceptor = builder.experimental().AddExternalConnectionAcceptor(
        grpc::ServerBuilder::experimental_type::ExternalConnectionType::FROM_FD, credentials);
    opened_.push_back(listeners_.open(address, [acceptor](int connection) {
      Acceptor::NewConnectionParameters parameters;
      parameters.fd = connection;
      acceptor->HandleNewConnection(&parameters);
    }));
  }
  server_ = builder.BuildAndStart();
  if (server_ == nullptr) {
    throw SettingsError("the server can't be started");
  }
  listeners_.start();
}

void Server::look(std::function<void(std::string const&)> const& tell) {
  if (certificates_) {
    try {
      certificates_->look();
    } catch (SettingsError const& error) {
      tell(error.what());
    }
  }
  lookAtUsers(tell);
  service_.look();
}

void Server::lookAtUsers(std::function<void(std::string const&)> const& tell) {
  auto text = textOf(settings_.users);
  if (!settings_.users || text == usersText_) {
    return;
  }
  usersText_ = std::move(text);
  try {
    access_.usersAre(readUsers(settings_.users));
  } catch (SettingsError const& error) {
    tell(error.what());
  }
}

}  // namespace Agent::Gnmi
