// Writes to a real server, beside others who write.
#include "agent/sources/sonic/RowWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <optional>
#include <string>

#include "agent/sources/sonic/RedisTestSupport.h"

namespace Agent::Sonic {
namespace {

using testing::HasSubstr;

constexpr char const* vlan = "VLAN|Vlan10";
constexpr char const* tree = "STP_VLAN|Vlan10";

class RowWriterTest : public RedisSourceTest {
 protected:
  RowWriterTest() {
    server.command(configuration, {"HSET", vlan, "vlanid", "10"});
    follow();
    EXPECT_TRUE(scanComes());
  }

  // Disables spanning tree on the VLAN, as long as there is that.
  Writes disable() const {
    Writes result{{}, {vlan, tree}};
    auto const* const row = kept.row(Store::configuration, tree);
    if (kept.row(Store::configuration, vlan) == nullptr) {
      result.refusal = "there is no VLAN 10";
    } else if (row == nullptr || row->at("enabled") != "false") {
      result.writes.push_back({tree, "enabled", "false"});
    }
    return result;
  }

  std::string write(RowWriter::Decide const& decide) {
    std::optional<std::string> refusal;
    source->write(decide, [&](std::string const& given) { refusal = given; });
    EXPECT_TRUE(comes([&] { return refusal.has_value(); }));
    return refusal.value_or("no answer");
  }
  std::string write() {
    return write([this] { return disable(); });
  }

  std::string enabled() { return server.command(configuration, {"HGET", tree, "enabled"}).text; }

  /// From now on the source hears of nothing, and scans only when it is told to.
  void tellsOfNothing() { server.command({"CONFIG", "SET", "notify-keyspace-events", ""}); }
};

TEST_F(RowWriterTest, HasReadWhatItWroteWhenItTells) {
  tellsOfNothing();
  server.command(configuration, {"HSET", tree, "priority", "4096", "enabled", "true"});
  EXPECT_EQ(write(), "");
  EXPECT_EQ(enabled(), "false");
  auto const* const row = kept.row(Store::configuration, tree);
  ASSERT_NE(row, nullptr);
  EXPECT_EQ(*row, (Fields{{"enabled", "false"}, {"priority", "4096"}}));
  EXPECT_EQ(kept.scans, 1U);
}

TEST_F(RowWriterTest, LeavesOtherFieldsAndRowsAlone) {
  server.command(configuration, {"HSET", tree, "enabled", "true", "priority", "4096"});
  ASSERT_TRUE(rowComes(Store::configuration, tree, {{"enabled", "true"}, {"priority", "4096"}}));
  auto rows = server.rows(configuration);
  rows[tree]["enabled"] = "false";
  EXPECT_EQ(write(), "");
  EXPECT_EQ(server.rows(configuration), rows);
}

TEST_F(RowWriterTest, WritesNothingWhereNothingIsDecided) {
  server.command(configuration, {"HSET", tree, "enabled", "false"});
  ASSERT_TRUE(rowComes(Store::configuration, tree, {{"enabled", "false"}}));
  server.command({"CONFIG", "RESETSTAT"});
  EXPECT_EQ(write(), "");
  EXPECT_THAT(server.command({"INFO", "commandstats"}).text, testing::Not(HasSubstr("hset")));
}

TEST_F(RowWriterTest, DecidesByTheRowsAsTheyAreNow) {
  tellsOfNothing();
  server.command(configuration, {"DEL", vlan});
  EXPECT_THAT(write(), HasSubstr("there is no VLAN 10"));
  EXPECT_EQ(enabled(), "");
  server.command(configuration, {"HSET", vlan, "vlanid", "10"});
  EXPECT_EQ(write(), "");
  EXPECT_EQ(enabled(), "false");
  server.command(configuration, {"HSET", tree, "enabled", "true"});
  EXPECT_EQ(write(), "");
  EXPECT_EQ(enabled(), "false");
}

TEST_F(RowWriterTest, TriesAgainWhereTheRowsChangeMeanwhile) {
  int decisions = 0;
  EXPECT_EQ(write([&] {
              // After the rows were read that the second decision rests on.
              if (++decisions == 2) {
                server.command(configuration, {"HSET", vlan, "members", "1"});
              }
              return disable();
            }),
            "");
  EXPECT_EQ(decisions, 4);
  EXPECT_EQ(enabled(), "false");
}

TEST_F(RowWriterTest, GivesUpWhereTheRowsKeepChanging) {
  int decisions = 0;
  EXPECT_THAT(write([&] {
                server.command(configuration, {"HINCRBY", vlan, "changes", "1"});
                ++decisions;
                return disable();
              }),
              HasSubstr("keep changing"));
  EXPECT_EQ(decisions, 2 * RowWriter::attempts);
  EXPECT_EQ(enabled(), "");
}

TEST_F(RowWriterTest, SaysWhyTheServerRefuses) {
  struct Case {
    RedisServer::Words before;
    RedisServer::Words after;
    std::string reason;
  };
  for (auto const& [before, after, reason] : {
           Case{{"REPLICAOF", "127.0.0.1", "1"}, {"REPLICAOF", "NO", "ONE"}, "READONLY"},
           Case{{"CONFIG", "SET", "maxmemory", "1"}, {"CONFIG", "SET", "maxmemory", "0"}, "OOM"},
           Case{{"ACL", "SETUSER", "default", "-hset"},
                {"ACL", "SETUSER", "default", "+hset"},
                "HSET: NOPERM"},
           Case{{"ACL", "SETUSER", "default", "-multi"},
                {"ACL", "SETUSER", "default", "+multi"},
                "MULTI: NOPERM"},
           Case{{"ACL", "SETUSER", "default", "-exec"},
                {"ACL", "SETUSER", "default", "+exec"},
                "EXEC: "},
           Case{{"ACL", "SETUSER", "default", "-watch"},
                {"ACL", "SETUSER", "default", "+watch"},
                "WATCH: NOPERM"},
       }) {
    server.command(before);
    EXPECT_THAT(write(), HasSubstr(reason));
    server.command(after);
    EXPECT_EQ(enabled(), "") << reason;
  }
  EXPECT_EQ(write(), "");
}

TEST_F(RowWriterTest, WritesNothingWhereSomethingElseLiesUnderOneOfTheKeys) {
  constexpr char const* other = "STP_VLAN|Vlan20";
  server.command(configuration, {"SET", other, "no row"});
  EXPECT_THAT(
      write([] {
        return Writes{{{tree, "enabled", "false"}, {other, "enabled", "false"}}, {tree, other}};
      }),
      HasSubstr("STP_VLAN|Vlan20: this is no hash"));
  EXPECT_EQ(enabled(), "");
  // It is in the way of nothing else.
  EXPECT_EQ(write([] { return Writes{{{tree, "enabled", "false"}}, {tree, other}}; }), "");
  EXPECT_EQ(enabled(), "false");
}

TEST_F(RowWriterTest, IsRefusedWhereTheDatabasesAreEmptiedInTheMiddle) {
  int decisions = 0;
  EXPECT_THAT(write([&] {
                if (++decisions == 2) {
                  server.command({"FLUSHALL"});
                }
                return disable();
              }),
              HasSubstr("there is no VLAN 10"));
  EXPECT_EQ(enabled(), "");
}

TEST_F(RowWriterTest, WaitsForAServerThatIsSlow) {
  int decisions = 0;
  EXPECT_EQ(write([&] {
              if (++decisions == 2) {
                server.command({"CLIENT", "PAUSE", "200", "ALL"});
              }
              return disable();
            }),
            "");
  EXPECT_EQ(enabled(), "false");
}

TEST_F(RowWriterTest, IsRefusedWhereTheServerGoesInTheMiddle) {
  int decisions = 0;
  EXPECT_THAT(write([&] {
                if (++decisions == 2) {
                  server.kill();
                }
                return disable();
              }),
              HasSubstr("lost while writing"));
  EXPECT_EQ(decisions, 2);
}

TEST_F(RowWriterTest, WhatAServerDoesAfterItWasLostIsSeen) {
  source.reset();
  auto impatient = settings();
  impatient.patience = std::chrono::milliseconds(100);
  follow(impatient);
  ASSERT_TRUE(scanComes(2));
  int decisions = 0;
  EXPECT_THAT(write([&] {
                if (++decisions == 2) {
                  server.signal(SIGSTOP);
                }
                return disable();
              }),
              HasSubstr("does not answer"));
  server.signal(SIGCONT);  // it may still execute what was sent
  ASSERT_TRUE(scanComes(3));
  EXPECT_TRUE(comes([&] {
    auto const* const row = kept.row(Store::configuration, tree);
    return enabled() == (row != nullptr ? row->at("enabled") : "");
  }));
}

TEST_F(RowWriterTest, IsRefusedWhileTheServerIsAway) {
  server.kill();
  EXPECT_THAT(write(), HasSubstr("lost while writing"));
  EXPECT_TRUE(comes([&] { return !kept.reasons.empty(); }));
  EXPECT_THAT(write(), HasSubstr("can't be reached"));
  server.start();
  ASSERT_TRUE(scanComes(2));
  EXPECT_THAT(write(), HasSubstr("there is no VLAN 10"));
}

}  // namespace
}  // namespace Agent::Sonic
