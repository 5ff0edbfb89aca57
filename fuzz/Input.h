// What the fuzz targets share: cutting an input up, and failing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace Fuzz {

inline std::string_view text(std::uint8_t const* data, std::size_t size) {
  return {reinterpret_cast<char const*>(data), size};
}

/// Takes the part of `rest` before `separator`, or all of it.
inline std::string_view takeUntil(std::string_view& rest, char separator) {
  std::size_t const end = rest.find(separator);
  std::string_view const part = rest.substr(0, end);
  rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  return part;
}

/// Ends the process unless `holds`.
inline void require(bool holds, char const* what) {
  if (!holds) {
    (void)std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
  }
}

}  // namespace Fuzz
