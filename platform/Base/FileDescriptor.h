// A file descriptor with an owner.
#pragma once

#include <unistd.h>

#include <utility>

namespace Base {

/// Owns a file descriptor, or none, and closes it at the end.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  /// `number` is negative for none.
  explicit FileDescriptor(int number) noexcept : number_(number) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~FileDescriptor() { close(); }

  [[nodiscard]] int number() const noexcept { return number_; }
  [[nodiscard]] bool isOpen() const noexcept { return number_ >= 0; }

  /// Leaves the descriptor to the caller.
  [[nodiscard]] int release() noexcept { return std::exchange(number_, -1); }

  void close() noexcept {
    if (isOpen()) {
      (void)::close(std::exchange(number_, -1));
    }
  }

 private:
  int number_ = -1;
};

}  // namespace Base
