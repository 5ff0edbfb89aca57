// Broken invariants end the process, in release builds as in any other.
#pragma once

#include "Base/Api.h"

namespace Base {

/// Prints "PROGRAM: FILE:LINE: FUNCTION: Assertion `CONDITION' failed." to standard error, as the
/// C library's assertions do, and aborts.
[[noreturn]] STP_API void assertionFailed(char const* condition, char const* file, unsigned line,
                                          char const* function) noexcept;

}  // namespace Base
