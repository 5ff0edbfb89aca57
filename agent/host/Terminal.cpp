#include "agent/host/Terminal.h"

#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace Agent {

bool isTerminal(int descriptor) {
  return ::isatty(descriptor) != 0;
}

bool hasColours(int descriptor) {
  char const* const terminal = std::getenv("TERM");
  char const* const refused = std::getenv("NO_COLOR");
  return isTerminal(descriptor) && terminal != nullptr && std::string_view(terminal) != "dumb" &&
         (refused == nullptr || *refused == '\0');
}

}  // namespace Agent
