#include "Flashlog/Reader.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>

#include "Base/FileDescriptor.h"
#include "Flashlog/RingParser.h"

namespace Flashlog {

namespace {

using Bytes = std::span<std::byte const>;

[[noreturn]] void unreadable(std::string const& name, std::string const& what) {
  throw ReadError(name + ": " + what);
}

// The object that was stored at the beginning of `bytes`, which hold all of it.
template <class Object>
Object objectAt(Bytes bytes) noexcept {
  Object object;
  std::memcpy(&object, bytes.data(), sizeof object);
  return object;
}

std::string stringAt(Bytes bytes) {
  return {reinterpret_cast<char const*>(bytes.data()), bytes.size()};
}

// The header, when `bytes` begin as a trace file of this version does.
Layout::Header checkedHeader(std::string const& name, Bytes bytes) {
  if (bytes.empty()) {
    unreadable(name, "is empty");
  }
  std::array<std::byte, sizeof(Layout::Header)> begin{};
  std::size_t const present = std::min(begin.size(), bytes.size());
  std::copy_n(bytes.begin(), present, begin.begin());
  auto const header = objectAt<Layout::Header>(begin);
  if (bytes.size() < sizeof header.magic || header.magic != Layout::magic) {
    bool const blank = std::all_of(begin.begin(), begin.begin() + sizeof header.magic,
                                   [](std::byte byte) { return byte == std::byte{0}; });
    unreadable(name, blank ? "is not a trace file, or its creation was not finished"
                           : "is not a trace file");
  }
  if (bytes.size() < Layout::headerBytes) {
    unreadable(name, "is truncated: " + std::to_string(bytes.size()) + " bytes, its header has " +
                         std::to_string(Layout::headerBytes));
  }
  if (header.version != Layout::version) {
    unreadable(name, "is of version " + std::to_string(header.version) + ", only version " +
                         std::to_string(Layout::version) + " can be read");
  }
  return header;
}

// How long the file is by its header.
std::uint64_t checkedFileBytes(std::string const& name, Layout::Header const& header) {
  if (header.headerBytes != Layout::headerBytes || header.slotBytes != sizeof(Layout::Slot) ||
      header.messageAreaBytes % Layout::entryAlignment != 0 || header.ringCapacity == 0) {
    damaged(name, "sizes that no trace file has: header " + std::to_string(header.headerBytes) +
                      ", message area " + std::to_string(header.messageAreaBytes) + ", record " +
                      std::to_string(header.slotBytes) + " bytes, ring " +
                      std::to_string(header.ringCapacity) + " records");
  }
  auto const bytes = Layout::fileBytes(header.messageAreaBytes, header.ringCapacity);
  if (!bytes) {
    damaged(name, "message area of " + std::to_string(header.messageAreaBytes) +
                      " bytes and ring of " + std::to_string(header.ringCapacity) +
                      " records do not fit any file");
  }
  return *bytes;
}

void checkFileBytes(std::string const& name, std::uint64_t present, std::uint64_t expected) {
  if (present < expected) {
    unreadable(
        name, "is truncated: " + std::to_string(present) + " bytes of " + std::to_string(expected));
  }
  if (present > expected) {
    damaged(name, "more than the " + std::to_string(expected) + " bytes that its header tells of");
  }
}

Calibration checkedCalibration(std::string const& name, Layout::Header const& header) {
  ClockPair const& first = header.firstClock;
  ClockPair const& latest = header.latestClocks[header.clockGeneration % 2];
  if (latest.ticks <= first.ticks || latest.monotonic <= first.monotonic) {
    damaged(name, "its clocks ran backwards");
  }
  return {first, latest};
}

std::vector<Message> parseMessages(std::string const& name, Bytes area, std::uint64_t used) {
  if (used > area.size() || used % Layout::entryAlignment != 0) {
    damaged(name, std::to_string(used) + " bytes used of a message area of " +
                      std::to_string(area.size()));
  }
  std::vector<Message> messages;
  Bytes rest = area.first(used);
  while (!rest.empty()) {
    std::string const place = "message entry " + std::to_string(messages.size() + 1);
    if (rest.size() < sizeof(Layout::EntryHeader)) {
      damaged(name, place + " is out of bounds");
    }
    auto const entry = objectAt<Layout::EntryHeader>(rest);
    std::uint64_t const bytes = Layout::entryBytes(entry.pathBytes, entry.textBytes);
    if (bytes > rest.size()) {
      damaged(name, place + " is out of bounds");
    }
    if (entry.id < 1 || entry.id > maxMessageId) {
      damaged(name, place + " has the id " + std::to_string(entry.id));
    }
    Bytes const strings = rest.subspan(sizeof entry);
    messages.push_back({entry.id, entry.line, stringAt(strings.first(entry.pathBytes)),
                        stringAt(strings.subspan(entry.pathBytes, entry.textBytes))});
    rest = rest.subspan(bytes);
  }
  return messages;
}

// Appends up to `count` bytes of the file to `bytes`, fewer only at the end of the file.
void readBytes(std::string const& path, int fd, std::uint64_t count,
               std::vector<std::byte>& bytes) {
  std::array<std::byte, 65536> buffer;
  while (count > 0) {
    ssize_t const got = read(fd, buffer.data(), std::min<std::uint64_t>(count, buffer.size()));
    if (got < 0 && errno == EINTR) {
      continue;
    }
    if (got < 0) {
      unreadable(path, "cannot be read: " + std::generic_category().message(errno));
    }
    if (got == 0) {
      return;
    }
    bytes.insert(bytes.end(), buffer.begin(), buffer.begin() + got);
    count -= static_cast<std::uint64_t>(got);
  }
}

}  // namespace

Trace parseTrace(std::string const& name, std::span<std::byte const> bytes) {
  Layout::Header const header = checkedHeader(name, bytes);
  checkFileBytes(name, bytes.size(), checkedFileBytes(name, header));
  Bytes const area = bytes.subspan(header.headerBytes, header.messageAreaBytes);
  Trace trace;
  trace.processId = header.processId;
  trace.calibration = checkedCalibration(name, header);
  trace.messages = parseMessages(name, area, header.messageBytesUsed);
  Bytes const ring = bytes.subspan(header.headerBytes + header.messageAreaBytes);
  parseRing(name, ring, header.lap, trace);
  // Records are written when their blocks end, inner ones before outer ones.
  std::stable_sort(trace.records.begin(), trace.records.end(),
                   [](TraceRecord const& left, TraceRecord const& right) {
                     return left.startTicks != right.startTicks ? left.startTicks < right.startTicks
                                                                : left.duration > right.duration;
                   });
  return trace;
}

Trace readTrace(std::string const& path) {
  Base::FileDescriptor const file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.isOpen()) {
    unreadable(path, "cannot be opened: " + std::generic_category().message(errno));
  }
  std::vector<std::byte> bytes;
  readBytes(path, file.number(), Layout::headerBytes, bytes);
  std::uint64_t const expected = checkedFileBytes(path, checkedHeader(path, bytes));
  // One byte more than there should be shows a file that is too long.
  readBytes(path, file.number(), expected - Layout::headerBytes + 1, bytes);
  return parseTrace(path, bytes);
}

}  // namespace Flashlog
