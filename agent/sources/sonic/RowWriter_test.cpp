// Writes to a real server, beside others who write.
#include "agent/sources/sonic/RowWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "agent/sources/sonic/RedisTestSupport.h"
#include "agent/text/Refusal.h"

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
    if (kept.row(Store::configuration, vlan) == nullptr) {
      throw Refusal("there is no VLAN 10");
    }
    auto const* const row = kept.row(Store::configuration, tree);
    if (row != nullptr && row->at("enabled") == "false") {
      return {};
    }
    return {{{tree, "enabled", "false"}}, {vlan, tree}};
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
};

TEST_F(RowWriterTest, WritesWhatIsDecidedAndReadsIt) {
  EXPECT_EQ(write(), "");
  EXPECT_EQ(enabled(), "false");
  EXPECT_TRUE(rowComes(Store::configuration, tree, {{"enabled", "false"}}));
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
  EXPECT_THAT(server.command({"INFO", "commandstats"}).text, testing::Not(HasSubstr("exec")));
}

TEST_F(RowWriterTest, DecidesByTheRowsAsTheyAreNow) {
  server.command(configuration, {"DEL", vlan});  // the source has not heard of it
  EXPECT_THAT(write(), HasSubstr("there is no VLAN 10"));
  EXPECT_EQ(enabled(), "");
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
                "NOPERM"},
       }) {
    server.command(before);
    EXPECT_THAT(write(), HasSubstr(reason));
    server.command(after);
    EXPECT_EQ(enabled(), "") << reason;
  }
  EXPECT_EQ(write(), "");
}

TEST_F(RowWriterTest, SaysThatSomethingElseLiesThere) {
  server.command(configuration, {"SET", tree, "no row"});
  EXPECT_THAT(write(), HasSubstr("WRONGTYPE"));
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

TEST_F(RowWriterTest, ReadsWhatItWroteOnAServerThatTellsOfNothing) {
  server.command({"CONFIG", "SET", "notify-keyspace-events", ""});
  source->rescan();
  ASSERT_TRUE(comes([&] { return !kept.remarks.empty(); }));
  EXPECT_EQ(write(), "");
  EXPECT_TRUE(rowComes(Store::configuration, tree, {{"enabled", "false"}}));
}

}  // namespace
}  // namespace Agent::Sonic
