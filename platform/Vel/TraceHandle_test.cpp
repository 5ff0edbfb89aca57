#include "Vel/TraceHandle.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Vel/TraceHelper.h"

namespace Vel {
namespace {

TEST(TraceHandle, StartsWithAllLevelsOrNone) {
  TraceHandle const none("Quiet", false);
  TraceHandle const all("Loud", true);
  EXPECT_EQ(none.name(), "Quiet");
  for (unsigned level = 0; level < 64; ++level) {
    EXPECT_FALSE(none.enabled(level)) << level;
    EXPECT_TRUE(all.enabled(level)) << level;
  }
}

TEST(TraceHandle, SwitchesEachLevelAlone) {
  for (bool const atFirst : {false, true}) {
    for (unsigned const changed : {0U, 8U, 31U, 32U, 63U}) {
      SCOPED_TRACE(changed);
      TraceHandle handle("Handle", atFirst);
      for (bool const value : {!atFirst, !atFirst, atFirst, atFirst, !atFirst}) {
        handle.levelIs(changed, value);
        for (unsigned level = 0; level < 64; ++level) {
          EXPECT_EQ(handle.enabled(level), level == changed ? value : atFirst) << level;
        }
      }
    }
  }
}

TEST(TraceHelper, EmitsOneLineWhenItGoes) {
  TraceHandle const handle("StpSm", false);
  int lines = 0;
  TraceSink before = traceSinkIs([&](TraceLine const& line) {
    ++lines;
    EXPECT_EQ(line.handle, "StpSm");
    EXPECT_EQ(line.level, 8U);
    EXPECT_EQ(line.sourcePath, "/src/Stp/Sm");
    EXPECT_EQ(line.sourceLine, 156U);
    EXPECT_EQ(line.function, "handleMode");
    EXPECT_EQ(line.text, "Sm::handleMode() mode 3");
    EXPECT_LE(line.time, std::chrono::system_clock::now());
    EXPECT_GT(line.time, std::chrono::system_clock::now() - std::chrono::hours(1));
  });
  {
    TraceHelper helper(handle, 8, "/src/Stp/Sm", 156, "handleMode");
    helper.stream() << "Sm::handleMode() ";
    helper.stream() << "mode " << 3;
    EXPECT_EQ(lines, 0);
  }
  EXPECT_EQ(lines, 1);
  TraceSink const ours = traceSinkIs(std::move(before));
  EXPECT_TRUE(ours);
}

TEST(TraceHelper, WritesToStandardErrorByDefault) {
  TraceHandle const handle("StpSm", false);
  TraceSink const before = traceSinkIs({});
  testing::internal::CaptureStderr();
  TraceHelper(handle, 8, "/src/Stp/Sm", 156, "handleMode").stream() << "two\nlines ";
  std::string const written = testing::internal::GetCapturedStderr();
  traceSinkIs(before);
  EXPECT_THAT(written, testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}"
                                             "\\.[0-9]{6}Z StpSm 8 /src/Stp/Sm:156 two\nlines \n"));
}

TEST(TraceSink, DefaultOneWritesTheTimeToTheMicrosecond) {
  TraceSink const standard = traceSinkIs({});
  using std::chrono::microseconds;
  for (auto const& [time, expected] : std::vector<std::pair<microseconds, std::string>>{
           {microseconds(0), "1970-01-01T00:00:00.000000Z"},
           {microseconds(1'800'000'000'000'042), "2027-01-15T08:00:00.000042Z"},
           {microseconds(1'799'999'999'999'999), "2027-01-15T07:59:59.999999Z"}}) {
    TraceLine line;
    line.time = std::chrono::system_clock::time_point(time);
    line.handle = "Sm";
    line.level = 7;
    line.sourcePath = "/src/A";
    line.sourceLine = 12;
    line.text = "text";
    testing::internal::CaptureStderr();
    standard(line);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), expected + " Sm 7 /src/A:12 text\n");
  }
}

TEST(TraceSink, DefaultOneWritesUtcWhereverItRuns) {
  char const* const zone = std::getenv("TZ");
  std::optional<std::string> const before = zone == nullptr ? std::nullopt : std::optional(zone);
  ::setenv("TZ", "FAR-5:30", 1);
  ::tzset();
  TraceLine line;
  line.time = std::chrono::system_clock::time_point(std::chrono::seconds(1'800'000'000));
  TraceSink const standard = traceSinkIs({});
  testing::internal::CaptureStderr();
  standard(line);
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::StartsWith("2027-01-15T08:00:00."));
  before ? ::setenv("TZ", before->c_str(), 1) : ::unsetenv("TZ");
  ::tzset();
}

TEST(TraceSink, IsReplacedUntilTheDefaultIsAskedForAgain) {
  int lines = 0;
  TraceHandle const handle("Sm", false);
  auto const trace = [&] { TraceHelper(handle, 8, "/src/A", 1, "f").stream() << "text"; };
  traceSinkIs([&](TraceLine const&) { ++lines; });
  trace();
  TraceSink const ours = traceSinkIs({});
  testing::internal::CaptureStderr();
  trace();
  EXPECT_EQ(lines, 1);
  EXPECT_NE(testing::internal::GetCapturedStderr(), "");
  traceSinkIs(ours);
  trace();
  EXPECT_EQ(lines, 2);
  traceSinkIs({});
}

TEST(TraceHelperDeathTest, EndsTheProcessWhenTheSinkThrows) {
  TraceHandle const handle("StpSm", false);
  EXPECT_DEATH(
      {
        traceSinkIs([](TraceLine const&) { throw 1; });
        TraceHelper const helper(handle, 8, "/src/Stp/Sm", 156, "handleMode");
      },
      "terminate");
}

}  // namespace
}  // namespace Vel
