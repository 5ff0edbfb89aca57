// Who may use a target, by name.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "agent/views/gnmi/ServerSettings.h"

namespace Agent::Gnmi {

enum class Role : std::uint8_t { read, write };

struct User {
  /// As crypt(5) has it; "*" for who is known by a certificate alone.
  std::string hash;
  Role role = Role::read;
};

/// The users of a file of lines NAME:HASH:ROLE. Empty lines, and those that begin with '#', say
/// nothing.
class Users {
 public:
  Users() = default;

  /// Throws SettingsError: "FILE:LINE: reason", or "FILE: reason".
  explicit Users(std::string const& file);

  /// Null for a name that is not known.
  User const* find(std::string_view name) const;

  /// Null unless a certificate with this common name is enough: its hash is "*".
  User const* findCertified(std::string_view commonName) const;

  /// Whether a user has this password. It takes as long for a name that is not known: some
  /// milliseconds.
  bool isPassword(std::string const& name, std::string const& password) const;

 private:
  std::map<std::string, User, std::less<>> users_;
};

}  // namespace Agent::Gnmi
