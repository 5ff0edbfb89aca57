// Results on their way to a reader who takes his time, or none at all.
#include "agent/host/Output.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <string>
#include <system_error>
#include <utility>

namespace Agent {
namespace {

using std::chrono::milliseconds;

enum class Kind { pipe, socket, terminal };

// A place to write to, and its other end.
class OutputTest : public testing::TestWithParam<Kind> {
 protected:
  OutputTest() {
    std::signal(SIGPIPE, SIG_IGN);
    ::alarm(60);  // an output that waits is ended
    int made = -1;
    switch (GetParam()) {
      case Kind::pipe: made = ::pipe2(ends_.data(), O_CLOEXEC); break;
      case Kind::socket: made = ::socketpair(AF_UNIX, SOCK_STREAM, 0, ends_.data()); break;
      case Kind::terminal: made = ::openpty(&ends_[0], &ends_[1], nullptr, nullptr, nullptr); break;
    }
    EXPECT_EQ(made, 0);
  }
  ~OutputTest() override {
    readerGoes();
    ::close(writing());
    ::alarm(0);
  }

  int writing() const { return ends_[1]; }
  void readerGoes() {
    if (ends_[0] >= 0) {
      ::close(std::exchange(ends_[0], -1));
    }
  }

  // What can be read without waiting, at most so much.
  std::string read(std::size_t most) const {
    std::string text;
    pollfd readable{ends_[0], POLLIN, 0};
    while (text.size() < most && ::poll(&readable, 1, 0) > 0) {
      std::array<char, 4096> buffer{};
      ssize_t const size =
          ::read(ends_[0], buffer.data(), std::min(buffer.size(), most - text.size()));
      if (size <= 0) {
        break;
      }
      text.append(buffer.data(), static_cast<std::size_t>(size));
    }
    return text;
  }

  // Everything, read in pieces of that size while the loop turns.
  std::string readAll(DescriptorOutput const& output, std::size_t piece) {
    std::string text = read(piece);
    while (output.waiting() > 0) {
      loop.turn(milliseconds(1));
      text += read(piece);
    }
    for (std::string more = read(piece); !more.empty(); more = read(piece)) {
      text += more;
    }
    return text;
  }

  // How often something keeps the loop from waiting, in a time in which nothing happens.
  int turnsWhileIdle() {
    bool isOver = false;
    auto const limit = loop.after(milliseconds(200), [&isOver] { isOver = true; });
    int turns = 0;
    while (!isOver) {
      loop.turn();
      ++turns;
    }
    return turns;
  }

  Loop loop;

 private:
  std::array<int, 2> ends_{-1, -1};
};

// Lines that are all different, more than any of them holds.
std::string manyLines(DescriptorOutput& output) {
  std::string all;
  for (int line = 0; line < 40'000; ++line) {
    std::string const text = "line " + std::to_string(line);
    output.lineAdd(text);
    all += text + "\n";
  }
  return all;
}

TEST_P(OutputTest, KeepsWhatTheReaderDoesNotTakeYetAndWritesItInOrder) {
  DescriptorOutput output(loop, writing());
  std::string expected = manyLines(output);
  EXPECT_GT(output.waiting(), 0U);
  EXPECT_FALSE(output.error());
  std::string text = readAll(output, 10'000);
  EXPECT_FALSE(output.error());
  std::erase(text, '\r');  // of a terminal
  EXPECT_TRUE(text == expected);
  EXPECT_EQ(output.taken(), expected.size());
}

TEST_P(OutputTest, TellsHowMuchIsTaken) {
  DescriptorOutput output(loop, writing());
  std::size_t const all = manyLines(output).size();
  EXPECT_EQ(output.taken() + output.waiting(), all);
  std::size_t const before = output.taken();
  while (output.taken() == before) {
    (void)read(10'000);
    loop.turn(milliseconds(1));
  }
  EXPECT_EQ(output.taken() + output.waiting(), all);
}

TEST_P(OutputTest, WhatIsGivenUpIsWaitedForNoMore) {
  DescriptorOutput output(loop, writing());
  manyLines(output);
  output.giveUp(std::errc::timed_out);
  EXPECT_EQ(output.waiting(), 0U);
  EXPECT_EQ(output.error(), std::errc::timed_out);
  output.lineAdd("more");
  EXPECT_EQ(output.waiting(), 0U);
}

TEST_P(OutputTest, IdleOutputLeavesTheLoopAlone) {
  DescriptorOutput output(loop, writing());
  output.readerIsWatched();
  output.lineAdd("line");
  EXPECT_LT(turnsWhileIdle(), 20);
  EXPECT_FALSE(output.error());
}

TEST_P(OutputTest, WatchedReaderWhoIsSlowGetsEverythingAndThenThereIsPeace) {
  DescriptorOutput output(loop, writing());
  output.readerIsWatched();
  std::string const expected = manyLines(output);
  std::string text = readAll(output, 10'000);
  std::erase(text, '\r');  // of a terminal
  EXPECT_TRUE(text == expected);
  EXPECT_LT(turnsWhileIdle(), 20);
}

std::string nameOf(testing::TestParamInfo<Kind> const& info) {
  constexpr std::array names{"Pipe", "Socket", "Terminal"};
  return names.at(static_cast<std::size_t>(info.param));
}

INSTANTIATE_TEST_SUITE_P(Into, OutputTest,
                         testing::Values(Kind::pipe, Kind::socket, Kind::terminal), &nameOf);

class PipeOutput : public OutputTest {};

TEST_P(PipeOutput, ReaderWhoGoesIsAnErrorAtTheNextLine) {
  DescriptorOutput output(loop, writing());
  readerGoes();
  loop.turn(milliseconds(1));
  EXPECT_FALSE(output.error());
  output.lineAdd("line");
  EXPECT_EQ(output.error(), std::errc::broken_pipe);
  EXPECT_EQ(output.waiting(), 0U);
}

TEST_P(PipeOutput, ReaderWhoIsWatchedAndGoesIsAnErrorBeforeAnyLine) {
  DescriptorOutput output(loop, writing());
  output.readerIsWatched();
  readerGoes();
  loop.turn();
  EXPECT_EQ(output.error(), std::errc::broken_pipe);
}

INSTANTIATE_TEST_SUITE_P(Into, PipeOutput, testing::Values(Kind::pipe), &nameOf);

}  // namespace
}  // namespace Agent
