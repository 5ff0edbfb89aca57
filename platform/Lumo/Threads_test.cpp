// What other threads may do while entities live on theirs: hold references and names. Run under
// the thread sanitizer, these tests also show that no access races.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "Lumo/Ptr.h"
#include "Lumo/String.h"
#include "Lumo/ThreadControl.h"

namespace Lumo {
namespace {

class Probe final : public Node {
 public:
  explicit Probe(std::atomic<int>& alive) : alive_(alive) { ++alive_; }
  ~Probe() override { --alive_; }

 private:
  std::atomic<int>& alive_;
};

class Threads : public testing::Test {
 protected:
  Threads() { ThreadControl::tsp_ = true; }
  ~Threads() override { ThreadControl::tsp_ = false; }

  // Runs `work(thread)` in four threads, `meanwhile()` in this one.
  template <class Work, class Meanwhile>
  static void run(Work work, Meanwhile meanwhile) {
    std::atomic<unsigned> waiting{threadCount};
    std::vector<std::thread> threads;
    for (unsigned thread = 0; thread < threadCount; ++thread) {
      threads.emplace_back([&, thread] {
        --waiting;
        while (waiting != 0) {
          std::this_thread::yield();
        }
        work(thread);
      });
    }
    meanwhile();
    for (std::thread& thread : threads) {
      thread.join();
    }
  }

  static constexpr unsigned threadCount = 4;
  static constexpr int rounds = 5000;
};

// So often that they meet, on a busy machine too.
TEST_F(Threads, CountReferencesTogether) {
  constexpr int often = 200'000;
  std::atomic<int> alive = 0;
  {
    auto const node = make<Probe>(alive);
    std::vector<std::vector<Ptr<Probe>>> kept(threadCount);
    run(
        [&](unsigned thread) {
          for (int round = 0; round < often; ++round) {
            Ptr<Probe> const held = node;
            if (round % 100 == 0) {
              kept[thread].push_back(held);
            }
          }
        },
        [] {});
    EXPECT_EQ(node->references(), 1U + threadCount * (often / 100));
  }
  EXPECT_EQ(alive, 0);
}

TEST_F(Threads, LetTheLastReferenceDestroyOnce) {
  std::atomic<int> alive = 0;
  for (int round = 0; round < 200; ++round) {
    std::vector<Ptr<Probe>> shares(threadCount, make<Probe>(alive));
    run([&](unsigned thread) { shares[thread] = nullptr; }, [] {});
    ASSERT_EQ(alive, 0);
  }
}

TEST_F(Threads, LeaveTheFlagsToTheirOwner) {
  std::atomic<int> alive = 0;
  auto const node = make<Probe>(alive);
  run(
      [&](unsigned) {
        for (int round = 0; round < rounds; ++round) {
          Ptr<Probe> const held = node;
        }
      },
      [&] {
        for (int round = 0; round < rounds; ++round) {
          bool const value = round % 3 == 0;
          node->markAndSweepFlagSet(value);
          hasNotificationActiveSet(*node, !value);
          ASSERT_EQ(node->markAndSweepFlag(), value);
          ASSERT_EQ(node->hasNotificationActive(), !value);
          ASSERT_LE(node->references(), 1U + threadCount);
        }
      });
  EXPECT_EQ(node->references(), 1U);
}

TEST_F(Threads, InternOneTextTogether) {
  constexpr unsigned texts = 8;
  std::vector<std::vector<String>> kept(threadCount);
  run(
      [&](unsigned thread) {
        for (int round = 0; round < rounds; ++round) {
          std::string const text = "shared " + std::to_string(round % texts);
          String const name = text;
          ASSERT_EQ(name.view(), text);
          String const copy = name;
          if (round % 50 < 8) {
            kept[thread].push_back(copy);
          }
        }
      },
      [] {});
  std::set<std::uintptr_t> identities;
  for (auto const& names : kept) {
    for (String const& name : names) {
      ASSERT_EQ(name, String(name.toString()));
      identities.insert(name.identity());
    }
  }
  EXPECT_EQ(identities.size(), texts);
}

// Nobody else holds these names: each round brings them into being and lets them go.
TEST_F(Threads, MayDropTheLastNameWhileAnotherMakesIt) {
  run(
      [](unsigned) {
        for (int round = 0; round < rounds; ++round) {
          String const name = "fleeting";
          ASSERT_EQ(name.view(), "fleeting");
          ASSERT_EQ(name.size(), 8U);
        }
      },
      [] {});
}

// Where one numbers a name the next one copies it, and takes no lock for that.
TEST_F(Threads, NumberNamesTogether) {
  constexpr unsigned count = 100;
  std::vector<String> names;
  for (unsigned name = 0; name < count; ++name) {
    names.emplace_back("numbered together " + std::to_string(name));
  }
  std::vector<std::vector<std::uint32_t>> numbers(threadCount, std::vector<std::uint32_t>(count));
  run(
      [&](unsigned thread) {
        for (unsigned name = 0; name < count; ++name) {
          String const copy = names[name];
          if ((name + thread) % 2 == 0) {
            numbers[thread][name] = copy.ordinal();
            ASSERT_EQ(String::ofOrdinal(numbers[thread][name]), copy);
          }
        }
      },
      [] {});
  std::set<std::uint32_t> different;
  for (unsigned thread = 0; thread < threadCount; ++thread) {
    for (unsigned name = thread % 2; name < count; name += 2) {
      EXPECT_EQ(numbers[thread][name], names[name].ordinal());
      different.insert(numbers[thread][name]);
    }
  }
  EXPECT_EQ(different.size(), std::size_t{count});
}

// While one makes a long name the others have to wait for the table, with a name that has no number
// yet, and then go on together.
TEST_F(Threads, GiveANameOneNumberThoughTheyAskAtOnce) {
  std::string const longText(std::size_t{1} << 25U, 'x');
  for (int round = 0; round < 5; ++round) {
    String const name = "asked for at once " + std::to_string(round);
    std::vector<std::uint32_t> numbers(threadCount);
    run(
        [&](unsigned thread) {
          if (thread == 0) {
            String const longName = longText;
          } else {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            numbers[thread] = name.ordinal();
          }
        },
        [] {});
    for (unsigned thread = 1; thread < threadCount; ++thread) {
      EXPECT_EQ(numbers[thread], name.ordinal());
    }
  }
}

// The table of numbers grows while others look into it.
TEST_F(Threads, FindNamesByNumberWhileOthersAreNumbered) {
  String const first = "the first of many";
  std::uint32_t const number = first.ordinal();
  run(
      [&](unsigned thread) {
        for (int name = 0; name < 200; ++name) {
          String const own = "of thread " + std::to_string(thread) + " " + std::to_string(name);
          std::uint32_t const ownNumber = own.ordinal();
          ASSERT_EQ(String::ofOrdinal(number), first);
          ASSERT_EQ(String::ofOrdinal(ownNumber), own);
        }
      },
      [] {});
}

}  // namespace
}  // namespace Lumo
