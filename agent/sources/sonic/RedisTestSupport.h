// What the tests of the source share: what it delivered, and a source behind a server.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/host/Interrupt.h"
#include "agent/sources/sonic/RedisServerTestSupport.h"
#include "agent/sources/sonic/RedisSource.h"

namespace Agent::Sonic {

/// Has what was delivered. All keys are wanted but those that begin with "other".
class KeptRows final : public RowListener {
 public:
  bool isMapped(Store /*store*/, std::string_view key) const override {
    return !key.starts_with("other");
  }
  std::string pattern(Store /*store*/) const override { return "*"; }
  void scanned(std::vector<RowRead> all) override {
    ++scans;
    wrong.clear();
    rows.clear();
    take(std::move(all));
  }
  void changed(std::vector<RowRead> some) override {
    ++changes;
    take(std::move(some));
  }
  void lost(std::string const& reason) override { reasons.push_back(reason); }
  void remark(std::string const& text) override { remarks.push_back(text); }

  Fields const* row(Store store, std::string const& key) const {
    auto const found = rows.find({store, key});
    return found == rows.end() ? nullptr : &found->second;
  }

  std::map<RowKey, Fields> rows;
  std::set<RowKey> wrong;  // what is no row
  std::size_t scans = 0;
  std::size_t changes = 0;
  std::vector<std::string> reasons;
  std::vector<std::string> remarks;

 private:
  void take(std::vector<RowRead> read) {
    for (RowRead& row : read) {
      RowKey key{row.store, std::move(row.key)};
      wrong.erase(key);
      rows.erase(key);
      if (row.fields) {
        rows.emplace(std::move(key), std::move(*row.fields));
      } else if (row.isWrongType) {
        wrong.insert(std::move(key));
      }
    }
  }
};

/// The numbers of the databases, and settings that scan a server when it is connected to, and then
/// never.
struct RedisDatabaseTest : testing::Test {
  static constexpr int application = 0;
  static constexpr int configuration = 4;
  static constexpr int state = 6;

  static RedisSettings settingsOf(RedisServer const& server) {
    RedisSettings settings;
    settings.address = {server.socket(), "", 0};
    settings.resync = {};
    return settings;
  }
};

/// A server, and a loop whose time stands still unless a test has it pass: what depends on time is
/// seen without waiting for it, however slow the machine is.
class RedisStandingTime : public RedisDatabaseTest {
 protected:
  /// Calls what is due, and takes what has come.
  void turn() {
    for (int i = 0; i < 100; ++i) {
      loop.turn(Loop::Clock::duration::zero());
    }
  }
  void pass(Loop::Clock::duration duration) {
    now += duration;
    turn();
  }
  /// Until all is answered that was asked, and all is asked that follows of answers. Whatever was
  /// sent before a command of the test's own is answered before the next but one.
  void settle(int rounds = 20) {
    for (int i = 0; i < rounds; ++i) {
      server.command({"PING"});
      turn();
    }
  }
  /// How often the server was given a command.
  long callsOf(std::string const& command) {
    std::string const statistics = server.command({"INFO", "commandstats"}).text;
    std::string const line = "cmdstat_" + command + ":calls=";
    std::size_t const at = statistics.find(line);
    return at == std::string::npos ? 0 : std::stol(statistics.substr(at + line.size()));
  }

  Loop::Time now = Loop::Clock::now();
  Loop loop{[this] { return now; }};
  Interrupt interrupt{loop};  // a connection that breaks is no signal
  RedisServer server;
};

/// A source behind a server.
class RedisSourceTest : public RedisDatabaseTest {
 protected:
  RedisSettings settings() const { return settingsOf(server); }

  void follow() { follow(settings()); }
  void follow(RedisSettings const& settings) { source.emplace(loop, settings, kept); }

  /// Turns the loop until something holds; false after a long time.
  bool comes(std::function<bool()> const& holds) {
    bool isLate = false;
    auto const limit = loop.after(std::chrono::seconds(30), [&isLate] { isLate = true; });
    while (!holds() && !isLate) {
      loop.turn(std::chrono::milliseconds(100));
    }
    return !isLate;
  }
  bool scanComes(std::size_t number = 1) {
    return comes([&] { return kept.scans >= number; });
  }
  bool rowComes(Store store, std::string const& key, Fields const& fields) {
    return comes([&] {
      auto const* const row = kept.row(store, key);
      return row != nullptr && *row == fields;
    });
  }
  bool rowGoes(Store store, std::string const& key) {
    return comes([&] { return kept.row(store, key) == nullptr; });
  }

  Loop loop;
  Interrupt interrupt{loop};
  RedisServer server;
  KeptRows kept;
  std::optional<RedisSource> source;
};

}  // namespace Agent::Sonic
