// Random changes with iterators alive, against a log in which nothing ever moves.

#include <gtest/gtest.h>

#include <algorithm>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "Lumo/String.h"
#include "Vel/HashMap2018.h"

namespace Vel {
namespace {

class Member final : public Lumo::Node {
 public:
  Member(int number, int& alive) : number(number), alive_(alive) { ++alive_; }
  ~Member() override { --alive_; }

  int const number;

 private:
  int& alive_;
};

// How a collection's values are made from numbers and read.
struct Entities {
  using Key = Lumo::String;
  using Map = HashMap2018<Key, Member>;

  static Key key(unsigned number) { return "key " + std::to_string(number); }
  Lumo::Ptr<Member> value(int number) { return Lumo::make<Member>(number, alive); }
  static int number(Lumo::Ptr<Member> const& value) { return value->number; }
  void check(std::size_t size) const { EXPECT_EQ(static_cast<std::size_t>(alive), size); }

  int alive = 0;
};

struct Records {
  using Key = std::uint16_t;
  using Map = HashMap2018Generic<Key, std::optional<Lumo::String>>;

  static Key key(unsigned number) { return static_cast<Key>(number * 4001); }
  static std::optional<Lumo::String> value(int number) {
    return Lumo::String(std::to_string(number));
  }
  static int number(std::optional<Lumo::String> const& value) {
    return std::stoi(value.value().toString());
  }
  static void check(std::size_t) {}
};

// A line of the log: one member, from its insertion to its removal.
struct Line {
  unsigned key;
  int number;
  bool present;
};
using Log = std::list<Line>;

template <class Kind>
class World {
 public:
  using Map = typename Kind::Map;

  World(unsigned seed, unsigned keys) : random_(seed), keys_(keys) {}

  void run() {
    for (int step = 0; step < 300 && !testing::Test::HasFailure(); ++step) {
      act();
      check();
    }
    map_.reset();
    kind_.check(0);
  }

 private:
  struct Walk {
    std::unique_ptr<typename Map::Iterator> iterator;
    Log::iterator line;
    bool atEnd = false;
  };

  void act() {
    unsigned const key = random_() % keys_;
    switch (random_() % 16) {
      case 0:
      case 1:
      case 2:
      case 3: put(key); break;
      case 4:
      case 5:
      case 6:
      case 7: remove(key); break;
      case 8:
        if (walks_.size() < 6) {
          walks_.push_back({std::make_unique<typename Map::Iterator>(*map_), log_.begin()});
          settle(walks_.back());
        }
        break;
      case 9:
        if (!walks_.empty()) {
          walks_.erase(walks_.begin() + static_cast<std::ptrdiff_t>(random_() % walks_.size()));
        }
        break;
      case 10:
        if (random_() % 10 == 0) {
          removeAll();
        }
        break;
      default:
        if (!walks_.empty()) {
          advance(walks_[random_() % walks_.size()]);
        }
        break;
    }
  }

  Log::iterator lineOf(unsigned key) {
    return std::find_if(log_.begin(), log_.end(),
                        [&](Line const& line) { return line.present && line.key == key; });
  }

  void put(unsigned key) {
    ++number_;
    auto const line = lineOf(key);
    if (line == log_.end()) {
      log_.push_back({key, number_, true});
    } else {
      line->number = number_;
    }
    map_->newMemberG(Kind::key(key), kind_.value(number_));
  }

  void remove(unsigned key) {
    auto const line = lineOf(key);
    auto const removed = map_->deleteMemberG(Kind::key(key));
    ASSERT_EQ(static_cast<bool>(removed), line != log_.end());
    if (line != log_.end()) {
      line->present = false;
      EXPECT_EQ(Kind::number(removed), line->number);
    }
  }

  void removeAll() {
    map_->_memberDelAll();
    for (Line& line : log_) {
      line.present = false;
    }
  }

  void settle(Walk& walk) {
    while (walk.line != log_.end() && !walk.line->present) {
      ++walk.line;
    }
    walk.atEnd = walk.line == log_.end();
  }

  // A walk that is at the end stays there, whatever comes: it is begun anew.
  void advance(Walk& walk) {
    if (walk.atEnd) {
      walk.iterator = std::make_unique<typename Map::Iterator>(*map_);
      walk.line = log_.begin();
    } else {
      ++*walk.iterator;
      ++walk.line;
    }
    settle(walk);
  }

  void check() {
    std::size_t present = 0;
    auto iterator = map_->begin();
    for (Line const& line : log_) {
      if (line.present) {
        ASSERT_FALSE(iterator.atEnd());
        ASSERT_EQ(iterator.key(), Kind::key(line.key));
        ASSERT_EQ(Kind::number(iterator.value()), line.number);
        ASSERT_EQ(Kind::number(*map_->find(Kind::key(line.key))), line.number);
        ++present;
        ++iterator;
      }
    }
    ASSERT_TRUE(iterator.atEnd());
    ASSERT_EQ(map_->size(), present);
    ASSERT_EQ(map_->empty(), present == 0);
    kind_.check(present);
    for (unsigned key = 0; key < keys_; ++key) {
      ASSERT_EQ(map_->find(Kind::key(key)) != nullptr, lineOf(key) != log_.end());
    }
    for (Walk const& walk : walks_) {
      ASSERT_EQ(walk.iterator->atEnd(), walk.atEnd);
      if (!walk.atEnd && walk.line->present) {
        ASSERT_EQ(walk.iterator->key(), Kind::key(walk.line->key));
        ASSERT_EQ(Kind::number(walk.iterator->value()), walk.line->number);
      }
    }
  }

  std::mt19937 random_;
  unsigned keys_;
  Kind kind_;
  std::unique_ptr<Map> map_ = std::make_unique<Map>();
  Log log_;
  std::vector<Walk> walks_;
  int number_ = 0;
};

template <class Kind>
void compare() {
  for (unsigned const keys : {2U, 5U, 12U, 60U}) {
    for (unsigned seed = 0; seed < 60; ++seed) {
      SCOPED_TRACE("keys " + std::to_string(keys) + ", seed " + std::to_string(seed));
      World<Kind>(seed, keys).run();
      if (testing::Test::HasFailure()) {
        return;
      }
    }
  }
}

TEST(HashMap2018Model, HoldsForEntities) {
  compare<Entities>();
}

TEST(HashMap2018Model, HoldsForRecords) {
  compare<Records>();
}

}  // namespace
}  // namespace Vel
