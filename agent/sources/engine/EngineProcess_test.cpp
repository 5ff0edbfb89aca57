// Programs that answer, and programs that do not.
#include "agent/sources/engine/EngineProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "agent/host/Interrupt.h"

namespace Agent {
namespace {

using testing::HasSubstr;

class EngineProcessTest : public testing::Test {
 protected:
  ~EngineProcessTest() override { std::filesystem::remove_all(folder_); }

  // Runs a shell script in the place of the engine's program.
  EngineAnswer ask(std::string const& script, std::string const& commands = "show br0\n",
                   std::chrono::milliseconds limit = std::chrono::minutes(1)) {
    return run(program(script), commands, limit);
  }

  std::string program(std::string const& script) const {
    std::string program = folder_ + "/program";
    std::ofstream(program) << "#!/bin/sh\n" << script << "\n";
    ::chmod(program.c_str(), 0700);
    return program;
  }

  EngineAnswer run(std::string const& program, std::string const& commands = "x",
                   std::chrono::milliseconds limit = std::chrono::minutes(1)) {
    std::optional<EngineAnswer> answer;
    EngineProcess const process(loop, program, commands, loop.now() + limit,
                                [&](EngineAnswer given) { answer = std::move(given); });
    EXPECT_FALSE(answer);
    while (!answer) {
      loop.turn();
    }
    return *answer;
  }

  // Whether a process has ended; whoever adopted it may take a while to notice.
  static bool hasEnded(pid_t process) {
    std::string state;
    for (int patience = 0; patience < 1000; ++patience) {
      std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
      std::string number;
      std::string name;
      if (!(stat >> number >> name >> state) || state == "Z") {
        return true;
      }
      ::usleep(10'000);
    }
    return false;
  }

  std::string const& folder() const { return folder_; }

  Loop loop;

 private:
  Interrupt interrupt_{loop};

  static std::string makeFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "engine-XXXXXX").string();
    return ::mkdtemp(pattern.data());
  }

  std::string folder_ = makeFolder();
};

TEST_F(EngineProcessTest, IsAskedForJsonInABatch) {
  EngineAnswer const answer = ask("echo $*; cat");
  EXPECT_EQ(answer.output, "-f json -s\nshow br0\n");
  EXPECT_EQ(answer.problem, "");
}

TEST_F(EngineProcessTest, ReadsAndWritesMoreThanAPipeHolds) {
  std::string const commands(1'000'000, 'x');
  EngineAnswer const answer = ask("cat", commands);
  EXPECT_EQ(answer.problem, "");
  EXPECT_TRUE(answer.output == commands);
}

TEST_F(EngineProcessTest, MayEndWithoutHavingReadAll) {
  EngineAnswer const answer = ask("exec <&-; echo done", std::string(1'000'000, 'x'));
  EXPECT_EQ(answer.output, "done\n");
  EXPECT_EQ(answer.problem, "");
}

TEST_F(EngineProcessTest, IsNotWaitedForByWhatItLeavesBehind) {
  EngineAnswer const answer = ask("sleep 1000 & echo done");
  EXPECT_EQ(answer.output, "done\n");
  EXPECT_EQ(answer.problem, "");
}

TEST_F(EngineProcessTest, FailureTellsStatusAndComplaint) {
  EXPECT_EQ(ask("exit 3").problem, "failed with status 3");
  EngineAnswer const answer =
      ask("echo part; echo >&2; echo ' no socket' >&2; echo more >&2; exit 1");
  EXPECT_EQ(answer.problem, "failed with status 1");
  EXPECT_EQ(answer.complaint, "no socket");
  EXPECT_EQ(ask("printf 'no\\rsocket\\n' >&2; exit 1").complaint, "no");
  EXPECT_EQ(ask("echo part; kill -TERM $$").problem, "was ended by signal 15");
  EXPECT_EQ(ask("echo part; exit 1").output, "part\n");
  EXPECT_EQ(ask("echo warning >&2").problem, "");
  EXPECT_EQ(ask("echo warning >&2").complaint, "");
}

TEST_F(EngineProcessTest, FailureIsSeenThoughChildrenWereIgnored) {
  ::signal(SIGCHLD, SIG_IGN);
  Loop other;
  Interrupt const interrupt(other);
  EXPECT_EQ(ask("exit 3").problem, "failed with status 3");
}

TEST_F(EngineProcessTest, IsEndedWhenItDoesNotAnswer) {
  for (char const* const script : {"sleep 1000", "exec >&- 2>&- <&-; exec sleep 1000",
                                   "trap '' INT TERM HUP; while :; do sleep 1; done"}) {
    SCOPED_TRACE(script);
    EXPECT_EQ(ask(script, "show br0\n", std::chrono::milliseconds(300)).problem, "does not answer");
  }
}

TEST_F(EngineProcessTest, TakesWhatItStartedWithIt) {
  std::string const file = folder() + "/child";
  ask("sleep 1000 & echo $! > " + file + "; wait", "show br0\n", std::chrono::seconds(2));
  pid_t child = 0;
  ASSERT_TRUE(std::ifstream(file) >> child);
  EXPECT_TRUE(hasEnded(child));
}

TEST_F(EngineProcessTest, GoesWithItsOwnerAndTakesWhatItStartedWithIt) {
  std::string const file = folder() + "/child";
  std::string const script =
      program("sleep 1000 & echo $! > " + file + ".new; mv " + file + ".new " + file + "; wait");
  pid_t child = 0;
  {
    EngineProcess const process(loop, script, "x", loop.now() + std::chrono::minutes(1),
                                [](EngineAnswer const& /*answer*/) { FAIL() << "it tells"; });
    while (!(std::ifstream(file) >> child)) {
      loop.turn(std::chrono::milliseconds(10));
    }
  }
  EXPECT_TRUE(hasEnded(child));
  loop.turn(std::chrono::milliseconds(1));
}

TEST_F(EngineProcessTest, MayBeEndedByWhomItTells) {
  std::optional<EngineProcess> process;
  bool isTold = false;
  process.emplace(loop, program("echo done"), "x", loop.now() + std::chrono::minutes(1),
                  [&](EngineAnswer const& answer) {
                    process.reset();
                    EXPECT_EQ(answer.output, "done\n");
                    isTold = true;
                  });
  while (!isTold) {
    loop.turn();
  }
}

TEST_F(EngineProcessTest, LoopIsFreeWhileItIsWaitedFor) {
  int ticks = 0;
  Loop::Registration timer;
  std::function<void()> const tick = [&] {
    ++ticks;
    timer = loop.after(std::chrono::milliseconds(1), tick);
  };
  tick();
  std::string const go = folder() + "/go";
  std::string const script = program("while [ ! -e " + go + " ]; do sleep 0.01; done; echo done");
  bool isTold = false;
  EngineProcess const process(loop, script, "x", loop.now() + std::chrono::minutes(1),
                              [&](EngineAnswer const& /*answer*/) { isTold = true; });
  while (!isTold) {
    loop.turn();
    if (ticks == 5) {
      std::ofstream(go) << "";
    }
  }
  EXPECT_GE(ticks, 5);
}

TEST_F(EngineProcessTest, NumberOfAStreamThatItClosedIsOthersFromThenOn) {
  Loop::Time now{std::chrono::hours(1)};
  Loop other([&now] { return now; });
  bool isTold = false;
  std::optional<EngineProcess> process;
  process.emplace(other, program("exec sleep 1000"), "x", now + std::chrono::minutes(1),
                  [&](EngineAnswer const& /*answer*/) { isTold = true; });
  now += std::chrono::minutes(1);
  other.turn(std::chrono::milliseconds(0));    // it is ended
  std::array<Base::FileDescriptor, 8> others;  // always readable
  std::vector<Loop::Registration> registrations;
  std::set<int> heard;
  for (Base::FileDescriptor& each : others) {
    each = Base::FileDescriptor(::eventfd(1, EFD_CLOEXEC));
    registrations.push_back(other.whenReady(
        each.number(), EPOLLIN,
        [&heard, number = each.number()](std::uint32_t /*events*/) { heard.insert(number); }));
  }
  while (!isTold) {
    other.turn();
  }
  process.reset();
  auto const turn = [&other] {
    for (int count = 0; count < 100; ++count) {
      other.turn(std::chrono::milliseconds(1));
    }
  };
  turn();  // what became ready before
  heard.clear();
  turn();
  EXPECT_EQ(heard.size(), others.size());
}

TEST_F(EngineProcessTest, IsEndedWhenItPrintsWithoutEnd) {
  EXPECT_THAT(ask("exec yes").problem, HasSubstr("printed more than"));
  EXPECT_THAT(ask("exec yes >&2").problem, HasSubstr("printed more than"));
}

TEST_F(EngineProcessTest, SignalsAreAsInAnyProgram) {
  // Without the two that the C library keeps for itself, above 31.
  EXPECT_EQ(ask("while read -r what mask; do case $what in Sig[BI]*) "
                "echo $what $((0x$mask & 0x7fffffff));; esac; done </proc/self/status")
                .output,
            "SigBlk: 0\nSigIgn: 0\n");
}

TEST_F(EngineProcessTest, ProgramThatIsNotThereIsNamedAsSuch) {
  EXPECT_EQ(run(folder() + "/none").problem, "can't be started: No such file or directory");
  EXPECT_EQ(run("no-such-program-anywhere").problem, "can't be started: No such file or directory");
  EXPECT_EQ(run(folder()).problem, "can't be started: Permission denied");
  EXPECT_EQ(run("cat").problem.substr(0, 20), "failed with status 1");
}

}  // namespace
}  // namespace Agent
