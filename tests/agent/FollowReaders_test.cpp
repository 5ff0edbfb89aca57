// Behind an engine that works, with readers of all sorts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "FollowTestSupport.h"

namespace Test {
namespace {

TEST_F(Follow, SlowReaderDelaysNeitherPollingNorTheFirstSignal) {
  Process agent(following(), around());
  // Nobody reads the lines of many changes, more than a pipe holds.
  for (int change = 0; change < 40; ++change) {
    plays(change % 2 == 0 ? "11-rstp" : "01-converged");
    awaitBatches(1);
  }
  agent.signal(SIGTERM);
  Outcome const outcome = agent.finishUnread();
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, testing::ContainsRegex("standard output: nobody reads, [0-9]+ bytes"));
}

TEST_F(Follow, ReaderWhoTakesSomethingNowAndThenGetsAll) {
  Process agent(following(), around());
  for (int change = 0; change < 40; ++change) {
    plays(change % 2 == 0 ? "11-rstp" : "01-converged");
    awaitBatches(1);
  }
  agent.signal(SIGTERM);
  for (int time = 0; time < 6; ++time) {  // in all, longer than a reader may take nothing
    ::usleep(500'000);
    agent.readPiece(10'000);
  }
  Outcome const outcome = agent.finish();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
}

TEST_F(Follow, ReaderWhoTakesNothingForLongIsReportedOnceAndGetsWhatThereIs) {
  // So many ports, with such names, that a few of their comings and goings are many megabytes.
  std::ifstream stream(capture("11-rstp") + "/showportdetail.json");
  std::string const ports(std::istreambuf_iterator<char>(stream), {});
  std::string const name = "Ethernet1";
  std::string const first = ports.substr(1, ports.find("},{"));
  std::string all;
  for (int port = 0; port < 2000; ++port) {
    std::string one = first;
    one.replace(one.find(name), name.size(), std::string(200, 'x') + std::to_string(port));
    all += (all.empty() ? "" : ",") + one;
  }
  std::filesystem::copy(capture("11-rstp"), folder.path("many"));
  folder.file("many/showportdetail.json", "[" + all + "]");

  Process agent(following(), around());
  for (int change = 0; change < 12; ++change) {
    change % 2 == 0 ? playsFolder(folder.path("many")) : plays("11-rstp");
    awaitBatches(1);
  }
  EXPECT_EQ(agent.readErrorLine(),
            "standard output: nobody reads, no further changes until somebody does");
  awaitBatches(3);
  agent.signal(SIGTERM);
  Outcome const outcome = agent.finish();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_GT(outcome.out.size(), std::size_t{16} << 20U);
}

TEST_F(Follow, ReaderThatGoesEndsItQuietly) {
  Process agent(following(), around());
  expectLines(agent, replayed({"01-converged"}));
  agent.closeOutput();
  Outcome const outcome = agent.finish();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
}

TEST_F(Follow, ReaderThatGoesBeforeAnyResultEndsItToo) {
  moodIs("down");
  Process agent(following(), around());
  agent.readErrorLine();
  agent.closeOutput();
  Outcome const outcome = agent.finish();
  EXPECT_EQ(outcome.status, 3);
  EXPECT_EQ(outcome.err, "br0: the engine gave no answer, nothing is mirrored\n");
}

}  // namespace
}  // namespace Test
