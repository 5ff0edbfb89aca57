// The certificate, the key, and the authority of clients: checked before they are used, and taken
// over when their files change.
#pragma once

#include <grpcpp/security/server_credentials.h>

#include <deque>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "Base/FileDescriptor.h"
#include "agent/views/gnmi/ServerSettings.h"

namespace Agent::Gnmi {

/// The names of PEM files.
struct CertificateFiles {
  std::string chain;
  std::string key;
  /// Where clients must show a certificate.
  std::optional<std::string> clientAuthority;
};

/// The files as they last were when they were good, in a folder of our own, where the connections
/// find them; the key is in memory alone.
class Certificates {
 public:
  /// Throws SettingsError that names the file which can't be used, and why.
  explicit Certificates(CertificateFiles files);
  Certificates(Certificates const&) = delete;
  Certificates& operator=(Certificates const&) = delete;
  ~Certificates();

  /// TLS 1.2 or later with these, for one address.
  std::shared_ptr<grpc::ServerCredentials> credentials() const;

  /// Looks at the files; new connections have what changed after some seconds. Throws
  /// SettingsError, once for each such change, if they can't be used as they are; then nothing
  /// changes.
  void look();

 private:
  struct Contents {
    std::string chain;
    std::string key;
    std::string clientAuthority;

    bool operator==(Contents const&) const = default;
  };

  Contents read() const;
  void check(Contents const& contents) const;
  void publish(Contents const& contents);

  CertificateFiles files_;
  std::filesystem::path folder_;
  std::deque<Base::FileDescriptor> keys_;  // as many as there are folders in it
  Contents used_;
  Contents seen_;
  unsigned version_ = 0;
};

}  // namespace Agent::Gnmi
