// Calls of the system that must not fail.
#pragma once

#include <cerrno>
#include <system_error>

namespace Agent {

/// Throws std::system_error with what `errno` says if a call did not succeed.
inline void requireSuccess(bool succeeded, char const* call) {
  if (!succeeded) {
    throw std::system_error(errno, std::system_category(), call);
  }
}

}  // namespace Agent
