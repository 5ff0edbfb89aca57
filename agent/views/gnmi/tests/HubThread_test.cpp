// Changes, streams that come and go, and readers, all at once.
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "agent/views/gnmi/tests/GnmiTestSupport.h"

namespace Agent::Gnmi {
namespace {

using namespace std::chrono_literals;

// Waits until its stream has something to give.
class Doorbell {
 public:
  void ring() {
    std::scoped_lock const lock(mutex_);
    hasRung_ = true;
    heard_.notify_one();
  }
  void wait() {
    std::unique_lock lock(mutex_);
    heard_.wait(lock, [this] { return hasRung_; });
    hasRung_ = false;
  }

 private:
  std::mutex mutex_;
  std::condition_variable heard_;
  bool hasRung_ = false;
};

class GnmiHubThreads : public testing::Test, protected TestSession {
 protected:
  // Nothing is printed, however much changes.
  GnmiHubThreads() : TestSession(quiet()) {}
  static Settings quiet() {
    Settings quiet = settings();
    quiet.watch = false;
    return quiet;
  }

  void change(int at) {
    std::string const name = "E" + std::to_string(at % 7);
    Json const value{{"edgePort", at % 3}, {"linkType", at % 2}};
    apply(R"({"op":"set","path":["ocInterfaceStateDir","state",")" + name + R"("],"value":)" +
          value.dump() + "}");
    if (at % 5 == 0) {
      apply(R"({"op":"delete","path":["ocInterfaceStateDir","state",")" + name + "\"]}");
    }
  }

  Hub hub;
  Collector collector{session.observed(), hub};
};

TEST_F(GnmiHubThreads, ThreadsThatComeAndGoWhileAnotherPublishes) {
  hub.start();
  std::atomic<bool> isOver = false;
  std::atomic<int> rounds = 0;
  // Each subscribes again and again, and takes for a while.
  auto const reader = [&](std::string const& path) {
    while (!isOver) {
      auto const bell = std::make_shared<Doorbell>();
      auto const stream = hub.subscribe(streamOf({path}), [bell] { bell->ring(); });
      Client client;
      client.drain(*stream);
      for (int at = 0; at < 3 && !isOver; ++at) {
        bell->wait();
        client.drain(*stream);
      }
      hub.unsubscribe(stream);
      ++rounds;
    }
  };
  std::vector<std::string> const paths{"/stp", "/stp/interfaces/interface/state",
                                       "/stp/interfaces/interface[name=E3]", "/.../edge-port"};
  std::vector<std::thread> readers;
  readers.reserve(paths.size());
  for (std::string const& path : paths) {
    readers.emplace_back([&, path] { reader(path); });
  }
  int changes = 0;
  for (; changes < 500 || rounds < 20; ++changes) {
    change(changes);
    std::this_thread::yield();
  }
  isOver = true;
  // What changes wakes those that wait, until all have seen that it is over.
  std::atomic<bool> areGone = false;
  std::thread waiter([&] {
    for (std::thread& thread : readers) {
      thread.join();
    }
    areGone = true;
  });
  for (; !areGone; ++changes) {
    change(changes);
    std::this_thread::yield();
  }
  waiter.join();
  EXPECT_EQ(hub.streamCount(), 0U);
}

TEST_F(GnmiHubThreads, ThreadsThatStayEndWithTheFinalStateToo) {
  hub.start();
  constexpr int lastName = 42;
  std::string const marker =
      "/stp/interfaces/interface[name=E" + std::to_string(lastName) + "]/state/edge-port";
  std::vector<Leaves> last(4);
  std::vector<std::thread> readers;
  for (std::size_t at = 0; at < last.size(); ++at) {
    readers.emplace_back([&, at] {
      auto const bell = std::make_shared<Doorbell>();
      auto const stream = hub.subscribe(streamOf({"/stp"}), [bell] { bell->ring(); });
      Client client;
      client.drain(*stream);
      while (!client.leaves.contains(marker)) {
        bell->wait();
        client.drain(*stream);
      }
      last[at] = client.leaves;
      hub.unsubscribe(stream);
    });
  }
  for (int at = 0; at < 2'000; ++at) {
    change(at);
  }
  apply(R"({"op":"set","path":["ocInterfaceStateDir","state","E)" + std::to_string(lastName) +
        R"("],"value":{}})");
  for (std::thread& thread : readers) {
    thread.join();
  }
  Leaves const expected = leavesIn(hub.snapshot().leaves(resolve(pathFrom("/stp")).selection));
  for (Leaves const& leaves : last) {
    EXPECT_EQ(leaves, expected);
  }
}

TEST_F(GnmiHubThreads, ThreadOfTheHubRunsTimers) {
  HubSettings settings;
  settings.limits.leastInterval = 1ms;
  Hub timed(settings);
  Collector const published(session.observed(), timed);
  timed.start();
  auto const bell = std::make_shared<Doorbell>();
  auto const stream =
      timed.subscribe(streamOf({"/stp/global"}, PathMode::sample), [bell] { bell->ring(); });
  Client client;
  client.drain(*stream);
  while (client.updates < 20) {
    bell->wait();
    client.drain(*stream);
  }
  EXPECT_EQ(client.leaves.size(), 2U);
  timed.unsubscribe(stream);
}

TEST_F(GnmiHubThreads, ThreadsThatReadTheStateNeverSeeTwoVersionsMixed) {
  hub.start();
  std::atomic<bool> isOver = false;
  std::thread reader([&] {
    auto const selection = resolve(pathFrom("/stp/interfaces/interface/state/edge-port")).selection;
    while (!isOver) {
      Leaves const leaves = leavesIn(hub.snapshot().leaves(selection));
      // One operation at a time makes them equal.
      for (auto const& [path, value] : leaves) {
        EXPECT_EQ(value, leaves.begin()->second) << path;
      }
    }
  });
  for (int at = 0; at < 1'000; ++at) {
    Changes changes;
    for (char const* const name : {"E1", "E2", "E3"}) {
      Stp::InterfaceState record{Lanx::IntfId::of(name)};
      record.edgePort = at % 2 == 0 ? Stp::OcEdgePort::edgeEnable : Stp::OcEdgePort::edgeDisable;
      changes.push_back(Change::setRecord(targets().interfaceStateDir,
                                          onlyAttribute<Stp::OCInterfaceStateDir>, record));
    }
    session.apply(changes);
  }
  isOver = true;
  reader.join();
}

}  // namespace
}  // namespace Agent::Gnmi
