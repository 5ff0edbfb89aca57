// From a real server to what is mirrored: whoever follows arrives where whoever begins does.
#include <array>
#include <cstddef>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "agent/sources/sonic/RedisTestSupport.h"
#include "agent/sources/sonic/SonicTestSupport.h"
#include "agent/views/entities/EntitiesView.h"

namespace Agent::Sonic {
namespace {

/// A mirror that follows.
class FollowedMirror final : public RowListener {
 public:
  bool isMapped(Store store, std::string_view key) const override {
    return mapping_.isMapped(store, key);
  }
  std::string pattern(Store store) const override { return mapping_.pattern(store); }
  void scanned(std::vector<RowRead> rows) override {
    mapping_.scanned(rows);
    if (!std::exchange(hasBegun_, true)) {
      mirror_.session.start();
    }
    apply();
  }
  void changed(std::vector<RowRead> rows) override {
    mapping_.changed(rows);
    apply();
  }
  void lost(std::string const& /*reason*/) override {}
  void remark(std::string const& /*text*/) override {}

  bool hasBegun() const { return hasBegun_; }
  Json sources() const { return ShownSources::of(mirror_.sources()); }
  // But for what a live mirror keeps of what it saw, and one that begins never did: the state of
  // ports that are configured and run no more, the guard of those that run without being
  // configured, and the last VLANs of instances.
  Json targets() const {
    Json targets = Json::parse(entitiesView(mirror_.targets()).dump());
    Json running = Json::object();
    Json const shown = sources();
    for (auto const& instance : shown.at("status").at("stpiStatus")) {
      running.update(instance.at("stpiPortStatus"));
    }
    Json& ports = targets.at("ocInterfaceStateDir");
    for (auto port = ports.begin(); port != ports.end();) {
      if (!shown.at("config").at("portConfig").contains(port.key())) {
        port.value().erase("bpduGuard");
      }
      port = running.contains(port.key()) ? std::next(port) : ports.erase(port);
    }
    return targets;
  }

 private:
  static Settings forgetting() {
    Settings settings = TestSession::settings();
    settings.forgetDeparted = true;
    return settings;
  }
  void apply() {
    mirror_.session.apply(mapping_.differences(mirror_.sources()));
    mirror_.printed();
  }

  TestSession mirror_{forgetting()};
  Mapping mapping_;
  bool hasBegun_ = false;
};

class RedisMirror : public RedisStandingTime {
 protected:
  // A mirror of what lies in the server that begins now.
  void begin(FollowedMirror& mirror) {
    std::vector<RowRead> rows;
    for (Store const store : stores) {
      for (auto const& [key, fields] : server.rows(numberOf(store))) {
        rows.push_back({store, key, fields});
      }
    }
    mirror.scanned(std::move(rows));
  }
  bool isSeen() {
    FollowedMirror fresh;
    begin(fresh);
    return followed.hasBegun() && followed.sources() == fresh.sources();
  }
  static int numberOf(Store store) {
    return std::array{application, configuration, state}.at(static_cast<std::size_t>(store));
  }

  FollowedMirror followed;
};

TEST_F(RedisMirror, AScanListsEachDatabaseOnce) {
  for (int i = 0; i < 3000; ++i) {
    server.command(application, {"HSET", "ROUTE_TABLE:10.0.0." + std::to_string(i), "a", "b"});
  }
  server.command({"HSET", "_STP_PORT_TABLE:Ethernet0", "edge_port", "yes"});
  server.command(configuration, {"HSET", "STP|GLOBAL", "mode", "mst"});
  RedisSource const source(loop, settingsOf(server), followed);
  settle(100);
  ASSERT_TRUE(followed.hasBegun());
  // 1000 keys and some at a time, of one database after another.
  EXPECT_LE(callsOf("scan"), 3 + 3);
  EXPECT_EQ(callsOf("hgetall"), 2);
}

// Rows that change at random, in a server that does all that servers do.
class RedisMirrorRun : public RedisMirror, public testing::WithParamInterface<unsigned> {
 protected:
  void step() {
    RowRead const row = random_.next(written_);
    server.command(numberOf(row.store), {"DEL", row.key});
    if (row.fields && !row.fields->empty()) {
      RedisServer::Words words{"HSET", row.key};
      for (auto const& [field, value] : *row.fields) {
        words.insert(words.end(), {field, value});
      }
      server.command(words);
    }
    if (random_.oneIn(30)) {
      server.command({"DEL", row.key});
      server.command({"SET", row.key, "no row"});
    }
    if (random_.oneIn(60)) {
      server.command({"FLUSHDB"});
    }
    if (random_.oneIn(80)) {
      server.command({"CLIENT", "KILL", "TYPE", "normal"});
    }
    if (random_.oneIn(80)) {
      server.command({"CLIENT", "KILL", "TYPE", "pubsub"});
    }
    if (random_.oneIn(200)) {
      server.kill();
      server.start();
    }
    if (random_.oneIn(4)) {
      pass(std::chrono::milliseconds(2));
    }
  }

 private:
  Databases written_;  // what the rows come of; the server is the truth
  RandomRows random_{GetParam()};
};

TEST_P(RedisMirrorRun, AfterQuietTheMirrorIsThatOfWhoBegins) {
  RedisSource const source(loop, settingsOf(server), followed);
  for (int round = 0; round < 20; ++round) {
    SCOPED_TRACE(round);
    for (int i = 0; i < 60; ++i) {
      step();
    }
    for (int i = 0; i < 500 && !isSeen(); ++i) {
      pass(std::chrono::milliseconds(20));
      settle(3);
    }
    FollowedMirror fresh;
    begin(fresh);
    ASSERT_EQ(followed.sources(), fresh.sources());
    ASSERT_EQ(followed.targets(), fresh.targets());
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RedisMirrorRun, testing::Values(1U, 2U, 3U));

}  // namespace
}  // namespace Agent::Sonic
