// A process may die between any two instructions. Whatever it was about to record, the reader never
// shows a record that was not written.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "Base/FileDescriptor.h"
#include "Flashlog/Clock.h"
#include "Flashlog/Reader.h"
#include "Flashlog/TestSupport.h"
#include "Flashlog/TraceFile.h"

namespace Flashlog {
namespace {

constexpr std::uint64_t multiplier = 0x9E3779B97F4A7C15;

// The record of a sequence number: no part of it goes with a part of another record.
std::uint64_t durationOf(std::uint64_t sequence) {
  return ((sequence + 1) * multiplier) >> 32U;
}

std::string textOf(std::uint64_t sequence) {
  return sequence % 3 == 0 ? "fizz" : "other";
}

void writeRecord(TraceFile& file, std::uint64_t sequence, int fizz, int other) {
  file.write(sequence + 1, durationOf(sequence), sequence % 3 == 0 ? fizz : other);
}

void expectRecordsAsWritten(Trace const& trace) {
  for (TraceRecord const& record : trace.records) {
    ASSERT_EQ(record.startTicks, record.sequence + 1);
    ASSERT_EQ(record.duration, trace.calibration.duration(durationOf(record.sequence)));
    ASSERT_EQ(trace.messages[record.message].text, textOf(record.sequence));
  }
}

// Ends a child process, and takes its status, at the end of the scope.
class Child {
 public:
  explicit Child(pid_t pid) : pid_(pid) {}
  ~Child() { killNow(); }
  Child(Child const&) = delete;
  Child& operator=(Child const&) = delete;

  void killNow() {
    if (pid_ > 0) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
      pid_ = 0;
    }
  }

 private:
  pid_t pid_;
};

struct Step {
  char const* after;
  bool start;
  bool duration;
};

// The stores into a slot, each with what has been stored of the new record by then.
constexpr Step steps[] = {
    {"the tag that announces the record", false, false},
    {"its start", true, false},
    {"its duration", true, true},
};

TEST(TornRecord, DeathBetweenTheStoresOfARecordLosesThatRecordOnly) {
  constexpr std::size_t capacity = 4;
  TemporaryFolder const folder;
  for (std::uint64_t written = 0; written < 3 * capacity; ++written) {
    std::vector<std::byte> bytes;
    {
      TraceFile file(folder.file("trace"), smallTrace(capacity));
      int const fizz = newMessage(file, "fizz");
      int const other = newMessage(file, "other");
      for (std::uint64_t i = 0; i < written; ++i) {
        writeRecord(file, i, fizz, other);
      }
      bytes = bytesOf(file.path());
    }
    std::uint64_t const lap = written / capacity;
    std::size_t const slot = slotOffset(bytes, written % capacity);
    for (Step const& step : steps) {
      SCOPED_TRACE("record " + std::to_string(written) + ", death after " + step.after);
      std::vector<std::byte> torn = bytes;
      put(torn, slot + offsetof(Layout::Slot, tag), Layout::lapTag(lap));
      if (step.start) {
        put(torn, slot + offsetof(Layout::Slot, start), written + 1);
      }
      if (step.duration) {
        put(torn, slot + offsetof(Layout::Slot, duration), durationOf(written));
      }

      Trace const trace = parseTrace("torn", torn);

      EXPECT_EQ(trace.torn, 1U);
      EXPECT_EQ(trace.lost, written < capacity ? 0 : written + 1 - capacity);
      EXPECT_EQ(trace.records.size(), written < capacity ? written : capacity - 1);
      expectRecordsAsWritten(trace);
    }
  }
}

// Runs `work` in a child process, one instruction after the other, and hands `look` the bytes of
// the file whenever they are others than before. Returns whether a process can be traced here.
//
// To see that nothing changed takes next to no time: a process that is stepped slowly never gets
// through a reading of its clock, which starts anew when the time changes.
template <class Work, class Look>
bool stepThrough(std::string const& path, Work work, Look look) {
  Base::FileDescriptor const file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  EXPECT_TRUE(file.isOpen());
  pid_t const pid = fork();
  EXPECT_GE(pid, 0);
  if (pid == 0) {
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
      _exit(1);
    }
    raise(SIGSTOP);
    work();
    _exit(0);
  }
  Child child(pid);
  int status = 0;
  EXPECT_EQ(waitpid(pid, &status, 0), pid);
  if (WIFEXITED(status)) {
    return false;
  }
  std::vector<std::byte> seen;
  std::vector<std::byte> now;
  while (!WIFEXITED(status)) {
    now.resize(8192);
    now.resize(static_cast<std::size_t>(pread(file.number(), now.data(), now.size(), 0)));
    if (now != seen) {
      look(now);
      seen = now;
    }
    if (testing::Test::HasFatalFailure() || ptrace(PTRACE_SINGLESTEP, pid, nullptr, nullptr) != 0 ||
        waitpid(pid, &status, 0) != pid) {
      ADD_FAILURE() << "the process could not be stepped to its end";
      return true;
    }
  }
  EXPECT_EQ(WEXITSTATUS(status), 0);
  return true;
}

TEST(TornRecord, NoInstructionOfTheWriterLeavesAWrongRecord) {
  TemporaryFolder const folder;
  TraceFile file(folder.file("trace"), smallTrace(4));
  int const fizz = newMessage(file, "fizz");
  int const other = newMessage(file, "other");
  constexpr std::uint64_t records = 10;
  std::uint64_t tornSeen = 0;
  std::uint64_t begun = 0;
  Layout::Header before = headerOf(file.path());
  auto const write = [&] {
    for (std::uint64_t i = 0; i < records; ++i) {
      writeRecord(file, i, fizz, other);
    }
  };
  auto const look = [&](std::vector<std::byte> const& bytes) {
    Trace const trace = parseTrace("stepped", bytes);
    ASSERT_LE(trace.torn, 1U);
    tornSeen += trace.torn;
    expectRecordsAsWritten(trace);
    std::uint64_t const seen = trace.lost + trace.records.size() + trace.torn;
    ASSERT_TRUE(seen == begun || seen == begun + 1) << seen << " after " << begun;
    begun = seen;
    // A clock pair that is valid stays what it is until the other one is.
    Layout::Header const header = headerOf(bytes);
    ASSERT_LE(header.clockGeneration - before.clockGeneration, 1U);
    if (header.clockGeneration == before.clockGeneration) {
      ClockPair const now = latestClockOf(header);
      ClockPair const then = latestClockOf(before);
      ASSERT_EQ(std::memcmp(&now, &then, sizeof now), 0);
    }
    before = header;
  };
  if (!stepThrough(file.path(), write, look)) {
    GTEST_SKIP() << "a process cannot be traced here";
  }
  EXPECT_EQ(begun, records);
  // Each record is torn from its first store to its last one.
  EXPECT_EQ(tornSeen, records * 3);
  EXPECT_EQ(readTrace(file.path()).lost, records - 4);
}

TEST(TornRecord, NoInstructionOfTheWriterLeavesAWrongMessage) {
  TemporaryFolder const folder;
  TraceFile file(folder.file("trace"), smallTrace(4));
  std::vector<std::string> const texts{"a text", "", "a third text, which is longer"};
  std::size_t complete = 0;
  auto const write = [&] {
    for (std::size_t i = 0; i < texts.size(); ++i) {
      file.registerMessage(static_cast<int>(7 + i), "/src/A", 42, texts[i]);
    }
  };
  auto const look = [&](std::vector<std::byte> const& bytes) {
    Trace const trace = parseTrace("stepped", bytes);
    ASSERT_GE(trace.messages.size(), complete);
    complete = trace.messages.size();
    ASSERT_LE(complete, texts.size());
    for (std::size_t i = 0; i < complete; ++i) {
      ASSERT_EQ(trace.messages[i].id, static_cast<int>(7 + i));
      ASSERT_EQ(trace.messages[i].sourcePath, "/src/A");
      ASSERT_EQ(trace.messages[i].line, 42U);
      ASSERT_EQ(trace.messages[i].text, texts[i]);
    }
  };
  if (!stepThrough(file.path(), write, look)) {
    GTEST_SKIP() << "a process cannot be traced here";
  }
  EXPECT_EQ(complete, texts.size());
}

TEST(TornRecord, NoInstructionOfTheWriterLeavesAFileThatOnlyLooksFinished) {
  TemporaryFolder const folder;
  std::string const path = folder.file("trace");
  bytesAre(path, {});
  static_cast<void>(calibratedClockPair());  // the child need not wait for its first one
  std::size_t refused = 0;
  std::size_t read = 0;
  auto const create = [&] { TraceFile const file(path, smallTrace(4)); };
  auto const look = [&](std::vector<std::byte> const& bytes) {
    try {
      Trace const trace = parseTrace("stepped", bytes);
      ASSERT_NE(trace.processId, 0U);
      ASSERT_TRUE(trace.messages.empty() && trace.records.empty());
      ASSERT_EQ(headerOf(bytes).ringCapacity, 4U);
      ++read;
    } catch (ReadError const& error) {
      ASSERT_EQ(read, 0U) << "it was finished already";
      std::string_view const reason = error.what();
      ASSERT_TRUE(reason.ends_with("is empty") || reason.ends_with("creation was not finished"))
          << reason;
      ++refused;
    }
  };
  if (!stepThrough(path, create, look)) {
    GTEST_SKIP() << "a process cannot be traced here";
  }
  EXPECT_GT(refused, 8U) << "each member of the header is stored before the file is valid";
  EXPECT_GT(read, 1U) << "the clock is refreshed at the end";
}

TEST(TornRecord, KilledProcessLeavesAReadableTrace) {
  constexpr std::size_t capacity = 1000;
  TemporaryFolder const folder;
  for (int run = 0; run < 20; ++run) {
    SCOPED_TRACE(run);
    std::string const path = folder.file("trace");
    int toParent[2];
    ASSERT_EQ(pipe(toParent), 0);
    pid_t const pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      TraceFile file(path, smallTrace(capacity));
      int const fizz = newMessage(file, "fizz");
      int const other = newMessage(file, "other");
      for (std::uint64_t i = 0;; ++i) {
        writeRecord(file, i, fizz, other);
        if (i == capacity + 1 && write(toParent[1], "x", 1) != 1) {
          _exit(1);
        }
      }
    }
    Child child(pid);
    close(toParent[1]);
    char byte = 0;
    EXPECT_EQ(read(toParent[0], &byte, 1), 1);
    close(toParent[0]);
    usleep(static_cast<useconds_t>(run * 100));
    child.killNow();

    Trace const trace = readTrace(path);

    EXPECT_EQ(trace.processId, static_cast<std::uint32_t>(pid));
    EXPECT_LE(trace.torn, 1U);
    EXPECT_EQ(trace.records.size() + trace.torn, capacity);
    EXPECT_GE(trace.lost, 2U);
    expectRecordsAsWritten(trace);
    for (std::size_t i = 1; i < trace.records.size(); ++i) {
      ASSERT_EQ(trace.records[i].sequence, trace.records[i - 1].sequence + 1);
    }
  }
}

}  // namespace
}  // namespace Flashlog
