#include "agent/views/gnmi/rpc/Certificates.h"

#include <grpc/grpc_security_constants.h>
#include <grpcpp/security/tls_certificate_provider.h>
#include <grpcpp/security/tls_credentials_options.h>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <system_error>
#include <utility>

#include "agent/views/gnmi/rpc/Files.h"

namespace Agent::Gnmi {

namespace {

constexpr unsigned secondsBetweenLooks = 1;

template <class Object, void (*free)(Object*)>
struct Freeing {
  void operator()(Object* object) const { free(object); }
};
void freeBio(BIO* bio) {
  BIO_free_all(bio);
}
using Bio = std::unique_ptr<BIO, Freeing<BIO, &freeBio>>;
using Certificate = std::unique_ptr<X509, Freeing<X509, &X509_free>>;
using Key = std::unique_ptr<EVP_PKEY, Freeing<EVP_PKEY, &EVP_PKEY_free>>;

Bio bioOf(std::string const& text) {
  return Bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
}

// A key with a passphrase is refused: nobody is there to ask.
int noPassphrase(char* /*buffer*/, int /*size*/, int /*isWriting*/, void* /*given*/) {
  return -1;
}

// The first certificate of a text in which all are good; null if one is not, or there is none.
Certificate firstOf(std::string const& text) {
  Bio const bio = bioOf(text);
  Certificate first(PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr));
  if (first != nullptr) {
    while (Certificate(PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr)) != nullptr) {
    }
    bool const isAtEnd = ERR_GET_REASON(ERR_peek_last_error()) == PEM_R_NO_START_LINE;
    if (!isAtEnd) {
      first.reset();
    }
  }
  ERR_clear_error();
  return first;
}

void write(std::filesystem::path const& file, std::string const& text) {
  std::ofstream output(file, std::ios::binary);
  output << text;
  if (!output.flush()) {
    throw SettingsError(file.string() + ": " + std::generic_category().message(errno));
  }
}

// Goes with the process, whatever ends that.
Base::FileDescriptor inMemory(std::string const& text) {
  Base::FileDescriptor memory(::memfd_create("key", MFD_CLOEXEC));
  if (::write(memory.number(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    throw SettingsError("the copy of the key: " + std::generic_category().message(errno));
  }
  return memory;
}

}  // namespace

Certificates::Certificates(CertificateFiles files) : files_(std::move(files)) {
  Contents const contents = read();
  check(contents);
  std::string name = (std::filesystem::temp_directory_path() / "stp-openconfig-XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) {
    throw SettingsError(name + ": " + std::generic_category().message(errno));
  }
  folder_ = name;
  publish(contents);
}

Certificates::~Certificates() {
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

Certificates::Contents Certificates::read() const {
  return {contentsOf(files_.chain), contentsOf(files_.key),
          files_.clientAuthority ? contentsOf(*files_.clientAuthority) : ""};
}

void Certificates::check(Contents const& contents) const {
  Certificate const certificate = firstOf(contents.chain);
  if (certificate == nullptr) {
    throw SettingsError(files_.chain + ": no certificate in PEM");
  }
  Key const key(
      PEM_read_bio_PrivateKey(bioOf(contents.key).get(), nullptr, &noPassphrase, nullptr));
  if (key == nullptr) {
    ERR_clear_error();
    throw SettingsError(files_.key + ": no key in PEM without a passphrase");
  }
  if (X509_check_private_key(certificate.get(), key.get()) != 1) {
    ERR_clear_error();
    throw SettingsError(files_.key + ": not the key of " + files_.chain);
  }
  if (files_.clientAuthority && firstOf(contents.clientAuthority) == nullptr) {
    throw SettingsError(*files_.clientAuthority + ": no certificate in PEM");
  }
}

// All files change at once: those who read them go through one link, which is replaced. The key's
// is none, so that it stays nowhere behind.
void Certificates::publish(Contents const& contents) {
  auto const folder = folder_ / std::to_string(++version_);
  std::filesystem::create_directory(folder);
  write(folder / "chain", contents.chain);
  keys_.push_back(inMemory(contents.key));
  std::filesystem::create_symlink("/proc/self/fd/" + std::to_string(keys_.back().number()),
                                  folder / "key");
  write(folder / "authority", contents.clientAuthority);
  std::filesystem::create_directory_symlink(folder, folder_ / "next");
  std::filesystem::rename(folder_ / "next", folder_ / "current");
  // Who was reading the folder before this one has read it now.
  if (version_ > 2) {
    std::filesystem::remove_all(folder_ / std::to_string(version_ - 2));
    keys_.pop_front();
  }
  used_ = seen_ = contents;
}

std::shared_ptr<grpc::ServerCredentials> Certificates::credentials() const {
  auto const current = folder_ / "current";
  bool const asksClients = files_.clientAuthority.has_value();
  auto const provider = std::make_shared<grpc::experimental::FileWatcherCertificateProvider>(
      current / "key", current / "chain", asksClients ? (current / "authority").string() : "",
      secondsBetweenLooks);
  grpc::experimental::TlsServerCredentialsOptions options(provider);
  options.watch_identity_key_cert_pairs();
  if (asksClients) {
    options.watch_root_certs();
  }
  options.set_cert_request_type(asksClients
                                    ? GRPC_SSL_REQUEST_AND_REQUIRE_CLIENT_CERTIFICATE_AND_VERIFY
                                    : GRPC_SSL_DONT_REQUEST_CLIENT_CERTIFICATE);
  return grpc::experimental::TlsServerCredentials(options);
}

void Certificates::look() {
  Contents contents;
  std::string flaw;
  try {
    contents = read();
    if (contents == used_ || contents == seen_) {
      seen_ = contents;
      return;
    }
    check(contents);
  } catch (SettingsError const& error) {
    flaw = error.what();
  }
  if (!flaw.empty()) {
    bool const isTold = std::exchange(seen_, contents) == contents;
    if (isTold) {
      return;
    }
    throw SettingsError(flaw);
  }
  publish(contents);
}

}  // namespace Agent::Gnmi
