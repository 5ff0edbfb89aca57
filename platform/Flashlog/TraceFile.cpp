#include "Flashlog/TraceFile.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <new>
#include <system_error>
#include <utility>

#include "Flashlog/Clock.h"

namespace Flashlog {

namespace {

constexpr std::size_t initialTableSize = 1024;

std::size_t alignedAreaBytes(TraceFileOptions const& options) {
  std::size_t const alignment = Layout::entryAlignment;
  std::size_t const most = std::numeric_limits<std::size_t>::max() / alignment * alignment;
  return options.messageAreaBytes > most
             ? most
             : (options.messageAreaBytes + alignment - 1) / alignment * alignment;
}

std::size_t checkedFileBytes(std::string const& path, TraceFileOptions const& options) {
  if (options.ringCapacity == 0) {
    throw std::system_error(EINVAL, std::generic_category(),
                            "trace file " + path + ": a ring of 0 records, the least is 1");
  }
  auto const bytes = Layout::fileBytes(alignedAreaBytes(options), options.ringCapacity);
  if (!bytes) {
    throw std::system_error(EFBIG, std::generic_category(),
                            "trace file " + path + ": " + std::to_string(options.ringCapacity) +
                                " records and " + std::to_string(options.messageAreaBytes) +
                                " bytes of messages are more than 2^63 - 1 bytes");
  }
  return *bytes;
}

}  // namespace

TraceFile::TraceFile(std::string path, TraceFileOptions options)
    : registered_(initialTableSize),
      path_(std::move(path)),
      file_(path_, checkedFileBytes(path_, options)) {
  header_ = ::new (file_.data()) Layout::Header{};
  header_->version = Layout::version;
  header_->headerBytes = Layout::headerBytes;
  header_->messageAreaBytes = alignedAreaBytes(options);
  header_->ringCapacity = options.ringCapacity;
  header_->slotBytes = sizeof(Layout::Slot);
  header_->processId = static_cast<std::uint32_t>(getpid());
  header_->firstClock = firstClockPair();
  latestClockIs(calibratedClockPair());

  messageArea_ = file_.data() + Layout::headerBytes;
  ring_ = reinterpret_cast<Layout::Slot*>(messageArea_ + header_->messageAreaBytes);
  next_ = ring_;
  end_ = ring_ + options.ringCapacity;
  Layout::storeInOrder(header_->magic, Layout::magic);
}

TraceFile::~TraceFile() {
  latestClockIs(clockPair());
}

bool TraceFile::registerMessage(int id, std::string_view sourcePath, unsigned line,
                                std::string_view text) {
  if (id < 1 || id > maxMessageId) {
    return false;
  }
  if (registered(id)) {
    return true;
  }
  std::uint64_t const used = header_->messageBytesUsed;
  std::uint64_t const left = header_->messageAreaBytes - used;
  std::uint64_t const longest = std::numeric_limits<std::uint32_t>::max();
  if (sourcePath.size() > longest || text.size() > longest ||
      Layout::entryBytes(sourcePath.size(), text.size()) > left) {
    return false;
  }
  auto const index = static_cast<std::size_t>(id);
  if (index >= registered_.size()) {
    registered_.resize(std::max(index + 1, registered_.size() * 2));
  }

  Layout::EntryHeader const entry{id, line, static_cast<std::uint32_t>(sourcePath.size()),
                                  static_cast<std::uint32_t>(text.size())};
  std::byte* const begin = messageArea_ + used;
  std::memcpy(begin, &entry, sizeof entry);
  std::copy_n(sourcePath.data(), sourcePath.size(), reinterpret_cast<char*>(begin) + sizeof entry);
  std::copy_n(text.data(), text.size(),
              reinterpret_cast<char*>(begin) + sizeof entry + sourcePath.size());
  Layout::storeInOrder(header_->messageBytesUsed,
                       used + Layout::entryBytes(sourcePath.size(), text.size()));
  registered_[index] = 1;
  latestClockIs(clockPair());
  return true;
}

void TraceFile::wrap() noexcept {
  std::uint64_t const lap = header_->lap + 1;
  Layout::storeInOrder(header_->lap, lap);
  lapTag_ = Layout::lapTag(lap);
  next_ = ring_;
  latestClockIs(clockPair());
}

void TraceFile::latestClockIs(ClockPair const& clock) noexcept {
  std::uint64_t const generation = header_->clockGeneration + 1;
  header_->latestClocks[generation % 2] = clock;
  Layout::storeInOrder(header_->clockGeneration, generation);
}

}  // namespace Flashlog
