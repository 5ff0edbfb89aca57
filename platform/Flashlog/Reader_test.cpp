#include "Flashlog/Reader.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "Base/FileDescriptor.h"
#include "Flashlog/TestSupport.h"

namespace Flashlog {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

using Bytes = std::vector<std::byte>;

constexpr std::size_t capacity = 4;
constexpr int firstId = 3;
constexpr int secondId = 1;

// A file with two messages and six records in a ring of four.
Bytes sample() {
  TemporaryFolder const folder;
  TraceFile file(folder.file("trace"), smallTrace(capacity));
  EXPECT_TRUE(file.registerMessage(firstId, "/src/A", 7, "first"));
  EXPECT_TRUE(file.registerMessage(secondId, "/src/A", 8, "second"));
  for (std::uint64_t i = 0; i < 6; ++i) {
    file.write(100 + i, i, i % 2 == 0 ? firstId : secondId);
  }
  return bytesOf(file.path());
}

// The message of the error that reading ends with, less the name that it begins with.
template <class Read>
std::string refusalBy(std::string const& name, Read read) {
  try {
    static_cast<void>(read());
  } catch (ReadError const& error) {
    EXPECT_THAT(error.what(), StartsWith(name + ": "));
    return std::string(error.what()).substr(name.size() + 2);
  }
  ADD_FAILURE() << name << " was read";
  return {};
}
std::string refusal(Bytes const& bytes) {
  return refusalBy("NAME", [&] { return parseTrace("NAME", bytes); });
}
std::string refusalOfFile(std::string const& path) {
  return refusalBy(path, [&] { return readTrace(path); });
}

// Reads bytes that may be damaged: either they make a trace of the file's size or they are refused.
void expectSurvival(Bytes const& bytes) {
  try {
    Trace const trace = parseTrace("NAME", bytes);
    EXPECT_LE(trace.records.size(), bytes.size() / sizeof(Layout::Slot));
    EXPECT_LE(trace.messages.size(), bytes.size() / sizeof(Layout::EntryHeader));
    for (TraceRecord const& record : trace.records) {
      EXPECT_LT(record.message, trace.messages.size());
    }
  } catch (ReadError const& error) {
    EXPECT_THAT(error.what(), StartsWith("NAME: "));
  }
}

TEST(Reader, FilesThatAreNoTraceAreRefused) {
  TemporaryFolder const folder;
  std::string const path = folder.file("trace");
  struct Case {
    std::string contents;
    std::string reason;
  };
  for (Case const& c : std::vector<Case>{
           {"", "is empty"},
           {"F", "is not a trace file"},
           {"FLASHLO", "is not a trace file"},
           {"FLASHLOG", "is truncated: 8 bytes, its header has 4096"},
           {std::string(100, '#'), "is not a trace file"},
           {std::string(10'000, '\0'), "is not a trace file, or its creation was not finished"},
           {std::string(10'000, '#'), "is not a trace file"}}) {
    bytesAre(path, std::as_bytes(std::span(c.contents)));
    EXPECT_EQ(refusalOfFile(path), c.reason);
  }
}

TEST(Reader, FilesThatCannotBeReadAreNamed) {
  struct Case {
    std::string path;
    std::string reason;
  };
  for (Case const& c : std::vector<Case>{{"/no/such/file", "cannot be opened: No such file"},
                                         {"/", "cannot be read: Is a directory"},
                                         {"/dev/null", "is empty"},
                                         {"/dev/zero", "is not a trace file"}}) {
    EXPECT_THAT(refusalOfFile(c.path), StartsWith(c.reason));
  }
}

// A file may come in pieces, through a pipe, while signals arrive.
TEST(Reader, ReadsOnWhenAnotherThreadInterruptsIt) {
  TemporaryFolder const folder;
  std::string const path = folder.file("pipe");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  struct sigaction ignoring {};
  ignoring.sa_handler = [](int) {};
  struct sigaction before {};
  ASSERT_EQ(sigaction(SIGUSR1, &ignoring, &before), 0);
  pthread_t const reader = pthread_self();
  std::thread writer([&] {
    Base::FileDescriptor const pipe(open(path.c_str(), O_WRONLY | O_CLOEXEC));
    Bytes const bytes = sample();
    std::span<std::byte const> rest = bytes;
    while (!rest.empty()) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
      pthread_kill(reader, SIGUSR1);
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
      std::span<std::byte const> const piece = rest.first(std::min<std::size_t>(rest.size(), 1000));
      EXPECT_EQ(write(pipe.number(), piece.data(), piece.size()),
                static_cast<ssize_t>(piece.size()));
      rest = rest.subspan(piece.size());
    }
  });
  EXPECT_EQ(readTrace(path).records.size(), capacity);
  writer.join();
  sigaction(SIGUSR1, &before, nullptr);
}

TEST(Reader, TruncatedFileTellsWhatItLacks) {
  TemporaryFolder const folder;
  std::string const path = folder.file("trace");
  Bytes const bytes = sample();
  ASSERT_EQ(bytes.size(), 4096U + 512 + capacity * 24);
  for (std::size_t const size : {std::size_t{4096}, bytes.size() - 24, bytes.size() - 1}) {
    bytesAre(path, std::span(bytes).first(size));
    EXPECT_EQ(refusalOfFile(path), "is truncated: " + std::to_string(size) + " bytes of 4704");
  }
  for (std::size_t const size : {sizeof(Layout::Header), std::size_t{4095}}) {
    bytesAre(path, std::span(bytes).first(size));
    EXPECT_EQ(refusalOfFile(path),
              "is truncated: " + std::to_string(size) + " bytes, its header has 4096");
  }
}

TEST(Reader, FileOfAnotherVersionTellsBoth) {
  for (std::uint32_t const version : {0U, 2U, 0x01000000U, 0xFFFFFFFFU}) {
    Bytes bytes = sample();
    put(bytes, offsetof(Layout::Header, version), version);
    EXPECT_EQ(refusal(bytes),
              "is of version " + std::to_string(version) + ", only version 1 can be read");
  }
}

TEST(Reader, TooLongFileIsRefused) {
  TemporaryFolder const folder;
  std::string const path = folder.file("trace");
  for (std::size_t const more : {1, 24, 100'000}) {
    SCOPED_TRACE(more);
    Bytes bytes = sample();
    bytes.resize(bytes.size() + more);
    EXPECT_EQ(refusal(bytes), "is damaged: more than the 4704 bytes that its header tells of");
    bytesAre(path, bytes);
    EXPECT_EQ(refusalOfFile(path), refusal(bytes));
  }
  bytesAre(path, sample());
  EXPECT_EQ(readTrace(path).records.size(), capacity);
}

TEST(Reader, ClocksThatDoNotAdvanceAreRefused) {
  ClockPair const first{.ticks = 1000, .realtime = 5, .monotonic = 2000};
  struct Case {
    ClockPair latest;
    bool advances;
  };
  for (Case const& c :
       {Case{{1001, 5, 2001}, true}, Case{{1001, 4, 2001}, true}, Case{{1000, 6, 2001}, false},
        Case{{999, 6, 2001}, false}, Case{{1001, 6, 2000}, false}, Case{{1001, 6, 1999}, false}}) {
    for (std::uint64_t const generation : {2, 3}) {
      SCOPED_TRACE(std::to_string(c.latest.ticks) + " " + std::to_string(c.latest.monotonic));
      Bytes bytes = sample();
      Layout::Header header = headerOf(bytes);
      header.firstClock = first;
      header.clockGeneration = generation;
      header.latestClocks.at(generation % 2) = c.latest;
      header.latestClocks.at((generation + 1) % 2) =
          c.advances ? first : ClockPair{2000, 6, 3000};  // the one that is not looked at
      put(bytes, 0, header);
      if (c.advances) {
        EXPECT_EQ(parseTrace("NAME", bytes).calibration.duration(7).count(), 7);
      } else {
        EXPECT_EQ(refusal(bytes), "is damaged: its clocks ran backwards");
      }
    }
  }
}

TEST(Reader, DamagedHeaderIsRefused) {
  struct Case {
    std::size_t offset;
    std::uint64_t value;
    std::string reason;
  };
  std::uint64_t const most = std::numeric_limits<std::uint64_t>::max();
  for (Case const& c : std::vector<Case>{
           {offsetof(Layout::Header, messageAreaBytes), 513, "sizes that no trace file has"},
           {offsetof(Layout::Header, messageAreaBytes), 1024, "is truncated"},
           {offsetof(Layout::Header, messageAreaBytes), 504, "more than"},
           {offsetof(Layout::Header, messageAreaBytes), most - 7, "do not fit any file"},
           {offsetof(Layout::Header, ringCapacity), 0, "sizes that no trace file has"},
           {offsetof(Layout::Header, ringCapacity), 5, "is truncated"},
           {offsetof(Layout::Header, ringCapacity), 3, "more than"},
           {offsetof(Layout::Header, ringCapacity), most, "do not fit any file"},
           {offsetof(Layout::Header, ringCapacity), most / 24 + 5, "do not fit any file"},
           {offsetof(Layout::Header, slotBytes), 32, "sizes that no trace file has"},
           {offsetof(Layout::Header, messageBytesUsed), 520, "520 bytes used"},
           {offsetof(Layout::Header, messageBytesUsed), most, "bytes used of a message area"},
           {offsetof(Layout::Header, messageBytesUsed), 1, "1 bytes used"},
           {offsetof(Layout::Header, messageBytesUsed), 8, "message entry 1 is out of bounds"},
           {offsetof(Layout::Header, messageBytesUsed), 40, "message entry 2 is out of bounds"},
           {offsetof(Layout::Header, messageBytesUsed), 32, "has the unknown message id"},
           {offsetof(Layout::Header, lap), 3, "record 1 of the ring has a sequence"},
           {offsetof(Layout::Header, lap), most, "laps of the ring"},
           {offsetof(Layout::Header, firstClock), most, "its clocks ran backwards"},
       }) {
    SCOPED_TRACE(c.reason);
    Bytes bytes = sample();
    put(bytes, c.offset, c.value);
    EXPECT_THAT(refusal(bytes), HasSubstr(c.reason));
  }
}

TEST(Reader, DamagedMessageIsRefused) {
  struct Case {
    std::size_t offset;
    std::uint32_t value;
    std::string reason;
  };
  std::uint32_t const most = std::numeric_limits<std::uint32_t>::max();
  std::size_t const secondEntry = Layout::entryBytes(6, 5);
  for (Case const& c : std::vector<Case>{
           {offsetof(Layout::EntryHeader, id), 0, "message entry 1 has the id 0"},
           {offsetof(Layout::EntryHeader, id), most, "message entry 1 has the id -1"},
           {offsetof(Layout::EntryHeader, id), maxMessageId + 1, "message entry 1 has the id"},
           {offsetof(Layout::EntryHeader, pathBytes), most, "message entry 1 is out of bounds"},
           {offsetof(Layout::EntryHeader, textBytes), most, "message entry 1 is out of bounds"},
           {secondEntry + offsetof(Layout::EntryHeader, textBytes), 200,
            "message entry 2 is out of bounds"},
           {secondEntry + offsetof(Layout::EntryHeader, id), firstId,
            "two messages have the id"}}) {
    SCOPED_TRACE(c.reason);
    Bytes bytes = sample();
    put(bytes, Layout::headerBytes + c.offset, c.value);
    EXPECT_THAT(refusal(bytes), HasSubstr(c.reason));
  }
}

TEST(Reader, DamagedRecordIsRefused) {
  // Slots 0 and 1 are of lap 1, slots 2 and 3 of lap 0.
  struct Case {
    std::size_t slot;
    std::uint64_t tag;
    std::string reason;
  };
  for (Case const& c : std::vector<Case>{
           {0, Layout::lapTag(1) | 99'999, "record 1 of the ring has the unknown message id 99999"},
           {0, Layout::lapTag(3) | 1, "record 1 of the ring has a sequence that is not its own"},
           {0, 0, "record 1 of the ring has a sequence that is not its own"},
           {1, Layout::lapTag(2) | 1, "record 2 of the ring has a sequence that is not its own"},
           {2, Layout::lapTag(3) | 1, "record 3 of the ring has a sequence that is not its own"},
           {3, Layout::lapTag(1) | 1, "record 4 of the ring has a sequence that is not its own"},
           {3, Layout::lapTag(0), "record 4 of the ring has the unknown message id 0"},
           {0, Layout::lapTag(1), "record 1 of the ring has the unknown message id 0"},
           {3, 0, "record 4 of the ring has a sequence that is not its own"}}) {
    SCOPED_TRACE(c.reason);
    Bytes bytes = sample();
    put(bytes, slotOffset(bytes, c.slot) + offsetof(Layout::Slot, tag), c.tag);
    EXPECT_THAT(refusal(bytes), HasSubstr(c.reason));
  }
}

TEST(Reader, RecordsInARingThatIsUnusedByItsHeaderAreRefused) {
  Bytes bytes = sample();
  Layout::Slot const blank{};
  put(bytes, slotOffset(bytes, 0), blank);
  EXPECT_THAT(refusal(bytes), HasSubstr("no record, but 1 laps of the ring"));
  put(bytes, offsetof(Layout::Header, lap), std::uint64_t{0});
  EXPECT_THAT(refusal(bytes), HasSubstr("record 2 of the ring has a sequence"));
}

// In the first lap nothing was written yet behind the newest record, whatever part of it is asked.
TEST(Reader, SlotsThatTheFirstLapHasNotReachedMustBeBlank) {
  TemporaryFolder const folder;
  for (std::size_t const written : {0U, 1U, 2U}) {
    TraceFile file(folder.file("trace"), smallTrace(capacity));
    int const id = newMessage(file, "text");
    for (std::size_t i = 0; i < written; ++i) {
      file.write(100 + i, i, id);
    }
    Bytes const good = bytesOf(file.path());
    ASSERT_EQ(parseTrace("NAME", good).records.size(), written);
    for (std::size_t slot = written + 1; slot < capacity; ++slot) {
      for (std::size_t const member :
           {offsetof(Layout::Slot, start), offsetof(Layout::Slot, duration),
            offsetof(Layout::Slot, tag)}) {
        SCOPED_TRACE(std::to_string(written) + " written, slot " + std::to_string(slot));
        Bytes bytes = good;
        put(bytes, slotOffset(bytes, slot) + member, std::uint64_t{1});
        EXPECT_EQ(refusal(bytes), "is damaged: record " + std::to_string(slot + 1) +
                                      " of the ring has a sequence that is not its own");
      }
    }
  }
}

TEST(Reader, LapsAreCountedBeyondWhatATagHolds) {
  std::uint64_t const tags = std::numeric_limits<std::uint32_t>::max();
  for (std::uint64_t const lap : {tags - 1, tags, tags + 1, 5 * tags}) {
    SCOPED_TRACE(lap);
    Bytes bytes = sample();
    for (std::size_t i = 0; i < capacity; ++i) {
      put(bytes, slotOffset(bytes, i) + offsetof(Layout::Slot, tag),
          Layout::lapTag(i < 2 ? lap : lap - 1) | firstId);
    }
    // The header is a lap ahead when the writer died at the end of the ring.
    for (std::uint64_t const headerLap : {lap - 1, lap, lap + 1}) {
      put(bytes, offsetof(Layout::Header, lap), headerLap);
      Trace const trace = parseTrace("NAME", bytes);
      EXPECT_EQ(trace.lost, lap * capacity + 2 - capacity);
      ASSERT_EQ(trace.records.size(), capacity);
      for (TraceRecord const& record : trace.records) {
        EXPECT_EQ(record.sequence, lap * capacity + record.startTicks - 100 - capacity);
      }
    }
  }
}

TEST(Reader, LapsAreCountedWhileSequencesFit) {
  std::uint64_t const last = std::numeric_limits<std::uint64_t>::max() / capacity - 2;
  Bytes bytes = sample();
  for (std::size_t i = 0; i < capacity; ++i) {
    put(bytes, slotOffset(bytes, i) + offsetof(Layout::Slot, tag),
        Layout::lapTag(i < 2 ? last : last - 1) | firstId);
  }
  put(bytes, offsetof(Layout::Header, lap), last);
  EXPECT_EQ(parseTrace("NAME", bytes).lost, last * capacity + 2 - capacity);
  put(bytes, offsetof(Layout::Header, lap), last + 1);
  EXPECT_THAT(refusal(bytes), HasSubstr("laps of the ring"));
}

TEST(Reader, FlippedBitsNeverCrashIt) {
  Bytes const bytes = sample();
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i == sizeof(Layout::Header)) {
      i = Layout::headerBytes;
    }
    for (unsigned const mask : {0x01U, 0x10U, 0x80U, 0xFFU}) {
      Bytes flipped = bytes;
      flipped[i] ^= static_cast<std::byte>(mask);
      expectSurvival(flipped);
    }
  }
}

TEST(Reader, RandomDamageNeverCrashesIt) {
  std::mt19937_64 random(20'260'131);
  Bytes const bytes = sample();
  std::vector<std::uint64_t> const extremes{0,
                                            1,
                                            2,
                                            0x7FFFFFFF,
                                            0x80000000,
                                            0xFFFFFFFF,
                                            0x7FFFFFFFFFFFFFFF,
                                            0x8000000000000000,
                                            0xFFFFFFFFFFFFFFFF};
  for (int run = 0; run < 20'000; ++run) {
    Bytes damaged = bytes;
    for (std::uint64_t count = 1 + random() % 4; count > 0; --count) {
      std::uint64_t const value =
          random() % 2 == 0 ? extremes[random() % extremes.size()] : random();
      std::size_t const begin = random() % 2 == 0 ? random() % sizeof(Layout::Header)
                                                  : Layout::headerBytes + random() % (512 + 96);
      put(damaged, std::min(begin, damaged.size() - sizeof value), value);
    }
    if (random() % 8 == 0) {
      damaged.resize(random() % damaged.size());
    }
    expectSurvival(damaged);
  }
}

}  // namespace
}  // namespace Flashlog
