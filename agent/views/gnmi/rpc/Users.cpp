#include "agent/views/gnmi/rpc/Users.h"

#include <crypt.h>
#include <openssl/crypto.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <sstream>

#include "agent/views/gnmi/rpc/Files.h"

namespace Agent::Gnmi {

namespace {

constexpr std::string_view certificateAlone = "*";

std::string crypted(std::string const& password, std::string const& setting) {
  auto const data = std::make_unique<crypt_data>();
  char const* const result = ::crypt_r(password.c_str(), setting.c_str(), data.get());
  OPENSSL_cleanse(data->input, sizeof data->input);
  // A setting that can't be used gives a text that begins with '*', which no hash does.
  return result == nullptr ? "*0" : result;
}

// What of a line is wrong, if anything is.
std::string flawOf(std::string const& name, User const& user, std::string const& role) {
  if (name.empty()) {
    return "no name";
  }
  if (role != "read" && role != "write") {
    return "the role is neither read nor write";
  }
  if (user.hash != certificateAlone && crypted("", user.hash).front() == '*') {
    return "the hash is none that crypt(3) makes";
  }
  return "";
}

}  // namespace

Users::Users(std::string const& file) {
  std::istringstream input(contentsOf(file));
  std::size_t number = 0;
  auto const refuse = [&](std::string const& reason) {
    throw SettingsError(file + ":" + std::to_string(number) + ": " + reason);
  };
  for (std::string line; std::getline(input, line);) {
    ++number;
    if (line.empty() || line.front() == '#') {
      continue;
    }
    std::size_t const first = line.find(':');
    std::size_t const second = first == std::string::npos ? first : line.find(':', first + 1);
    if (second == std::string::npos || line.find(':', second + 1) != std::string::npos) {
      refuse("not NAME:HASH:ROLE");
    }
    std::string const name = line.substr(0, first);
    std::string const role = line.substr(second + 1);
    User const user{line.substr(first + 1, second - first - 1),
                    role == "write" ? Role::write : Role::read};
    if (std::string const flaw = flawOf(name, user, role); !flaw.empty()) {
      refuse(flaw);
    }
    if (!users_.emplace(name, user).second) {
      refuse("the name is there twice");
    }
  }
}

User const* Users::find(std::string_view name) const {
  auto const found = users_.find(name);
  return found == users_.end() ? nullptr : &found->second;
}

User const* Users::findCertified(std::string_view commonName) const {
  User const* const user = find(commonName);
  return user != nullptr && user->hash == certificateAlone ? user : nullptr;
}

bool Users::isPassword(std::string const& name, std::string const& password) const {
  // Of a password that nobody knows.
  static std::string const nobody = crypted("nobody's password", "$6$7RkQzvN4pLw2$");
  User const* const user = find(name);
  std::string const& expected = user == nullptr ? nobody : user->hash;
  std::string const given = crypted(password, user == nullptr ? nobody : expected);
  bool const isEqual = given.size() == expected.size() &&
                       CRYPTO_memcmp(given.data(), expected.data(), given.size()) == 0;
  return isEqual && user != nullptr;
}

}  // namespace Agent::Gnmi
