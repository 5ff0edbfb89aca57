// What reading the files of a snapshot has in common.
#pragma once

#include <cerrno>
#include <charconv>
#include <concepts>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "agent/sources/engine/EngineJson.h"
#include "agent/sources/engine/EngineSnapshot.h"

namespace Agent {

/// Hands what a file says to `read`, which throws a Refusal if it doesn't understand it; false when
/// there is no such file. Adds to `remarks`, if there are to be any. Throws SnapshotError.
template <typename Read>
bool inFileIfThere(SnapshotFiles const& source, std::string const& file,
                   std::vector<SnapshotRemark>* const remarks, Read const read) {
  auto const text = source(file);
  if (!text) {
    return false;
  }
  std::vector<std::string> texts;
  try {
    if (text->size() > maxSnapshotFile) {
      throw Refusal("longer than " + std::to_string(maxSnapshotFile) + " bytes");
    }
    read(engineJson(*text, file == "showvid2fid.json" || file == "showfid2mstid.json",
                    remarks == nullptr ? nullptr : &texts));
  } catch (Refusal const& refusal) {
    throw SnapshotError({}, file, refusal.what());
  }
  if (remarks != nullptr) {
    for (auto& said : texts) {
      remarks->push_back({file, std::move(said)});
    }
  }
  return true;
}

/// The same of a file that must be there.
template <typename Read>
void inFile(SnapshotFiles const& source, std::string const& file,
            std::vector<SnapshotRemark>* const remarks, Read const read) {
  if (!inFileIfThere(source, file, remarks, read)) {
    throw SnapshotError({}, file, std::generic_category().message(ENOENT));
  }
}

/// The decimal number up to `limit` that `text` is, if it is one.
template <std::unsigned_integral Number>
std::optional<Number> number(std::string_view const text, Number const limit) {
  Number value = 0;
  auto const* const end = text.data() + text.size();
  auto const result = std::from_chars(text.data(), end, value);
  if (result.ec != std::errc{} || result.ptr != end || value > limit) {
    return std::nullopt;
  }
  return value;
}

}  // namespace Agent
