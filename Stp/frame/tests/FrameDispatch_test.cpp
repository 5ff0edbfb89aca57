// Dispatch, by a class that has every kind of row.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "Lumo/Ptr.h"
#include "Lumo/Publisher.h"
#include "Stp/MstpConfigMirrors.h"
#include "Stp/frame/Reactor.h"
#include "Stp/frame/tests/ProbeModule.h"
#include "Stp/tests/TestSupport.h"

namespace Stp::DispatchTest {

// A row of a table of attributes, as far as dispatch looks at it: members that have names.
template <class Id>
struct Members {
  using KeyType = Lumo::String;

  std::string_view name;
  Id id;
};

// Two types of entities whose attributes have the same numbers.
class First final : public Lumo::Node {
 public:
  enum class Id : Lumo::FieldId { lowest = 0, value = 7, members = 8, highest = 0xFFFF };

  static constexpr auto attributes = std::tuple{Members<Id>{"members", Id::members}};

  Lumo::Publisher& publisher() const { return publisher_; }
  void change(Id id, void const* key = nullptr) const {
    publisher_.publishChangeRecursive(static_cast<Lumo::FieldId>(id), key, nullptr);
  }

 private:
  mutable Lumo::Publisher publisher_;
};

class Second final : public Lumo::Node {
 public:
  enum class Id : Lumo::FieldId { value = 7, members = 8 };

  static constexpr auto attributes = std::tuple{Members<Id>{"members", Id::members}};

  Lumo::Publisher& publisher() const {
    if (std::exchange(failsOnce, false)) {
      throw std::runtime_error("no publisher");
    }
    return publisher_;
  }
  void change(Id id, void const* key = nullptr) const {
    publisher_.publishChangeRecursive(static_cast<Lumo::FieldId>(id), key, nullptr);
  }

  mutable bool failsOnce = false;

 private:
  mutable Lumo::Publisher publisher_;
};

struct BusySmAttributes {
  Source<"first", First const> first;
  Source<"second", Second const> second;
};

// What the handlers of a test do and saw.
struct Actions {
  std::vector<std::string> ran;
  std::function<void()> inShared;
  std::function<void()> inOnce;
};

Actions actions;

class BusySm final : public Reactor<BusySm, BusySmAttributes, FrameTest::ProbeModule<BusySm>> {
 public:
  BusySm(Lumo::Ptr<First const> const& first, Lumo::Ptr<Second const> const& second)
      : Reactor(first, second) {
    synchronise(&Self::handleFirst, &Self::handleSecond);
  }

  void handleShared() { run("shared", actions.inShared); }
  void handleFirst() { run("first"); }
  void handleMember(Lumo::String const& key) { run("member " + key.toString()); }
  void handleAlways() { run("always"); }
  void handleSecond() { run("second"); }
  void handleOnce() { run("once", actions.inOnce); }

  static constexpr auto operations = std::tuple{
      Op{"handleShared", &Self::handleShared, Second::Id::value, First::Id::value},
      Op{"handleFirst", &Self::handleFirst, First::Id::value, First::Id::lowest},
      Op{"handleMember", &Self::handleMember, Second::Id::members, First::Id::members},
      Op{"handleSecond", &Self::handleSecond, Second::Id::value},
      Op{"handleNothing", &Self::handleFirst},
      Op{"handleAlways", &Self::handleAlways, First::Id::lowest, First::Id::value,
         First::Id::members, First::Id::highest, Second::Id::members},
      Op{"handleOnce", &Self::handleOnce, First::Id::highest},
  };

  ~BusySm() override { run("~"); }

 private:
  static void run(std::string handler, std::function<void()> const& action = {}) {
    actions.ran.push_back(std::move(handler));
    if (action) {
      action();
    }
  }
};

namespace {

using Ran = std::vector<std::string>;

class FrameDispatch : public TestSupport::LeavesNothing {
 public:
  ~FrameDispatch() override { actions = {}; }

 protected:
  static Ran ran() { return std::exchange(actions.ran, {}); }

  Ran before = ran();  // what the end of another test left
  Lumo::Ptr<First> first = Lumo::make<First>();
  Lumo::Ptr<Second> second = Lumo::make<Second>();
  Lumo::Ptr<BusySm> reactor = BusySm::create(first, second);
  Ran synchronised = ran();
};

TEST_F(FrameDispatch, FirstSynchronisationRunsTheGivenHandlersInOrder) {
  EXPECT_EQ(synchronised, (Ran{"first", "second"}));
}

TEST_F(FrameDispatch, RowsRunInTheOrderOfTheTable) {
  first->change(First::Id::value);
  EXPECT_EQ(ran(), (Ran{"shared", "first", "always"}));
  first->change(First::Id::highest);
  EXPECT_EQ(ran(), (Ran{"always", "once"}));
  first->change(First::Id::lowest);
  EXPECT_EQ(ran(), (Ran{"first", "always"}));
}

TEST_F(FrameDispatch, EqualNumbersOfTwoTypesAreTwoAttributes) {
  second->change(Second::Id::value);
  EXPECT_EQ(ran(), (Ran{"shared", "second"}));
  second->publisher().publishChangeRecursive(0, nullptr, nullptr);
  second->publisher().publishChangeRecursive(0xFFFF, nullptr, nullptr);
  EXPECT_EQ(ran(), Ran());
}

TEST_F(FrameDispatch, HandlerWithAParameterGetsTheKey) {
  Lumo::String const key = "Ethernet1";
  first->change(First::Id::members, &key);
  EXPECT_EQ(ran(), (Ran{"member Ethernet1", "always"}));
  second->change(Second::Id::members, &key);
  EXPECT_EQ(ran(), (Ran{"member Ethernet1", "always"}));
}

TEST_F(FrameDispatch, UnlistedNumbersRunNothing) {
  for (unsigned field = 1; field < 0xFFFF; ++field) {
    if (field != 7 && field != 8) {
      first->publisher().publishChangeRecursive(static_cast<Lumo::FieldId>(field), nullptr,
                                                nullptr);
    }
  }
  EXPECT_EQ(ran(), Ran());
}

TEST_F(FrameDispatch, MarkThatIsSetBetweenTwoRowsDropsTheRest) {
  actions.inShared = [this] { reactor->velDoZombieReactors(true); };
  first->change(First::Id::value);
  EXPECT_EQ(ran(), Ran{"shared"});
  first->change(First::Id::value);
  EXPECT_EQ(ran(), Ran());
}

TEST_F(FrameDispatch, ReactorIsHeldWhileRowsAreLeft) {
  actions.inShared = [this] { reactor = nullptr; };
  first->change(First::Id::value);
  EXPECT_EQ(ran(), (Ran{"shared", "first", "always", "~"}));
  EXPECT_TRUE(first->publisher().empty());
  EXPECT_EQ(first->references(), 1U);
}

TEST_F(FrameDispatch, LastHandlerMayDropItsReactor) {
  actions.inOnce = [this] { reactor = nullptr; };
  first->change(First::Id::highest);
  EXPECT_EQ(ran(), (Ran{"always", "once", "~"}));
}

TEST_F(FrameDispatch, SwitchedOffReactorRunsTheRowsThatAreLeft) {
  // The change came while it was on; only the mark drops a handler.
  actions.inShared = [this] { reactor->hasNotificationActiveIs(false); };
  first->change(First::Id::value);
  EXPECT_EQ(ran(), (Ran{"shared", "first", "always"}));
  first->change(First::Id::value);
  EXPECT_EQ(ran(), Ran());
}

TEST_F(FrameDispatch, NestedChangeIsHandledBeforeTheRowsThatAreLeft) {
  int depth = 0;
  actions.inShared = [&] {
    if (depth++ == 0) {
      second->change(Second::Id::value);
    }
  };
  first->change(First::Id::value);
  EXPECT_EQ(ran(), (Ran{"shared", "shared", "second", "first", "always"}));
}

TEST_F(FrameDispatch, EntityMayGoWithItsReactorDuringItsOwnChange) {
  actions.inShared = [this] {
    reactor = nullptr;
    first = nullptr;
    second = nullptr;
  };
  First const& changed = *first;
  changed.change(First::Id::value);
  EXPECT_EQ(ran(), (Ran{"shared", "first", "always", "~"}));
}

TEST_F(FrameDispatch, TwoReactorsOfOneEntityAreToldInTheOrderInWhichTheyCame) {
  auto const other = BusySm::create(first, nullptr);
  ran();
  actions.inOnce = [&] { reactor = nullptr; };
  first->change(First::Id::highest);
  EXPECT_EQ(ran(), (Ran{"always", "once", "~", "always", "once"}));
}

TEST_F(FrameDispatch, FailedSubscriptionTakesTheOthersBack) {
  auto const live = BusySm::memAllocationTracker_.live();
  reactor = nullptr;
  ran();
  second->failsOnce = true;
  EXPECT_THROW(BusySm::create(first, second), std::runtime_error);
  EXPECT_EQ(ran(), Ran()) << "no handler, and no destructor of what never was";
  EXPECT_TRUE(first->publisher().empty());
  EXPECT_EQ(first->references(), 1U);
  EXPECT_EQ(second->references(), 1U);
  EXPECT_EQ(BusySm::memAllocationTracker_.live(), live - 1);
}

using FrameDispatchDeathTest = FrameDispatch;

TEST_F(FrameDispatchDeathTest, ExceptionOutOfAHandlerEndsTheProcess) {
  actions.inOnce = [] { throw std::runtime_error("escaped from the handler"); };
  EXPECT_EXIT(first->change(First::Id::highest), testing::KilledBySignal(SIGABRT),
              "escaped from the handler");
}

TEST_F(FrameDispatchDeathTest, ExceptionWithRowsLeftEndsTheProcess) {
  actions.inShared = [] { throw 1; };
  EXPECT_EXIT(first->change(First::Id::value), testing::KilledBySignal(SIGABRT), "terminate");
}

TEST_F(FrameDispatchDeathTest, ExceptionThatACallerWouldCatchEndsTheProcess) {
  actions.inOnce = [] { throw std::runtime_error("escaped from the handler"); };
  EXPECT_EXIT(
      {
        try {
          first->change(First::Id::highest);
        } catch (...) {
        }
      },
      testing::KilledBySignal(SIGABRT), "escaped from the handler");
}

TEST_F(FrameDispatchDeathTest, ValueThatAMirrorRefusesEndsTheProcess) {
  auto const config = Lumo::make<Input::MstiConfig>();
  auto const mirror = oCMstiConfigSmFactory("MST1", config, Lumo::make<OCMsti>());
  EXPECT_EXIT(config->bridgePriorityIs(61441), testing::KilledBySignal(SIGABRT),
              "Stp::OCBridgePriority::value < 0 or > 61440 not allowed");
}

}  // namespace
}  // namespace Stp::DispatchTest
