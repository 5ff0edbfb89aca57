#include "agent/views/gnmi/rpc/Server.h"

#include <absl/synchronization/mutex.h>
#include <grpc/support/log.h>
#include <grpcpp/ext/proto_server_reflection_plugin.h>
#include <grpcpp/server_builder.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <utility>

#include "agent/views/gnmi/rpc/Files.h"

namespace Agent::Gnmi {

namespace {

constexpr int largestMessage = 1 << 20;
constexpr int largestMetadata = 16 << 10;
// Beyond those that are served at a time, so that a word why reaches who asks for more.
constexpr int mostCallsOnOneConnection = 200;
// How much of what is sent may wait to go out together: what one record of TLS holds.
constexpr int largestBatch = 16 << 10;
// A peer that answers no ping within the second of these is gone.
constexpr int millisecondsBetweenPings = 20'000;
constexpr int millisecondsForAPing = 10'000;
// Of the client's own pings, which some send every 10 s.
constexpr int leastMillisecondsBetweenPings = 5'000;

constexpr mode_t socketFileMask = 0117;  // leaves mode 0660

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

class Umask {
 public:
  explicit Umask(mode_t mask) : before_(::umask(mask)) {}
  Umask(Umask const&) = delete;
  Umask& operator=(Umask const&) = delete;
  ~Umask() { ::umask(before_); }

 private:
  mode_t before_;
};

}  // namespace

Server::Server(ServerSettings const& settings, Hub& hub, Apply apply)
    : settings_(settings),
      certificates_(readCertificates(settings)),
      usersText_(textOf(settings.users)),
      access_(readUsers(settings.users), settings.clientAuthority.has_value()),
      service_(hub, access_, std::move(apply)) {
  quietLibrary();
  lockWithoutSearch();
  std::vector<Address> addresses(settings.addresses.begin(), settings.addresses.end());
  for (Address const& address : addresses) {
    if (address.isSocketFile()) {
      clearSocketFile(address.path());
    }
  }
  open(addresses);
}

Server::~Server() {
  server_->Shutdown(std::chrono::system_clock::now());
  server_.reset();
  for (std::string const& path : socketFiles_) {
    (void)::unlink(path.c_str());
  }
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
  builder.AddChannelArgument(GRPC_ARG_ALLOW_REUSEPORT, 0);
  builder.AddChannelArgument(GRPC_ARG_KEEPALIVE_TIME_MS, millisecondsBetweenPings);
  builder.AddChannelArgument(GRPC_ARG_KEEPALIVE_TIMEOUT_MS, millisecondsForAPing);
  builder.AddChannelArgument(GRPC_ARG_KEEPALIVE_PERMIT_WITHOUT_CALLS, 1);
  builder.AddChannelArgument(GRPC_ARG_HTTP2_MAX_PINGS_WITHOUT_DATA, 0);
  builder.AddChannelArgument(GRPC_ARG_HTTP2_MIN_RECV_PING_INTERVAL_WITHOUT_DATA_MS,
                             leastMillisecondsBetweenPings);
  builder.RegisterService(&service_);
  std::vector<int> ports(addresses.size(), 0);
  for (std::size_t at = 0; at < addresses.size(); ++at) {
    auto const credentials = credentialsFor(addresses[at]);
    if (certificates_ && !(settings_.isInsecure && addresses[at].isLocal())) {
      credentials->SetAuthMetadataProcessor(access_.processor());
    }
    builder.AddListeningPort(addresses[at].text(), credentials, &ports[at]);
  }
  Umask const mask(socketFileMask);
  server_ = builder.BuildAndStart();
  for (std::size_t at = 0; at < addresses.size(); ++at) {
    if (server_ == nullptr && ports[at] == 0) {
      throw SettingsError(addresses[at].text() + ": " + whyNotOpened(addresses[at]));
    }
    opened_.push_back(addresses[at].withPort(ports[at]));
    if (addresses[at].isSocketFile()) {
      socketFiles_.push_back(addresses[at].path());
    }
  }
  if (server_ == nullptr) {
    throw SettingsError("the server can't be started");
  }
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
