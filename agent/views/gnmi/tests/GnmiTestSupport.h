// What the tests of gNMI's state share: messages as text, a
// client that keeps what it is told, and a hub on a session, driven by hand.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "agent/program/TestSupport.h"
#include "agent/views/document/DocumentBuilder.h"
#include "agent/views/gnmi/Collector.h"
#include "agent/views/gnmi/Failure.h"
#include "agent/views/gnmi/Get.h"
#include "agent/views/gnmi/Hub.h"
#include "agent/views/gnmi/RequestPath.h"
#include "agent/views/gnmi/Selection.h"
#include "agent/views/gnmi/Stream.h"
#include "agent/views/gnmi/tests/PlainPaths.h"

namespace Agent::Gnmi {

inline std::vector<PathElement> elementsOf(LeafRef const& leaf) {
  return pathOf(leaf.row(), leaf.key());
}
inline std::string textOf(LeafRef const& leaf) {
  return pathText(elementsOf(leaf));
}

inline std::string valueOf(LeafRef const& leaf) {
  return jsonOf(leaf.row().leaf->type, leaf.value()).dump();
}

/// "1000: -/stp/a, /stp/b=true, /stp/c=1 (2)", the last with two duplicates.
inline std::string textOf(Notification const& notification) {
  std::string text = std::to_string(notification.time) + ":";
  char const* separator = " ";
  for (LeafRef const& leaf : notification.deletes) {
    text += std::exchange(separator, ", ") + ("-" + textOf(leaf));
  }
  for (Update const& update : notification.updates) {
    text += std::exchange(separator, ", ") + textOf(update.leaf) + "=" + valueOf(update.leaf);
    if (update.duplicates > 0) {
      text += " (" + std::to_string(update.duplicates) + ")";
    }
  }
  return text;
}

/// The notifications that a message is.
inline std::vector<Notification> notificationsOf(StreamMessage const& message) {
  if (auto const* const change = std::get_if<SharedChange>(&message)) {
    return change->filter->notifications(*change->changes);
  }
  auto const* const notification = std::get_if<Notification>(&message);
  return notification == nullptr ? std::vector<Notification>() : std::vector{*notification};
}

inline std::vector<std::string> textOf(StreamMessage const& message) {
  std::vector<std::string> text;
  for (Notification const& notification : notificationsOf(message)) {
    text.push_back(textOf(notification));
  }
  if (std::holds_alternative<Sync>(message)) {
    text.emplace_back("sync");
  }
  if (auto const* const end = std::get_if<End>(&message)) {
    text.push_back("end " + std::to_string(static_cast<int>(end->code)) +
                   (end->message.empty() ? "" : " " + end->message));
  }
  return text;
}

/// All that a stream has to give now.
inline std::vector<std::string> taken(Stream& stream) {
  std::vector<std::string> all;
  while (auto const message = stream.next()) {
    for (std::string& text : textOf(*message)) {
      all.push_back(std::move(text));
    }
  }
  return all;
}

/// Leaves as text, by their paths.
using Leaves = std::map<std::string, std::string>;

inline Leaves leavesIn(std::vector<LeafRef> const& leaves) {
  Leaves all;
  for (LeafRef const& leaf : leaves) {
    all[textOf(leaf)] = valueOf(leaf);
  }
  return all;
}

/// Keeps what it is told.
class Client {
 public:
  void apply(Notification const& notification) {
    for (LeafRef const& leaf : notification.deletes) {
      leaves.erase(textOf(leaf));
    }
    for (Update const& update : notification.updates) {
      leaves[textOf(update.leaf)] = valueOf(update.leaf);
      updates += 1;
      duplicates += update.duplicates;
    }
    deletes += notification.deletes.size();
  }
  void apply(StreamMessage const& message) {
    changeSets += std::holds_alternative<SharedChange>(message) ? 1 : 0;
    for (Notification const& notification : notificationsOf(message)) {
      apply(notification);
    }
  }
  /// Takes all that there is.
  void drain(Stream& stream) {
    while (auto const message = stream.next()) {
      apply(*message);
    }
  }

  Leaves leaves;
  std::uint64_t changeSets = 0;
  std::uint64_t updates = 0;
  std::uint64_t duplicates = 0;
  std::uint64_t deletes = 0;
};

/// Time that passes when the test says so.
struct ManualTime {
  Time steady = Time(std::chrono::hours(1));
  Nanoseconds wall = 1'000;

  void pass(std::chrono::nanoseconds duration) {
    steady += duration;
    wall += duration.count();
  }
  Clocks clocks() {
    return {[this] { return steady; }, [this] { return wall; }};
  }
};

inline SubscribeRequest streamOf(std::vector<std::string> const& paths,
                                 PathMode mode = PathMode::onChange) {
  SubscribeRequest request;
  for (std::string const& path : paths) {
    request.paths.push_back({pathFrom(path), mode});
  }
  return request;
}

/// The code and message with which `act` fails.
template <class Act>
std::string failureOf(Act const& act) {
  try {
    act();
    return "none";
  } catch (Failure const& failure) {
    return std::to_string(static_cast<int>(failure.code())) + " " + failure.what();
  }
}

/// A session, nothing of which is mirrored yet, and a hub that tells of it.
class HubTest : public testing::Test, protected TestSession {
 protected:
  std::shared_ptr<Stream> subscribe(SubscribeRequest const& request) {
    return hub.subscribe(request, [this] { ++readyCalls; });
  }
  std::shared_ptr<Stream> subscribe(std::vector<std::string> const& paths,
                                    PathMode mode = PathMode::onChange) {
    return subscribe(streamOf(paths, mode));
  }

  /// Applies a line at a time of day, and has the hub see to it.
  void applyAt(Nanoseconds wall, std::string const& line) {
    time.wall = wall;
    apply(line);
    hub.step();
  }
  void pass(std::chrono::nanoseconds duration) {
    time.pass(duration);
    hub.step();
  }

  /// Lines that write the state of an interface.
  static std::string stateIs(std::string const& name, std::string const& record) {
    return R"({"op":"set","path":["ocInterfaceStateDir","state",)" + Json(name).dump() +
           R"(],"value":)" + record + "}";
  }
  static std::string stateGone(std::string const& name) {
    return R"({"op":"delete","path":["ocInterfaceStateDir","state",)" + Json(name).dump() + "]}";
  }

  /// Lines that write a record of a tree or of one of its ports: "ocTreePortStateDir", "MST5/E1".
  static std::string recordIs(std::string const& target, std::string const& key,
                              std::string const& record) {
    return R"({"op":"set","path":[")" + target + R"(","record",")" + key + R"("],"value":)" +
           record + "}";
  }
  static std::string recordGone(std::string const& target, std::string const& key) {
    return R"({"op":"delete","path":[")" + target + R"(","record",")" + key + "\"]}";
  }

  Leaves document(std::string const& path = "") {
    return leavesIn(hub.snapshot().leaves(resolve(pathFrom(path)).selection));
  }

  ManualTime time;
  int readyCalls = 0;
  Hub hub{{}, time.clocks()};
  Collector collector{session.observed(), hub};
};

}  // namespace Agent::Gnmi
