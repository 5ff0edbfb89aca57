#include "agent/sources/sonic/RedisSource.h"

#include <hiredis/hiredis.h>

#include <algorithm>
#include <charconv>
#include <utility>

#include "agent/sources/sonic/RedisReply.h"

namespace Agent::Sonic {

namespace {

using std::chrono::milliseconds;

constexpr std::string_view eventsSetting = "notify-keyspace-events";
constexpr std::string_view invalidations = "__redis__:invalidate";
constexpr std::string_view eventsBegin = "__keyspace@";
constexpr std::string_view eventsMiddle = "__:";
// What has one tracked client told of no key at all, but still of emptied databases.
constexpr std::string_view noKey = "stp-openconfig-agent tracks no key";
// Keys that change within so short a time of each other are read together ...
constexpr milliseconds quiet{1};
// ... but none waits for longer than this.
constexpr milliseconds longestWait{100};

// Whether the flags have the server tell of all that becomes of rows under their keys: of hashes,
// of strings that take their place, of what is deleted or renamed, and of what expires.
bool tellsOfRows(std::string_view flags) {
  auto const has = [&](char flag) { return flags.find(flag) != std::string_view::npos; };
  return has('K') && (has('A') || (has('g') && has('$') && has('h') && has('x')));
}

}  // namespace

RedisSource::RedisSource(Loop& loop, RedisSettings settings, RowListener& listener)
    : loop_(loop), settings_(std::move(settings)), listener_(listener) {
  next_ = loop_.at(loop_.now(), [this] { connect(); });
}

void RedisSource::connect() {
  link_.emplace(loop_, settings_, listener_, [this](std::string const& reason) { fail(reason); });
  hasBegun_ = false;
  hasScanned_ = false;
  askAlive();
  watch();
  link_->listening.onMessageIs([this](redisReply const& message) { told(message); });
  link_->listening.command({"CLIENT", "ID"}, [this](redisReply const& reply) {
    if (reply.type == REDIS_REPLY_INTEGER) {
      subscribe(std::to_string(reply.integer));
    } else {
      fail("CLIENT ID: " + std::string(textOf(reply)));
    }
  });
}

// The confirmations begin the reading.
void RedisSource::subscribe(std::string const& listener) {
  unconfirmed_ = 0;
  for (Store const store : stores) {
    std::string pattern(eventsBegin);
    pattern.append(std::to_string(settings_.databases.layout(store).number))
        .append(eventsMiddle)
        .append("*");
    ++unconfirmed_;
    link_->listening.subscribe({"PSUBSCRIBE", pattern});
  }
  ++unconfirmed_;
  link_->listening.subscribe({"SUBSCRIBE", invalidations});
  track(listener);
}

void RedisSource::track(std::string const& listener) {
  link_->asking.command(
      {"CLIENT", "TRACKING", "ON", "REDIRECT", listener, "BCAST", "PREFIX", noKey},
      [this](redisReply const& reply) {
        bool const was = std::exchange(isTracking_, reply.type != REDIS_REPLY_ERROR);
        if (was && !isTracking_) {
          listener_.remark(describe("that databases are emptied is seen by full scans alone: " +
                                    std::string(textOf(reply))));
        }
      });
}

void RedisSource::told(redisReply const& message) {
  if (message.type != REDIS_REPLY_ARRAY || message.elements < 2) {
    return;
  }
  std::string_view const kind = textOf(*message.element[0]);
  if (kind == "pmessage" && message.elements == 4) {
    event(textOf(*message.element[2]));
  } else if (kind == "message" && message.elements == 3) {
    // Keys would be named.
    if (message.element[2]->type == REDIS_REPLY_NIL) {
      rescan();
    }
  } else if ((kind == "psubscribe" || kind == "subscribe") && !hasBegun_ && --unconfirmed_ == 0) {
    hasBegun_ = true;
    next_ = loop_.at(loop_.now(), [this] { scan(); });
  }
}

void RedisSource::event(std::string_view channel) {
  channel.remove_prefix(std::min(channel.size(), eventsBegin.size()));
  unsigned number = 0;
  auto const* const end = channel.data() + channel.size();
  auto const [stop, error] = std::from_chars(channel.data(), end, number);
  std::string_view key(stop, static_cast<std::size_t>(end - stop));
  if (error != std::errc() || !key.starts_with(eventsMiddle)) {
    return;
  }
  key.remove_prefix(eventsMiddle.size());
  for (Store const store : stores) {
    if (settings_.databases.layout(store).number == number && listener_.isMapped(store, key)) {
      ++events_;
      changed_.emplace(store, key);
      readSoon();
    }
  }
}

void RedisSource::readSoon() {
  if (!isBusy() && !soon_) {
    changedSince_ = loop_.now();
    soon_ = loop_.after(quiet, [this, events = events_] { readIfQuiet(events); });
  }
}

void RedisSource::readIfQuiet(std::size_t events) {
  if (events != events_ && loop_.now() - *changedSince_ < longestWait) {
    soon_ = loop_.after(quiet, [this, now = events_] { readIfQuiet(now); });
    return;
  }
  soon_.drop();
  read();
}

void RedisSource::read() {
  if (isScanDue_) {
    scan();
    return;
  }
  link_->reader.read(std::exchange(changed_, {}),
                     [this](std::vector<RowRead> rows) { took(std::move(rows), false); });
}

// What changed before is seen by it.
void RedisSource::scan() {
  next_.drop();
  soon_.drop();
  if (link_->reader.isReading() || delivery_) {
    isScanDue_ = true;
    return;
  }
  isScanDue_ = false;
  changed_.clear();
  link_->asking.command({"CONFIG", "GET", eventsSetting},
                        [this](redisReply const& reply) { settingIs(reply); });
  link_->reader.scan([this](std::vector<RowRead> rows) { took(std::move(rows), true); });
}

void RedisSource::settingIs(redisReply const& setting) {
  bool const isTold = setting.type == REDIS_REPLY_ARRAY && setting.elements == 2;
  std::string const flags(isTold ? textOf(*setting.element[1]) : std::string_view());
  bool const was = std::exchange(isHearing_, tellsOfRows(flags));
  if (was == isHearing_) {
    return;
  }
  std::string text(eventsSetting);
  if (isTold) {
    text.append(" is \"").append(flags).append("\"");
  } else {
    text.append(" can't be asked for: ").append(textOf(setting));
  }
  text.append(isHearing_ ? ", changes are told again" : ", all rows are read every second");
  listener_.remark(describe(text));
}

void RedisSource::took(std::vector<RowRead> rows, bool isAll) {
  rows_ = std::move(rows);
  isAll_ = isAll;
  delivery_ = loop_.at(loop_.now(), [this] { deliver(); });
}

void RedisSource::deliver() {
  delivery_.drop();
  if (isAll_) {
    pause_ = shortestPause;
    hasScanned_ = true;
    listener_.scanned(std::exchange(rows_, {}));
  } else {
    listener_.changed(std::exchange(rows_, {}));
  }
  rest();
}

// Until something changes, or it is time for a scan.
void RedisSource::rest() {
  auto const pause = isHearing_ ? settings_.resync
                     : settings_.resync > Loop::Clock::duration::zero()
                         ? std::min<Loop::Clock::duration>(settings_.resync, withoutEvents)
                         : withoutEvents;
  if (isAll_ && pause > Loop::Clock::duration::zero()) {
    next_ = loop_.after(pause, [this] { scan(); });
  }
  if (isScanDue_ || !changed_.empty()) {
    readSoon();
  }
}

void RedisSource::rescan() {
  isScanDue_ = true;
  readSoon();
}

void RedisSource::write(RowWriter::Decide decide, RowWriter::Done done) {
  if (!link_ || !hasScanned_) {
    refusing_ = loop_.at(loop_.now(), [this, done = std::move(done)] {
      done(describe("the databases can't be reached"));
    });
    return;
  }
  link_->writer.write(std::move(decide),
                      [this, done = std::move(done)](std::string const& refusal) {
                        done(refusal.empty() ? refusal : describe(refusal));
                      });
}

// Something that each connection has to answer; one that begins owes its confirmations.
void RedisSource::askAlive() {
  link_->asking.command({"PING"}, [](redisReply const& /*reply*/) {});
  if (hasBegun_) {
    link_->listening.subscribe({"SUBSCRIBE", invalidations});
  }
}

// A connection that can't be made, a server that hangs, and one that went without a word are lost
// as well. Each connection speaks for itself: the other may still be served.
void RedisSource::watch() {
  watching_ = loop_.after(settings_.patience, [this, listened = link_->listening.heard(),
                                               asked = link_->asking.heard()] {
    if (link_->listening.heard() == listened || link_->asking.heard() == asked) {
      fail("the server does not answer");
    } else {
      askAlive();
      watch();
    }
  });
}

// Not at once: it may be told from inside the connection.
void RedisSource::fail(std::string const& reason) {
  if (!failing_) {
    failing_ = loop_.at(loop_.now(), [this, reason] { reconnectLater(reason); });
  }
}

void RedisSource::reconnectLater(std::string const& reason) {
  for (Loop::Registration* const pending : {&next_, &soon_, &delivery_, &watching_, &failing_}) {
    pending->drop();
  }
  hasBegun_ = false;
  hasScanned_ = false;
  link_->writer.giveUp("lost while writing: " + reason);
  link_.reset();
  changed_.clear();
  isScanDue_ = false;
  next_ = loop_.after(pause_, [this] { connect(); });
  pause_ = std::min<Loop::Clock::duration>(pause_ * 2, longestPause);
  listener_.lost(describe(reason));
}

}  // namespace Agent::Sonic
