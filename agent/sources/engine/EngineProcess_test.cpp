// Programs that answer, and programs that do not.
#include "agent/sources/engine/EngineProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace Agent {
namespace {

using testing::HasSubstr;

class EngineProcess : public testing::Test {
 protected:
  EngineProcess() { Interrupt::install(); }
  ~EngineProcess() override { std::filesystem::remove_all(folder_); }

  // Runs a shell script in the place of the engine's program.
  EngineAnswer ask(std::string const& script, std::string const& commands = "show br0\n",
                   std::chrono::milliseconds limit = std::chrono::minutes(1)) {
    std::string const program = folder_ + "/program";
    std::ofstream(program) << "#!/bin/sh\n" << script << "\n";
    ::chmod(program.c_str(), 0700);
    return askEngine(program, commands, Interrupt::Clock::now() + limit).value();
  }

  std::string const& folder() const { return folder_; }

 private:
  static std::string makeFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "engine-XXXXXX").string();
    return ::mkdtemp(pattern.data());
  }

  std::string folder_ = makeFolder();
};

TEST_F(EngineProcess, IsAskedForJsonInABatch) {
  EngineAnswer const answer = ask("echo $*; cat");
  EXPECT_EQ(answer.output, "-f json -s\nshow br0\n");
  EXPECT_EQ(answer.problem, "");
}

TEST_F(EngineProcess, ReadsAndWritesMoreThanAPipeHolds) {
  std::string const commands(1'000'000, 'x');
  EngineAnswer const answer = ask("cat", commands);
  EXPECT_EQ(answer.problem, "");
  EXPECT_TRUE(answer.output == commands);
}

TEST_F(EngineProcess, MayEndWithoutHavingReadAll) {
  EngineAnswer const answer = ask("exec <&-; echo done", std::string(1'000'000, 'x'));
  EXPECT_EQ(answer.output, "done\n");
  EXPECT_EQ(answer.problem, "");
}

TEST_F(EngineProcess, IsNotWaitedForByWhatItLeavesBehind) {
  EngineAnswer const answer = ask("sleep 1000 & echo done");
  EXPECT_EQ(answer.output, "done\n");
  EXPECT_EQ(answer.problem, "");
}

TEST_F(EngineProcess, FailureTellsStatusAndComplaint) {
  EXPECT_EQ(ask("exit 3").problem, "failed with status 3");
  EngineAnswer const answer =
      ask("echo part; echo >&2; echo ' no socket' >&2; echo more >&2; exit 1");
  EXPECT_EQ(answer.problem, "failed with status 1");
  EXPECT_EQ(answer.complaint, "no socket");
  EXPECT_EQ(ask("echo part; kill -TERM $$").problem, "was ended by signal 15");
  EXPECT_EQ(ask("echo part; exit 1").output, "part\n");
  EXPECT_EQ(ask("echo warning >&2").problem, "");
  EXPECT_EQ(ask("echo warning >&2").complaint, "");
}

TEST_F(EngineProcess, FailureIsSeenThoughChildrenWereIgnored) {
  ::signal(SIGCHLD, SIG_IGN);
  Interrupt::install();
  EXPECT_EQ(ask("exit 3").problem, "failed with status 3");
}

TEST_F(EngineProcess, IsEndedWhenItDoesNotAnswer) {
  for (char const* const script : {"sleep 1000", "exec >&- 2>&- <&-; exec sleep 1000",
                                   "trap '' INT TERM HUP; while :; do sleep 1; done"}) {
    SCOPED_TRACE(script);
    EXPECT_EQ(ask(script, "show br0\n", std::chrono::milliseconds(300)).problem, "does not answer");
  }
}

TEST_F(EngineProcess, TakesWhatItStartedWithIt) {
  std::string const file = folder() + "/child";
  ask("sleep 1000 & echo $! > " + file + "; wait", "show br0\n", std::chrono::seconds(2));
  pid_t child = 0;
  ASSERT_TRUE(std::ifstream(file) >> child);
  // Whoever adopted it may take a while to notice.
  std::string state;
  for (int patience = 0; patience < 1000; ++patience) {
    std::ifstream stat("/proc/" + std::to_string(child) + "/stat");
    std::string number;
    std::string name;
    if (!(stat >> number >> name >> state) || state == "Z") {
      return;
    }
    ::usleep(10'000);
  }
  FAIL() << "the child lives on in state " << state;
}

TEST_F(EngineProcess, IsEndedWhenItPrintsWithoutEnd) {
  EXPECT_THAT(ask("exec yes").problem, HasSubstr("printed more than"));
  EXPECT_THAT(ask("exec yes >&2").problem, HasSubstr("printed more than"));
}

TEST_F(EngineProcess, SignalsAreAsInAnyProgram) {
  // Without the two that the C library keeps for itself, above 31.
  EXPECT_EQ(ask("while read -r what mask; do case $what in Sig[BI]*) "
                "echo $what $((0x$mask & 0x7fffffff));; esac; done </proc/self/status")
                .output,
            "SigBlk: 0\nSigIgn: 0\n");
}

TEST_F(EngineProcess, ProgramThatIsNotThereIsNamedAsSuch) {
  auto const deadline = Interrupt::Clock::now() + std::chrono::minutes(1);
  EXPECT_EQ(askEngine(folder() + "/none", "x", deadline)->problem,
            "can't be started: No such file or directory");
  EXPECT_EQ(askEngine("no-such-program-anywhere", "x", deadline)->problem,
            "can't be started: No such file or directory");
  EXPECT_EQ(askEngine(folder(), "x", deadline)->problem, "can't be started: Permission denied");
  EXPECT_EQ(askEngine("cat", "x", deadline)->problem.substr(0, 20), "failed with status 1");
}

}  // namespace
}  // namespace Agent
