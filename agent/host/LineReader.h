// Reads the lines of a file as they come.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Agent {

/// Lines of a file descriptor that it does not own, each as soon as it is there.
class LineReader {
 public:
  /// Waits until a descriptor can be read, or has ended or failed; false when it is not worth it
  /// any more, which ends the lines like the end of the file.
  using Wait = std::function<bool(int descriptor)>;

  /// Of a line with more than `longest` bytes at least the first `longest` + 1 are kept, and not
  /// much more.
  LineReader(int descriptor, std::size_t longest, Wait wait)
      : descriptor_(descriptor), longest_(longest), wait_(std::move(wait)) {}

  /// The next line, without its end, or none after the last. Valid until the next call. Throws
  /// std::system_error when the file can't be read.
  std::optional<std::string_view> next();

 private:
  enum class Filled : std::uint8_t { some, ended, interrupted };

  Filled fill();

  int descriptor_;
  std::size_t longest_;
  Wait wait_;
  std::vector<char> buffer_ = std::vector<char>(std::size_t{64} << 10U);
  std::string_view unread_;  // what the buffer holds and no line had yet
  std::string line_;         // a line that the buffer holds only in part
};

}  // namespace Agent
