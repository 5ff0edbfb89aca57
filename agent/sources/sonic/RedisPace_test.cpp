// When things happen: how long changes are gathered, how patient the source is, how often it tries.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstddef>
#include <optional>
#include <string>

#include "agent/sources/sonic/RedisRelayTestSupport.h"
#include "agent/sources/sonic/RedisTestSupport.h"

namespace Agent::Sonic {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class RedisPace : public RedisStandingTime {
 protected:
  void follow(RedisSettings const& settings) {
    source.reset();
    source.emplace(loop, settings, kept);
    settle();
  }
  void follow() { follow(settingsOf(server)); }
  void write(std::string const& key, std::size_t number) {
    server.command(configuration, {"HSET", key, "number", std::to_string(number)});
  }

  static constexpr milliseconds patience{1000};
  KeptRows kept;
  std::optional<RedisSource> source;
};

TEST_F(RedisPace, KeysThatChangeWithinAMomentAreReadTogether) {
  constexpr std::size_t keys = 100;
  follow();
  ASSERT_EQ(kept.scans, 1U);
  for (std::size_t i = 0; i < 100 * keys; ++i) {
    write("row" + std::to_string(i % keys), i);
  }
  settle();
  pass(milliseconds(1));  // since the first of them, in which more came
  settle();
  EXPECT_EQ(kept.changes, 0U);
  EXPECT_EQ(callsOf("hgetall"), 0);
  pass(milliseconds(1));
  settle();
  EXPECT_EQ(kept.changes, 1U);
  EXPECT_EQ(callsOf("hgetall"), keys);
  EXPECT_EQ(kept.rows.size(), keys);
  EXPECT_EQ(kept.rows[RowKey(Store::configuration, "row7")], (Fields{{"number", "9907"}}));
}

TEST_F(RedisPace, ChangesThatNeverEndAreReadNowAndThen) {
  follow();
  write("row", 0);
  settle(2);
  for (std::size_t i = 1; i <= 100; ++i) {
    EXPECT_EQ(kept.changes, 0U) << i;
    write("row", i);
    settle(2);
    pass(milliseconds(1));
  }
  settle();
  EXPECT_EQ(kept.changes, 1U);
  EXPECT_EQ(kept.rows[RowKey(Store::configuration, "row")], (Fields{{"number", "100"}}));
}

TEST_F(RedisPace, PausesGrowUntilAScanComes) {
  follow();
  server.kill();
  turn();
  std::size_t attempts = 1;
  ASSERT_THAT(kept.reasons, SizeIs(attempts));
  auto const isPause = [&](milliseconds pause) {
    pass(pause - milliseconds(1));
    EXPECT_THAT(kept.reasons, SizeIs(attempts)) << pause.count();
    pass(milliseconds(1));
    EXPECT_THAT(kept.reasons, SizeIs(++attempts)) << pause.count();
  };
  for (int const pause : {100, 200, 400, 800, 1600, 3200, 5000, 5000}) {
    isPause(milliseconds(pause));
  }
  server.start();
  pass(milliseconds(5000));
  settle();
  ASSERT_EQ(kept.scans, 2U);
  server.kill();
  turn();
  EXPECT_THAT(kept.reasons, SizeIs(++attempts));
  isPause(milliseconds(100));
}

TEST_F(RedisPace, WithoutAScanPausesGrowOn) {
  server.command({"CONFIG", "SET", "requirepass", "secret"});
  server.command({"AUTH", "secret"});
  follow();  // connects each time
  for (int const pause : {100, 200, 400}) {
    std::size_t const attempts = kept.reasons.size();
    pass(milliseconds(pause - 1));
    settle();
    EXPECT_THAT(kept.reasons, SizeIs(attempts)) << pause;
    pass(milliseconds(1));
    settle();
    EXPECT_THAT(kept.reasons, SizeIs(attempts + 1)) << pause;
  }
}

TEST_F(RedisPace, ServerThatSaysNothingIsLostHoweverItIsScanned) {
  for (milliseconds const resync : {milliseconds(0), patience / 10, patience * 10}) {
    auto impatient = settingsOf(server);
    impatient.patience = patience;
    impatient.resync = resync;
    kept.reasons.clear();
    follow(impatient);
    std::size_t const scans = kept.scans;
    server.signal(SIGSTOP);
    pass(patience);
    pass(patience);
    ASSERT_THAT(kept.reasons, ElementsAre(HasSubstr("does not answer"))) << resync.count();
    server.signal(SIGCONT);
    pass(RedisSource::shortestPause);
    settle();
    EXPECT_GT(kept.scans, scans);
  }
}

TEST_F(RedisPace, ServerThatIsSlowIsNotLost) {
  auto impatient = settingsOf(server);
  impatient.patience = patience;
  follow(impatient);
  pass(patience - milliseconds(1));
  for (std::size_t i = 0; i < 5; ++i) {
    server.signal(SIGSTOP);
    pass(milliseconds(1));  // it is asked
    pass(patience - milliseconds(1));
    server.signal(SIGCONT);
    settle();
  }
  EXPECT_THAT(kept.reasons, IsEmpty());
  EXPECT_EQ(kept.scans, 1U);
}

TEST_F(RedisPace, ServerThatHasNothingToTellIsNotLost) {
  auto impatient = settingsOf(server);
  impatient.patience = patience;
  follow(impatient);
  for (int i = 0; i < 5; ++i) {
    pass(patience);
    settle();
  }
  EXPECT_THAT(kept.reasons, IsEmpty());
  EXPECT_EQ(kept.scans, 1U);
}

TEST_F(RedisPace, EitherConnectionThatDiesIsMissed) {
  RedisRelay relay(loop, server.socket() + ".relay", server.socket());
  auto impatient = settingsOf(server);
  impatient.address.path = relay.socket();
  impatient.patience = patience;
  impatient.resync = patience / 10;
  follow(impatient);
  ASSERT_GT(kept.scans, 0U);
  for (std::size_t const connection : {0U, 3U}) {  // of those that are made, two at a time
    kept.reasons.clear();
    relay.dies(connection);
    for (int i = 0; i < 20; ++i) {
      pass(impatient.resync);
      settle(4);
    }
    EXPECT_THAT(kept.reasons, ElementsAre(HasSubstr("does not answer"))) << connection;
    std::size_t const scans = kept.scans;
    pass(impatient.resync);
    settle();
    EXPECT_GT(kept.scans, scans);
  }
}

}  // namespace
}  // namespace Agent::Sonic
