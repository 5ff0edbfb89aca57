// A new file of fixed size in memory: what is stored there is in the file, whatever becomes of the
// process.
#pragma once

#include <cstddef>
#include <string>

#include "Base/Api.h"
#include "Base/FileDescriptor.h"

namespace Flashlog {

/// Owns the mapping of a file that it creates, or empties if it exists. While it lives nobody else
/// can map the same file through this class.
class STP_API MappedFile {
 public:
  /// The new file is zero all over, and its pages are in memory. Throws std::system_error that
  /// names `path`.
  MappedFile(std::string const& path, std::size_t bytes);
  ~MappedFile();
  MappedFile(MappedFile const&) = delete;
  MappedFile& operator=(MappedFile const&) = delete;

  /// The first byte, aligned to a page; never null.
  [[nodiscard]] std::byte* data() const noexcept { return data_; }

 private:
  Base::FileDescriptor descriptor_;
  std::size_t bytes_;
  std::byte* data_ = nullptr;
};

}  // namespace Flashlog
