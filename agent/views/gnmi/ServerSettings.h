// How a target is to be reached.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Agent::Gnmi {

/// What of the settings can't be used: a file, an address.
class SettingsError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// As it was asked for; files by their names.
struct ServerSettings {
  std::vector<std::string> addresses;
  std::optional<std::string> certificate;
  std::optional<std::string> key;
  std::optional<std::string> clientAuthority;
  std::optional<std::string> users;
  /// Local addresses speak plaintext, and know no users.
  bool isInsecure = false;
};

}  // namespace Agent::Gnmi
