#include "Flashlog/TraceFile.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "Flashlog/Clock.h"
#include "Flashlog/Reader.h"
#include "Flashlog/TestSupport.h"

namespace Flashlog {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::vector<std::uint64_t> sequences(Trace const& trace) {
  std::vector<std::uint64_t> result;
  for (TraceRecord const& record : trace.records) {
    result.push_back(record.sequence);
  }
  return result;
}

TEST(TraceFile, WhatIsWrittenIsRead) {
  TemporaryFolder const folder;
  std::string const path = folder.file("trace");
  int first = 0;
  int second = 0;
  std::uint64_t const now = timestamp();
  {
    TraceFile file(path);
    EXPECT_EQ(file.path(), path);
    first = newMessage(file, "first", "/src/First", 11);
    second = newMessage(file, "second", "/src/Second", 22);
    file.write(now, 100, second);
    file.write(now + 50, 30, first);
  }

  Trace const trace = readTrace(path);

  EXPECT_EQ(trace.processId, static_cast<std::uint32_t>(getpid()));
  ASSERT_EQ(trace.messages.size(), 2U);
  EXPECT_EQ(trace.messages[0].id, first);
  EXPECT_EQ(trace.messages[0].sourcePath, "/src/First");
  EXPECT_EQ(trace.messages[0].line, 11U);
  EXPECT_EQ(trace.messages[0].text, "first");
  EXPECT_EQ(trace.messages[1].id, second);
  EXPECT_EQ(trace.messages[1].text, "second");
  ASSERT_EQ(trace.records.size(), 2U);
  EXPECT_EQ(trace.records[0].message, 1U);
  EXPECT_EQ(trace.records[0].startTicks, now);
  EXPECT_EQ(trace.records[0].duration, trace.calibration.duration(100));
  EXPECT_EQ(trace.records[1].message, 0U);
  EXPECT_EQ(trace.records[1].startTicks, now + 50);
  EXPECT_EQ(trace.lost, 0U);
  EXPECT_EQ(trace.torn, 0U);
}

TEST(TraceFile, IsReadableWhileItIsOpen) {
  TemporaryFolder const folder;
  TraceFile file(folder.file("trace"), smallTrace(4));
  EXPECT_TRUE(readTrace(file.path()).records.empty());
  file.write(1, 1, newMessage(file, "text"));
  EXPECT_EQ(readTrace(file.path()).records.size(), 1U);
}

TEST(TraceFile, RecordsAreReadInTheOrderOfTheirStart) {
  TemporaryFolder const folder;
  TraceFile file(folder.file("trace"));
  int const id = newMessage(file, "text");
  file.write(120, 5, id);   // innermost, ends first
  file.write(110, 20, id);  // starts with the next one, and ends before it
  file.write(110, 30, id);
  file.write(100, 90, id);

  EXPECT_THAT(sequences(readTrace(file.path())), ElementsAre(3, 2, 1, 0));
}

TEST(TraceFile, FullRingLosesItsOldestRecords) {
  struct Case {
    std::size_t capacity;
    std::uint64_t written;
    std::uint64_t lost;
  };
  TemporaryFolder const folder;
  for (Case const& c : std::vector<Case>{{4, 0, 0},
                                         {4, 3, 0},
                                         {4, 4, 0},
                                         {4, 5, 1},
                                         {4, 7, 3},
                                         {4, 8, 4},
                                         {4, 9, 5},
                                         {5, 23, 18},
                                         {1, 1, 0},
                                         {1, 2, 1},
                                         {1, 9, 8}}) {
    SCOPED_TRACE(std::to_string(c.written) + " records in a ring of " + std::to_string(c.capacity));
    TraceFile file(folder.file("trace"), smallTrace(c.capacity));
    int const id = newMessage(file, "text");
    for (std::uint64_t i = 0; i < c.written; ++i) {
      file.write(1000 + i, i, id);
    }

    Trace const trace = readTrace(file.path());

    EXPECT_EQ(trace.lost, c.lost);
    EXPECT_EQ(trace.torn, 0U);
    ASSERT_EQ(trace.records.size(), c.written - c.lost);
    for (std::size_t i = 0; i < trace.records.size(); ++i) {
      EXPECT_EQ(trace.records[i].sequence, c.lost + i);
      EXPECT_EQ(trace.records[i].startTicks, 1000 + c.lost + i);
    }
  }
}

// What a file tells of the time is as fresh as its last message, its last lap and its end.
TEST(TraceFile, ClockIsRefreshedByMessagesLapsAndTheEnd) {
  TemporaryFolder const folder;
  std::string const path = folder.file("trace");
  Layout::Header before{};
  auto const expectOneRefreshSince = [&](std::uint64_t begin) {
    Layout::Header const after = headerOf(path);
    EXPECT_EQ(after.clockGeneration, before.clockGeneration + 1);
    ClockPair const latest = latestClockOf(after);
    EXPECT_GE(latest.ticks, begin);
    EXPECT_LE(latest.ticks, timestamp());
    // Far enough from the first one to tell the rate of the counter.
    EXPECT_EQ(after.firstClock.ticks, firstClockPair().ticks);
    EXPECT_GE(latest.monotonic - after.firstClock.monotonic, 1'500'000);
    // The pair that was valid is left alone: the process may die while the new one is stored.
    ClockPair const& kept = after.latestClocks[before.clockGeneration % 2];
    EXPECT_EQ(std::memcmp(&kept, &before.latestClocks[before.clockGeneration % 2], sizeof kept), 0);
    before = after;
  };
  std::uint64_t begin = timestamp();
  {
    TraceFile file(path, smallTrace(4));
    expectOneRefreshSince(begin);
    int id = 0;
    for (int message = 0; message < 2; ++message) {
      SCOPED_TRACE("a message");
      begin = timestamp();
      id = newMessage(file, "text");
      expectOneRefreshSince(begin);
    }
    EXPECT_TRUE(file.registerMessage(id, "/src/A", 7, "text"));
    for (int lap = 0; lap < 2; ++lap) {
      SCOPED_TRACE("a lap");
      for (int record = 0; record < 3; ++record) {
        file.write(1, 1, id);
      }
      EXPECT_EQ(headerOf(path).clockGeneration, before.clockGeneration);
      begin = timestamp();
      file.write(1, 1, id);
      expectOneRefreshSince(begin);
    }
    begin = timestamp();
  }
  SCOPED_TRACE("the end");
  expectOneRefreshSince(begin);
}

TEST(TraceFile, MessageAreaIsRoundedUp) {
  TemporaryFolder const folder;
  std::string const path = folder.file("trace");
  for (auto const& [given, expected] : std::vector<std::pair<std::size_t, std::uint64_t>>{
           {0, 0}, {1, 8}, {7, 8}, {8, 8}, {9, 16}, {23, 24}, {1993, 2000}}) {
    SCOPED_TRACE(given);
    TraceFile file(path, {.ringCapacity = 2, .messageAreaBytes = given});
    EXPECT_EQ(headerOf(path).messageAreaBytes, expected);
    EXPECT_EQ(std::filesystem::file_size(path),
              Layout::headerBytes + expected + 2 * sizeof(Layout::Slot));
    bool const holdsOne = expected >= sizeof(Layout::EntryHeader);
    EXPECT_EQ(file.registerMessage(1, "", 1, std::string(holdsOne ? expected - 16 : 0, 'x')),
              holdsOne);
    EXPECT_EQ(readTrace(path).messages.size(), holdsOne ? 1U : 0U);
  }
}

TEST(TraceFile, NumbersWithoutAMessageAreNotRegistered) {
  TemporaryFolder const folder;
  TraceFile file(folder.file("trace"), smallTrace(4));
  int const id = newMessage(file, "text");
  EXPECT_TRUE(file.registered(id));
  for (int const other : {0, id + 1, -1, maxMessageId, maxMessageId + 1,
                          std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    EXPECT_FALSE(file.registered(other)) << other;
  }
}

TEST(TraceFile, IdsBeyondTheTableAreRegistered) {
  TemporaryFolder const folder;
  TraceFile file(folder.file("trace"));
  for (int const id : {5000, 5001, 1, 100'000, maxMessageId}) {
    SCOPED_TRACE(id);
    EXPECT_FALSE(file.registered(id));
    EXPECT_TRUE(file.registerMessage(id, "/src/A", 1, "message " + std::to_string(id)));
    EXPECT_TRUE(file.registered(id));
    EXPECT_FALSE(file.registered(id - 2));
    file.write(static_cast<std::uint64_t>(id), 1, id);
  }
  Trace const trace = readTrace(file.path());
  ASSERT_EQ(trace.records.size(), 5U);
  for (TraceRecord const& record : trace.records) {
    EXPECT_EQ(trace.messages[record.message].text, "message " + std::to_string(record.startTicks));
  }
}

TEST(TraceFile, IdsOutOfRangeAreRefused) {
  TemporaryFolder const folder;
  TraceFile file(folder.file("trace"));
  for (int const id : {0, -1, maxMessageId + 1}) {
    EXPECT_FALSE(file.registerMessage(id, "/src/A", 1, "text")) << id;
  }
  EXPECT_TRUE(readTrace(file.path()).messages.empty());
}

TEST(TraceFile, SecondRegistrationOfAnIdChangesNothing) {
  TemporaryFolder const folder;
  TraceFile file(folder.file("trace"));
  EXPECT_TRUE(file.registerMessage(3, "/src/A", 1, "first"));
  EXPECT_TRUE(file.registerMessage(3, "/src/B", 2, "second"));
  Trace const trace = readTrace(file.path());
  ASSERT_EQ(trace.messages.size(), 1U);
  EXPECT_EQ(trace.messages[0].text, "first");
}

TEST(TraceFile, MessageAreaTakesWhatFitsExactly) {
  TemporaryFolder const folder;
  // Two entries of 16 bytes and their strings.
  TraceFile file(folder.file("trace"), {.ringCapacity = 1, .messageAreaBytes = 2000});
  EXPECT_TRUE(file.registerMessage(1, "path", 1, std::string(980, 'x')));
  EXPECT_FALSE(file.registerMessage(2, "path", 1, std::string(981, 'y')));
  EXPECT_FALSE(file.registered(2));
  EXPECT_TRUE(file.registerMessage(2, "path", 1, std::string(980, 'y')));
  EXPECT_FALSE(file.registerMessage(3, "", 1, ""));
  Trace const trace = readTrace(file.path());
  ASSERT_EQ(trace.messages.size(), 2U);
  EXPECT_EQ(trace.messages[1].text, std::string(980, 'y'));
}

TEST(TraceFile, EmptyMessageAreaRefusesEveryMessage) {
  TemporaryFolder const folder;
  TraceFile file(folder.file("trace"), {.ringCapacity = 1, .messageAreaBytes = 0});
  EXPECT_FALSE(file.registerMessage(1, "", 0, ""));
  EXPECT_TRUE(readTrace(file.path()).messages.empty());
}

TEST(TraceFile, HoldsManyRecordsAndMessagesByDefault) {
  TemporaryFolder const folder;
  TraceFile const file(folder.file("trace"));
  EXPECT_EQ(headerOf(file.path()).ringCapacity, 32768U);
  EXPECT_EQ(headerOf(file.path()).messageAreaBytes, 1048576U);
}

// The descriptors of this process that refer to `path`.
std::vector<int> descriptorsOf(std::string const& path) {
  std::vector<int> result;
  for (auto const& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;
    if (std::filesystem::read_symlink(entry.path(), gone) == path) {
      result.push_back(std::stoi(entry.path().filename()));
    }
  }
  return result;
}

TEST(TraceFile, LeavesNothingOpenAndIsNotInherited) {
  TemporaryFolder const folder;
  std::string const path = folder.file("trace");
  auto const mapped = [&] {
    std::ifstream maps("/proc/self/maps");
    std::string const text{std::istreambuf_iterator<char>(maps), std::istreambuf_iterator<char>()};
    return text.find(path) != std::string::npos;
  };
  {
    TraceFile const file(path, smallTrace(4));
    EXPECT_TRUE(mapped());
    ASSERT_EQ(descriptorsOf(path).size(), 1U);
    EXPECT_EQ(fcntl(descriptorsOf(path).front(), F_GETFD), FD_CLOEXEC);
  }
  EXPECT_FALSE(mapped());
  EXPECT_TRUE(descriptorsOf(path).empty());
}

TEST(TraceFile, NewTraceReplacesTheOldOne) {
  TemporaryFolder const folder;
  std::string const path = folder.file("trace");
  {
    TraceFile file(path, smallTrace(100));
    file.write(1, 1, newMessage(file, "old"));
  }
  {
    TraceFile const file(path, smallTrace(4));
    EXPECT_FALSE(file.registered(1));
  }
  Trace const trace = readTrace(path);
  EXPECT_TRUE(trace.messages.empty());
  EXPECT_TRUE(trace.records.empty());
}

TEST(TraceFile, FailureNamesTheFileAndTheReason) {
  struct Case {
    std::string path;
    TraceFileOptions options;
    std::string reason;
  };
  TemporaryFolder const folder;
  TraceFile const open(folder.file("open"));
  std::size_t const most = std::numeric_limits<std::size_t>::max();
  for (Case const& c : std::vector<Case>{
           {folder.file("no/trace"), {}, "cannot be opened: No such file"},
           {folder.file("."), {}, "cannot be opened: Is a directory"},
           {"/dev/null", {}, "cannot be emptied"},
           {open.path(), {}, "is being written by another trace"},
           {folder.file("a"), {.ringCapacity = 0}, "a ring of 0 records, the least is 1"},
           {folder.file("b"), {.ringCapacity = most}, "more than 2^63 - 1 bytes"},
           {folder.file("c"), {.ringCapacity = 1, .messageAreaBytes = most}, "more than 2^63 - 1"},
           {folder.file("d"),
            {.ringCapacity = std::size_t{1} << 58U},
            "cannot be extended to 6917529027642134528 bytes"}}) {
    SCOPED_TRACE(c.path);
    errno = 0;
    try {
      TraceFile const file(c.path, c.options);
      ADD_FAILURE() << "was created";
    } catch (std::system_error const& error) {
      EXPECT_TRUE(error.code()) << "the reason has a number";
      EXPECT_THAT(error.what(), HasSubstr("trace file " + c.path + ": "));
      EXPECT_THAT(error.what(), HasSubstr(c.reason));
    }
  }
  // The trace that was open is as it was.
  EXPECT_TRUE(readTrace(open.path()).records.empty());
}

bool firstFileKnowsTheRate() {
  TemporaryFolder const folder;
  TraceFile const file(folder.file("trace"), smallTrace(4));
  Layout::Header const header = headerOf(file.path());
  return latestClockOf(header).monotonic - header.firstClock.monotonic >= 1'500'000;
}

TEST(TraceFileDeathTest, FirstFileOfAProcessKnowsTheRateOfTheCounter) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";  // each is a process that asked no clock
  for (int process = 0; process < 10; ++process) {
    EXPECT_EXIT(_exit(firstFileKnowsTheRate() ? 0 : 1), testing::ExitedWithCode(0), "");
  }
}

}  // namespace
}  // namespace Flashlog
