// Rows as they come, change and go in a real server.
#include "agent/sources/sonic/RedisSource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "agent/sources/sonic/RedisTestSupport.h"

namespace Agent::Sonic {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;
using namespace std::string_literals;

TEST_F(RedisSourceTest, ReadsAllRowsOfTheThreeDatabases) {
  server.command(application, {"HSET", "_STP_PORT_TABLE:Ethernet0", "port_fast", "yes"});
  server.command(application, {"HSET", "other", "a", "b"});
  server.command(configuration, {"HSET", "STP|GLOBAL", "mode", "mst", "priority", ""});
  server.command(state, {"HSET", "VLAN_TABLE|Vlan10", "state", "ok"});
  server.command(5, {"HSET", "COUNTERS", "a", "b"});
  follow();
  ASSERT_TRUE(scanComes());
  EXPECT_THAT(kept.rows,
              UnorderedElementsAre(
                  Pair(RowKey{Store::application, "_STP_PORT_TABLE:Ethernet0"},
                       Fields{{"port_fast", "yes"}}),
                  Pair(RowKey{Store::configuration, "STP|GLOBAL"},
                       Fields{{"mode", "mst"}, {"priority", ""}}),
                  Pair(RowKey{Store::state, "VLAN_TABLE|Vlan10"}, Fields{{"state", "ok"}})));
  EXPECT_THAT(kept.remarks, IsEmpty());
  EXPECT_THAT(kept.reasons, IsEmpty());
}

TEST_F(RedisSourceTest, ReadsMoreRowsThanTheServerListsAtOnce) {
  constexpr int count = 5000;
  for (int i = 0; i < count; ++i) {
    server.command(i % 2 == 0 ? application : configuration,
                   {"HSET", "row" + std::to_string(i), "number", std::to_string(i)});
  }
  follow();
  ASSERT_TRUE(scanComes());
  ASSERT_EQ(kept.rows.size(), count);
  for (auto const& [key, fields] : kept.rows) {
    ASSERT_EQ("row" + fields.at("number"), key.second);
  }
}

TEST_F(RedisSourceTest, EmptyDatabasesAreAnAnswer) {
  follow();
  ASSERT_TRUE(scanComes());
  EXPECT_THAT(kept.rows, IsEmpty());
}

TEST_F(RedisSourceTest, HearsOfEveryChangeOfARow) {
  follow();
  ASSERT_TRUE(scanComes());
  server.command(configuration, {"HSET", "STP|GLOBAL", "mode", "mst"});
  EXPECT_TRUE(rowComes(Store::configuration, "STP|GLOBAL", {{"mode", "mst"}}));
  server.command({"HSET", "STP|GLOBAL", "mode", "pvst", "max_age", "20"});
  EXPECT_TRUE(rowComes(Store::configuration, "STP|GLOBAL", {{"mode", "pvst"}, {"max_age", "20"}}));
  server.command({"HDEL", "STP|GLOBAL", "mode"});
  EXPECT_TRUE(rowComes(Store::configuration, "STP|GLOBAL", {{"max_age", "20"}}));
  server.command({"RENAME", "STP|GLOBAL", "STP|ELSE"});
  EXPECT_TRUE(rowComes(Store::configuration, "STP|ELSE", {{"max_age", "20"}}));
  EXPECT_TRUE(rowGoes(Store::configuration, "STP|GLOBAL"));
  server.command({"HDEL", "STP|ELSE", "max_age"});
  EXPECT_TRUE(rowGoes(Store::configuration, "STP|ELSE"));
  server.command(application, {"HSET", "row", "a", "b"});
  EXPECT_TRUE(rowComes(Store::application, "row", {{"a", "b"}}));
  server.command({"PEXPIRE", "row", "1"});
  EXPECT_TRUE(rowGoes(Store::application, "row"));
  EXPECT_EQ(kept.scans, 1U);
  EXPECT_THAT(kept.reasons, IsEmpty());
}

TEST_F(RedisSourceTest, KeysAndValuesAreBytes) {
  std::string const odd = "a\0\r\n\xFF __:\""s;
  server.command(configuration, {"HSET", odd, odd, odd});
  follow();
  ASSERT_TRUE(scanComes());
  EXPECT_EQ(kept.rows.at({Store::configuration, odd}), (Fields{{odd, odd}}));
  server.command({"HSET", odd, odd, ""});
  EXPECT_TRUE(rowComes(Store::configuration, odd, {{odd, ""}}));
}

TEST_F(RedisSourceTest, WhatIsNoRowIsSaidToBeNone) {
  server.command(configuration, {"SET", "STP|GLOBAL", "mst"});
  follow();
  ASSERT_TRUE(scanComes());
  RowKey const key{Store::configuration, "STP|GLOBAL"};
  EXPECT_THAT(kept.wrong, ElementsAre(key));
  server.command({"DEL", "STP|GLOBAL"});
  server.command({"HSET", "STP|GLOBAL", "mode", "mst"});
  EXPECT_TRUE(rowComes(Store::configuration, "STP|GLOBAL", {{"mode", "mst"}}));
  EXPECT_THAT(kept.wrong, IsEmpty());
  server.command({"SET", "STP|GLOBAL", "mst"});
  EXPECT_TRUE(comes([&] { return kept.wrong.count(key) == 1; }));
  EXPECT_THAT(kept.rows, IsEmpty());
  EXPECT_THAT(kept.reasons, IsEmpty());
}

TEST_F(RedisSourceTest, HearsOfEmptiedDatabases) {
  server.command(configuration, {"HSET", "STP|GLOBAL", "mode", "mst"});
  server.command(application, {"HSET", "row", "a", "b"});
  follow();
  ASSERT_TRUE(scanComes());
  server.command(configuration, {"FLUSHDB"});
  EXPECT_TRUE(rowGoes(Store::configuration, "STP|GLOBAL"));
  EXPECT_NE(kept.row(Store::application, "row"), nullptr);
  server.command({"FLUSHALL"});
  EXPECT_TRUE(rowGoes(Store::application, "row"));
  EXPECT_THAT(kept.reasons, IsEmpty());
}

TEST_F(RedisSourceTest, AScanNowAndThenSeesWhatNothingTellsOf) {
  server.command(configuration, {"HSET", "STP|GLOBAL", "mode", "mst"});
  auto often = settings();
  often.resync = std::chrono::milliseconds(50);
  follow(often);
  ASSERT_TRUE(scanComes());
  server.command({"SWAPDB", "4", "9"});
  EXPECT_TRUE(rowGoes(Store::configuration, "STP|GLOBAL"));
}

TEST_F(RedisSourceTest, ServerThatTellsOfNothingIsScanned) {
  server.command({"CONFIG", "SET", "notify-keyspace-events", "Kgh"});
  follow();
  ASSERT_TRUE(scanComes());
  EXPECT_THAT(kept.remarks, ElementsAre(HasSubstr("notify-keyspace-events is \"ghK\"")));
  server.command(configuration, {"HSET", "STP|GLOBAL", "mode", "mst"});
  EXPECT_TRUE(rowComes(Store::configuration, "STP|GLOBAL", {{"mode", "mst"}}));
  ASSERT_TRUE(scanComes(kept.scans + 1));
  EXPECT_EQ(kept.remarks.size(), 1U);
  server.command({"CONFIG", "SET", "notify-keyspace-events", "AKE"});
  EXPECT_TRUE(comes([&] { return kept.remarks.size() == 2; }));
  EXPECT_THAT(kept.remarks.back(), HasSubstr("changes are told again"));
}

TEST_F(RedisSourceTest, ServerThatDoesNotTellHowItIsSetIsScanned) {
  server.command({"ACL", "SETUSER", "default", "-config"});
  follow();
  ASSERT_TRUE(scanComes(2));
  EXPECT_THAT(kept.remarks, ElementsAre(HasSubstr("can't be asked for: NOPERM")));
}

TEST_F(RedisSourceTest, ServerThatTellsOfNoEmptiedDatabasesIsScannedForThem) {
  server.command({"ACL", "SETUSER", "default", "-client|tracking"});
  server.command(configuration, {"HSET", "STP|GLOBAL", "mode", "mst"});
  follow();
  ASSERT_TRUE(scanComes());
  EXPECT_THAT(kept.remarks, ElementsAre(HasSubstr("seen by full scans alone: NOPERM")));
  server.command({"FLUSHALL"});
  source->rescan();
  EXPECT_TRUE(rowGoes(Store::configuration, "STP|GLOBAL"));
  // The same of the next connections is not told again.
  server.command({"CLIENT", "KILL", "TYPE", "normal"});
  ASSERT_TRUE(scanComes(3));
  EXPECT_EQ(kept.remarks.size(), 1U);
}

TEST_F(RedisSourceTest, ReadsOverTcp) {
  server.kill();
  // A port that was free a moment ago.
  std::string const port = std::to_string(20'000 + ::getpid() % 20'000);
  server.optionsAre({"--notify-keyspace-events", "AKE", "--port", port, "--bind", "127.0.0.1"});
  server.start();
  server.command(configuration, {"HSET", "STP|GLOBAL", "mode", "mst"});
  auto overTcp = settings();
  overTcp.address = parseRedisAddress("127.0.0.1:" + port);
  follow(overTcp);
  EXPECT_TRUE(rowComes(Store::configuration, "STP|GLOBAL", {{"mode", "mst"}}));
}

TEST_F(RedisSourceTest, ReadsTheDatabasesThatItIsTold) {
  auto other = settings();
  other.databases.layouts = {{{1, ":"}, {1, "|"}, {2, "|"}}};
  follow(other);
  ASSERT_TRUE(scanComes());
  server.command(1, {"HSET", "row", "a", "b"});
  EXPECT_TRUE(rowComes(Store::application, "row", {{"a", "b"}}));
  EXPECT_TRUE(rowComes(Store::configuration, "row", {{"a", "b"}}));
  EXPECT_EQ(kept.row(Store::state, "row"), nullptr);
}

TEST_F(RedisSourceTest, CanGoAtAnyMoment) {
  for (int i = 0; i < 2000; ++i) {
    server.command(configuration, {"HSET", "row" + std::to_string(i), "a", "b"});
  }
  for (int turns = 0; turns < 40; ++turns) {
    follow();
    for (int i = 0; i < turns; ++i) {
      loop.turn(std::chrono::milliseconds(1));
    }
    source.reset();
  }
  std::size_t const scans = kept.scans;
  loop.turn(std::chrono::milliseconds(1));
  EXPECT_EQ(kept.scans, scans);
}

}  // namespace
}  // namespace Agent::Sonic
