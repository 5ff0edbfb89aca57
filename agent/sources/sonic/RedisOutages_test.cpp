// Servers that go, hang, refuse, and come back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <random>
#include <string>
#include <utility>

#include "agent/sources/sonic/RedisTestSupport.h"

namespace Agent::Sonic {
namespace {

using testing::IsEmpty;
using testing::StartsWith;

class RedisOutages : public RedisSourceTest {
 protected:
  bool reasonComes(std::string const& reason) {
    return comes([&] {
      return std::ranges::any_of(kept.reasons, [&](std::string const& given) {
        return given.find(reason) != std::string::npos;
      });
    });
  }
};

TEST_F(RedisOutages, WithoutAServerNothingIsRead) {
  server.kill();
  follow();
  EXPECT_TRUE(comes([&] { return kept.reasons.size() >= 2; }));
  EXPECT_THAT(kept.reasons.front(), StartsWith("unix:" + server.socket() + ": Connection refused"));
  EXPECT_EQ(kept.scans, 0U);
  server.start();
  EXPECT_TRUE(scanComes());
}

TEST_F(RedisOutages, WhatWasReadStaysUntilTheServerIsBack) {
  server.command(configuration, {"HSET", "STP|GLOBAL", "mode", "mst"});
  follow();
  ASSERT_TRUE(scanComes());
  server.kill();
  EXPECT_TRUE(comes([&] { return kept.reasons.size() >= 2; }));
  EXPECT_NE(kept.row(Store::configuration, "STP|GLOBAL"), nullptr);
  server.start();
  server.command(configuration, {"HSET", "STP_PORT|Ethernet0", "enabled", "true"});
  EXPECT_TRUE(rowComes(Store::configuration, "STP_PORT|Ethernet0", {{"enabled", "true"}}));
  EXPECT_TRUE(rowGoes(Store::configuration, "STP|GLOBAL"));
  server.command({"HSET", "STP_PORT|Ethernet0", "enabled", "false"});
  EXPECT_TRUE(rowComes(Store::configuration, "STP_PORT|Ethernet0", {{"enabled", "false"}}));
}

TEST_F(RedisOutages, EitherConnectionIsMadeAgain) {
  follow();
  ASSERT_TRUE(scanComes());
  for (auto const* const kind : {"pubsub", "normal"}) {
    std::size_t const scans = kept.scans;
    ASSERT_GT(server.command({"CLIENT", "KILL", "TYPE", kind}).number, 0) << kind;
    ASSERT_TRUE(scanComes(scans + 1)) << kind;
    server.command(configuration, {"HSET", "row", "of", kind});
    EXPECT_TRUE(rowComes(Store::configuration, "row", {{"of", kind}}));
  }
}

TEST_F(RedisOutages, ServerThatWantsAPasswordIsLostUntilItWantsNone) {
  server.command({"CONFIG", "SET", "requirepass", "secret"});
  follow();
  EXPECT_TRUE(reasonComes("NOAUTH"));
  EXPECT_EQ(kept.scans, 0U);
  server.command({"AUTH", "secret"});
  server.command({"CONFIG", "SET", "requirepass", ""});
  EXPECT_TRUE(scanComes());
}

TEST_F(RedisOutages, ServerWithoutTheDatabaseIsLost) {
  server.kill();
  server.optionsAre({"--notify-keyspace-events", "AKE", "--databases", "5"});
  server.start();
  server.command(configuration, {"HSET", "STP|GLOBAL", "mode", "mst"});
  follow();
  EXPECT_TRUE(reasonComes("SELECT 6: ERR DB index is out of range"));
  EXPECT_TRUE(comes([&] { return kept.reasons.size() >= 2; }));
  EXPECT_EQ(kept.scans, 0U);
}

TEST_F(RedisOutages, SubscriptionThatIsRefusedIsAnOutage) {
  server.command({"ACL", "SETUSER", "default", "resetchannels"});
  follow();
  EXPECT_TRUE(reasonComes("NOPERM"));
  EXPECT_EQ(kept.scans, 0U);
  server.command({"ACL", "SETUSER", "default", "allchannels"});
  EXPECT_TRUE(scanComes());
}

TEST_F(RedisOutages, ServerThatIsLoadingIsLostUntilItHasLoaded) {
  constexpr int count = 30;
  std::string const value(2000, 'a');
  server.command({"CONFIG", "SET", "rdbcompression", "no"});
  for (int i = 0; i < count; ++i) {
    server.command(configuration, {"HSET", "row" + std::to_string(i), "a", value});
  }
  server.command({"SAVE"});
  server.kill();
  server.optionsAre({"--notify-keyspace-events", "AKE", "--key-load-delay", "50000",
                     "--loading-process-events-interval-bytes", "1024"});
  server.start();
  follow();
  EXPECT_TRUE(reasonComes("LOADING"));
  EXPECT_EQ(kept.scans, 0U);
  ASSERT_TRUE(scanComes());
  EXPECT_EQ(kept.rows.size(), count);
}

TEST_F(RedisOutages, ReadsAServerThatHasNoMemoryLeftOrOnlyReads) {
  server.command(configuration, {"HSET", "STP|GLOBAL", "mode", "mst"});
  server.command({"CONFIG", "SET", "maxmemory", "1"});
  server.command({"REPLICAOF", "127.0.0.1", "1"});
  follow();
  EXPECT_TRUE(rowComes(Store::configuration, "STP|GLOBAL", {{"mode", "mst"}}));
  EXPECT_THAT(kept.reasons, IsEmpty());
}

// What rows there are is compared with what commands of the test's own show.
class RedisRandomRun : public RedisSourceTest, public testing::WithParamInterface<unsigned> {
 protected:
  bool isSeen() {
    std::map<RowKey, Fields> all;
    for (auto const& [store, database] :
         {std::pair(Store::application, application),
          std::pair(Store::configuration, configuration), std::pair(Store::state, state)}) {
      for (auto const& [key, fields] : server.rows(database)) {
        all.emplace(RowKey{store, key}, fields);
      }
    }
    return all == kept.rows;
  }

  void step() {
    std::string const key = "row" + std::to_string(pick(6));
    server.command(
        {"SELECT", std::to_string(std::array{application, configuration, state}.at(pick(3)))});
    switch (pick(40)) {
      case 0: server.command({"FLUSHDB"}); break;
      case 1: server.command({"FLUSHALL"}); break;
      case 2:
        server.kill();
        server.start();
        break;
      case 3: server.command({"CLIENT", "KILL", "TYPE", "pubsub"}); break;
      case 4: server.command({"CLIENT", "KILL", "TYPE", "normal"}); break;
      case 5:
      case 6: server.command({"SET", key, "no row"}); break;
      case 7:
      case 8: server.command({"RENAME", key, "row" + std::to_string(pick(6))}); break;
      case 9: server.command({"PEXPIRE", key, "1"}); break;
      case 10:
      case 11:
      case 12:
      case 13: server.command({"DEL", key}); break;
      case 14:
      case 15:
      case 16: server.command({"HDEL", key, std::to_string(pick(3))}); break;
      case 17:
      case 18:
      case 19:
      case 20:
      case 21:
      case 22: loop.turn(std::chrono::milliseconds(pick(4))); break;
      default:
        server.command({"HSET", key, std::to_string(pick(3)), std::to_string(pick(3))});
        break;
    }
  }

  unsigned pick(unsigned count) { return std::uniform_int_distribution(0U, count - 1)(random_); }

 private:
  std::mt19937 random_{GetParam()};
};

TEST_P(RedisRandomRun, AfterQuietAllIsAsItIsInTheServer) {
  follow();
  for (int round = 0; round < 8; ++round) {
    for (int i = 0; i < 60; ++i) {
      step();
    }
    ASSERT_TRUE(comes([this] { return isSeen(); })) << "in round " << round;
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RedisRandomRun, testing::Values(1U, 2U, 3U));

}  // namespace
}  // namespace Agent::Sonic
