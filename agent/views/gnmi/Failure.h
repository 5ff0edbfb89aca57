// Why a request fails.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace Agent::Gnmi {

/// The status codes of remote calls that occur here, by their numbers on the wire.
enum class Code : std::uint8_t {
  ok = 0,
  invalidArgument = 3,
  deadlineExceeded = 4,
  notFound = 5,
  permissionDenied = 7,
  resourceExhausted = 8,
  failedPrecondition = 9,
  unimplemented = 12,
  unavailable = 14,
  unauthenticated = 16,
};

/// What ends a request. The message names the culprit, on one line, and is for the client.
class Failure : public std::runtime_error {
 public:
  Failure(Code code, std::string const& message) : std::runtime_error(message), code_(code) {}

  Code code() const { return code_; }

 private:
  Code code_;
};

}  // namespace Agent::Gnmi
