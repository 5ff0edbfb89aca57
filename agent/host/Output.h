// Where results go: one line, or one document, at a time.
#pragma once

#include <string_view>
#include <system_error>

namespace Agent {

/// Takes results as they come. Called from inside notifications, so nothing is thrown.
class Output {
 public:
  Output() = default;
  Output(Output const&) = delete;
  Output& operator=(Output const&) = delete;
  virtual ~Output() = default;

  /// Writes a text and the end of its line; when it returns, both are written.
  virtual void lineAdd(std::string_view text) noexcept = 0;
};

/// Writes to a file descriptor that it does not own. After the first error it writes nothing more.
/// Where nobody reads, it waits until somebody does, or until the second signal to end comes
/// (Interrupt.h), which is the error then.
class DescriptorOutput final : public Output {
 public:
  explicit DescriptorOutput(int descriptor) : descriptor_(descriptor) {}

  void lineAdd(std::string_view text) noexcept override;

  /// What went wrong, if something did.
  std::error_code error() const { return error_; }

 private:
  void write(std::string_view bytes) noexcept;

  int descriptor_;
  std::error_code error_;
};

}  // namespace Agent
