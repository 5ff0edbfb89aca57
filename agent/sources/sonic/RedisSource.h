// The switch's databases, followed: all rows first, then those that change.
//
// The server tells of the keys that change (keyspace events) to who has subscribed, and forgets it;
// so the subscription comes first, then a scan of all, then a reading of what the events name. Two
// connections are used: one listens, the other asks. The asking one has the server tell the
// listening one when a database was emptied, which raises no keyspace event.
//
// Whatever goes wrong ends both connections; they are made again after a pause that grows, and what
// was missed is found by a scan.
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/host/Loop.h"
#include "agent/sources/sonic/RedisConnection.h"
#include "agent/sources/sonic/RedisDatabases.h"
#include "agent/sources/sonic/RowReader.h"
#include "agent/sources/sonic/RowWriter.h"
#include "agent/sources/sonic/Rows.h"

namespace Agent::Sonic {

/// Which rows are wanted, and what becomes of them. Called as the loop turns.
class RowListener : public RowChoice {
 public:
  /// These are all rows that there are.
  virtual void scanned(std::vector<RowRead> rows) = 0;
  /// These may have changed, or gone, since.
  virtual void changed(std::vector<RowRead> rows) = 0;
  /// The databases can't be read, at each attempt, until a scan comes.
  virtual void lost(std::string const& reason) = 0;
  /// What the operator should know of how the server is set, when it comes.
  virtual void remark(std::string const& text) = 0;
};

struct RedisSettings {
  RedisAddress address;
  DatabaseConfig databases;
  /// From one scan to the next; none, or negative, for never.
  Loop::Clock::duration resync = std::chrono::seconds(60);
  /// So often the server is asked for a word on each connection; it is lost where none comes before
  /// the next time.
  Loop::Clock::duration patience = std::chrono::seconds(10);
};

class RedisSource {
 public:
  /// The server tells of no changes: this is from one scan to the next, unless resync is less.
  static constexpr std::chrono::seconds withoutEvents{1};
  /// From one attempt to connect to the next, at first and at most.
  static constexpr std::chrono::milliseconds shortestPause{100};
  static constexpr std::chrono::milliseconds longestPause{5000};

  /// Begins as the loop turns. `listener` must outlive this.
  RedisSource(Loop& loop, RedisSettings settings, RowListener& listener);

  /// Writes (RowWriter.h); one write at a time. The rows that the decision rests on are given to
  /// the listener as changed before, and what was written after, before `done` is called.
  void write(RowWriter::Decide decide, RowWriter::Done done);

  /// Reads all rows anew, soon; where they are read already, once more.
  void rescan();

 private:
  struct Link {
    Link(Loop& loop, RedisSettings const& settings, RowListener& listener,
         std::function<void(std::string const&)> const& onLost)
        : listening(loop, settings.address, onLost),
          asking(loop, settings.address, onLost),
          reader(asking, settings.databases, listener, onLost),
          writer(loop, asking, reader,
                 [&listener](std::vector<RowRead> rows) { listener.changed(std::move(rows)); }) {}

    RedisConnection listening;
    RedisConnection asking;
    RowReader reader;
    RowWriter writer;
  };

  void connect();
  void subscribe(std::string const& listener);
  void track(std::string const& listener);
  void told(redisReply const& message);
  void event(std::string_view channel);
  void scan();
  void settingIs(redisReply const& setting);
  void askAlive();
  void readSoon();
  void readIfQuiet(std::size_t events);
  void read();
  void took(std::vector<RowRead> rows, bool isAll);
  void deliver();
  void rest();
  void watch();
  void fail(std::string const& reason);
  void reconnectLater(std::string const& reason);
  bool isBusy() const { return !hasBegun_ || link_->reader.isReading() || delivery_; }
  std::string describe(std::string const& text) const {
    return settings_.address.text() + ": " + text;
  }

  Loop& loop_;
  RedisSettings settings_;
  RowListener& listener_;
  std::optional<Link> link_;
  std::size_t unconfirmed_ = 0;  // of the subscriptions, until it begins
  bool hasBegun_ = false;        // to read, since it is connected
  bool hasScanned_ = false;      // since then
  bool isHearing_ = true;
  bool isTracking_ = true;
  bool isScanDue_ = false;
  std::set<RowKey> changed_;
  std::size_t events_ = 0;
  std::optional<Loop::Time> changedSince_;
  std::vector<RowRead> rows_;
  bool isAll_ = false;
  Loop::Clock::duration pause_ = shortestPause;
  Loop::Registration next_;      // attempt to connect, or scan
  Loop::Registration soon_;      // reading of what changed
  Loop::Registration delivery_;  // of what was read
  Loop::Registration watching_;
  Loop::Registration failing_;
  Loop::Registration refusing_;  // a write
};

}  // namespace Agent::Sonic
