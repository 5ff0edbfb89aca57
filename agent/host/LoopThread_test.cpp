// What other threads post to a loop.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "agent/host/Loop.h"

namespace Agent {
namespace {

TEST(LoopThreads, PostsOfManyAllRunHereEachOnesInOrder) {
  Loop loop;
  constexpr int perThread = 2000;
  std::vector<std::vector<int>> ran(4);
  std::vector<std::thread> threads;
  std::thread::id const here = std::this_thread::get_id();
  int all = 0;
  threads.reserve(ran.size());
  for (std::vector<int>& mine : ran) {
    threads.emplace_back([&] {
      for (int number = 0; number < perThread; ++number) {
        loop.post([&mine, &all, here, number] {
          EXPECT_EQ(std::this_thread::get_id(), here);
          mine.push_back(number);
          ++all;
        });
      }
    });
  }
  while (all < perThread * static_cast<int>(ran.size())) {
    loop.turn();
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (std::vector<int> const& mine : ran) {
    for (int number = 0; number < perThread; ++number) {
      ASSERT_EQ(mine[static_cast<std::size_t>(number)], number);
    }
  }
}

TEST(LoopThreads, PostWakesALoopThatWaits) {
  Loop loop;
  bool isPosted = false;
  std::thread other([&] { loop.post([&isPosted] { isPosted = true; }); });
  loop.turn();
  other.join();
  EXPECT_TRUE(isPosted);
}

}  // namespace
}  // namespace Agent
