#include "Lumo/Entity.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "Lumo/Ptr.h"

namespace Lumo {
namespace {

// Two numbers and a record.
class Thing final : public Entity {
 public:
  enum class Id : FieldId { first = 258, second = 300, record = 130 };

  explicit Thing(int& alive) : alive_(alive) { ++alive_; }
  ~Thing() override { --alive_; }

  int first() const { return first_; }
  void firstIs(int value) { attributeIs(Id::first, first_, value); }
  void secondIs(int value) { attributeIs(Id::second, second_, value); }
  int record() const { return record_; }
  void recordIs(int value) { Entity::recordIs(Id::record, record_, value); }

  void presentValuesNotify(Subscriber& subscriber) const override {
    Ptr<Thing const> const held(this);
    subscriber.notify(publisher(), static_cast<FieldId>(Id::first), &first_, &first_);
    subscriber.notify(publisher(), static_cast<FieldId>(Id::second), &second_, &second_);
    subscriber.notify(publisher(), static_cast<FieldId>(Id::record), nullptr, &record_);
  }

 private:
  int& alive_;
  int first_ = 1;
  int second_ = 2;
  int record_ = 3;
};

std::string textOf(void const* value) {
  return value == nullptr ? "-" : std::to_string(*static_cast<int const*>(value));
}

class Watcher {
 public:
  Watcher(Publisher& publisher, std::string& log) : publisher_(&publisher), log_(log) {
    slot.routineIs(&called, this);
  }
  Watcher(Watcher const&) = delete;
  Watcher& operator=(Watcher const&) = delete;
  ~Watcher() { slot.unsubscribeFrom(*publisher_); }

  Subscriber slot;
  std::function<void()> react = [] {};

 private:
  static void called(Publisher* publisher, Subscriber* slot, FieldId field, void const* oldValue,
                     void const* newValue) {
    auto& self = *static_cast<Watcher*>(slot->owner());
    EXPECT_EQ(publisher, self.publisher_);
    EXPECT_EQ(slot, &self.slot);
    self.log_ += std::to_string(field) + " " + textOf(oldValue) + " " + textOf(newValue) + "; ";
    auto const react = self.react;  // which may destroy the watcher
    react();
  }

  Publisher* publisher_;
  std::string& log_;
};

class EntityTest : public testing::Test {
 protected:
  EntityTest() { subscribe(); }
  ~EntityTest() override {
    watcher.reset();
    thing = nullptr;
    EXPECT_EQ(alive, 0);
  }

  void subscribe() {
    watcher = std::make_unique<Watcher>(thing->publisher(), log);
    thing->publisher().subscriberAdd(watcher->slot, false);
    watched = watcher.get();
  }

  int alive = 0;
  std::string log;
  Ptr<Thing> thing = make<Thing>(alive);
  std::unique_ptr<Watcher> watcher;
  Watcher* watched = nullptr;
};

TEST_F(EntityTest, AnnouncesOldAndNewValueAfterTheChange) {
  watched->react = [&] { EXPECT_EQ(thing->first(), 5); };
  thing->firstIs(5);
  EXPECT_EQ(log, "258 1 5; ");
}

TEST_F(EntityTest, AnnouncesNothingForTheValueThatItHas) {
  thing->firstIs(1);
  thing->secondIs(2);
  EXPECT_EQ(log, "");
}

TEST_F(EntityTest, AnnouncesARecordAlways) {
  thing->recordIs(3);
  thing->recordIs(4);
  EXPECT_EQ(log, "130 - 3; 130 - 4; ");
  EXPECT_EQ(thing->record(), 4);
}

TEST_F(EntityTest, AcceptsItsOwnValueAsTheNewOne) {
  watched->react = [&] {
    watched->react = [] {};
    thing->firstIs(thing->first());
    thing->firstIs(7);
  };
  thing->firstIs(5);
  EXPECT_EQ(log, "258 1 5; 258 5 7; ");
  EXPECT_EQ(thing->first(), 7);
}

TEST_F(EntityTest, MayBeDroppedByTheSubscriberOfItsSetter) {
  for (bool const record : {false, true}) {
    SCOPED_TRACE(record);
    Thing& going = *thing;
    watched->react = [&] {
      thing = nullptr;
      EXPECT_EQ(alive, 0);
    };
    if (record) {
      going.recordIs(9);
    } else {
      going.firstIs(9);
    }
    EXPECT_FALSE(watched->slot.subscribed());
    thing = make<Thing>(alive);
    subscribe();
  }
}

TEST_F(EntityTest, TellsPresentValuesOnRequestOnly) {
  log.clear();
  Watcher other(thing->publisher(), log);
  thing->publisher().subscriberAdd(other.slot, true);
  EXPECT_EQ(log, "258 1 1; 300 2 2; 130 - 3; ") << "the other subscriber hears nothing";
  log.clear();
  thing->firstIs(4);
  EXPECT_EQ(log, "258 1 4; 258 1 4; ");
}

TEST_F(EntityTest, StopsTellingPresentValuesToOneWhoUnsubscribes) {
  Watcher other(thing->publisher(), log);
  other.react = [&] { other.slot.unsubscribeFrom(thing->publisher()); };
  thing->publisher().subscriberAdd(other.slot, true);
  EXPECT_EQ(log, "258 1 1; ");
}

TEST_F(EntityTest, StopsTellingPresentValuesToOneWhoGoes) {
  auto other = std::make_unique<Watcher>(thing->publisher(), log);
  other->react = [&] { other.reset(); };
  thing->publisher().subscriberAdd(other->slot, true);
  EXPECT_EQ(log, "258 1 1; ");
  log.clear();
  thing->firstIs(4);
  EXPECT_EQ(log, "258 1 4; ");
}

TEST_F(EntityTest, StopsTellingPresentValuesToOneWhoSubscribesAnew) {
  Watcher other(thing->publisher(), log);
  int calls = 0;
  other.react = [&] {
    ++calls;
    if (calls == 2) {
      auto* const owner = other.slot.owner();
      other.slot.unsubscribeFrom(thing->publisher());
      other.slot.routineIs(
          [](Publisher*, Subscriber*, FieldId, void const*, void const*) {
            ADD_FAILURE() << "called for what the slot did not ask for";
          },
          owner);
      thing->publisher().subscriberAdd(other.slot, false);
    }
  };
  thing->publisher().subscriberAdd(other.slot, true);
  EXPECT_EQ(calls, 2);
}

TEST_F(EntityTest, MayBeDroppedWhileItTellsPresentValues) {
  watcher.reset();
  Watcher other(thing->publisher(), log);
  other.react = [&] { thing = nullptr; };
  thing->publisher().subscriberAdd(other.slot, true);
  EXPECT_EQ(alive, 0);
  EXPECT_FALSE(other.slot.subscribed());
}

TEST_F(EntityTest, AnnouncesChangesThatComeWhileItTellsPresentValues) {
  Watcher other(thing->publisher(), log);
  other.react = [&] {
    other.react = [] {};
    log += "(";
    thing->secondIs(20);
    log += ") ";
  };
  thing->publisher().subscriberAdd(other.slot, true);
  EXPECT_EQ(log, "258 1 1; (300 2 20; 300 2 20; ) 300 20 20; 130 - 3; ");
}

TEST_F(EntityTest, DoesNotSubscribeOneWhoThrowsAtItsPresentValues) {
  Watcher other(thing->publisher(), log);
  other.react = [] { throw 1; };
  EXPECT_THROW(thing->publisher().subscriberAdd(other.slot, true), int);
  EXPECT_FALSE(other.slot.subscribed());
  log.clear();
  thing->secondIs(5);
  EXPECT_EQ(log, "300 2 5; ") << "the other subscriber stays";
}

TEST_F(EntityTest, LeavesAloneOneWhoThrowsAfterItLeft) {
  Watcher other(thing->publisher(), log);
  other.react = [&] {
    other.slot.unsubscribeFrom(thing->publisher());
    throw 1;
  };
  EXPECT_THROW(thing->publisher().subscriberAdd(other.slot, true), int);
  EXPECT_FALSE(other.slot.subscribed());
}

TEST_F(EntityTest, MayBeDroppedByOneWhoThrowsAtItsPresentValues) {
  watcher.reset();
  Watcher other(thing->publisher(), log);
  other.react = [&] {
    thing = nullptr;
    throw 1;
  };
  EXPECT_THROW(thing->publisher().subscriberAdd(other.slot, true), int);
  EXPECT_EQ(alive, 0);
  EXPECT_FALSE(other.slot.subscribed());
}

}  // namespace
}  // namespace Lumo
