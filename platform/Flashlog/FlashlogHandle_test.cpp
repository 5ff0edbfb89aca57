#include "Flashlog/FlashlogHandle.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "Flashlog/BlockTimerSelf.h"
#include "Flashlog/Reader.h"
#include "Flashlog/TestSupport.h"

namespace Flashlog {
namespace {

using testing::HasSubstr;

TEST(FlashlogHandle, NothingIsTracedByDefault) {
  EXPECT_EQ(defaultFlashlogHandle, nullptr);
  EXPECT_EQ(currentTraceFile(), nullptr);
}

TEST(FlashlogHandle, SingleThreadedHandleHasOneFile) {
  TemporaryFolder const folder;
  FlashlogHandle handle(folder.file("trace"));
  ASSERT_NE(handle.traceFile(), nullptr);
  EXPECT_EQ(handle.traceFile()->path(), folder.file("trace"));
  EXPECT_EQ(handle.mtTraceFile(), handle.traceFile());
  EXPECT_TRUE(std::filesystem::exists(folder.file("trace")));
}

TEST(FlashlogHandle, DefaultHandleLastsForItsScope) {
  TemporaryFolder const folder;
  FlashlogHandle outer(folder.file("outer"));
  FlashlogHandle inner(folder.file("inner"));
  {
    DefaultHandleScope const outerScope(outer);
    EXPECT_EQ(currentTraceFile(), outer.traceFile());
    {
      DefaultHandleScope const innerScope(inner);
      EXPECT_EQ(currentTraceFile(), inner.traceFile());
    }
    EXPECT_EQ(currentTraceFile(), outer.traceFile());
  }
  EXPECT_EQ(defaultFlashlogHandle, nullptr);
}

TEST(FlashlogHandle, DestroyedDefaultHandleIsNoLongerTheDefault) {
  TemporaryFolder const folder;
  {
    FlashlogHandle handle(folder.file("trace"));
    defaultFlashlogHandle = &handle;
    { FlashlogHandle const another(folder.file("another")); }
    EXPECT_EQ(defaultFlashlogHandle, &handle);
  }
  EXPECT_EQ(defaultFlashlogHandle, nullptr);
}

TEST(FlashlogHandle, ScopeThatOutlivesItsHandleRestoresNothing) {
  TemporaryFolder const folder;
  FlashlogHandle outer(folder.file("outer"));
  DefaultHandleScope const outerScope(outer);
  auto first = std::make_unique<FlashlogHandle>(folder.file("first"));
  {
    DefaultHandleScope const scope(*first);
    first.reset();
    EXPECT_EQ(defaultFlashlogHandle, nullptr);
  }
  EXPECT_EQ(defaultFlashlogHandle, nullptr);
}

TEST(FlashlogHandle, ScopeLeavesAHandleAloneThatCameMeanwhile) {
  TemporaryFolder const folder;
  FlashlogHandle first(folder.file("first"));
  FlashlogHandle second(folder.file("second"));
  {
    DefaultHandleScope const scope(first);
    defaultFlashlogHandle = &second;
  }
  EXPECT_EQ(defaultFlashlogHandle, &second);
  defaultFlashlogHandle = nullptr;
}

TEST(FlashlogHandle, OptionsReachTheFile) {
  TemporaryFolder const folder;
  for (bool const multiThreaded : {false, true}) {
    FlashlogHandle handle(folder.file("trace"), multiThreaded, smallTrace(4));
    Layout::Header const header = headerOf(handle.mtTraceFile()->path());
    EXPECT_EQ(header.ringCapacity, 4U);
    EXPECT_EQ(header.messageAreaBytes, 512U);
  }
}

TEST(FlashlogHandle, MultiThreadedHandleHasNoFileUntilAThreadAsks) {
  TemporaryFolder const folder;
  FlashlogHandle handle(folder.file("trace"), true);
  EXPECT_EQ(handle.traceFile(), nullptr);
  EXPECT_FALSE(std::filesystem::exists(folder.file("trace")));
  DefaultHandleScope const scope(handle);
  TraceFile* const file = currentTraceFile();
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->path(), folder.file("trace"));
  EXPECT_EQ(currentTraceFile(), file);
}

TEST(FlashlogHandle, ThreadKeepsItsFileOfEachHandle) {
  TemporaryFolder const folder;
  FlashlogHandle first(folder.file("first"), true, smallTrace(4));
  FlashlogHandle second(folder.file("second"), true, smallTrace(4));
  TraceFile* const ofFirst = first.mtTraceFile();
  TraceFile* const ofSecond = second.mtTraceFile();
  EXPECT_NE(ofFirst, ofSecond);
  EXPECT_EQ(first.mtTraceFile(), ofFirst);
  EXPECT_EQ(second.mtTraceFile(), ofSecond);
  EXPECT_FALSE(std::filesystem::exists(folder.file("first.2")));
}

TEST(FlashlogHandle, FailureToCreateAFileNamesIt) {
  TemporaryFolder const folder;
  std::string const path = folder.file("no/trace");
  EXPECT_THROW(FlashlogHandle{path}, std::system_error);
  FlashlogHandle handle(path, true);
  for (int i = 0; i < 2; ++i) {
    try {
      static_cast<void>(handle.mtTraceFile());
      ADD_FAILURE() << "was created";
    } catch (std::system_error const& error) {
      EXPECT_THAT(error.what(), HasSubstr(path));
    }
  }
}

void traceBlocks(std::atomic<int>& ready, int& id, int count) {
  ++ready;
  while (ready < 2) {
    std::this_thread::yield();
  }
  for (int i = 0; i < count; ++i) {
    TraceFile* const file = currentTraceFile();
    int current = std::atomic_ref(id).load();
    if (!file->registered(current)) {
      MsgDesc message(*file, id, "/src/A", 7);
      message << "shared";
      message.finish();
      current = std::atomic_ref(id).load();
    }
    BlockTimerSelf const timer(file, current);
  }
}

TEST(FlashlogHandle, EachThreadHasItsOwnFile) {
  constexpr int blocks = 10'000;
  TemporaryFolder const folder;
  std::atomic<int> ready = 0;
  int id = 0;
  {
    FlashlogHandle handle(folder.file("trace"), true);
    DefaultHandleScope const scope(handle);
    std::thread first([&] { traceBlocks(ready, id, blocks); });
    std::thread second([&] { traceBlocks(ready, id, blocks); });
    first.join();
    second.join();
  }
  EXPECT_FALSE(std::filesystem::exists(folder.file("trace.3")));
  for (std::string const name : {"trace", "trace.2"}) {
    SCOPED_TRACE(name);
    Trace const trace = readTrace(folder.file(name));
    EXPECT_EQ(trace.records.size(), static_cast<std::size_t>(blocks));
    EXPECT_EQ(trace.lost, 0U);
    ASSERT_EQ(trace.messages.size(), 1U);
    EXPECT_EQ(trace.messages[0].id, id);
    EXPECT_EQ(trace.messages[0].text, "shared");
  }
}

}  // namespace
}  // namespace Flashlog
