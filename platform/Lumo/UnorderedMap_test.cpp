#include "Lumo/UnorderedMap.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "Lumo/String.h"

namespace Lumo {
namespace {

TEST(UnorderedMap, IsEmptyAtFirst) {
  UnorderedMap<std::uint16_t, int> map;
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(map.size(), 0U);
  EXPECT_EQ(map.find(1), nullptr);
  EXPECT_EQ(map.begin(), map.end());
}

TEST(UnorderedMap, MakesAFreshValueForANewKeyOnly) {
  UnorderedMap<String, int> map;
  EXPECT_EQ(map["a"], 0);
  map["a"] = 5;
  EXPECT_EQ(map["a"], 5);
  EXPECT_EQ(map.size(), 1U);
  EXPECT_EQ(map.find("b"), nullptr);
  EXPECT_EQ(std::as_const(map).find("b"), nullptr);
  EXPECT_EQ(*std::as_const(map).find("a"), 5);
  *map.find("a") = 6;
  EXPECT_EQ(map["a"], 6);
}

using Numbers = UnorderedMap<int, int>;

Numbers numbers(int count) {
  Numbers map;
  for (int key = 0; key < count; ++key) {
    map[key] = key * 10;
  }
  return map;
}

// What a look-up found is remembered: it must not outlive what it points to.
TEST(UnorderedMap, FindsTheSameEntryAgainWhileTheMapGrows) {
  Numbers map;
  for (int key = 0; key < 100; ++key) {
    map[key] = key * 10;
    for (int repeat = 0; repeat < 2; ++repeat) {
      ASSERT_NE(map.find(key / 2), nullptr);
      ASSERT_EQ(*map.find(key / 2), key / 2 * 10);
    }
    ASSERT_EQ(map.find(key + 1), nullptr);
  }
}

TEST(UnorderedMap, ForgetsWhatItFoundWhenItIsCleared) {
  Numbers map = numbers(3);
  EXPECT_EQ(*map.find(1), 10);
  map.clear();
  EXPECT_EQ(map.find(1), nullptr);
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(map[1], 0);
}

TEST(UnorderedMap, CopyHasEntriesOfItsOwn) {
  Numbers map = numbers(3);
  EXPECT_EQ(*map.find(1), 10);
  Numbers copy = map;
  *copy.find(1) = 11;
  EXPECT_EQ(*map.find(1), 10);
  EXPECT_EQ(*copy.find(1), 11);
  copy = map;
  EXPECT_EQ(*copy.find(1), 10);
  *copy.find(1) = 12;
  EXPECT_EQ(*map.find(1), 10);
}

TEST(UnorderedMap, MovedMapTakesItsEntriesAlong) {
  Numbers map = numbers(3);
  EXPECT_EQ(*map.find(1), 10);
  Numbers moved = std::move(map);
  *moved.find(1) = 11;
  EXPECT_EQ(map.find(1), nullptr);  // NOLINT(bugprone-use-after-move): is empty
  map[1] = 5;
  EXPECT_EQ(*moved.find(1), 11);
  map = std::move(moved);
  EXPECT_EQ(*map.find(1), 11);
}

TEST(UnorderedMap, TakesAKeyOfItsOwn) {
  UnorderedMap<String, int> map;
  map["a"] = 1;
  for (int count = 0; count < 100; ++count) {
    map[map.begin()->first] += 1;
  }
  EXPECT_EQ(map["a"], 101);
  EXPECT_EQ(map.size(), 1U);
}

TEST(UnorderedMap, HoldsValuesThatOnlyMove) {
  UnorderedMap<int, std::unique_ptr<int>> map;
  for (int key = -50; key < 50; ++key) {
    map[key] = std::make_unique<int>(key);
  }
  for (int key = -50; key < 50; ++key) {
    EXPECT_EQ(**map.find(key), key);
  }
}

TEST(UnorderedMap, AgreesWithAStandardMapUnderRandomUse) {
  for (unsigned seed = 0; seed < 50; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    UnorderedMap<std::uint16_t, std::vector<unsigned>> map;
    std::map<std::uint16_t, std::vector<unsigned>> model;
    for (int step = 0; step < 500; ++step) {
      auto const key = static_cast<std::uint16_t>(random() % 200 * 331);
      unsigned const value = random();
      map[key].push_back(value);
      model[key].push_back(value);
      if (random() % 200 == 0) {
        map.clear();
        model.clear();
      }
      ASSERT_EQ(map.size(), model.size());
      ASSERT_EQ(map.empty(), model.empty());
    }
    std::map<std::uint16_t, std::vector<unsigned>> walked;
    for (auto const& [key, values] : map) {
      EXPECT_TRUE(walked.emplace(key, values).second) << "met twice: " << key;
      EXPECT_EQ(map.find(key), &values);
    }
    EXPECT_EQ(walked, model);
    EXPECT_EQ(map.find(1), nullptr);
  }
}

}  // namespace
}  // namespace Lumo
