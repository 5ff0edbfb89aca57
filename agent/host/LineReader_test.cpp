#include "agent/host/LineReader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace Agent {
namespace {

bool always(int /*descriptor*/) {
  return true;
}

// The lines of a pipe into which the given pieces are written one after the other.
std::vector<std::string> linesOf(std::vector<std::string> const& pieces, std::size_t longest) {
  std::array<int, 2> ends{};
  EXPECT_EQ(::pipe(ends.data()), 0);
  std::thread writer([&] {
    for (std::string const& piece : pieces) {
      EXPECT_EQ(::write(ends[1], piece.data(), piece.size()), static_cast<ssize_t>(piece.size()));
    }
    ::close(ends[1]);
  });
  std::vector<std::string> lines;
  LineReader reader(ends[0], longest, always);
  while (auto const line = reader.next()) {
    lines.emplace_back(*line);
  }
  writer.join();
  ::close(ends[0]);
  return lines;
}

using Lines = std::vector<std::string>;

TEST(LineReader, EndsEachLineAtItsEnd) {
  EXPECT_EQ(linesOf({"one\n\ntwo\r\n"}, 100), (Lines{"one", "", "two\r"}));
}

TEST(LineReader, TakesALastLineWithoutEnd) {
  EXPECT_EQ(linesOf({"one\ntwo"}, 100), (Lines{"one", "two"}));
  EXPECT_EQ(linesOf({""}, 100), Lines());
}

TEST(LineReader, JoinsWhatComesInPieces) {
  EXPECT_EQ(linesOf({"on", "e", "\n", "tw", "o\nthr", "ee"}, 100), (Lines{"one", "two", "three"}));
}

TEST(LineReader, LinesMayBeLongerThanItsBuffer) {
  std::string const longLine(1'000'000, 'x');
  EXPECT_EQ(linesOf({"a\n" + longLine + "\nb\n"}, 2'000'000), (Lines{"a", longLine, "b"}));
}

TEST(LineReader, OverlongLineIsCutBehindTheLimit) {
  std::string const longLine(1'000'000, 'x');
  EXPECT_EQ(linesOf({"a\n" + longLine + "\nb\n" + longLine}, 70'000),
            (Lines{"a", longLine.substr(0, 70'001), "b", longLine.substr(0, 70'001)}));
}

TEST(LineReader, KeepsBytesOfAnyValue) {
  std::string const bytes("\0\xFF\t", 3);
  EXPECT_EQ(linesOf({bytes + "\n"}, 100), Lines{bytes});
}

TEST(LineReader, ThrowsWhereNothingCanBeRead) {
  int const folder = ::open("/", O_RDONLY);
  LineReader reader(folder, 100, always);
  EXPECT_THROW(reader.next(), std::system_error);
  ::close(folder);
}

TEST(LineReader, LineOfExactlyTheLimitIsWholeAndOneByteMoreIsKept) {
  for (std::size_t const size : {65'535U, 65'536U, 65'537U, 65'538U}) {  // about its buffer's size
    std::string const line(size, 'x');
    EXPECT_EQ(linesOf({line + "\n" + line + "y\n" + line}, size), (Lines{line, line + "y", line}));
  }
}

TEST(LineReader, WaitsAgainWhereAnotherReadWhatCame) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK), 0);
  int waits = 0;
  LineReader reader(ends[0], 100, [&](int descriptor) {
    EXPECT_EQ(descriptor, ends[0]);
    if (++waits == 3) {
      EXPECT_EQ(::write(ends[1], "one\n", 4), 4);
    }
    return true;
  });
  EXPECT_EQ(reader.next(), "one");
  EXPECT_EQ(waits, 3);
  ::close(ends[0]);
  ::close(ends[1]);
}

TEST(LineReader, LineThatIsNotWaitedForAnyMoreIsNone) {
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
  ASSERT_EQ(::write(ends[1], "one\ntw", 6), 6);
  int waits = 0;
  LineReader reader(ends[0], 100, [&](int /*descriptor*/) { return ++waits == 1; });
  EXPECT_EQ(reader.next(), "one");
  EXPECT_EQ(reader.next(), std::nullopt);
  ::close(ends[0]);
  ::close(ends[1]);
}

}  // namespace
}  // namespace Agent
