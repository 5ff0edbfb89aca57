// Reads a trace file, whether its writer closed it, was killed, or still runs. What is read
// is what was written; only while the file is being written, its newest records may be mixtures, or
// keep it from being read.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "Base/Api.h"
#include "Flashlog/Calibration.h"

namespace Flashlog {

/// A trace file that cannot be read; what() names it, and says what is wrong with it.
class STP_API ReadError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A message of a trace file.
struct Message {
  int id;
  unsigned line;
  std::string sourcePath;
  std::string text;
};

/// One run of a traced block.
struct TraceRecord {
  std::uint64_t sequence;    ///< how many records were begun in the file before this one
  std::uint64_t startTicks;  ///< of the counter
  std::chrono::sys_time<std::chrono::nanoseconds> start;
  std::chrono::nanoseconds duration;
  std::size_t message;  ///< index in Trace::messages
};

/// The contents of a trace file.
struct Trace {
  std::uint32_t processId = 0;
  Calibration calibration;
  std::vector<Message> messages;     ///< in the order of their registration
  std::vector<TraceRecord> records;  ///< by start; of two that start at once the longer is first
  std::uint64_t lost = 0;            ///< records that newer ones took the place of
  std::uint64_t torn = 0;            ///< 1 when the writer died in its last record, else 0
};

/// Reads the file at `path`. Throws ReadError.
[[nodiscard]] STP_API Trace readTrace(std::string const& path);

/// Reads the bytes of a whole trace file; `name` is for the error. Throws ReadError.
[[nodiscard]] STP_API Trace parseTrace(std::string const& name, std::span<std::byte const> bytes);

}  // namespace Flashlog
