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
  std::vector<std::string> patterns(Store store) const override {
    return store == Store::application ? std::vector<std::string>{"*STP*", "[^_]*", "_*"}
                                       : std::vector<std::string>{"*"};
  }
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

/// A source behind a server, which scans when it connects, and then never.
class RedisSourceTest : public testing::Test {
 protected:
  static constexpr int application = 0;
  static constexpr int configuration = 4;
  static constexpr int state = 6;

  RedisSettings settings() const {
    RedisSettings settings;
    settings.address = {server.socket(), "", 0};
    settings.resync = {};
    return settings;
  }

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
  Interrupt interrupt{loop};  // a connection that breaks is no signal
  RedisServer server;
  KeptRows kept;
  std::optional<RedisSource> source;
};

}  // namespace Agent::Sonic
