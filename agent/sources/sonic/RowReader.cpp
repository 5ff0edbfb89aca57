#include "agent/sources/sonic/RowReader.h"

#include <hiredis/hiredis.h>

#include <span>

#include "agent/sources/sonic/RedisReply.h"

namespace Agent::Sonic {

namespace {

// So many keys are looked at by the server in one step.
constexpr std::string_view step = "1000";

bool isText(redisReply const& reply) {
  return reply.type == REDIS_REPLY_STRING;
}

std::string reasonOf(std::string const& command, redisReply const& reply) {
  return command + ": " +
         (reply.type == REDIS_REPLY_ERROR ? std::string(textOf(reply)) : "no answer to that");
}

}  // namespace

void RowReader::scan(OnRead onRead) {
  onRead_ = std::move(onRead);
  rows_.clear();
  store_ = 0;
  seen_.clear();
  isListing_ = true;
  scanFrom("0");
}

void RowReader::read(std::set<RowKey> const& keys, OnRead onRead) {
  onRead_ = std::move(onRead);
  rows_.clear();
  for (auto const& [store, key] : keys) {
    readRow(store, key);
  }
  endIfAll();
}

void RowReader::scanFrom(std::string const& cursor) {
  Store const store = stores.at(store_);
  select(store);
  connection_.command({"SCAN", cursor, "MATCH", choice_.pattern(store), "COUNT", step},
                      [this](redisReply const& reply) { scanned(reply); });
}

// A key can be listed several times.
void RowReader::scanned(redisReply const& reply) {
  if (reply.type != REDIS_REPLY_ARRAY || reply.elements != 2 || !isText(*reply.element[0]) ||
      reply.element[1]->type != REDIS_REPLY_ARRAY) {
    fail(reasonOf("SCAN", reply));
  }
  if (hasFailed_) {
    return;
  }
  Store const store = stores.at(store_);
  for (redisReply const* const key :
       std::span(reply.element[1]->element, reply.element[1]->elements)) {
    if (isText(*key) && choice_.isMapped(store, textOf(*key))) {
      auto const [place, isNew] = seen_.emplace(textOf(*key));
      if (isNew) {
        readRow(store, *place);
      }
    }
  }
  std::string const cursor(textOf(*reply.element[0]));
  if (cursor != "0") {
    scanFrom(cursor);
    return;
  }
  seen_.clear();
  if (++store_ < stores.size()) {
    scanFrom("0");
    return;
  }
  isListing_ = false;
  endIfAll();
}

void RowReader::readRow(Store store, std::string const& key) {
  ++awaited_;
  select(store);
  connection_.command({"HGETALL", key}, [this, store, key](redisReply const& reply) {
    took({store, key, std::nullopt}, reply);
  });
}

bool RowReader::take(redisReply const& reply, RowRead& row) {
  constexpr std::string_view wrongType = "WRONGTYPE ";
  if (reply.type == REDIS_REPLY_ERROR) {
    row.isWrongType = textOf(reply).starts_with(wrongType);
    return row.isWrongType;
  }
  if (reply.type != REDIS_REPLY_ARRAY || reply.elements % 2 != 0) {
    return false;
  }
  if (reply.elements > 0) {
    Fields& fields = row.fields.emplace();
    for (std::size_t i = 0; i < reply.elements; i += 2) {
      fields.insert_or_assign(std::string(textOf(*reply.element[i])),
                              std::string(textOf(*reply.element[i + 1])));
    }
  }
  return true;
}

void RowReader::took(RowRead row, redisReply const& reply) {
  if (!take(reply, row)) {
    fail(reasonOf("HGETALL", reply));
  }
  if (hasFailed_) {
    return;
  }
  rows_.push_back(std::move(row));
  --awaited_;
  endIfAll();
}

void RowReader::endIfAll() {
  if (awaited_ == 0 && !isListing_) {
    std::exchange(onRead_, nullptr)(std::exchange(rows_, {}));
  }
}

void RowReader::select(Store store) {
  unsigned const number = databases_.layout(store).number;
  if (selected_ != number) {
    selected_ = number;
    std::string const text = std::to_string(number);
    connection_.command({"SELECT", text}, [this, text](redisReply const& reply) {
      if (reply.type == REDIS_REPLY_ERROR) {
        fail(reasonOf("SELECT " + text, reply));
      }
    });
  }
}

// What comes after is of no use: it may be of another database.
void RowReader::fail(std::string const& reason) {
  if (!std::exchange(hasFailed_, true)) {
    onError_(reason);
  }
}

}  // namespace Agent::Sonic
