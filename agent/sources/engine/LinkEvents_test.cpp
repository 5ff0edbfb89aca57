// What the kernel tells of a bridge, in a network namespace of the test's own. Without the right to
// make one, or without ip(8), these tests are skipped.
#include "agent/sources/engine/LinkEvents.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <string>
#include <system_error>
#include <thread>

#include "agent/sources/engine/NetlinkTestSupport.h"

namespace Agent {
namespace {

bool ip(std::string const& commands) {
  return std::system(("printf '" + commands + "\\n' | ip -batch - >/dev/null 2>&1").c_str()) == 0;
}

// Runs a test in a namespace with the port p1 (its far end q1), and x1 that is none; the thread
// that it has for that leaves the namespaces of other tests alone.
void inNamespace(std::function<void()> const& test) {
  bool isMade = false;
  std::thread([&] {
    isMade = ::unshare(CLONE_NEWNET) == 0 && ip("link add p1 type veth peer name q1") &&
             ip("link add x1 type veth peer name y1");
    if (isMade) {
      test();
    }
  }).join();
  if (!isMade) {
    GTEST_SKIP() << "no network namespace can be made here";
  }
}

// Counts what is told of br0.
class Told {
 public:
  // Whether something is told of what `commands` do. The kernel tells of most before they return,
  // but of a carrier that came or went a while after.
  bool of(std::string const& commands) { return isToldOf(commands, std::chrono::seconds(10)); }
  bool soonOf(std::string const& commands) {
    return isToldOf(commands, std::chrono::milliseconds(10));
  }

 private:
  bool isToldOf(std::string const& commands, Loop::Clock::duration patience) {
    EXPECT_TRUE(ip(commands)) << commands;
    int const before = count_;
    bool isOver = false;
    auto const limit = loop_.after(patience, [&isOver] { isOver = true; });
    while (count_ == before && !isOver) {
      loop_.turn();
    }
    return count_ > before;
  }

  Loop loop_;
  int count_ = 0;
  LinkEvents events_{loop_, "br0", [this] { ++count_; }};
};

TEST(LinkEvents, TellOfTheBridgeAndItsPorts) {
  inNamespace([] {
    Told told;
    EXPECT_TRUE(told.of("link add br0 type bridge"));
    EXPECT_TRUE(told.of("link set br0 up"));
    EXPECT_TRUE(told.of("link set p1 master br0"));
    EXPECT_TRUE(told.of("link set p1 up"));
    EXPECT_TRUE(told.of("link set q1 up"));
    EXPECT_TRUE(told.of("link set p1 down"));
    EXPECT_TRUE(told.of("link set p1 nomaster"));
    EXPECT_TRUE(told.of("link del br0"));
  });
}

TEST(LinkEvents, TellOfABridgeThatWasThereBeforeAndIsMadeAgain) {
  inNamespace([] {
    EXPECT_TRUE(ip("link add br0 type bridge\\nlink set p1 master br0"));
    Told told;
    EXPECT_TRUE(told.of("link set p1 up"));
    EXPECT_TRUE(told.of("link del br0"));
    EXPECT_FALSE(told.soonOf("link set p1 down"));
    EXPECT_TRUE(told.of("link add br0 type bridge"));  // with another index
    EXPECT_TRUE(told.of("link set p1 master br0"));
    EXPECT_TRUE(told.of("link set p1 up"));
    EXPECT_TRUE(told.of("link set br0 name br1"));
  });
}

TEST(LinkEvents, TellOfABridgeThatGoesWhileItIsDown) {
  inNamespace([] {
    EXPECT_TRUE(ip("link add br0 index 77 type bridge"));
    Told told;
    EXPECT_TRUE(told.of("link del br0"));
    EXPECT_FALSE(told.soonOf("link add z1 index 77 type veth peer name z2")) << "not the bridge's";
  });
}

// The bridge is another one, with another index, and has a port that is up.
std::string const madeAnew =
    "link del br0\\nlink add br0 type bridge\\nlink set p1 master br0\\nlink set p1 up";

TEST(LinkEvents, EachOfABurstIsLookedAt) {
  inNamespace([] {
    EXPECT_TRUE(ip("link add br0 type bridge"));
    Told told;
    EXPECT_TRUE(told.of("link set br0 up\\n" + madeAnew));
    EXPECT_TRUE(told.of("link set p1 alias port"));
  });
}

TEST(LinkEvents, TellNothingOfOthers) {
  inNamespace([] {
    EXPECT_TRUE(ip("link add br0 type bridge\\nlink set p1 master br0\\nlink add br1 type bridge"));
    Told told;
    EXPECT_FALSE(told.soonOf("link set x1 mtu 1400"));
    EXPECT_FALSE(told.soonOf("link set x1 master br1"));
    EXPECT_FALSE(told.soonOf("link set br1 up"));
    EXPECT_FALSE(told.soonOf("link set x1 nomaster"));
    EXPECT_FALSE(told.soonOf("link del br1"));
  });
}

TEST(LinkEvents, LostOnesCountAsOne) {
  inNamespace([] {
    EXPECT_TRUE(ip("link add br0 type bridge"));
    Told told;
    std::string changes;
    for (int mtu = 0; mtu < 2000; ++mtu) {  // more than a socket holds
      changes += "link set x1 mtu " + std::to_string(1000 + mtu % 2) + "\\n";
    }
    EXPECT_TRUE(told.of(changes + madeAnew));
    EXPECT_FALSE(told.soonOf("link set x1 mtu 1400"));
    EXPECT_TRUE(told.of("link set p1 alias port"));
  });
}

TEST(LinkEvents, KernelThatTellsNothingIsAnError) {
  std::error_code error;
  bool isNone = false;
  std::thread([&] {
    isNone = netlinkIsNone();
    Loop loop;
    try {
      LinkEvents const events(loop, "br0", [] {});
    } catch (std::system_error const& thrown) {
      error = thrown.code();
    }
  }).join();
  if (!isNone) {
    GTEST_SKIP() << "no system call can be refused here";
  }
  EXPECT_EQ(error, std::errc::address_family_not_supported);
}

}  // namespace
}  // namespace Agent
