// The orders of subscription and of tear-down, told by entities that say when they are reached and
// when they go.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "Lumo/Node.h"
#include "Lumo/Ptr.h"
#include "Lumo/Publisher.h"
#include "Stp/frame/Reactor.h"
#include "Stp/frame/tests/ProbeModule.h"

namespace Stp::OrderTest {

using FrameTest::inactive;
using FrameTest::ProbeModule;

using Log = std::vector<std::string>;

Log events;

void add(std::string event) {
  events.push_back(std::move(event));
}
Log taken() {
  return std::exchange(events, {});
}

// An entity that notes who subscribes ("+a") and unsubscribes ("-a"): the frame asks for its
// publisher only for that.
template <char letter>
class Thing final : public Lumo::Node {
 public:
  enum class Id : Lumo::FieldId { value = 1 };

  Lumo::Publisher& publisher() const {
    add((publisher_.empty() ? '+' : '-') + std::string{letter});
    return publisher_;
  }

  ~Thing() override { add('~' + std::string{letter}); }

 private:
  mutable Lumo::Publisher publisher_;
};

template <char letter>
struct LeafSmAttributes {
  Source<"thing", Thing<letter> const> thing;
};

template <char letter>
class LeafSm final
    : public Reactor<LeafSm<letter>, LeafSmAttributes<letter>, ProbeModule<LeafSm<letter>>> {
  using Base = typename LeafSm::Reactor;

 public:
  explicit LeafSm(Lumo::Ptr<Thing<letter> const> const& thing) : Base(thing) {}

  void handleValue() {}

  static constexpr auto operations = std::tuple{
      Op{"handleValue", &LeafSm::handleValue, Thing<letter>::Id::value},
  };

  ~LeafSm() override { add(std::string("~child ") + letter); }
};

struct NamedSmAttributes {
  Key name;
  Source<"thing", Thing<'k'> const> thing;
};

class NamedSm final : public Reactor<NamedSm, NamedSmAttributes, ProbeModule<NamedSm>> {
 public:
  NamedSm(Lumo::String const& name, Lumo::Ptr<Thing<'k'> const> const& thing)
      : Reactor(name, thing) {}

  void handleValue() {}

  static constexpr auto operations = std::tuple{
      Op{"handleValue", &Self::handleValue, Thing<'k'>::Id::value},
  };

  ~NamedSm() override { add("~child " + name.toString()); }
};

struct RootSmAttributes {
  Key name;
  Source<"a", Thing<'a'> const> a;
  Target<"x", Thing<'x'>> x;
  Source<"b", Thing<'b'> const> b;
  Held<"h", Thing<'h'> const> h;
  Source<"c", Thing<'c'>> c;
  Child<"single", LeafSm<'s'>> single;
  Children<"named", NamedSm> named;
};

class RootSm final : public Reactor<RootSm, RootSmAttributes, ProbeModule<RootSm>> {
 public:
  RootSm(Lumo::String const& name, Lumo::Ptr<Thing<'a'> const> const& a,
         Lumo::Ptr<Thing<'x'>> const& x, Lumo::Ptr<Thing<'b'> const> const& b,
         Lumo::Ptr<Thing<'h'> const> const& h, Lumo::Ptr<Thing<'c'>> const& c)
      : Reactor(name, a, x, b, h, c) {
    synchronise(&Self::handleInitialized);
  }

  void handleInitialized() { add("synchronised"); }
  void handleChange() {}

  void childrenAre() {
    single.is(Lumo::Ptr<Thing<'s'> const>(Lumo::make<Thing<'s'>>()));
    named.is("first", Lumo::Ptr<Thing<'k'> const>(Lumo::make<Thing<'k'>>()));
    named.is("second", Lumo::Ptr<Thing<'k'> const>(Lumo::make<Thing<'k'>>()));
  }

  static constexpr auto operations = std::tuple{
      Op{"handleInitialized", &Self::handleInitialized},
      Op{"handleChange", &Self::handleChange, Thing<'a'>::Id::value, Thing<'b'>::Id::value,
         Thing<'c'>::Id::value},
  };
};

namespace {

Lumo::Ptr<RootSm> makeRoot() {
  return inactive<RootSm>(
      "root", Lumo::Ptr<Thing<'a'> const>(Lumo::make<Thing<'a'>>()), Lumo::make<Thing<'x'>>(),
      Lumo::Ptr<Thing<'b'> const>(Lumo::make<Thing<'b'>>()),
      Lumo::Ptr<Thing<'h'> const>(Lumo::make<Thing<'h'>>()), Lumo::make<Thing<'c'>>());
}

TEST(Order, ConstructorSubscribesInTheOrderOfItsArgumentsThenSynchronises) {
  events.clear();
  Lumo::Ptr<RootSm> const root = makeRoot();
  EXPECT_EQ(taken(), (Log{"+a", "+b", "+c", "synchronised"}));
  root->hasNotificationActiveIs(true);
  EXPECT_EQ(taken(), Log());
}

TEST(Order, SwitchingGoesThroughTheSourcesThenTheChildren) {
  events.clear();
  Lumo::Ptr<RootSm> const root = makeRoot();
  root->hasNotificationActiveIs(true);
  root->childrenAre();
  EXPECT_EQ(taken(), (Log{"+a", "+b", "+c", "synchronised", "+s", "+k", "+k"}));

  root->hasNotificationActiveIs(false);
  EXPECT_EQ(taken(), (Log{"-a", "-b", "-c", "-s", "-k", "-k"}));
  root->hasNotificationActiveIs(true);
  EXPECT_EQ(taken(), (Log{"+a", "+b", "+c", "+s", "+k", "+k"}));
}

// What is reached without a subscription to end is no step.
Log withoutIdleSteps(Log const& log) {
  Log steps;
  for (std::string const& event : log) {
    if (event.front() != '+') {
      steps.push_back(event);
    }
  }
  return steps;
}

TEST(Order, DestructorSwitchesOffDropsTheChildrenThenTheEntitiesLastFirst) {
  events.clear();
  Lumo::Ptr<RootSm> root = makeRoot();
  root->hasNotificationActiveIs(true);
  root->childrenAre();
  events.clear();
  root = nullptr;
  EXPECT_EQ(withoutIdleSteps(taken()),
            (Log{"-a", "-b", "-c", "-s", "-k", "-k", "~child s", "~s", "~child first", "~k",
                 "~child second", "~k", "~c", "~h", "~b", "~x", "~a"}));
}

TEST(Order, DestructorOfAReactorThatWasNeverActiveUnsubscribesFirstToo) {
  events.clear();
  Lumo::Ptr<RootSm> root = makeRoot();
  events.clear();
  root = nullptr;
  EXPECT_EQ(withoutIdleSteps(taken()), (Log{"-a", "-b", "-c", "~c", "~h", "~b", "~x", "~a"}));
}

TEST(Order, InactiveReactorIsDestroyedWithoutAStepOfItsOwn) {
  events.clear();
  Lumo::Ptr<RootSm> root = makeRoot();
  root->hasNotificationActiveIs(true);
  root->hasNotificationActiveIs(false);
  events.clear();
  root = nullptr;
  EXPECT_EQ(withoutIdleSteps(taken()), (Log{"~c", "~h", "~b", "~x", "~a"}));
}

TEST(Order, AbsentEntitiesAreNoSteps) {
  events.clear();
  Lumo::Ptr<RootSm> root =
      RootSm::create("root", nullptr, nullptr,
                     Lumo::Ptr<Thing<'b'> const>(Lumo::make<Thing<'b'>>()), nullptr, nullptr);
  EXPECT_EQ(taken(), (Log{"+b", "synchronised"}));
  root = nullptr;
  EXPECT_EQ(withoutIdleSteps(taken()), (Log{"-b", "~b"}));
}

}  // namespace
}  // namespace Stp::OrderTest
