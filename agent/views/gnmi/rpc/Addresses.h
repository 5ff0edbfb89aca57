// Where a target listens.
#pragma once

#include <string>

#include "agent/views/gnmi/ServerSettings.h"

namespace Agent::Gnmi {

/// HOST:PORT, [V6]:PORT or unix:PATH.
class Address {
 public:
  /// Throws SettingsError for a text that is none.
  explicit Address(std::string text);

  std::string const& text() const { return text_; }

  bool isSocketFile() const { return text_.rfind("unix:", 0) == 0; }
  /// Without the brackets of an IPv6 address.
  std::string host() const;
  std::string port() const { return text_.substr(colon() + 1); }
  /// The path of a socket file.
  std::string path() const { return text_.substr(sizeof "unix:" - 1); }

  /// Whether nobody on another machine can reach it.
  bool isLocal() const;

  /// With the port that was chosen where that is 0.
  std::string withPort(int port) const;

 private:
  std::size_t colon() const { return text_.rfind(':'); }

  std::string text_;
};

}  // namespace Agent::Gnmi
