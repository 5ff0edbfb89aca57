#include "Lumo/HashIndex.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace Lumo {
namespace {

struct Number {
  std::uint16_t value() const { return number; }
  std::uint16_t number = 0;
};

TEST(HashOf, IsTheSameForEqualKeys) {
  EXPECT_EQ(hashOf(String("Ethernet1")), hashOf(String("Ethernet1")));
  EXPECT_EQ(hashOf(Number{7}), hashOf(std::uint16_t{7}));
  EXPECT_NE(hashOf(7), hashOf(8));
}

// Runs of ids and names that were made one after the other are the common cases; they must not
// pile up in a few cells.
TEST(HashOf, SpreadsWhatComesTogetherOverTheLowBits) {
  std::vector<String> names;
  std::map<std::uint64_t, int> cellsOfIds;
  std::map<std::uint64_t, int> cellsOfNames;
  for (unsigned key = 0; key < 4096; ++key) {
    names.emplace_back("Ethernet" + std::to_string(key));
    ++cellsOfIds[hashOf(key) % 8192];
    ++cellsOfNames[hashOf(names.back()) % 8192];
  }
  for (auto const& cells : {cellsOfIds, cellsOfNames}) {
    EXPECT_GE(cells.size(), 2048U);
    for (auto const& [cell, count] : cells) {
      EXPECT_LE(count, 12) << cell;
    }
  }
}

// A port in a tree is the common case.
TEST(HashOf, SpreadsIdsThatArePutTogetherOverTheLowBits) {
  for (unsigned const distance : {1U, 4U, 17U}) {
    std::vector<std::uint64_t> keys;
    HashIndex index;
    std::size_t looks = 0;
    for (std::uint64_t tree = 0; tree < 65; ++tree) {
      for (std::uint64_t port = 0; port < 48; ++port) {
        index.reserve(keys.size() + 1, [&](std::uint32_t at) { return hashOf(keys[at]); });
        keys.push_back(tree << 32U | port * distance);
        index.insert(hashOf(keys.back()), static_cast<std::uint32_t>(keys.size() - 1));
      }
    }
    for (std::uint64_t const key : keys) {
      std::uint32_t const found = index.find(hashOf(key), [&](std::uint32_t at) {
        ++looks;
        return keys[at] == key;
      });
      EXPECT_EQ(keys.at(found), key);
    }
    EXPECT_LE(looks, 2 * keys.size()) << distance;
  }
}

TEST(HashIndex, FindsNothingBeforeTheFirstInsertion) {
  HashIndex index;
  EXPECT_EQ(index.find(5, [](std::uint32_t) { return true; }), HashIndex::none);
  index.clear();
  EXPECT_EQ(index.find(5, [](std::uint32_t) { return true; }), HashIndex::none);
}

// An owner as the collections are: positions of values, of which some are removed.
class Owner {
 public:
  explicit Owner(std::uint64_t hashes) : hashes_(hashes) {}

  std::uint64_t hash(int value) const {
    return static_cast<std::uint64_t>(value) * 0x9E3779B97F4A7C15U % hashes_;
  }

  auto hashAt() const {
    return [this](std::uint32_t position) { return hash(values_.at(position).value()); };
  }

  std::uint32_t find(int value) const {
    return index_.find(hash(value), [&](std::uint32_t position) {
      EXPECT_TRUE(values_.at(position)) << "a removed position is still in the index";
      return values_[position] == value;
    });
  }
  void insert(int value) {
    values_.emplace_back(value);
    index_.reserve(values_.size(), hashAt());
    index_.insert(hash(value), static_cast<std::uint32_t>(values_.size() - 1));
  }
  void erase(std::uint32_t position) {
    index_.erase(hash(*values_[position]), position, hashAt());
    values_[position].reset();
  }
  void clear() {
    index_.clear();
    values_.clear();
  }

 private:
  std::uint64_t hashes_;
  std::vector<std::optional<int>> values_;
  HashIndex index_;
};

// Few different hashes force long chains, and chains that run over the end of the cells.
TEST(HashIndex, AgreesWithAMapWhateverTheHashes) {
  for (std::uint64_t const hashes : {std::uint64_t{1}, std::uint64_t{3}, std::uint64_t{64},
                                     std::uint64_t{1000}, ~std::uint64_t{0}}) {
    for (unsigned seed = 0; seed < 20; ++seed) {
      SCOPED_TRACE("hashes " + std::to_string(hashes) + ", seed " + std::to_string(seed));
      std::mt19937 random(seed);
      Owner owner(hashes);
      std::map<int, bool> model;
      for (int step = 0; step < 400; ++step) {
        int const value = static_cast<int>(random() % 50);
        std::uint32_t const position = owner.find(value);
        ASSERT_EQ(position != HashIndex::none, model.contains(value));
        if (position == HashIndex::none) {
          owner.insert(value);
          model[value] = true;
        } else {
          owner.erase(position);
          model.erase(value);
        }
        if (random() % 150 == 0) {
          owner.clear();
          model.clear();
        }
        for (int each = 0; each < 50; ++each) {
          ASSERT_EQ(owner.find(each) != HashIndex::none, model.contains(each)) << each;
        }
      }
    }
  }
}

}  // namespace
}  // namespace Lumo
