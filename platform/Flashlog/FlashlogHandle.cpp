#include "Flashlog/FlashlogHandle.h"

#include <atomic>
#include <utility>

namespace Flashlog {

namespace {

// What this thread asked for last. The serial of a handle is never used again, its address may be.
struct ThreadFile {
  std::uint64_t serial = 0;
  TraceFile* file = nullptr;
};
constinit thread_local ThreadFile lastThreadFile;

constinit std::atomic<std::uint64_t> lastSerial = 0;

}  // namespace

constinit FlashlogHandle* defaultFlashlogHandle = nullptr;

FlashlogHandle::FlashlogHandle(std::string path, bool multiThreaded, TraceFileOptions options)
    : file_(multiThreaded ? nullptr : std::make_unique<TraceFile>(path, options)),
      serial_(++lastSerial),
      multiThreaded_(multiThreaded),
      path_(std::move(path)),
      options_(options) {
}

FlashlogHandle::~FlashlogHandle() {
  if (defaultFlashlogHandle == this) {
    defaultFlashlogHandle = nullptr;
  }
}

TraceFile* FlashlogHandle::mtTraceFile() {
  ThreadFile& last = lastThreadFile;
  if (last.serial != serial_) [[unlikely]] {
    TraceFile* const file = multiThreaded_ ? threadFile() : file_.get();
    last = {serial_, file};
  }
  return last.file;
}

TraceFile* FlashlogHandle::threadFile() {
  std::lock_guard const lock(mutex_);
  auto const found = threadFiles_.find(std::this_thread::get_id());
  if (found != threadFiles_.end()) {
    return found->second.get();
  }
  std::size_t const number = threadFiles_.size() + 1;
  auto file = std::make_unique<TraceFile>(
      number == 1 ? path_ : path_ + "." + std::to_string(number), options_);
  return threadFiles_.emplace(std::this_thread::get_id(), std::move(file)).first->second.get();
}

DefaultHandleScope::DefaultHandleScope(FlashlogHandle& handle) noexcept
    : handle_(&handle), previous_(std::exchange(defaultFlashlogHandle, &handle)) {
}

DefaultHandleScope::~DefaultHandleScope() {
  if (defaultFlashlogHandle == handle_) {
    defaultFlashlogHandle = previous_;
  }
}

}  // namespace Flashlog
