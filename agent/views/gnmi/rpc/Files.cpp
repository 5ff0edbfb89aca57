#include "agent/views/gnmi/rpc/Files.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <fstream>
#include <system_error>

namespace Agent::Gnmi {

std::string contentsOf(std::string const& file) {
  std::ifstream input(file, std::ios::binary);
  std::string text;
  std::array<char, 4096> piece{};
  while (input.read(piece.data(), piece.size()) || input.gcount() > 0) {
    text.append(piece.data(), static_cast<std::size_t>(input.gcount()));
  }
  // A folder opens, and fails when it is read.
  if (!input.is_open() || input.bad()) {
    throw SettingsError(file + ": " + std::generic_category().message(errno));
  }
  return text;
}

}  // namespace Agent::Gnmi
