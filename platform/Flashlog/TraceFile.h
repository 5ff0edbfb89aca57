// A trace in a mapped file: messages, each registered once, and a ring of records that point to
// them. One thread writes; readTrace() reads, also after the process was killed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Base/Api.h"
#include "Flashlog/Layout.h"
#include "Flashlog/MappedFile.h"

namespace Flashlog {

/// The sizes of a trace file.
struct TraceFileOptions {
  std::size_t ringCapacity = std::size_t{1} << 15U;      ///< records, at least 1
  std::size_t messageAreaBytes = std::size_t{1} << 20U;  ///< rounded up to a multiple of 8
};

/// Owns a trace file and writes to it. Not safe for use by more than one thread at a time; after a
/// fork only one of the two processes may go on writing.
class STP_API TraceFile {
 public:
  /// Creates the file, or empties it if it exists; waits up to 2 ms at the first call in the
  /// process, to calibrate the counter. Throws std::system_error that names `path`.
  explicit TraceFile(std::string path, TraceFileOptions options = {});
  ~TraceFile();
  TraceFile(TraceFile const&) = delete;
  TraceFile& operator=(TraceFile const&) = delete;

  [[nodiscard]] std::string const& path() const noexcept { return path_; }

  /// True when the message of this id is in this file. False for 0 and for any other number.
  [[nodiscard]] bool registered(int id) const noexcept {
    auto const index = static_cast<std::size_t>(id);
    return index < registered_.size() && registered_[index] != 0;
  }

  /// Puts a message into the file unless its id is registered already; `id` is 1 to maxMessageId.
  /// Returns false, and does nothing, when the id is beyond that or the message area too full.
  /// Throws std::bad_alloc.
  bool registerMessage(int id, std::string_view sourcePath, unsigned line, std::string_view text);

  /// Adds a record, over the oldest one when the ring is full. `start` and `duration` are in ticks
  /// of timestamp(), `id` is registered in this file.
  void write(std::uint64_t start, std::uint64_t duration, int id) noexcept {
    Layout::Slot* const slot = next_;
    std::uint64_t const tag = lapTag_;
    // The tag says "being written" before anything of the old record goes, and names the new one
    // only when all of it is there.
    Layout::storeInOrder(slot->tag, tag);
    Layout::storeInOrder(slot->start, start);
    Layout::storeInOrder(slot->duration, duration);
    Layout::storeInOrder(slot->tag, tag | static_cast<std::uint32_t>(id));
    next_ = slot + 1;
    if (next_ == end_) [[unlikely]] {
      wrap();
    }
  }

 private:
  void wrap() noexcept;
  void latestClockIs(ClockPair const& clock) noexcept;

  Layout::Slot* next_ = nullptr;
  Layout::Slot* end_ = nullptr;
  std::uint64_t lapTag_ = Layout::lapTag(0);
  std::vector<std::uint8_t> registered_;  // by id
  Layout::Slot* ring_ = nullptr;
  Layout::Header* header_ = nullptr;
  std::byte* messageArea_ = nullptr;
  std::string path_;
  MappedFile file_;
};

}  // namespace Flashlog
