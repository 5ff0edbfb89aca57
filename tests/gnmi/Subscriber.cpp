#include "Subscriber.h"

#include <algorithm>

namespace Harness {

namespace {

using namespace Agent::Gnmi;
using std::chrono::seconds;

std::vector<std::string> const& patterns() {
  static std::vector<std::string> const all{
      "",
      "/...",
      "/stp",
      "/stp/*/config",
      "/stp/global/state",
      "/stp/interfaces",
      "/stp/interfaces/interface/state",
      "/stp/interfaces/interface[name=*]/config/name",
      "/stp/interfaces/interface[name=Ethernet1]",
      "/stp/interfaces/interface[name=Ethernet10]/.../edge-port",
      "/stp/interfaces/*[name=a\\]/b c\\\\\xC3\xA9]/...",
      "/stp/mstp/mst-instances/mst-instance[mst-id=5]/config",
      "/stp/mstp/mst-instances/mst-instance[mst-id=4094]",
      "/stp/mstp/mst-instances/mst-instance[mst-id=5]/interfaces",
      "/stp/mstp/mst-instances/mst-instance[mst-id=5]/interfaces/interface[name=*]/state",
      "/stp/mstp/mst-instances/mst-instance[mst-id=5]/interfaces/interface[name=Ethernet1]",
      "/stp/mstp/mst-instances/mst-instance/interfaces/interface[name=Ethernet1]/state",
      "/stp/mstp/mst-instances/mst-instance[mst-id=*]/interfaces/interface[name=*]/config",
      "/stp/mstp/cist",
      "/stp/mstp/cist/interfaces/interface[name=Ethernet1]/state/counters",
      "/stp/rstp",
      "/.../*[name=Ethernet1]/state/role",
      "/.../counters",
      "/.../disputed",
      "/.../vlan",
      "/.../bpdu-guard",
      "/.../disabled-vlan",
      "/.../state/...",
  };
  return all;
}

constexpr seconds sampleInterval = Subscriber::counterInterval;
constexpr seconds heartbeatInterval{5};

bool isCounter(std::string const& path) {
  return path.find("/counters/") != std::string::npos;
}

// Whether a path can select counters.
bool hasCounters(RequestPath const& path) {
  for (char const* const tree : {"/stp/rstp", "/stp/mstp/cist"}) {
    for (char const* const name : {"Ethernet1", "Ethernet10", "a\\]/b c\\\\\xC3\xA9"}) {
      RequestPath const counter = pathFrom(
          std::string(tree) + "/interfaces/interface[name=" + name + "]/state/counters/bpdu-sent");
      if (selects(path.elements, counter.elements)) {
        return true;
      }
    }
  }
  return false;
}

}  // namespace

Subscriber::Subscriber(Hub& hub, Dice& dice, Leaves const& leaves)
    : hub_(hub), slowness_(dice.oneIn(2) ? 1 : 1 + dice.below(300)), document_(leaves) {
  auto const nanoseconds = [](seconds duration) {
    return static_cast<std::uint64_t>(std::chrono::nanoseconds(duration).count());
  };
  request_.mode = dice.oneIn(4)   ? CallMode::poll
                  : dice.oneIn(6) ? CallMode::once
                                  : CallMode::stream;
  request_.updatesOnly = dice.oneIn(6);
  bool const mixes = dice.oneIn(3);
  for (std::uint64_t count = 1 + dice.below(3); count > 0; --count) {
    PathRequest path;
    path.path = pathFrom(dice.of(patterns()));
    path.mode = mixes && dice.oneIn(2) ? PathMode::sample
                : dice.oneIn(2)        ? PathMode::onChange
                                       : PathMode::targetDefined;
    if (path.mode == PathMode::sample) {
      path.sampleInterval = nanoseconds(sampleInterval);
      path.suppressRedundant = dice.oneIn(2);
    }
    path.heartbeatInterval = dice.oneIn(4) ? nanoseconds(heartbeatInterval) : 0;
    isSampled_ = isSampled_ || path.mode == PathMode::sample ||
                 (path.mode == PathMode::targetDefined && hasCounters(path.path));
    if (path.mode != PathMode::sample) {
      (path.mode == PathMode::onChange ? changing_ : left_).push_back(path.path);
    }
    all_.push_back(path.path);
    request_.paths.push_back(path);
  }
  stream_ = hub_.subscribe(request_, [] {});
  if (!request_.updatesOnly) {
    expected_ = changing(leaves);
    initialUpdates_ = selected(leaves, all_).size();
  }
  if (request_.mode == CallMode::once) {
    take(true);
    expectAnswer(leaves);
    EXPECT_TRUE(stream_->hasEnded());
  } else {
    take(slowness_ == 1);
  }
}

Subscriber::~Subscriber() {
  hub_.unsubscribe(stream_);
}

void Subscriber::miss(Leaves const& leaves) {
  if (request_.mode == CallMode::stream) {
    (void)changed(leaves);
    hasMissed_ = true;
  }
}

// Has what is expected follow the document; the updates of what is told of changes, and all
// deletes.
Difference Subscriber::changed(Leaves const& leaves) {
  Leaves const before = changing(document_);
  Leaves const after = changing(leaves);
  Difference const changed{difference(before, after).updates,
                           difference(selected(document_, all_), selected(leaves, all_)).deletes};
  changes_ += changed.updates;
  deletes_ += changed.deletes;
  for (auto const& [path, value] : after) {
    auto const found = before.find(path);
    if (found == before.end() || found->second != value) {
      expected_[path] = value;
    }
  }
  std::erase_if(expected_, [&](auto const& leaf) { return !after.contains(leaf.first); });
  document_ = leaves;
  return changed;
}

void Subscriber::step(Dice& dice, Leaves const& leaves, std::chrono::nanoseconds passed) {
  if (request_.mode == CallMode::once) {
    return;
  }
  if (request_.mode == CallMode::poll) {
    document_ = leaves;
    if (dice.oneIn(slowness_)) {
      stream_->poll();
      client_ = {};
      take(true);
      expectAnswer(leaves);
    }
    return;
  }
  Difference const changed = this->changed(leaves);
  if (slowness_ == 1) {
    std::uint64_t const updates = client_.updates;
    std::uint64_t const deletes = client_.deletes;
    std::uint64_t const duplicates = client_.duplicates;
    take(true);
    if (passed == passed.zero() && !hasMissed_) {
      // Just what changed, and each leaf once.
      EXPECT_EQ(client_.updates - updates, changed.updates) << text();
      EXPECT_EQ(client_.deletes - deletes, changed.deletes) << text();
      EXPECT_EQ(client_.duplicates, duplicates) << text();
    }
    hasMissed_ = false;
    if (passed > sampleInterval) {
      counts_.samples += client_.updates - updates;
      if (!request_.updatesOnly) {
        EXPECT_EQ(client_.leaves, selected(leaves, all_)) << text();
      }
    }
  } else if (dice.oneIn(slowness_)) {
    take(dice.oneIn(2));
  }
}

void Subscriber::settle() {
  if (request_.mode != CallMode::stream) {
    return;
  }
  take(true);
  EXPECT_EQ(syncs_, 1U) << text();
  Leaves const now = selected(document_, all_);
  for (auto const& [path, value] : client_.leaves) {
    EXPECT_TRUE(now.contains(path)) << text() << ": " << path << " is gone";
  }
  for (auto const& [path, value] : expected_) {
    EXPECT_EQ(client_.leaves[path], value) << text() << ": " << path;
  }
  bool const repeats = std::ranges::any_of(
      request_.paths, [](PathRequest const& path) { return path.heartbeatInterval > 0; });
  // What repeats all also tells what did not change since the call began.
  if (!isSampled_ && !(repeats && request_.updatesOnly)) {
    EXPECT_EQ(client_.leaves.size(), expected_.size()) << text();
  }
  if (!isSampled_ && !repeats) {
    // Each value was told or counted, but for those of leaves that went.
    EXPECT_LE(client_.updates + client_.duplicates, changes_ + initialUpdates_) << text();
    if (deletes_ == 0) {
      EXPECT_EQ(client_.updates + client_.duplicates, changes_ + initialUpdates_) << text();
    }
  }
  counts_.updates = client_.updates;
  counts_.deletes = client_.deletes;
  counts_.duplicates = client_.duplicates;
}

void Subscriber::take(bool all) {
  do {
    auto const message = stream_->next();
    if (!message) {
      return;
    }
    takeMessage(*message);
  } while (all);
}

void Subscriber::takeMessage(StreamMessage const& message) {
  syncs_ += std::holds_alternative<Sync>(message) ? 1 : 0;
  for (Notification const& notification : notificationsOf(message)) {
    EXPECT_FALSE(notification.deletes.empty() && notification.updates.empty()) << text();
    if (request_.mode == CallMode::stream) {
      EXPECT_GE(notification.time, last_) << text();
      last_ = notification.time;
    }
    EXPECT_TRUE(std::ranges::is_sorted(notification.updates, leafLess, &Update::leaf)) << text();
    EXPECT_TRUE(std::ranges::is_sorted(notification.deletes, leafLess)) << text();
    client_.apply(notification);
  }
}

// Of a poll, or of a call that is over with its answer.
void Subscriber::expectAnswer(Leaves const& leaves) {
  EXPECT_EQ(client_.leaves, request_.updatesOnly ? Leaves() : selected(leaves, all_)) << text();
  EXPECT_EQ(client_.updates, client_.leaves.size()) << text();
  EXPECT_EQ(std::exchange(syncs_, 0), 1U) << text();
  ++counts_.answers;
}

// What is told when it changes: of what is left to the target all but counters.
Leaves Subscriber::changing(Leaves const& leaves) const {
  Leaves all = selected(leaves, left_);
  std::erase_if(all, [](auto const& leaf) { return isCounter(leaf.first); });
  all.merge(selected(leaves, changing_));
  return all;
}

std::string Subscriber::text() const {
  std::string text = "mode " + std::to_string(static_cast<int>(request_.mode)) +
                     (request_.updatesOnly ? " updates only" : "") + ", takes every " +
                     std::to_string(slowness_);
  for (PathRequest const& path : request_.paths) {
    text += ", " + std::to_string(static_cast<int>(path.mode)) + " " +
            pathText(path.path.elements) + (path.suppressRedundant ? " suppressed" : "") +
            (path.heartbeatInterval > 0 ? " beating" : "");
  }
  return text;
}

}  // namespace Harness
