// Reads rows of the three databases over one connection.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/sources/sonic/RedisConnection.h"
#include "agent/sources/sonic/RedisDatabases.h"
#include "agent/sources/sonic/Rows.h"

namespace Agent::Sonic {

/// Which rows are read.
class RowChoice {
 public:
  RowChoice() = default;
  RowChoice(RowChoice const&) = delete;
  RowChoice& operator=(RowChoice const&) = delete;
  virtual ~RowChoice() = default;

  /// Whether the row of that key is read.
  virtual bool isMapped(Store store, std::string_view key) const = 0;
  /// A pattern (as SCAN has them) that matches each key of a store that is read, and few others.
  virtual std::string pattern(Store store) const = 0;
};

/// A key with the database that it is of.
using RowKey = std::pair<Store, std::string>;

/// One reading at a time. Where the server answers with an error that is not about the row, the
/// reading does not end: onError is called instead, inside the library as all that is told of a
/// reply, and so is the end of a reading.
class RowReader {
 public:
  using OnRead = std::function<void(std::vector<RowRead> rows)>;
  using OnError = std::function<void(std::string const& reason)>;

  /// All of these must outlive this.
  RowReader(RedisConnection& connection, DatabaseConfig const& databases, RowChoice const& choice,
            OnError onError)
      : connection_(connection),
        databases_(databases),
        choice_(choice),
        onError_(std::move(onError)) {}

  /// Reads all rows that are chosen.
  void scan(OnRead onRead);

  /// Reads some.
  void read(std::set<RowKey> const& keys, OnRead onRead);

  bool isReading() const { return static_cast<bool>(onRead_); }

  /// Takes the answer to HGETALL into a row without fields; false if it is none.
  static bool take(redisReply const& reply, RowRead& row);

  /// Has the commands that follow on the connection go to a database.
  void select(Store store);

 private:
  void scanFrom(std::string const& cursor);
  void scanned(redisReply const& reply);
  void readRow(Store store, std::string const& key);
  void took(RowRead row, redisReply const& reply);
  void endIfAll();
  void fail(std::string const& reason);

  RedisConnection& connection_;
  DatabaseConfig const& databases_;
  RowChoice const& choice_;
  OnError onError_;
  OnRead onRead_;
  bool hasFailed_ = false;
  std::optional<unsigned> selected_;
  std::size_t store_ = 0;  // the one that is being scanned
  std::set<std::string, std::less<>> seen_;
  bool isListing_ = false;
  std::size_t awaited_ = 0;
  std::vector<RowRead> rows_;
};

}  // namespace Agent::Sonic
