// What the kernel tells the agent beside what the engine does.
#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "FollowTestSupport.h"
#include "agent/sources/engine/NetlinkTestSupport.h"

namespace Test {
namespace {

class FollowKernel : public Follow {
 protected:
  // Runs a test in a network namespace of its own, with a bridge and a port that is not yet its.
  template <class Test>
  static void inNamespace(Test test) {
    bool isMade = false;
    std::thread([&] {
      isMade = ::unshare(CLONE_NEWNET) == 0 &&
               inShell("ip link add br0 type bridge && ip link add p1 type veth peer name q1");
      if (isMade) {
        test();
      }
    }).join();
    if (!isMade) {
      GTEST_SKIP() << "no network namespace can be made here";
    }
  }

  // The engine is asked once, and then when the kernel tells of something.
  static std::vector<std::string> followingEvents() {
    std::vector<std::string> arguments = following();
    *std::ranges::find(arguments, "0.05") = "3600";
    return arguments;
  }
};

TEST_F(FollowKernel, EventOfItsLinksIsFollowedByAnAsk) {
  inNamespace([this] {
    Process agent(followingEvents(), around());
    auto const before = replayed({"01-converged"});
    expectLines(agent, before);
    plays("03-bpdu-guard");
    EXPECT_TRUE(inShell("ip link set p1 master br0"));
    auto const after = replayed({"01-converged", "03-bpdu-guard"});
    expectLines(agent, after, before.size() - 1);
    EXPECT_EQ(endsAt(agent, after).err, "");
  });
}

TEST_F(FollowKernel, EventDuringAnAskWaitsForItsAnswer) {
  inNamespace([this] {
    moodIs("hang");
    Process agent(followingEvents(), around());
    pid_t engine = 0;
    await([&] { return static_cast<bool>(std::ifstream(folder.path("hanging")) >> engine); });
    EXPECT_TRUE(inShell("ip link set p1 master br0"));
    ::usleep(200'000);
    auto const lines = asked();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "begin"), 1);
    EXPECT_EQ(::kill(engine, 0), 0);
    moodIs("");
    ::kill(engine, SIGKILL);
    EXPECT_EQ(agent.readErrorLine(), failure + "showfid2mstid br0: was ended by signal 9");
    EXPECT_EQ(agent.readErrorLine(), again);
  });
}

TEST_F(FollowKernel, AsksComeToAnEndWhenNothingMoreHappens) {
  inNamespace([this] {
    Process agent(followingEvents(), around());
    auto const expected = replayed({"01-converged"});
    expectLines(agent, expected);
    EXPECT_TRUE(inShell("ip link set p1 master br0"));
    bool isQuiet = false;
    for (int patience = 0; patience < 40 && !isQuiet; ++patience) {
      auto const before = asked();
      ::usleep(500'000);
      isQuiet = asked() == before;
    }
    EXPECT_TRUE(isQuiet);
    EXPECT_EQ(endsAt(agent, expected).err, "");
  });
}

TEST_F(FollowKernel, ThatTellsNothingIsReportedOnceAndTheIntervalRemains) {
  bool isNone = false;
  std::thread([&] {  // the agent has from it that there is no netlink
    isNone = Agent::netlinkIsNone();
    if (!isNone) {
      return;
    }
    Process agent(following(), around());
    EXPECT_EQ(agent.readErrorLine(),
              "br0: the kernel tells of no changes, the engine is asked every interval alone: "
              "netlink: Address family not supported by protocol");
    auto const before = replayed({"01-converged"});
    expectLines(agent, before);
    plays("03-bpdu-guard");
    auto const after = replayed({"01-converged", "03-bpdu-guard"});
    expectLines(agent, after, before.size() - 1);
    EXPECT_EQ(endsAt(agent, after).err, "");
  })
      .join();
  if (!isNone) {
    GTEST_SKIP() << "no system call can be refused here";
  }
}

}  // namespace
}  // namespace Test
