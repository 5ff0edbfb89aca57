// What the tests of snapshots share: the captured files, as they are and edited.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/sources/engine/EngineSnapshot.h"

namespace Agent {

using Files = std::map<std::string, std::string>;

inline std::filesystem::path const captures = STP_CAPTURES_DIR;
/// Moments of br4, one bridge of two.
inline std::filesystem::path const operationalCaptures = STP_CAPTURES_DIR "-operational";

inline Files filesOf(std::filesystem::path const& dir) {
  Files files;
  for (auto const& entry : std::filesystem::directory_iterator(dir)) {
    std::ifstream stream(entry.path(), std::ios::binary);
    files[entry.path().filename().string()] =
        std::string(std::istreambuf_iterator<char>(stream), {});
  }
  return files;
}

inline EngineSnapshot parsed(Files const& files, std::string const& bridge = "br0",
                             std::vector<SnapshotRemark>* remarks = nullptr) {
  return parseSnapshot(
      [&files](std::string const& file) {
        auto const found = files.find(file);
        return found == files.end() ? std::nullopt : std::optional(found->second);
      },
      bridge, remarks);
}

/// What a snapshot is refused with; empty if it isn't.
inline std::string refusalOf(Files const& files, std::string const& bridge = "br0") {
  try {
    parsed(files, bridge);
  } catch (SnapshotError const& error) {
    return error.what();
  }
  return {};
}

/// The files of the first capture, `from` in `file` replaced by `to`; `from` must be there.
inline Files edited(std::string const& file, std::string_view from, std::string_view to) {
  auto files = filesOf(captures / "01-converged");
  auto const position = files.at(file).find(from);
  if (position == std::string::npos) {
    throw std::invalid_argument(std::string(from) + " is not in " + file);
  }
  files.at(file).replace(position, from.size(), to);
  return files;
}

using Pairs = std::vector<std::pair<std::uint16_t, std::uint16_t>>;

/// The VLANs and their instances.
inline Pairs mapOf(EngineSnapshot const& snapshot) {
  auto const& bytes = snapshot.mstConfig.vidToMsti;
  auto const number = [&](std::size_t at) {
    return static_cast<std::uint16_t>(bytes[at] << 8U | bytes[at + 1]);
  };
  Pairs pairs;
  for (std::size_t at = 0; at < bytes.size(); at += 4) {
    pairs.emplace_back(number(at), number(at + 2));
  }
  return pairs;
}

}  // namespace Agent
