// Reads the lines of a file as they come.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

/// Lines of a file descriptor that it does not own, each as soon as it is there. A signal to end
/// (Interrupt.h) ends them like the end of the file.
class LineReader {
 public:
  /// Of a line with more than `longest` bytes at least the first `longest` + 1 are kept, and not
  /// much more.
  LineReader(int descriptor, std::size_t longest) : descriptor_(descriptor), longest_(longest) {}

  /// The next line, without its end, or none after the last. Valid until the next call. Throws
  /// std::system_error when the file can't be read.
  std::optional<std::string_view> next();

 private:
  bool fill();

  int descriptor_;
  std::size_t longest_;
  std::vector<char> buffer_ = std::vector<char>(std::size_t{64} << 10U);
  std::string_view unread_;  // what the buffer holds and no line had yet
  std::string line_;         // a line that the buffer holds only in part
};

}  // namespace Agent
