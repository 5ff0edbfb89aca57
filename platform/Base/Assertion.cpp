#include "Base/Assertion.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace Base {

void assertionFailed(char const* condition, char const* file, unsigned line,
                     char const* function) noexcept {
  std::fprintf(stderr, "%s: %s:%u: %s: Assertion `%s' failed.\n", program_invocation_short_name,
               file, line, function, condition);
  std::abort();
}

}  // namespace Base
