#include "Flashlog/MsgDesc.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <string_view>
#include <thread>

#include "Flashlog/Reader.h"
#include "Flashlog/TestSupport.h"

namespace Flashlog {
namespace {

TEST(MsgDesc, TextIsWhatWasAppended) {
  TemporaryFolder const folder;
  TraceFile file(folder.file("trace"));
  int id = 0;
  MsgDesc message(file, id, "/src/Stp/Mode", std::numeric_limits<unsigned>::max());
  message << "Mode::handle" << std::string("():") << 156U << 0UL << std::uint8_t{7}
          << std::numeric_limits<std::uint64_t>::max() << std::string_view("\0\n", 2);
  message.finish();

  Trace const trace = readTrace(file.path());

  ASSERT_EQ(trace.messages.size(), 1U);
  EXPECT_EQ(trace.messages[0].text,
            std::string("Mode::handle():1560718446744073709551615\0\n", 42));
  EXPECT_EQ(trace.messages[0].sourcePath, "/src/Stp/Mode");
  EXPECT_EQ(trace.messages[0].line, std::numeric_limits<unsigned>::max());
  EXPECT_EQ(trace.messages[0].id, id);
}

TEST(MsgDesc, NewMessagesGetConsecutiveIds) {
  TemporaryFolder const folder;
  TraceFile file(folder.file("trace"));
  int const first = newMessage(file, "first");
  EXPECT_GE(first, 1);
  EXPECT_EQ(newMessage(file, "second"), first + 1);
  EXPECT_EQ(newMessage(file, "third"), first + 2);
}

// While one thread registers a long text, another one has to wait for its own message.
TEST(MsgDesc, ThreadsGiveDifferentMessagesDifferentIds) {
  std::string const longText(std::size_t{16} << 20U, 'x');
  for (int round = 0; round < 3; ++round) {
    TemporaryFolder const folder;
    TraceFile one(folder.file("one"),
                  {.ringCapacity = 4, .messageAreaBytes = longText.size() + 1024});
    TraceFile other(folder.file("other"), smallTrace(4));
    int id = 0;
    MsgDesc longMessage(one, id, "/src/A", 7);
    longMessage << longText;
    std::thread thread([&longMessage] { longMessage.finish(); });
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    int const otherId = newMessage(other, "short");
    thread.join();
    EXPECT_NE(id, otherId);
  }
}

TEST(MsgDesc, MessageKeepsItsIdInASecondFile) {
  TemporaryFolder const folder;
  TraceFile first(folder.file("first"));
  TraceFile second(folder.file("second"));
  int const onlyFirst = newMessage(first, "only in the first");
  int id = newMessage(first, "in both");
  int const given = id;
  EXPECT_FALSE(second.registered(id));

  MsgDesc message(second, id, "/src/A", 7);
  message << "in both";
  message.finish();

  EXPECT_EQ(id, given);
  EXPECT_TRUE(second.registered(id));
  EXPECT_FALSE(second.registered(onlyFirst));
  EXPECT_EQ(newMessage(second, "only in the second"), given + 1);
  Trace const trace = readTrace(second.path());
  ASSERT_EQ(trace.messages.size(), 2U);
  EXPECT_EQ(trace.messages[0].id, given);
  EXPECT_EQ(trace.messages[0].text, "in both");
}

TEST(MsgDesc, NothingIsRegisteredBeforeTheMessageIsFinished) {
  TemporaryFolder const folder;
  TraceFile file(folder.file("trace"));
  int id = 0;
  {
    MsgDesc message(file, id, "/src/A", 7);
    message << "abandoned";
  }
  EXPECT_EQ(id, 0);
  EXPECT_TRUE(readTrace(file.path()).messages.empty());
}

TEST(MsgDesc, LongTextIsKeptWhole) {
  TemporaryFolder const folder;
  TraceFile file(folder.file("trace"));
  std::string const text(500'000, 't');
  std::string const path(500'000, 'p');
  newMessage(file, text, path);
  Trace const trace = readTrace(file.path());
  ASSERT_EQ(trace.messages.size(), 1U);
  EXPECT_EQ(trace.messages[0].text, text);
  EXPECT_EQ(trace.messages[0].sourcePath, path);
}

TEST(MsgDescDeathTest, FullMessageAreaEndsTheProcess) {
  TemporaryFolder const folder;
  TraceFile file(folder.file("trace"), smallTrace(4));
  EXPECT_DEATH(newMessage(file, std::string(1000, 'x')),
               "MsgDesc.h:[0-9]+: msgIdInitialized: Assertion `msgIdInitialized' failed");
}

TEST(MsgDescDeathTest, MessageOfAnotherFileThatDoesNotFitEndsTheProcess) {
  TemporaryFolder const folder;
  TraceFile large(folder.file("large"));
  TraceFile small(folder.file("small"), smallTrace(4));
  int id = newMessage(large, std::string(1000, 'x'));
  MsgDesc message(small, id, "/src/A", 7);
  message << std::string(1000, 'x');
  EXPECT_DEATH(message.finish(), "msgIdInitialized");
}

TEST(MsgDescDeathTest, ExhaustedIdsEndTheProcess) {
  TemporaryFolder const folder;
  // An entry is 16 bytes long when its strings are empty.
  TraceFile file(folder.file("trace"),
                 {.ringCapacity = 1, .messageAreaBytes = std::size_t{maxMessageId} * 16 + 1024});
  auto const registerMoreThanThereAre = [&file] {
    for (int i = 0; i <= maxMessageId; ++i) {
      int id = 0;
      MsgDesc(file, id, "", 1).finish();
      if (id == maxMessageId) {
        std::fputs("all ids are given\n", stderr);
      }
    }
  };
  EXPECT_DEATH(registerMoreThanThereAre(), "all ids are given\n.*msgIdInitialized");
}

TEST(MsgDescDeathTest, NegativeIdIsNeverTakenForInitialized) {
  msgIdInitialized(0);
  msgIdInitialized(std::numeric_limits<int>::max());
  EXPECT_DEATH(msgIdInitialized(-1), "msgIdInitialized");
}

}  // namespace
}  // namespace Flashlog
