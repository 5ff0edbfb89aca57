// Whatever fails, for want of memory or since a reader of a target throws, at whatever place: no
// subscription stays behind, no memory, no object; sources are untouched; and the same operation,
// attempted again, has the result that it has where nothing fails, and goes on reacting.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <csignal>
#include <cstdint>
#include <map>
#include <new>
#include <string>

#include "Attempts.h"
#include "Flashlog/FlashlogHandle.h"
#include "Flashlog/TestSupport.h"
#include "Memory.h"
#include "Mirrors.h"
#include "Stp/vlans/InstanceName.h"

namespace Shortage {
namespace {

using LiveObjects = std::map<std::string, std::uint64_t>;
using Stp::TestSupport::liveObjects;

// What is seen of a world when an operation has succeeded.
struct View {
  std::string targets;
  std::string footprint;
  LiveObjects live;

  friend bool operator==(View const&, View const&) = default;
  friend std::ostream& operator<<(std::ostream& out, View const& view) {
    return out << view.targets << "\n" << view.footprint << testing::PrintToString(view.live);
  }
};

View viewOf(World const& world) {
  return {world.targets(), world.footprint(), liveObjects()};
}

// That, and what becomes of it when the world goes on.
struct Result {
  View now;
  View later;
  unsigned changesUntilLater = 0;
};

Result resultOf(World& world) {
  Result result;
  result.now = viewOf(world);
  unsigned const before = world.readers.changes();
  world.wakeUp();
  world.change(2);
  result.later = viewOf(world);
  result.changesUntilLater = world.readers.changes() - before;
  return result;
}

enum class Trouble { memory, readers };

// Runs an operation that fails at the given place, and tells whether it did.
bool fails(World& world, std::function<void()> const& operation, Trouble trouble,
           unsigned allowed) {
  if (trouble == Trouble::memory) {
    Limit const limit(allowed);
    try {
      operation();
    } catch (std::bad_alloc const&) {
      return true;
    }
    return false;
  }
  world.readers.refuseAfter(allowed);
  bool failed = false;
  try {
    operation();
  } catch (Refused const&) {
    failed = true;
  }
  world.readers.refuseNothing();
  return failed;
}

void expectKept(Attempt const& attempt, Trouble trouble, World const& world,
                std::string const& sources, View const& before) {
  View const after = viewOf(world);
  if (attempt.keeps >= Keeps::sources) {
    EXPECT_EQ(world.sources(), sources);
  }
  if (attempt.keeps >= Keeps::users) {
    EXPECT_EQ(after.footprint, before.footprint);
    EXPECT_EQ(after.live, before.live);
  }
  if (attempt.keeps >= Keeps::all && trouble == Trouble::memory) {
    EXPECT_EQ(after.targets, before.targets);
  }
}

// One attempt in a world of its own, which fails at the given place, and its repetition. Returns
// whether there was such a place.
bool attemptWith(Attempt const& attempt, Trouble trouble, unsigned allowed,
                 Result const& expected) {
  World world;
  auto const operation = attempt.setUp(world);
  std::string const sources = world.sources();
  View const before = viewOf(world);
  bool const failed = fails(world, operation, trouble, allowed);
  if (failed) {
    expectKept(attempt, trouble, world, sources, before);
    attempt.beforeRepeating(world);
    operation();
  }
  Result const result = resultOf(world);
  EXPECT_EQ(result.now, expected.now);
  EXPECT_EQ(result.later, expected.later);
  EXPECT_EQ(result.changesUntilLater, expected.changesUntilLater);
  return failed;
}

class Shortage : public testing::TestWithParam<Attempt> {
 protected:
  // Names of instances are made once in a process, and kept.
  static void SetUpTestSuite() {
    for (std::uint16_t id = 0; id < 40; ++id) {
      Stp::instanceIdToMstiName(id);
    }
  }

  // Fails the attempt at every place. Returns how many places there were.
  static unsigned sweep(Trouble trouble) {
    Result expected;
    for (int round = 0; round < 2; ++round) {  // the first round makes what a process makes once
      World world;
      auto const operation = GetParam().setUp(world);
      operation();
      expected = resultOf(world);
    }
    for (unsigned allowed = 0;; ++allowed) {
      SCOPED_TRACE("after " + std::to_string(allowed));
      std::int64_t const inUse = allocationsInUse();
      bool const failed = attemptWith(GetParam(), trouble, allowed, expected);
      EXPECT_EQ(liveObjects(), LiveObjects());
      if (!failed || HasFailure()) {  // a failure keeps memory of its own
        return allowed;
      }
      EXPECT_EQ(allocationsInUse(), inUse);
    }
  }
};

TEST_P(Shortage, OfMemory) {
  EXPECT_EQ(sweep(Trouble::memory) > 0, GetParam().allocates);
}

TEST_P(Shortage, OfPatientReaders) {
  EXPECT_EQ(sweep(Trouble::readers) > 0, GetParam().writes);
}

std::string testName(testing::TestParamInfo<Attempt> const& info) {
  std::string name;
  for (char const character : info.param.name) {
    name += std::isalnum(static_cast<unsigned char>(character)) != 0 ? character : '_';
  }
  return name;
}

INSTANTIATE_TEST_SUITE_P(Every, Shortage, testing::ValuesIn(attempts()), &testName);

TEST(ShortageOfMemory, LeavesNamesOfInstancesToBeMade) {
  static std::uint16_t id = 1000;  // its name is made once a process, as those of the next ones
  for (int count = 0; count < 300; ++count, ++id) {
    std::string const name = "MST" + std::to_string(id);
    unsigned failures = 0;
    for (bool failed = true; failed;) {
      Limit const limit(failures);
      try {
        Stp::instanceIdToMstiName(id);
        failed = false;
      } catch (std::bad_alloc const&) {
        ++failures;
      }
    }
    EXPECT_GE(failures, 1U);
    EXPECT_EQ(Stp::instanceIdToMstiName(id), name);
  }
}

// The number of the invalid id is the greatest of all: what is kept by number must not make room
// for it.
TEST(ShortageOfMemory, IsNotCausedByAPortWithoutAName) {
  World world;
  auto const mirror = interfaceConfigMirror(world);
  world.mst->stpiPortStatus.is("", Lumo::make<Stp::StpiPortStatus>());
  world.interfaces->interfaceIs(Lanx::IntfId());
  world.interfaces->interfaceIs(Lanx::IntfId::of("Ethernet7"));
  largestAllocation();
  mirror->maybeCleanUpExternalIntfConfigs();
  EXPECT_LT(largestAllocation(), std::size_t{1} << 20);
  EXPECT_TRUE(world.interfaces->interface(Lanx::IntfId()));
  EXPECT_FALSE(world.interfaces->interface(Lanx::IntfId::of("Ethernet7")));
}

TEST(ShortageDeathTest, HandlerThatANotificationRunsEndsTheProcess) {
  World world;
  auto const mirror = mstpStateMirror(world);
  EXPECT_EXIT(
      {
        auto const msti = Lumo::make<Stp::MstiStatus>();
        world.mst->mstiStatus.is("MST2", msti);
        Limit const limit(0);
        msti->bridgePriorityIs(4096);
      },
      testing::KilledBySignal(SIGABRT), "std::bad_alloc");
}

TEST(ShortageDeathTest, TraceThatCanNotBeRegisteredEndsTheProcess) {
  World world;
  auto const mirror = portConfigMirror(world);
  Flashlog::TemporaryFolder const folder;
  Flashlog::FlashlogHandle handle(folder.file("trace"));
  Flashlog::DefaultHandleScope const scope(handle);
  EXPECT_EXIT(
      {
        Limit const limit(0);
        mirror->handleEdgePort();
      },
      testing::KilledBySignal(SIGABRT), "std::bad_alloc");
}

}  // namespace
}  // namespace Shortage
