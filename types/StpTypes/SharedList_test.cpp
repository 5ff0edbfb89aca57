#include "StpTypes/SharedList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "StpTypes/TestSupport.h"

namespace Stp {
namespace {

using List = SharedList<std::uint16_t>;

static_assert(sizeof(List) == sizeof(void*));
static_assert(std::is_nothrow_copy_constructible_v<List>);
static_assert(std::is_nothrow_move_constructible_v<List>);
static_assert(std::is_nothrow_copy_assignable_v<List>);

std::vector<std::uint16_t> contentOf(List const& list) {
  return {list.begin(), list.end()};
}

TEST(SharedList, IsEmptyAtFirst) {
  List const list;
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(list.size(), 0U);
  EXPECT_EQ(list.elements().size(), 0U);
  EXPECT_EQ(list.begin(), list.end());
  EXPECT_EQ(list, List({}));
}

TEST(SharedList, AppendsInOrder) {
  List list{3, 1};
  list.push(2);
  EXPECT_EQ(contentOf(list), (std::vector<std::uint16_t>{3, 1, 2}));
  EXPECT_EQ(list[0], 3);
  EXPECT_EQ(list[2], 2);
}

TEST(SharedList, RefusesAnIndexPastTheEnd) {
  List const list{3, 1};
  for (std::size_t const index : {std::size_t{2}, ~std::size_t{0}}) {
    try {
      static_cast<void>(list[index]);
      ADD_FAILURE() << "index " << index << " was accepted";
    } catch (Lumo::VectorOutOfRangeException const& exception) {
      EXPECT_EQ(exception.what(), "index " + std::to_string(index) + " of a list of 2");
    }
  }
  EXPECT_THROW(static_cast<void>(List()[0]), Lumo::VectorOutOfRangeException);
}

TEST(SharedList, SharesItsElementsUntilOneListChanges) {
  List const original{1, 2, 3};
  List copy = original;
  EXPECT_EQ(copy.elements().data(), original.elements().data());
  copy.push(4);
  EXPECT_NE(copy.elements().data(), original.elements().data());
  EXPECT_EQ(contentOf(original), (std::vector<std::uint16_t>{1, 2, 3}));
  EXPECT_EQ(contentOf(copy), (std::vector<std::uint16_t>{1, 2, 3, 4}));

  List emptied = original;
  emptied.clear();
  EXPECT_TRUE(emptied.empty());
  EXPECT_EQ(original.size(), 3U);

  List changed = original;
  changed.last() = 9;
  EXPECT_EQ(contentOf(original), (std::vector<std::uint16_t>{1, 2, 3}));
  EXPECT_EQ(contentOf(changed), (std::vector<std::uint16_t>{1, 2, 9}));
}

TEST(SharedList, KeepsItsRoomWhenItIsEmptiedAlone) {
  List list{1, 2, 3};
  auto const* const room = list.elements().data();
  list.clear();
  list.push(7);
  EXPECT_EQ(list.elements().data(), room);
  EXPECT_EQ(contentOf(list), std::vector<std::uint16_t>{7});
}

TEST(SharedList, IsAppendedToWithoutChangingItsCopies) {
  for (std::uint16_t present = 0; present < 60; ++present) {
    for (std::uint16_t const added : {0, 1, 40}) {
      SCOPED_TRACE(std::to_string(present) + " and " + std::to_string(added));
      List list;
      std::vector<std::uint16_t> expected;
      for (std::uint16_t count = 0; count < present; ++count) {
        list.push(count);
        expected.push_back(count);
      }
      List const copy = list;
      {
        List::Appender appender(list);
        for (std::uint16_t count = 0; count < added; ++count) {
          appender.push(static_cast<std::uint16_t>(1000 + count));
        }
      }
      EXPECT_EQ(contentOf(copy), expected);
      for (std::uint16_t count = 0; count < added; ++count) {
        expected.push_back(static_cast<std::uint16_t>(1000 + count));
      }
      EXPECT_EQ(contentOf(list), expected);
      // Alone, it is appended to in the room that it has.
      list.clear();
      auto const* const room = list.elements().data();
      { List::Appender(list).push(7); }
      EXPECT_EQ(contentOf(list), std::vector<std::uint16_t>{7});
      EXPECT_TRUE(expected.empty() || list.elements().data() == room);
      EXPECT_EQ(copy.size(), present);
    }
  }
}

TEST(SharedList, LastElementIsChangedInPlace) {
  List list{1, 2};
  auto const* const place = list.elements().data();
  list.last() = 5;
  EXPECT_EQ(contentOf(list), (std::vector<std::uint16_t>{1, 5}));
  EXPECT_EQ(list.elements().data(), place);
  List none;
  EXPECT_THROW(none.last(), Lumo::VectorOutOfRangeException);
  list.clear();
  EXPECT_THROW(list.last(), Lumo::VectorOutOfRangeException);
}

TEST(SharedList, TakesAnElementOfItsOwn) {
  List list{1, 2, 3};
  for (int count = 0; count < 1000; ++count) {
    list.push(list[static_cast<std::size_t>(count)]);
  }
  for (std::size_t at = 0; at < list.size(); ++at) {
    ASSERT_EQ(list[at], at % 3 + 1);
  }
  List const copy = list;
  list.push(copy[1]);
  EXPECT_EQ(list[list.size() - 1], 2);
}

TEST(SharedList, SurvivesAssignmentToItselfAndMoves) {
  List list{1, 2};
  auto& same = list;
  list = same;
  EXPECT_EQ(list.size(), 2U);
  list = std::move(same);
  EXPECT_EQ(list.size(), 2U);
  List const moved = std::move(list);
  EXPECT_TRUE(list.empty());  // NOLINT(bugprone-use-after-move): a moved list is empty
  list.push(5);
  EXPECT_EQ(contentOf(moved), (std::vector<std::uint16_t>{1, 2}));
  EXPECT_EQ(contentOf(list), std::vector<std::uint16_t>{5});
}

TEST(SharedList, ComparesByContent) {
  EXPECT_EQ(List({1, 2}), List({1, 2}));
  EXPECT_NE(List({1, 2}), List({2, 1}));
  EXPECT_NE(List({1, 2}), List({1}));
  EXPECT_NE(List({1}), List());
  List emptied{1};
  emptied.clear();
  EXPECT_EQ(emptied, List());
}

TEST(SharedList, HoldsElementsOfEverySizeThatItTakes) {
  struct Large {
    std::array<char, 48> bytes;
  };
  SharedList<Large> large;
  SharedList<char> small;
  for (int count = 0; count < 200; ++count) {
    Large element{};
    element.bytes.fill(static_cast<char>(count));
    large.push(element);
    small.push(static_cast<char>(count));
  }
  for (std::size_t at = 0; at < 200; ++at) {
    EXPECT_EQ(large[at].bytes.front(), static_cast<char>(at));
    EXPECT_EQ(large[at].bytes.back(), static_cast<char>(at));
    EXPECT_EQ(small[at], static_cast<char>(at));
  }
}

// Lists that are copied from each other behave as vectors do, and give all memory back.
TEST(SharedList, AgreesWithVectorsUnderRandomUse) {
  std::uint64_t const before = TestSupport::slabPiecesInUse();
  for (unsigned seed = 0; seed < 100; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::array<List, 5> lists;
    std::array<std::vector<std::uint16_t>, 5> models;
    for (int step = 0; step < 500; ++step) {
      std::size_t const at = random() % lists.size();
      std::size_t const from = random() % lists.size();
      auto const value = static_cast<std::uint16_t>(random());
      switch (random() % 16) {
        case 0:
          lists[at].clear();
          models[at].clear();
          break;
        case 1:
        case 2:
        case 3:
          lists[at] = lists[from];
          models[at] = models[from];
          break;
        case 4:
          if (at != from) {
            lists[at] = std::move(lists[from]);
            models[at] = std::exchange(models[from], {});
          }
          break;
        case 5:
        case 6:
          if (!models[at].empty()) {
            lists[at].last() = value;
            models[at].back() = value;
          }
          break;
        case 7: {
          List::Appender appender(lists[at]);
          for (unsigned count = value % 32U; count > 0; --count) {
            appender.push(value);
          }
          models[at].resize(models[at].size() + value % 32U, value);
          break;
        }
        default:
          lists[at].push(value);
          models[at].push_back(value);
          break;
      }
      for (std::size_t each = 0; each < lists.size(); ++each) {
        ASSERT_EQ(contentOf(lists[each]), models[each]);
        ASSERT_EQ(lists[each] == lists[at], models[each] == models[at]);
      }
    }
  }
  EXPECT_EQ(TestSupport::slabPiecesInUse(), before);
}

// Other threads hold copies while this one changes its list. The last copy goes here, where the
// slabs belong.
TEST(SharedList, ShowsOtherThreadsWhatTheyCopied) {
  Lumo::ThreadControl::tsp_ = true;
  {
    List const original{1, 2, 3};
    List changing = original;
    std::atomic<bool> stop = false;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread) {
      threads.emplace_back([&] {
        while (!stop) {
          List const copy = original;
          ASSERT_EQ(copy.size(), 3U);
          ASSERT_EQ(copy[2], 3);
        }
      });
    }
    for (int round = 0; round < 2000; ++round) {
      changing = original;
      changing.push(4);
      ASSERT_EQ(changing.size(), 4U);
      changing = original;
      changing.last() = 5;
      changing = original;
      changing.clear();
    }
    stop = true;
    for (std::thread& thread : threads) {
      thread.join();
    }
    EXPECT_EQ(contentOf(original), (std::vector<std::uint16_t>{1, 2, 3}));
  }
  Lumo::ThreadControl::tsp_ = false;
}

}  // namespace
}  // namespace Stp
