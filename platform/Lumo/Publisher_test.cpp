#include "Lumo/Publisher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace Lumo {
namespace {

static_assert(!std::is_copy_constructible_v<Publisher> && !std::is_move_constructible_v<Publisher>);
static_assert(!std::is_copy_constructible_v<Subscriber>);
static_assert(!std::is_move_constructible_v<Subscriber>);

// A slot that writes its name into a log when it is called, and then does what it is told.
class Listener {
 public:
  Listener(std::string& log, char name) : log_(log), name_(name) {}

  void subscribeTo(Publisher& publisher) {
    slot.routineIs(&called, this);
    publisher.subscriberAdd(slot, false);
  }

  Subscriber slot;
  std::function<void()> react = [] {};

 private:
  static void called(Publisher*, Subscriber* slot, FieldId, void const*, void const*) {
    auto& self = *static_cast<Listener*>(slot->owner());
    self.log_.push_back(self.name_);
    auto const react = self.react;  // which may destroy the listener
    react();
  }

  std::string& log_;
  char name_;
};

class PublisherTest : public testing::Test {
 protected:
  ~PublisherTest() override {
    for (auto const& listener : listeners) {
      if (listener) {
        listener->slot.unsubscribeFrom(*publisher);
      }
    }
  }

  void subscribe(std::string const& names) {
    for (char const name : names) {
      of(name).subscribeTo(*publisher);
    }
  }
  void unsubscribe(std::string const& names) {
    for (char const name : names) {
      of(name).slot.unsubscribeFrom(*publisher);
    }
  }
  Listener& of(char name) {
    auto& listener = listeners[static_cast<std::size_t>(name - 'a')];
    if (!listener) {
      listener = std::make_unique<Listener>(log, name);
    }
    return *listener;
  }
  void destroy(char name) {
    unsubscribe(std::string(1, name));
    listeners[static_cast<std::size_t>(name - 'a')].reset();
  }

  // Who is called, in order, for one change.
  std::string publish() {
    log.clear();
    publisher->publishChangeRecursive(300, nullptr, nullptr);
    return log;
  }

  std::string log;
  std::unique_ptr<Publisher> publisher = std::make_unique<Publisher>();
  std::unique_ptr<Listener> listeners[26];
};

TEST_F(PublisherTest, CallsInTheOrderOfSubscription) {
  EXPECT_TRUE(publisher->empty());
  EXPECT_EQ(publish(), "");
  subscribe("bac");
  EXPECT_FALSE(publisher->empty());
  EXPECT_EQ(publish(), "bac");
  unsubscribe("b");
  subscribe("b");
  EXPECT_EQ(publish(), "acb");
  unsubscribe("acb");
  EXPECT_TRUE(publisher->empty());
  EXPECT_EQ(publish(), "");
}

TEST_F(PublisherTest, PassesOnWhatItIsGiven) {
  struct Call {
    Publisher* publisher;
    Subscriber* slot;
    FieldId field;
    void const* oldValue;
    void const* newValue;

    bool operator==(Call const&) const = default;
  };
  static std::vector<Call> calls;
  auto const record = [](Publisher* from, Subscriber* slot, FieldId field, void const* oldValue,
                         void const* newValue) {
    calls.push_back({from, slot, field, oldValue, newValue});
  };
  int const before = 1;
  int const after = 2;
  Subscriber first;
  Subscriber second;
  first.routineIs(record, nullptr);
  second.routineIs(record, nullptr);

  publisher->subscriberAdd(first, false);
  publisher->publishChangeRecursive(65535, &before, &after);
  EXPECT_THAT(calls, testing::ElementsAre(Call{publisher.get(), &first, 65535, &before, &after}));

  calls.clear();
  publisher->subscriberAdd(second, false);
  publisher->publishChangeRecursive(0, &after, nullptr);
  EXPECT_THAT(calls, testing::ElementsAre(Call{publisher.get(), &first, 0, &after, nullptr},
                                          Call{publisher.get(), &second, 0, &after, nullptr}));

  calls.clear();
  second.notify(*publisher, 7, nullptr, &before);
  EXPECT_THAT(calls, testing::ElementsAre(Call{publisher.get(), &second, 7, nullptr, &before}));
  publisher->subscriberRemove(first);
  publisher->subscriberRemove(second);
  calls.clear();
  second.notify(*publisher, 7, nullptr, &before);
  EXPECT_TRUE(calls.empty()) << "an empty slot was called";
}

TEST_F(PublisherTest, LeavesASlotThatItRemovedEmpty) {
  subscribe("a");
  EXPECT_TRUE(of('a').slot.subscribed());
  EXPECT_EQ(of('a').slot.owner(), &of('a'));
  publisher->subscriberRemove(of('a').slot);
  EXPECT_FALSE(of('a').slot.subscribed());
  EXPECT_EQ(of('a').slot.owner(), nullptr);
  of('a').slot.unsubscribeFrom(*publisher);  // nothing is left to remove
  subscribe("a");
  EXPECT_EQ(publish(), "a");
}

TEST_F(PublisherTest, LeavesItsSlotsEmptyWhenItGoes) {
  subscribe("abc");
  publisher = std::make_unique<Publisher>();
  for (char const name : {'a', 'b', 'c'}) {
    EXPECT_FALSE(of(name).slot.subscribed()) << name;
  }
  subscribe("cb");
  EXPECT_EQ(publish(), "cb");
}

TEST_F(PublisherTest, AsksNobodyForPresentValuesWithoutAnEntity) {
  of('a').slot.routineIs(
      [](Publisher*, Subscriber*, FieldId, void const*, void const*) { FAIL() << "called"; },
      nullptr);
  publisher->subscriberAdd(of('a').slot, true);
}

// What one subscriber does to the others while all are notified, and who is still called for this
// change and for the next.
TEST_F(PublisherTest, LetsASubscriberChangeTheSubscriptions) {
  struct Case {
    char const* what;
    char acts;
    char const* remove;
    char const* add;
    char const* called;
    char const* calledNext;
  };
  for (Case const& given : {
           Case{"the first removes itself", 'a', "a", "", "abcd", "bcd"},
           Case{"the last removes itself", 'd', "d", "", "abcd", "abc"},
           Case{"one removes the next", 'b', "c", "", "abd", "abd"},
           Case{"one removes the last", 'b', "d", "", "abc", "abc"},
           Case{"one removes the one before", 'c', "b", "", "abcd", "acd"},
           Case{"one removes all behind it", 'b', "cd", "", "ab", "ab"},
           Case{"one removes all behind it, backwards", 'b', "dc", "", "ab", "ab"},
           Case{"one removes itself and the next", 'b', "bc", "", "abd", "ad"},
           Case{"one removes the next and itself", 'b', "cb", "", "abd", "ad"},
           Case{"the last removes all", 'd', "abcd", "", "abcd", ""},
           Case{"the first removes all", 'a', "dcba", "", "a", ""},
           Case{"one adds another", 'a', "", "e", "abcd", "abcde"},
           Case{"the last adds another", 'd', "", "e", "abcd", "abcde"},
           Case{"the last removes itself and adds another", 'd', "d", "e", "abcd", "abce"},
           Case{"one goes to the end", 'a', "a", "a", "abcd", "bcda"},
           Case{"the last goes to the end", 'd', "d", "d", "abcd", "abcd"},
           Case{"one sends the next to the end", 'b', "c", "c", "abd", "abdc"},
           Case{"one sends the last to the end", 'a', "d", "d", "abc", "abcd"},
           Case{"the first sends all to the end", 'a', "abcd", "abcd", "a", "abcd"},
       }) {
    SCOPED_TRACE(given.what);
    subscribe("abcd");
    of(given.acts).react = [&] {
      unsubscribe(given.remove);
      subscribe(given.add);
      of(given.acts).react = [] {};
    };
    EXPECT_EQ(publish(), given.called);
    EXPECT_EQ(publish(), given.calledNext);
    unsubscribe("abcde");
  }
}

TEST_F(PublisherTest, CallsTheOnlySubscriberOnceThoughItSubscribesAgain) {
  subscribe("a");
  of('a').react = [&] {
    unsubscribe("a");
    subscribe("ba");
  };
  EXPECT_EQ(publish(), "a");
  of('a').react = [] {};
  EXPECT_EQ(publish(), "ba");
}

TEST_F(PublisherTest, LetsASubscriberDestroyItselfAndOthers) {
  subscribe("abcd");
  of('b').react = [&] {
    destroy('c');
    destroy('a');
    destroy('b');
  };
  EXPECT_EQ(publish(), "abd");
  EXPECT_EQ(publish(), "d");
  of('d').react = [&] { destroy('d'); };
  EXPECT_EQ(publish(), "d");
  EXPECT_TRUE(publisher->empty());
}

TEST_F(PublisherTest, MayGoFromWithinANotification) {
  for (std::string const subscribers : {"a", "ab", "ba", "cab"}) {
    SCOPED_TRACE(subscribers);
    subscribe(subscribers);
    of('a').react = [&] { publisher.reset(); };
    Publisher& going = *publisher;
    log.clear();
    going.publishChangeRecursive(300, nullptr, nullptr);
    EXPECT_EQ(log, subscribers.substr(0, subscribers.find('a') + 1));
    for (char const name : subscribers) {
      EXPECT_FALSE(of(name).slot.subscribed()) << name;
    }
    publisher = std::make_unique<Publisher>();
  }
}

TEST_F(PublisherTest, NotifiesWithinANotification) {
  subscribe("abc");
  of('b').react = [&] {
    of('b').react = [] {};
    log.push_back('(');
    publisher->publishChangeRecursive(301, nullptr, nullptr);
    log.push_back(')');
  };
  EXPECT_EQ(publish(), "ab(abc)c");
}

TEST_F(PublisherTest, KeepsAllNotificationsUnderWayInStep) {
  subscribe("abcd");
  of('a').react = [&] {
    of('a').react = [] {};
    log.push_back('(');
    publisher->publishChangeRecursive(301, nullptr, nullptr);
    log.push_back(')');
  };
  of('b').react = [&] {
    of('b').react = [] {};
    unsubscribe("cd");
    subscribe("ed");
  };
  EXPECT_EQ(publish(), "a(ab)b");
  EXPECT_EQ(publish(), "abed");
}

TEST_F(PublisherTest, MayGoFromWithinNestedNotifications) {
  subscribe("abc");
  of('a').react = [&] {
    of('a').react = [&] { publisher.reset(); };
    Publisher& going = *publisher;
    going.publishChangeRecursive(301, nullptr, nullptr);
    log.push_back('.');
  };
  Publisher& going = *publisher;
  going.publishChangeRecursive(300, nullptr, nullptr);
  EXPECT_EQ(log, "aa.");
  publisher = std::make_unique<Publisher>();
}

TEST_F(PublisherTest, PassesAnExceptionOnAndStaysUsable) {
  subscribe("abc");
  of('b').react = [] { throw std::runtime_error("no"); };
  EXPECT_THROW(publish(), std::runtime_error);
  EXPECT_EQ(log, "ab");
  of('b').react = [&] { unsubscribe("c"); };
  EXPECT_EQ(publish(), "ab");
}

TEST_F(PublisherTest, PassesAnExceptionOnThoughItWentBefore) {
  subscribe("ab");
  of('a').react = [&] {
    publisher.reset();
    throw std::runtime_error("no");
  };
  Publisher& going = *publisher;
  EXPECT_THROW(going.publishChangeRecursive(300, nullptr, nullptr), std::runtime_error);
  EXPECT_EQ(log, "a");
  publisher = std::make_unique<Publisher>();
}

void ignore(Publisher*, Subscriber*, FieldId, void const*, void const*) {
}

TEST(PublisherDeathTest, RefusesASlotThatIsEmptyOrSubscribed) {
  Publisher publisher;
  Subscriber slot;
  EXPECT_DEATH(publisher.subscriberAdd(slot, false),
               "Assertion `slot.next == nullptr && slot.routine_ != nullptr' failed");
  slot.routineIs(&ignore, nullptr);
  publisher.subscriberAdd(slot, false);
  EXPECT_DEATH(publisher.subscriberAdd(slot, false),
               "Assertion `slot.next == nullptr && slot.routine_ != nullptr' failed");
  publisher.subscriberRemove(slot);
}

TEST(PublisherDeathTest, RefusesToRemoveASlotThatNeverSubscribed) {
  Publisher publisher;
  Subscriber slot;
  EXPECT_DEATH(publisher.subscriberRemove(slot), "Assertion `slot.next != nullptr' failed");
  slot.routineIs(&ignore, nullptr);
  EXPECT_DEATH(slot.unsubscribeFrom(publisher), "Assertion `slot.next != nullptr' failed");
  slot.routineIs(nullptr, nullptr);
}

TEST(SubscriberDeathTest, MustBeEmptyWhenItGoes) {
  EXPECT_DEATH(
      {
        Publisher publisher;
        Subscriber slot;
        slot.routineIs(&ignore, nullptr);
        publisher.subscriberAdd(slot, false);
      },
      "Assertion `!subscribed\\(\\)' failed");
}

}  // namespace
}  // namespace Lumo
