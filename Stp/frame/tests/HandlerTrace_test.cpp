// The trace that opens every handler: what it writes, and when it costs nothing.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Flashlog/FlashlogHandle.h"
#include "Flashlog/Reader.h"
#include "Flashlog/TestSupport.h"
#include "Lumo/RangeException.h"
#include "Stp/frame/tests/FrameTestSupport.h"

namespace Stp {
namespace {

using Flashlog::readTrace;
using Flashlog::TemporaryFolder;
using FrameTest::World;
using testing::ElementsAre;

class HandlerTrace : public TestSupport::LeavesNothing {
 protected:
  using Messages = std::vector<std::string>;

  std::string path(std::string const& name = "trace") const { return folder.file(name); }

  // The messages of a file's records, in the order in which their blocks ended.
  static Messages recordsOf(std::string const& path) {
    Flashlog::Trace const trace = readTrace(path);
    Messages records(trace.records.size());
    for (Flashlog::TraceRecord const& record : trace.records) {
      records.at(record.sequence) = trace.messages.at(record.message).text;
    }
    return records;
  }

  TemporaryFolder folder;
  World world;
  std::string const mode = "Stp::OCGlobalConfigSm::handleEnabledProtocol():156";
  std::string const vlans = "Stp::OCGlobalConfigSm::handleDisabledVlan():243";
};

TEST_F(HandlerTrace, HasOneHandleWhoseLevelsAreOffAtFirst) {
  Vel::TraceHandle& handle = _defaultTraceHandle();
  EXPECT_EQ(&_defaultTraceHandle(), &handle);
  EXPECT_EQ(handle.name(), "StpOCSm");
  for (unsigned level = 0; level < 64; ++level) {
    EXPECT_FALSE(handle.enabled(level)) << level;
  }
}

TEST_F(HandlerTrace, WritesARecordForEachRunAndTheMessageOnce) {
  {
    Flashlog::FlashlogHandle handle(path());
    Flashlog::DefaultHandleScope const scope(handle);
    auto const first = oCGlobalConfigSmFactory(world.inputConfig, world.ocGlobalConfig);
    auto const second = oCGlobalConfigSmFactory(world.inputConfig, world.ocGlobalConfig);
    world.inputConfig->modeIs(Mode::stp);
  }
  EXPECT_THAT(recordsOf(path()), ElementsAre(mode, vlans, mode, vlans, mode, mode));
  Flashlog::Trace const trace = readTrace(path());
  ASSERT_EQ(trace.messages.size(), 2U);
  EXPECT_EQ(trace.messages[0].text, mode);
  EXPECT_EQ(trace.messages[0].sourcePath, "/src/Stp/StpOpenConfigSm");
  EXPECT_EQ(trace.messages[0].line, 156U);
  EXPECT_NE(trace.messages[0].id, trace.messages[1].id);
}

TEST_F(HandlerTrace, MessageIsRegisteredInEachFileUnderTheSameNumber) {
  auto const mirror = oCGlobalConfigSmFactory(world.inputConfig, world.ocGlobalConfig);
  std::vector<int> ids;
  for (std::string const name : {"first", "second"}) {
    {
      Flashlog::FlashlogHandle handle(path(name));
      Flashlog::DefaultHandleScope const scope(handle);
      mirror->handleEnabledProtocol();
    }
    mirror->handleEnabledProtocol();  // not traced: there is no file
    Flashlog::Trace const trace = readTrace(path(name));
    ASSERT_EQ(trace.messages.size(), 1U);
    EXPECT_EQ(trace.messages[0].text, mode);
    EXPECT_EQ(trace.records.size(), 1U);
    ids.push_back(trace.messages[0].id);
  }
  EXPECT_EQ(ids[0], ids[1]);
}

TEST_F(HandlerTrace, GoesToTheFileOfTheThread) {
  {
    Flashlog::FlashlogHandle handle(path(), true);
    Flashlog::DefaultHandleScope const scope(handle);
    auto const mirror = oCGlobalConfigSmFactory(world.inputConfig, world.ocGlobalConfig);
    std::thread([&] { mirror->handleEnabledProtocol(); }).join();
  }
  EXPECT_THAT(recordsOf(path()), ElementsAre(mode, vlans));
  EXPECT_THAT(recordsOf(path() + ".2"), ElementsAre(mode));
}

TEST_F(HandlerTrace, BlockEndsWithItsHandlerAndHoldsWhatThatCalls) {
  {
    Flashlog::FlashlogHandle handle(path());
    Flashlog::DefaultHandleScope const scope(handle);
    auto const mirror = oCPortConfigSmFactory("Ethernet1", world.inputPort, world.ocInterface);
  }
  EXPECT_THAT(recordsOf(path()), ElementsAre("Stp::OCPortConfigSm::handleEdgePort():356",
                                             "Stp::OCPortConfigSm::handleInitialized():428"));
  Flashlog::Trace const trace = readTrace(path());
  EXPECT_EQ(trace.messages.at(trace.records.at(0).message).line, 428U) << "it began first";
}

TEST_F(HandlerTrace, BlockEndsAlsoWithAnException) {
  auto const mirror = oCMstiConfigSmFactory("MST1", world.inputMsti, world.ocMsti);
  mirror->hasNotificationActiveIs(false);
  world.inputMsti->bridgePriorityIs(61441);
  {
    Flashlog::FlashlogHandle handle(path());
    Flashlog::DefaultHandleScope const scope(handle);
    EXPECT_THROW(mirror->handleBridgePriority(), Lumo::RangeException);
    EXPECT_EQ(recordsOf(path()).size(), 1U);
  }
}

TEST_F(HandlerTrace, WritesTextAtLevelEightAlone) {
  Vel::TraceHandle& handle = _defaultTraceHandle();
  std::vector<Vel::TraceLine> lines;
  std::vector<std::string> texts;
  Vel::TraceSink const before = Vel::traceSinkIs([&](Vel::TraceLine const& line) {
    lines.push_back(line);
    texts.emplace_back(line.text);
  });
  auto const mirror = oCGlobalConfigSmFactory(world.inputConfig, world.ocGlobalConfig);
  for (unsigned level = 0; level < 64; ++level) {
    handle.levelIs(level, level != 8);
  }
  mirror->handleEnabledProtocol();
  EXPECT_TRUE(texts.empty());

  for (unsigned level = 0; level < 64; ++level) {
    handle.levelIs(level, level == 8);
  }
  mirror->handleEnabledProtocol();
  handle.levelIs(8, false);
  mirror->handleEnabledProtocol();
  Vel::traceSinkIs(before);
  ASSERT_THAT(texts, ElementsAre("OCGlobalConfigSm::handleEnabledProtocol() "));
  EXPECT_EQ(lines[0].handle, "StpOCSm");
  EXPECT_EQ(lines[0].level, 8U);
  EXPECT_EQ(lines[0].sourcePath, "/src/Stp/StpOpenConfigSm");
  EXPECT_EQ(lines[0].sourceLine, 156U);
  EXPECT_EQ(lines[0].function, "handleEnabledProtocol");
}

TEST_F(HandlerTrace, NamesTheKeyAsItIs) {
  TestSupport::HandlerLines traced;
  auto const watcher = oCMstiStatusSmFactory("MST1", world.msti, world.trigger);
  watcher->triggerInc();
  oCMstiStatusSmFactory("%s [x]", world.msti, world.trigger)->triggerInc();
  oCMstiStatusSmFactory("", world.msti, world.trigger)->triggerInc();
  std::string const prefix = "StpOCSm 8 /src/Stp/StpOpenConfigSm:858 triggerInc ";
  EXPECT_THAT(traced.lines(), ElementsAre(prefix + "OCMstiStatusSm[MST1]::triggerInc() ",
                                          prefix + "OCMstiStatusSm[%s [x]]::triggerInc() ",
                                          prefix + "OCMstiStatusSm[]::triggerInc() "));
}

TEST_F(HandlerTrace, TellsClassesWithEqualHandlersApart) {
  world.inputConfig->disabledVlanDelAll();
  {
    Flashlog::FlashlogHandle handle(path());
    Flashlog::DefaultHandleScope const scope(handle);
    oCMstSmFactory(world.mst, world.trigger)->triggerInc();
    oCMstiStatusSmFactory("MST1", world.msti, world.trigger)->triggerInc();
    oCMstiStatusSmFactory("MST2", world.msti, world.trigger)->triggerInc();
  }
  EXPECT_THAT(recordsOf(path()),
              ElementsAre("Stp::OCMstSm::triggerInc():851", "Stp::OCMstiStatusSm::triggerInc():858",
                          "Stp::OCMstiStatusSm::triggerInc():858"));
}

using HandlerTraceDeathTest = HandlerTrace;

TEST_F(HandlerTraceDeathTest, ExceptionOfTheTextTraceEndsTheProcess) {
  auto const mirror = oCGlobalConfigSmFactory(world.inputConfig, world.ocGlobalConfig);
  auto const traceBadly = [&] {
    _defaultTraceHandle().levelIs(8, true);
    Vel::traceSinkIs([](Vel::TraceLine const&) { throw std::runtime_error("the sink failed"); });
    try {
      mirror->handleEnabledProtocol();
    } catch (std::runtime_error const&) {
    }
  };
  EXPECT_EXIT(traceBadly(), testing::KilledBySignal(SIGABRT), "the sink failed");
}

TEST_F(HandlerTraceDeathTest, FileThatCannotBeMadeEndsTheProcess) {
  auto const mirror = oCGlobalConfigSmFactory(world.inputConfig, world.ocGlobalConfig);
  auto const traceBadly = [&] {
    Flashlog::FlashlogHandle handle(path("missing/trace"), true);
    Flashlog::DefaultHandleScope const scope(handle);
    try {
      mirror->handleEnabledProtocol();
    } catch (std::exception const&) {
    }
  };
  EXPECT_EXIT(traceBadly(), testing::KilledBySignal(SIGABRT), "missing/trace");
}

TEST_F(HandlerTraceDeathTest, MessageThatDoesNotFitEndsTheProcess) {
  auto const traceBadly = [&] {
    Flashlog::FlashlogHandle handle(path(), false, {.ringCapacity = 8, .messageAreaBytes = 64});
    Flashlog::DefaultHandleScope const scope(handle);
    oCGlobalConfigSmFactory(world.inputConfig, world.ocGlobalConfig);
  };
  EXPECT_EXIT(traceBadly(), testing::KilledBySignal(SIGABRT), "msgIdInitialized");
}

}  // namespace
}  // namespace Stp
