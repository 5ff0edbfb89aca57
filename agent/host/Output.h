// Where results go: one line, or one document, at a time.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>

#include "Base/FileDescriptor.h"
#include "agent/host/Loop.h"

namespace Agent {

/// Takes results as they come. Called from inside notifications, so nothing is thrown.
class Output {
 public:
  Output() = default;
  Output(Output const&) = delete;
  Output& operator=(Output const&) = delete;
  virtual ~Output() = default;

  /// Takes a text, to which it adds the end of its line.
  virtual void lineAdd(std::string_view text) noexcept = 0;
};

/// Writes to a file descriptor that it does not own, at once as far as the reader takes it; the
/// rest is kept, and written as the loop turns. It never waits. After the first error it writes
/// nothing more.
///
/// If the process ends by a broken invariant (Fatal.h), what is kept is written before, however
/// long the reader takes.
class DescriptorOutput final : public Output {
 public:
  /// Only one lives at a time.
  DescriptorOutput(Loop& loop, int descriptor);
  ~DescriptorOutput() override;

  void lineAdd(std::string_view text) noexcept override;

  /// The bytes that are kept until the reader takes them.
  std::size_t waiting() const { return kept_.size() - written_; }

  /// How many bytes the reader has taken.
  std::size_t taken() const { return taken_; }

  /// What went wrong, if something did.
  std::error_code error() const { return error_; }

  /// Gives up what is kept: nothing more is written.
  void giveUp(std::errc reason);

  /// From now on a reader that goes is an error even while there is nothing to write.
  void readerIsWatched();

 private:
  void write() noexcept;
  void writeAll() noexcept;
  bool isWritable() const noexcept;
  void awaitReader() noexcept;

  Loop& loop_;
  int descriptor_;
  Base::FileDescriptor own_;  // of a terminal, which others write to as well
  bool isSocket_ = false;
  bool isWatched_ = false;
  std::string kept_;
  std::size_t written_ = 0;  // of what is kept
  std::size_t taken_ = 0;
  std::error_code error_;
  Loop::Registration ready_;
};

}  // namespace Agent
