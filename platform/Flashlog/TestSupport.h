// What the tests of the trace share: folders that vanish, files as bytes, and small traces.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "Flashlog/Layout.h"
#include "Flashlog/MsgDesc.h"
#include "Flashlog/TraceFile.h"

namespace Flashlog {

/// A new folder that is removed, with all in it, at the end of its scope.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    path_ = (std::filesystem::temp_directory_path() / "flashlog-XXXXXX").string();
    if (mkdtemp(path_.data()) == nullptr) {
      throw std::runtime_error("cannot create " + path_);
    }
  }
  ~TemporaryFolder() { std::filesystem::remove_all(path_); }
  TemporaryFolder(TemporaryFolder const&) = delete;
  TemporaryFolder& operator=(TemporaryFolder const&) = delete;

  [[nodiscard]] std::string file(std::string const& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

/// Sizes of a file that is quickly read and damaged.
inline TraceFileOptions smallTrace(std::size_t ringCapacity) {
  return {.ringCapacity = ringCapacity, .messageAreaBytes = 512};
}

/// The id of a new message of the process, registered in `file`.
inline int newMessage(TraceFile& file, std::string_view text,
                      std::string_view sourcePath = "/src/A", unsigned line = 7) {
  int id = 0;
  MsgDesc message(file, id, sourcePath, line);
  message << text;
  message.finish();
  return id;
}

inline std::vector<std::byte> bytesOf(std::string const& path) {
  std::ifstream file(path, std::ios::binary);
  std::string const text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  auto const view = std::as_bytes(std::span(text));
  return {view.begin(), view.end()};
}

inline void bytesAre(std::string const& path, std::span<std::byte const> bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(reinterpret_cast<char const*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
}

/// Overwrites the bytes at `offset`.
template <class Object>
void put(std::vector<std::byte>& bytes, std::size_t offset, Object const& object) {
  std::memcpy(&bytes.at(offset + sizeof object - 1) - (sizeof object - 1), &object, sizeof object);
}

/// The header of a trace file, as it is now.
inline Layout::Header headerOf(std::vector<std::byte> const& bytes) {
  Layout::Header header{};
  std::memcpy(&header, bytes.data(), sizeof header);
  return header;
}
inline Layout::Header headerOf(std::string const& path) {
  return headerOf(bytesOf(path));
}

/// The clock pair of a header that is valid.
inline ClockPair latestClockOf(Layout::Header const& header) {
  return header.latestClocks.at(header.clockGeneration % 2);
}

/// Where a slot of the ring is in the bytes of a trace file.
inline std::size_t slotOffset(std::vector<std::byte> const& bytes, std::size_t index) {
  return Layout::headerBytes + headerOf(bytes).messageAreaBytes + index * sizeof(Layout::Slot);
}

}  // namespace Flashlog
