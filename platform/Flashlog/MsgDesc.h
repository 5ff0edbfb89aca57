// Registers the text of a message in a trace file, at the first record of that message there.
//
//   static int id = 0;
//   if (!file.registered(std::atomic_ref(id).load())) {  // a plain read with a single thread
//     MsgDesc message(file, id, "/src/Main", 12);
//     message << "start():" << 12U;
//     message.finish();
//   }
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

#include "Base/Api.h"
#include "Base/Assertion.h"
#include "Flashlog/TraceFile.h"

namespace Flashlog {

/// Ends the process when `id` is negative: the message it stands for could not be registered, and
/// every record of it would be lost in silence.
inline void msgIdInitialized(int id) noexcept {
  if (id < 0) [[unlikely]] {
    Base::assertionFailed("msgIdInitialized", __FILE__, __LINE__, __func__);
  }
}

/// Builds one message. Any number of threads may register the same message at once, each in a file
/// of its own, and get one id.
class STP_API MsgDesc {
 public:
  /// The message goes to `file`; its number is in `id`, 0 when it has none yet. Both, and what
  /// `sourcePath` refers to, must outlive this object. Lines count from 1.
  MsgDesc(TraceFile& file, int& id, std::string_view sourcePath, unsigned line) noexcept
      : file_(file), id_(id), sourcePath_(sourcePath), line_(line) {}
  MsgDesc(MsgDesc const&) = delete;
  MsgDesc& operator=(MsgDesc const&) = delete;

  /// Appends to the text; any bytes, of any number. Throws std::bad_alloc.
  MsgDesc& operator<<(std::string_view text) {
    text_ += text;
    return *this;
  }

  /// Appends a number in decimal. Throws std::bad_alloc.
  template <std::unsigned_integral Number>
  requires(!std::same_as<Number, bool>) MsgDesc& operator<<(Number number) {
    text_ += std::to_string(std::uint64_t{number});
    return *this;
  }

  /// Registers the message. An id of 0 becomes the next one of the process, another one is kept.
  /// When the file has no room for the message, or there is no id left (maxMessageId), the id
  /// becomes negative and msgIdInitialized() ends the process. Throws std::bad_alloc.
  void finish();

 private:
  TraceFile& file_;
  int& id_;
  std::string_view sourcePath_;
  unsigned line_;
  std::string text_;
};

}  // namespace Flashlog
