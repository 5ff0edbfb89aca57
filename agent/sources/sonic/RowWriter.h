// Writes to the configuration what the rows that it depends on say is to be written, all or
// nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "agent/host/Loop.h"
#include "agent/sources/sonic/RedisConnection.h"
#include "agent/sources/sonic/RowReader.h"
#include "agent/sources/sonic/Rows.h"
#include "agent/sources/sonic/Writes.h"

namespace Agent::Sonic {

/// One write at a time.
class RowWriter {
 public:
  /// What is to be written as the rows are known now.
  using Decide = std::function<Writes()>;
  /// Is told why nothing was written; the empty text if all is as decided.
  using Done = std::function<void(std::string const& refusal)>;
  /// Takes rows as they were read.
  using OnRead = std::function<void(std::vector<RowRead> rows)>;

  /// Where others keep changing the rows, so many attempts are made.
  static constexpr int attempts = 8;

  /// `connection` and `reader`, which is of it, must outlive this.
  RowWriter(Loop& loop, RedisConnection& connection, RowReader& reader, OnRead onRead)
      : loop_(loop), connection_(connection), reader_(reader), onRead_(std::move(onRead)) {}

  /// Reads the rows on which the decision rests, decides again, and writes if it is the same and
  /// they have not changed since; what was written is then read. `done` is called once, as the loop
  /// turns.
  void write(Decide decide, Done done);
  bool isWriting() const { return static_cast<bool>(done_); }

  /// Ends a write, if there is one, as refused.
  void giveUp(std::string const& reason);

 private:
  using Step = void (RowWriter::*)();
  enum class Outcome : std::uint8_t { refused, outdated, written };

  void attempt();
  void read(std::vector<std::string> const& keys, Step next);
  void compare();
  std::string objection() const;
  void send();
  void executed(redisReply const& reply);
  void end();
  void again();
  void finish(std::string const& refusal);
  void fail(std::string const& command, redisReply const& reply);

  Loop& loop_;
  RedisConnection& connection_;
  RowReader& reader_;
  OnRead onRead_;
  Decide decide_;
  Done done_;
  int left_ = 0;
  Writes decided_;
  std::size_t awaited_ = 0;
  std::vector<RowRead> rows_;
  std::string failure_;
  Outcome outcome_ = Outcome::refused;
  Loop::Registration next_;
};

}  // namespace Agent::Sonic
