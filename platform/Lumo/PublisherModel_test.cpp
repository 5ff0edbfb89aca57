// Random subscriptions, removals, nested notifications, exceptions and destruction, from inside
// notifications, against lists of names.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <deque>
#include <memory>
#include <random>
#include <vector>

#include "Lumo/Publisher.h"

namespace Lumo {
namespace {

struct Thrown {};

class World {
 public:
  explicit World(unsigned seed) : random_(seed) {}
  ~World() {
    for (unsigned name = 0; name < slotCount; ++name) {
      remove(name);
    }
  }
  World(World const&) = delete;
  World& operator=(World const&) = delete;

  void run() {
    for (int step = 0; step < 60 && !testing::Test::HasFailure(); ++step) {
      act();
    }
  }

 private:
  static constexpr unsigned slotCount = 7;
  static constexpr std::size_t deepest = 4;

  // A slot's object is new at each subscription, so that none is touched after it went.
  struct Slot {
    Slot(World& inWorld, unsigned withName) : world(inWorld), name(withName) {}

    World& world;
    unsigned name;
    Subscriber subscriber;
  };

  bool chance(unsigned oneIn) { return random_() % oneIn == 0; }

  void act() {
    unsigned const name = random_() % slotCount;
    switch (random_() % 10) {
      case 0:
      case 1:
      case 2:
      case 3: add(name); break;
      case 4:
      case 5: remove(name); break;
      case 6:
        if (chance(6)) {
          replacePublisher();
        }
        break;
      default: publish(); break;
    }
  }

  void add(unsigned name) {
    if (slots_[name]) {
      return;
    }
    slots_[name] = std::make_unique<Slot>(*this, name);
    slots_[name]->subscriber.routineIs(&called, slots_[name].get());
    publisher_->subscriberAdd(slots_[name]->subscriber, false);
    subscribed_.push_back(name);
  }

  void remove(unsigned name) {
    if (slots_[name]) {
      slots_[name]->subscriber.unsubscribeFrom(*publisher_);
      slots_[name].reset();
    }
    std::erase(subscribed_, name);
    for (auto& pending : underWay_) {
      std::erase(pending, name);
    }
  }

  void replacePublisher() {
    publisher_ = std::make_unique<Publisher>();
    subscribed_.clear();
    for (auto& pending : underWay_) {
      pending.clear();
    }
    for (auto& slot : slots_) {
      if (slot) {
        EXPECT_FALSE(slot->subscriber.subscribed());
        slot.reset();
      }
    }
  }

  void publish() {
    if (underWay_.size() == deepest) {
      return;
    }
    underWay_.emplace_back(subscribed_.begin(), subscribed_.end());
    EXPECT_EQ(publisher_->empty(), subscribed_.empty());
    bool thrown = false;
    try {
      publisher_->publishChangeRecursive(1, nullptr, nullptr);
    } catch (Thrown const&) {
      thrown = true;
    }
    if (!thrown) {
      EXPECT_TRUE(underWay_.back().empty()) << "not called: " << underWay_.back().front();
    }
    underWay_.pop_back();
    if (thrown && !underWay_.empty() && chance(2)) {
      throw Thrown();
    }
  }

  static void called(Publisher* publisher, Subscriber* subscriber, FieldId, void const*,
                     void const*) {
    Slot const& slot = *static_cast<Slot*>(subscriber->owner());
    World& world = slot.world;
    EXPECT_EQ(publisher, world.publisher_.get());
    auto& pending = world.underWay_.back();
    if (pending.empty() || pending.front() != slot.name) {
      ADD_FAILURE() << "called out of turn: " << slot.name;
      return;
    }
    pending.pop_front();
    for (unsigned count = world.random_() % 4; count > 0; --count) {
      world.act();
    }
    if (world.chance(20)) {
      throw Thrown();
    }
  }

  std::mt19937 random_;
  std::unique_ptr<Publisher> publisher_ = std::make_unique<Publisher>();
  std::array<std::unique_ptr<Slot>, slotCount> slots_;
  std::vector<unsigned> subscribed_;
  std::vector<std::deque<unsigned>> underWay_;  // who is still to be called, outermost first
};

TEST(PublisherModel, HoldsUnderRandomUse) {
  for (unsigned seed = 0; seed < 5000; ++seed) {
    SCOPED_TRACE(seed);
    World world(seed);
    world.run();
    if (HasFailure()) {
      return;
    }
  }
}

}  // namespace
}  // namespace Lumo
