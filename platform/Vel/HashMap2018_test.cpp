#include "Vel/HashMap2018.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "Lumo/String.h"

namespace Vel {
namespace {

class Member final : public Lumo::Node {
 public:
  explicit Member(
      std::string name, std::function<void()> atEnd = [] {})
      : name(std::move(name)), atEnd_(std::move(atEnd)) {}
  ~Member() override { atEnd_(); }

  std::string const name;

 private:
  std::function<void()> atEnd_;
};

using Map = HashMap2018<Lumo::String, Member>;
using Records = HashMap2018Generic<std::uint16_t, std::optional<Lumo::String>>;

static_assert(!std::is_copy_constructible_v<Map> && !std::is_move_constructible_v<Map>);
static_assert(!std::is_copy_constructible_v<Map::Iterator>);

class HashMap2018Test : public testing::Test {
 protected:
  void add(std::string const& names) {
    for (char const name : names) {
      put(name, std::string(1, name));
    }
  }
  void put(char key, std::string value) {
    map->newMemberG(std::string(1, key), Lumo::make<Member>(std::move(value)));
  }
  void remove(std::string const& names) {
    for (char const name : names) {
      map->deleteMemberG(std::string(1, name));
    }
  }
  static std::string present(Map::Iterator const& iterator) {
    return iterator.atEnd() ? "end" : iterator.value()->name;
  }
  std::string walk() const {
    std::string names;
    for (auto const& member : *map) {
      names += member.value->name;
    }
    return names;
  }

  std::unique_ptr<Map> map = std::make_unique<Map>();
};

TEST_F(HashMap2018Test, IsEmptyAtFirst) {
  EXPECT_TRUE(map->empty());
  EXPECT_EQ(map->size(), 0U);
  EXPECT_EQ(map->find("a"), nullptr);
  EXPECT_TRUE(map->begin().atEnd());
  EXPECT_EQ(walk(), "");
}

TEST_F(HashMap2018Test, WalksInTheOrderOfInsertion) {
  add("dacb");
  EXPECT_EQ(walk(), "dacb");
  EXPECT_EQ(map->size(), 4U);
  EXPECT_EQ((*map->find("c"))->name, "c");
  remove("ab");
  add("ba");
  EXPECT_EQ(walk(), "dcba");
}

TEST_F(HashMap2018Test, KeepsThePlaceOfAMemberThatIsReplaced) {
  add("abc");
  put('b', "B");
  EXPECT_EQ(walk(), "aBc");
  EXPECT_EQ(map->size(), 3U);
  put('a', "A");
  put('c', "C");
  EXPECT_EQ(walk(), "ABC");
}

TEST_F(HashMap2018Test, VisitsEachMemberInOrderAndNoneThatWent) {
  auto const visited = [this] {
    std::string names;
    map->eachMember([&](Map::Node const& member) {
      EXPECT_EQ(member.key, Lumo::String(member.value->name));
      names += member.value->name;
    });
    return names;
  };
  EXPECT_EQ(visited(), "");
  add("abcd");
  remove("ac");
  EXPECT_EQ(visited(), "bd");
  add("ca");
  EXPECT_EQ(visited(), "bdca");
  remove("bdca");
  EXPECT_EQ(visited(), "");
}

TEST_F(HashMap2018Test, GivesBackWhatItRemoves) {
  add("ab");
  Lumo::Ptr<Member> const removed = map->deleteMemberG("a");
  ASSERT_NE(removed, nullptr);
  EXPECT_EQ(removed->name, "a");
  EXPECT_EQ(removed->references(), 1U);
  EXPECT_EQ(map->deleteMemberG("a"), nullptr);
  EXPECT_EQ(map->deleteMemberG("z"), nullptr);
  EXPECT_EQ(map->find("a"), nullptr);
  EXPECT_EQ(map->size(), 1U);
}

TEST_F(HashMap2018Test, DropsMembersInOrder) {
  std::string gone;
  for (char const name : {'c', 'a', 'b'}) {
    map->newMemberG(std::string(1, name),
                    Lumo::make<Member>(std::string(1, name), [&, name] { gone.push_back(name); }));
  }
  map->_memberDelAll();
  EXPECT_EQ(gone, "cab");
  EXPECT_TRUE(map->empty());
  EXPECT_EQ(walk(), "");
  add("b");
  EXPECT_EQ(walk(), "b");
}

TEST_F(HashMap2018Test, IsConsistentForMembersThatChangeItAsTheyGo) {
  auto const addsAtEnd = [&](char name, std::string const& adds) {
    map->newMemberG(std::string(1, name), Lumo::make<Member>(std::string(1, name), [this, adds] {
                      EXPECT_EQ(map->size(), walk().size());
                      add(adds);
                    }));
  };
  addsAtEnd('a', "xy");
  addsAtEnd('b', "z");
  remove("a");
  EXPECT_EQ(walk(), "bxy");
  put('b', "B");
  EXPECT_EQ(walk(), "Bxyz");
  addsAtEnd('x', "pq");
  addsAtEnd('y', "r");
  map->_memberDelAll();
  EXPECT_EQ(walk(), "pqr") << "what came meanwhile stays";
}

TEST_F(HashMap2018Test, MayGoWhileItsMembersAreDropped) {
  std::string gone;
  map->newMemberG("a", Lumo::make<Member>("a", [&] {
                    gone += "a";
                    map.reset();
                  }));
  map->newMemberG("b", Lumo::make<Member>("b", [&] { gone += "b"; }));
  map->_memberDelAll();
  EXPECT_EQ(gone, "ab");
}

TEST_F(HashMap2018Test, WalksOnPastMembersThatGo) {
  add("abcdef");
  auto iterator = map->begin();
  remove("b");
  ++iterator;
  EXPECT_EQ(present(iterator), "c");
  EXPECT_EQ(iterator.key(), Lumo::String("c"));
  remove("cde");
  ++iterator;
  EXPECT_EQ(present(iterator), "f");
  remove("f");
  EXPECT_FALSE(iterator.atEnd()) << "between two members";
  ++iterator;
  EXPECT_TRUE(iterator.atEnd());
}

TEST_F(HashMap2018Test, WalksOverMembersThatComeMeanwhile) {
  add("ab");
  std::string names;
  for (auto const& member : *map) {
    names += member.value->name;
    if (names.size() < 40) {
      add(std::string(1, static_cast<char>('a' + names.size() + 1)));
    }
  }
  EXPECT_EQ(names, walk());
  EXPECT_EQ(names.size(), 41U);
}

TEST_F(HashMap2018Test, ShowsAReplacedMemberInItsPlace) {
  add("abc");
  auto iterator = map->begin();
  put('a', "A");
  EXPECT_EQ(present(iterator), "A");
  put('b', "B");
  ++iterator;
  EXPECT_EQ(present(iterator), "B");
}

// Insertion sweeps removed members away; iterators of every kind must notice.
TEST_F(HashMap2018Test, KeepsIteratorsInPlaceWhenItSweeps) {
  add("abcdefgh");
  auto first = map->begin();
  auto onC = map->begin();
  auto gone = map->begin();
  auto atEnd = map->begin();
  ++ ++onC;
  ++ ++ ++gone;
  while (!atEnd.atEnd()) {
    ++atEnd;
  }
  remove("abdegh");
  add("ijklmnopqrstu");
  EXPECT_EQ(walk(), "cfijklmnopqrstu");
  EXPECT_EQ(present(onC), "c");
  EXPECT_TRUE(atEnd.atEnd());
  ++first;
  EXPECT_EQ(present(first), "c");
  ++onC;
  EXPECT_EQ(present(onC), "f");
  ++gone;
  EXPECT_EQ(present(gone), "f");
  ++gone;
  EXPECT_EQ(present(gone), "i");
}

TEST_F(HashMap2018Test, DoesNotTakeANewMemberForTheOneThatWent) {
  add("abc");
  auto iterator = map->begin();
  remove("a");
  add("a");
  EXPECT_EQ(walk(), "bca");
  std::string rest;
  for (++iterator; !iterator.atEnd(); ++iterator) {
    rest += present(iterator);
  }
  EXPECT_EQ(rest, "bca");
}

TEST_F(HashMap2018Test, WalksWhatComesAfterAllWereRemoved) {
  add("abc");
  auto iterator = map->begin();
  ++iterator;
  map->_memberDelAll();
  add("xy");
  EXPECT_FALSE(iterator.atEnd());
  ++iterator;
  EXPECT_EQ(present(iterator), "x");
  ++iterator;
  EXPECT_EQ(present(iterator), "y");
}

TEST_F(HashMap2018Test, IteratorsMayGoInAnyOrder) {
  add("abc");
  auto first = std::make_unique<Map::Iterator>(*map);
  auto second = std::make_unique<Map::Iterator>(*map);
  auto third = std::make_unique<Map::Iterator>(*map);
  second.reset();
  remove("a");
  add("defghijk");
  first.reset();
  ++*third;
  EXPECT_EQ(present(*third), "b");
  map.reset();
  third.reset();
}

TEST_F(HashMap2018Test, HoldsRecordsByValue) {
  Records records;
  for (std::uint16_t id = 0; id < 100; ++id) {
    records.newMemberG(id, Lumo::String("record " + std::to_string(id)));
  }
  for (std::uint16_t id = 0; id < 100; id += 2) {
    EXPECT_EQ(records.deleteMemberG(id), Lumo::String("record " + std::to_string(id)));
    EXPECT_EQ(records.deleteMemberG(id), std::nullopt);
  }
  records.newMemberG(1, Lumo::String("changed"));
  for (std::uint16_t id = 200; id < 260; ++id) {
    records.newMemberG(id, Lumo::String());
  }
  EXPECT_EQ(records.begin().value(), Lumo::String("changed"));
  EXPECT_EQ(records.begin().key(), 1);
  EXPECT_EQ(**records.find(99), Lumo::String("record 99"));
  EXPECT_EQ(**records.find(259), Lumo::String()) << "an empty name is a record too";
  EXPECT_EQ(records.size(), 110U);
}

using HashMap2018DeathTest = HashMap2018Test;

TEST_F(HashMap2018DeathTest, RefusesToShowAMemberThatWent) {
  add("abcdefgh");
  auto iterator = map->begin();
  remove("a");
  EXPECT_DEATH(static_cast<void>(*iterator), "Assertion `iterator has a position' failed");
  EXPECT_DEATH(static_cast<void>(iterator.key()), "Assertion `iterator has a position' failed");
  EXPECT_DEATH(static_cast<void>(iterator.value()), "Assertion `iterator has a position' failed");
  remove("bcd");
  add("a");  // which takes the place of what went
  EXPECT_DEATH(static_cast<void>(iterator.value()), "Assertion `iterator has a position' failed");
  map->_memberDelAll();
  add("abc");
  EXPECT_DEATH(static_cast<void>(iterator.value()), "Assertion `iterator has a position' failed");
}

TEST_F(HashMap2018DeathTest, RefusesToShowAMemberThatWentWithAll) {
  add("abc");
  auto onFirst = map->begin();
  auto onLast = map->begin();
  ++ ++onLast;
  map->_memberDelAll();
  for (char const* const later : {"", "ab", "cdefghijklmn"}) {
    add(later);
    for (auto const* const iterator : {&onFirst, &onLast}) {
      EXPECT_FALSE(iterator->atEnd());
      EXPECT_DEATH(static_cast<void>(**iterator), "Assertion `iterator has a position' failed");
    }
  }
  ++onLast;
  EXPECT_EQ(present(onLast), "a");
}

TEST_F(HashMap2018DeathTest, RefusesToGoPastTheEnd) {
  add("a");
  auto iterator = map->begin();
  ++iterator;
  EXPECT_DEATH(static_cast<void>(*iterator), "Assertion `iterator has a position' failed");
  EXPECT_DEATH(++iterator, "Assertion `iterator has a position' failed");
  add("b");
  EXPECT_DEATH(++iterator, "Assertion `iterator has a position' failed");
}

TEST_F(HashMap2018DeathTest, RefusesAnIteratorWhoseMapWent) {
  add("ab");
  auto iterator = map->begin();
  map.reset();
  EXPECT_DEATH(static_cast<void>(iterator.atEnd()), "Assertion `iterator has a position' failed");
  EXPECT_DEATH(static_cast<void>(*iterator), "Assertion `iterator has a position' failed");
  EXPECT_DEATH(++iterator, "Assertion `iterator has a position' failed");
}

}  // namespace
}  // namespace Vel
