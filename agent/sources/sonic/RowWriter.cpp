#include "agent/sources/sonic/RowWriter.h"

#include <hiredis/hiredis.h>

#include <algorithm>
#include <span>
#include <string_view>
#include <utility>

#include "agent/sources/sonic/RedisReply.h"

namespace Agent::Sonic {

void RowWriter::write(Decide decide, Done done) {
  decide_ = std::move(decide);
  done_ = std::move(done);
  left_ = attempts;
  next_ = loop_.at(loop_.now(), [this] { attempt(); });
}

void RowWriter::attempt() {
  decided_ = decide_();
  failure_.clear();
  reader_.select(Store::configuration);
  // Where transactions are refused, what is meant for one would be executed all the same.
  connection_.command({"MULTI"}, [this](redisReply const& reply) { fail("MULTI", reply); });
  connection_.command({"EXEC"}, [this](redisReply const& reply) { fail("EXEC", reply); });
  std::vector<std::string_view> words{"WATCH"};
  words.insert(words.end(), decided_.watched.begin(), decided_.watched.end());
  connection_.command(words, [this](redisReply const& reply) { fail("WATCH", reply); });
  read(decided_.watched, &RowWriter::compare);
}

void RowWriter::read(std::vector<std::string> const& keys, Step next) {
  rows_.clear();
  awaited_ = keys.size();
  for (std::string const& key : keys) {
    connection_.command({"HGETALL", key}, [this, key, next](redisReply const& reply) {
      RowRead row{Store::configuration, key, std::nullopt};
      if (RowReader::take(reply, row)) {
        rows_.push_back(std::move(row));
      } else {
        fail("HGETALL", reply);
      }
      if (--awaited_ == 0) {
        next_ = loop_.at(loop_.now(), [this, next] { (this->*next)(); });
      }
    });
  }
}

void RowWriter::compare() {
  bool isSame = true;
  if (failure_.empty()) {
    failure_ = objection();
    onRead_(std::move(rows_));
    isSame = decide_() == decided_;
  }
  if (isSame && failure_.empty() && !decided_.writes.empty()) {
    send();
    return;
  }
  connection_.command({"UNWATCH"}, [](redisReply const& /*reply*/) {});
  if (isSame) {
    finish(failure_);
  } else {
    again();
  }
}

// A server would write the other rows where one of them is none.
std::string RowWriter::objection() const {
  auto const& writes = decided_.writes;
  for (RowRead const& row : rows_) {
    if (row.isWrongType && std::ranges::find(writes, row.key, &Write::key) != writes.end()) {
      return row.key + ": this is no hash";
    }
  }
  return decided_.refusal;
}

void RowWriter::send() {
  reader_.select(Store::configuration);
  connection_.command({"MULTI"}, [this](redisReply const& reply) { fail("MULTI", reply); });
  std::vector<std::string> keys;
  for (Write const& write : decided_.writes) {
    connection_.command({"HSET", write.key, write.field, write.value},
                        [this](redisReply const& reply) { fail("HSET", reply); });
    keys.push_back(write.key);
  }
  connection_.command({"EXEC"}, [this](redisReply const& reply) { executed(reply); });
  read(keys, &RowWriter::end);
}

// Nothing is executed where what was watched has changed.
void RowWriter::executed(redisReply const& reply) {
  fail("EXEC", reply);
  for (redisReply const* const part : std::span(reply.element, reply.elements)) {
    fail("HSET", *part);
  }
  outcome_ = !failure_.empty()               ? Outcome::refused
             : reply.type == REDIS_REPLY_NIL ? Outcome::outdated
                                             : Outcome::written;
}

void RowWriter::end() {
  switch (outcome_) {
    case Outcome::refused: finish(failure_); break;
    case Outcome::outdated: again(); break;
    case Outcome::written:
      onRead_(std::move(rows_));
      finish("");
      break;
  }
}

void RowWriter::again() {
  if (--left_ > 0) {
    attempt();
  } else {
    finish("the rows of the VLANs keep changing");
  }
}

// The first failure is the reason of those after it.
void RowWriter::fail(std::string const& command, redisReply const& reply) {
  if (reply.type == REDIS_REPLY_ERROR && failure_.empty()) {
    failure_ = command;
    failure_.append(": ").append(textOf(reply));
  }
}

void RowWriter::giveUp(std::string const& reason) {
  if (isWriting()) {
    finish(reason);
  }
}

// The last thing: whoever is told may write again.
void RowWriter::finish(std::string const& refusal) {
  next_.drop();
  std::exchange(done_, nullptr)(refusal);
}

}  // namespace Agent::Sonic
