#include "Flashlog/BlockTimerSelf.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>

#include "Flashlog/Reader.h"
#include "Flashlog/TestSupport.h"

namespace Flashlog {
namespace {

using std::chrono::milliseconds;
using std::chrono::system_clock;

static_assert(!std::is_copy_constructible_v<BlockTimerSelf>);
static_assert(!std::is_copy_assignable_v<BlockTimerSelf>);
static_assert(std::is_nothrow_constructible_v<BlockTimerSelf, TraceFile*, int>);

TEST(BlockTimerSelf, RecordsItsBlockAtTheEndOfIt) {
  TemporaryFolder const folder;
  TraceFile file(folder.file("trace"));
  int const id = newMessage(file, "block");
  std::uint64_t const before = timestamp();
  {
    BlockTimerSelf const timer(&file, id);
    EXPECT_TRUE(readTrace(file.path()).records.empty());
  }
  std::uint64_t const after = timestamp();

  Trace const trace = readTrace(file.path());

  ASSERT_EQ(trace.records.size(), 1U);
  EXPECT_EQ(trace.messages[trace.records[0].message].text, "block");
  EXPECT_GE(trace.records[0].startTicks, before);
  EXPECT_LE(trace.records[0].startTicks, after);
  EXPECT_LE(trace.records[0].duration, trace.calibration.duration(after - before));
}

TEST(BlockTimerSelf, RecordsABlockThatAnExceptionLeaves) {
  TemporaryFolder const folder;
  TraceFile file(folder.file("trace"));
  int const id = newMessage(file, "block");
  auto const block = [&file, id] {
    BlockTimerSelf const timer(&file, id);
    throw std::runtime_error("out");
  };
  EXPECT_THROW(block(), std::runtime_error);
  EXPECT_EQ(readTrace(file.path()).records.size(), 1U);
}

TEST(BlockTimerSelf, InnerBlockIsReadAfterTheOuterOne) {
  TemporaryFolder const folder;
  TraceFile file(folder.file("trace"));
  int const outer = newMessage(file, "outer");
  int const inner = newMessage(file, "inner");
  {
    BlockTimerSelf const outerTimer(&file, outer);
    BlockTimerSelf const innerTimer(&file, inner);
  }
  Trace const trace = readTrace(file.path());
  ASSERT_EQ(trace.records.size(), 2U);
  EXPECT_EQ(trace.messages[trace.records[0].message].text, "outer");
  EXPECT_EQ(trace.messages[trace.records[1].message].text, "inner");
  EXPECT_GE(trace.records[0].duration, trace.records[1].duration);
}

TEST(BlockTimerSelf, WithoutAFileRecordsNothing) {
  TemporaryFolder const folder;
  TraceFile file(folder.file("trace"));
  int const id = newMessage(file, "block");
  { BlockTimerSelf const timer(nullptr, id); }
  EXPECT_TRUE(readTrace(file.path()).records.empty());
}

TEST(BlockTimerSelf, ReportsTimesOfTheSystemClock) {
  TemporaryFolder const folder;
  TraceFile file(folder.file("trace"));
  int const id = newMessage(file, "block");
  auto const before = system_clock::now();
  {
    BlockTimerSelf const timer(&file, id);
    std::this_thread::sleep_for(milliseconds(20));
  }
  Trace const trace = readTrace(file.path());
  ASSERT_EQ(trace.records.size(), 1U);
  EXPECT_GE(trace.records[0].duration, milliseconds(10));
  EXPECT_LE(trace.records[0].duration, milliseconds(500));
  EXPECT_GE(trace.records[0].start, before - milliseconds(500));
  EXPECT_LE(trace.records[0].start, before + milliseconds(500));
}

}  // namespace
}  // namespace Flashlog
