#include "agent/sources/sonic/RowWriter.h"

#include <hiredis/hiredis.h>

#include <span>
#include <string_view>
#include <utility>

#include "agent/sources/sonic/RedisReply.h"
#include "agent/text/Refusal.h"

namespace Agent::Sonic {

void RowWriter::write(Decide decide, Done done) {
  decide_ = std::move(decide);
  done_ = std::move(done);
  left_ = attempts;
  next_ = loop_.at(loop_.now(), [this] { attempt(); });
}

void RowWriter::attempt() {
  try {
    decided_ = decide_();
  } catch (Refusal const& refusal) {
    finish(refusal.what());
    return;
  }
  if (decided_.writes.empty()) {
    finish("");
    return;
  }
  rows_.clear();
  failure_.clear();
  reader_.select(Store::configuration);
  std::vector<std::string_view> words{"WATCH"};
  words.insert(words.end(), decided_.watched.begin(), decided_.watched.end());
  connection_.command(words, [this](redisReply const& reply) { fail("WATCH", reply); });
  for (std::string const& key : decided_.watched) {
    connection_.command({"HGETALL", key},
                        [this, key](redisReply const& reply) { took(key, reply); });
  }
}

// The last one leads on.
void RowWriter::took(std::string const& key, redisReply const& reply) {
  RowRead& row = rows_.emplace_back(RowRead{Store::configuration, key, std::nullopt});
  if (!RowReader::take(reply, row)) {
    fail("HGETALL", reply);
  }
  if (rows_.size() == decided_.watched.size()) {
    next_ = loop_.at(loop_.now(), [this] { compare(); });
  }
}

void RowWriter::compare() {
  std::string refusal = failure_;
  bool isSame = false;
  if (refusal.empty()) {
    onRead_(std::move(rows_));
    try {
      isSame = decide_() == decided_;
    } catch (Refusal const& said) {
      refusal = said.what();
    }
  }
  if (isSame) {
    send();
    return;
  }
  connection_.command({"UNWATCH"}, [](redisReply const& /*reply*/) {});
  if (refusal.empty()) {
    again();
  } else {
    finish(refusal);
  }
}

void RowWriter::send() {
  reader_.select(Store::configuration);
  connection_.command({"MULTI"}, [this](redisReply const& reply) { fail("MULTI", reply); });
  for (Write const& write : decided_.writes) {
    connection_.command({"HSET", write.key, write.field, write.value},
                        [this](redisReply const& reply) { fail("HSET", reply); });
  }
  connection_.command({"EXEC"}, [this](redisReply const& reply) { executed(reply); });
}

// Nothing is executed where what was watched has changed.
void RowWriter::executed(redisReply const& reply) {
  if (reply.type == REDIS_REPLY_NIL && failure_.empty()) {
    next_ = loop_.at(loop_.now(), [this] { again(); });
    return;
  }
  fail("EXEC", reply);
  for (redisReply const* const part : std::span(reply.element, reply.elements)) {
    fail("HSET", *part);
  }
  next_ = loop_.at(loop_.now(), [this] { finish(failure_); });
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
