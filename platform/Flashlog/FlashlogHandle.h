// Where the trace of a program goes. Nothing is traced until the program has made a handle and
// installed it as the default one; then every traced block asks currentTraceFile().
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "Base/Api.h"
#include "Flashlog/TraceFile.h"

namespace Flashlog {

/// Owns the trace files of a program: one, or one for each of its threads, so that every ring has
/// one writer.
class STP_API FlashlogHandle {
 public:
  /// A single-threaded handle creates `path` at once, and throws std::system_error that names it;
  /// while it is the default handle, one thread only may be in traced blocks.
  /// A multi-threaded one creates a file when a thread first asks for its own.
  explicit FlashlogHandle(std::string path, bool multiThreaded = false,
                          TraceFileOptions options = {});

  /// No thread may be using a file of the handle. If the handle is the default one, there is none
  /// afterwards.
  ~FlashlogHandle();
  FlashlogHandle(FlashlogHandle const&) = delete;
  FlashlogHandle& operator=(FlashlogHandle const&) = delete;

  /// The one file, owned by the handle; null when the handle is multi-threaded.
  [[nodiscard]] TraceFile* traceFile() const noexcept { return file_.get(); }

  /// The calling thread's own file, owned by the handle, never null. The first thread that asks
  /// has PATH, the second one PATH.2, and so on; a thread that takes the place of an ended one may
  /// go on in its file. Takes a lock only when the thread did not ask this handle last. Throws
  /// std::system_error that names the file when it cannot be created. For a single-threaded handle
  /// it is traceFile().
  [[nodiscard]] TraceFile* mtTraceFile();

 private:
  [[nodiscard]] TraceFile* threadFile();

  std::unique_ptr<TraceFile> file_;
  std::uint64_t serial_;
  bool multiThreaded_;
  std::string path_;
  TraceFileOptions options_;
  std::mutex mutex_;
  std::map<std::thread::id, std::unique_ptr<TraceFile>> threadFiles_;
};

/// The handle that traced blocks write to; null, as it is at first, means that nothing is traced.
/// To be set while no other thread is in a traced block.
extern STP_API FlashlogHandle* defaultFlashlogHandle;

/// Makes a handle the default one for a scope, then the one that was.
class STP_API DefaultHandleScope {
 public:
  /// `handle`, and the default handle of before, should outlive the scope.
  explicit DefaultHandleScope(FlashlogHandle& handle) noexcept;

  /// Leaves the default handle alone if it is another one by now, or none.
  ~DefaultHandleScope();
  DefaultHandleScope(DefaultHandleScope const&) = delete;
  DefaultHandleScope& operator=(DefaultHandleScope const&) = delete;

 private:
  FlashlogHandle* handle_;
  FlashlogHandle* previous_;
};

/// The file that the calling thread traces to, null when nothing is traced. Throws what
/// FlashlogHandle::mtTraceFile() throws.
[[nodiscard]] inline TraceFile* currentTraceFile() {
  FlashlogHandle* const handle = defaultFlashlogHandle;
  if (handle == nullptr) [[likely]] {
    return nullptr;
  }
  TraceFile* const file = handle->traceFile();
  return file != nullptr ? file : handle->mtTraceFile();
}

}  // namespace Flashlog
