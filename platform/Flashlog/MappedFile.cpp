#include "Flashlog/MappedFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

namespace Flashlog {

namespace {

[[noreturn]] void failed(std::string const& path, std::string const& what, int error) {
  throw std::system_error(error, std::generic_category(), "trace file " + path + ": " + what);
}

}  // namespace

MappedFile::MappedFile(std::string const& path, std::size_t bytes)
    : descriptor_(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644)), bytes_(bytes) {
  int const fd = descriptor_.number();
  if (fd < 0) {
    failed(path, "cannot be opened", errno);
  }
  // Emptying a file under the process that has it mapped would mix two traces, or end it.
  if (flock(fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
    failed(path, "is being written by another trace", errno);
  }
  if (ftruncate(fd, 0) != 0) {
    failed(path, "cannot be emptied", errno);
  }
  // A full disk must show here, not as a signal in the middle of a store.
  int error = 0;
  do {
    error = posix_fallocate(fd, 0, static_cast<off_t>(bytes));
  } while (error == EINTR);
  if (error != 0) {
    failed(path, "cannot be extended to " + std::to_string(bytes) + " bytes", error);
  }
  void* const mapping =
      mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_POPULATE, fd, 0);
  if (mapping == MAP_FAILED) {
    failed(path, "cannot be mapped", errno);
  }
  data_ = static_cast<std::byte*>(mapping);
  // The kernel fills in pages of a shared mapping for reading only; the first store to each would
  // still be a page fault.
  std::memset(data_, 0, bytes_);
}

MappedFile::~MappedFile() {
  munmap(data_, bytes_);
}

}  // namespace Flashlog
