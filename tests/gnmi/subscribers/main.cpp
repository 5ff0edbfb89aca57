// Many subscribers in one process, each of which keeps what it is told.
//
//     stp_gnmi_subscribers ADDRESS STREAMS CONNECTIONS
//
// subscribes to /stp that many times, says "synced" when each has had its marker, and then answers
// lines of standard input: "count" with what was received so far; "compare" with how many streams
// have just what a ONCE of that moment tells, after waiting for the others. Answers are JSON.
#include <grpcpp/grpcpp.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "github.com/openconfig/gnmi/proto/gnmi/gnmi.grpc.pb.h"

namespace {

constexpr std::chrono::seconds patience{60};

// Values by paths, both as bytes. A path's bytes begin with those of each path above it.
using State = std::map<std::string, std::string>;

void fold(State& state, gnmi::Notification const& notification) {
  for (gnmi::Path const& path : notification.delete_()) {
    std::string const above = path.SerializeAsString();
    auto found = state.lower_bound(above);
    while (found != state.end() && found->first.starts_with(above)) {
      found = state.erase(found);
    }
  }
  for (gnmi::Update const& update : notification.update()) {
    state[update.path().SerializeAsString()] = update.val().SerializeAsString();
  }
}

std::string textOf(std::string const& path) {
  gnmi::Path parsed;
  (void)parsed.ParseFromString(path);
  std::string text;
  for (gnmi::PathElem const& elem : parsed.elem()) {
    text += "/" + elem.name();
    for (auto const& [name, value] : elem.key()) {
      text += "[" + name + "=" + value + "]";
    }
  }
  return text;
}

// What a state has too much, too little, or otherwise.
std::string differenceOf(State const& state, State const& wanted) {
  std::string text;
  for (auto const& [path, value] : state) {
    auto const found = wanted.find(path);
    if (found == wanted.end()) {
      text += " +" + textOf(path);
    } else if (found->second != value) {
      text += " !" + textOf(path);
    }
  }
  for (auto const& [path, value] : wanted) {
    if (state.count(path) == 0) {
      text += " -" + textOf(path);
    }
  }
  return text;
}

struct Counts {
  std::atomic<std::uint64_t> messages = 0;
  std::atomic<std::uint64_t> updates = 0;
  std::atomic<std::uint64_t> skipped = 0;
  std::atomic<std::uint64_t> synced = 0;
  std::atomic<std::uint64_t> ended = 0;
};

gnmi::SubscribeRequest request(gnmi::SubscriptionList::Mode mode) {
  gnmi::SubscribeRequest request;
  gnmi::SubscriptionList& list = *request.mutable_subscribe();
  list.set_mode(mode);
  list.set_encoding(gnmi::PROTO);
  list.add_subscription()->mutable_path()->add_elem()->set_name("stp");
  return request;
}

class Subscriber final
    : public grpc::ClientBidiReactor<gnmi::SubscribeRequest, gnmi::SubscribeResponse> {
 public:
  Subscriber(gnmi::gNMI::Stub& stub, gnmi::SubscriptionList::Mode mode, Counts& counts)
      : counts_(counts), request_(request(mode)) {
    stub.async()->Subscribe(&context_, this);
    StartWrite(&request_);
    StartRead(&response_);
    StartCall();
  }

  void OnReadDone(bool isRead) override {
    if (!isRead) {
      return;
    }
    ++counts_.messages;
    if (response_.sync_response()) {
      ++counts_.synced;
    }
    {
      std::lock_guard const lock(mutex_);
      fold(state_, response_.update());
    }
    for (gnmi::Update const& update : response_.update().update()) {
      ++counts_.updates;
      counts_.skipped += update.duplicates();
    }
    StartRead(&response_);
  }

  void OnDone(grpc::Status const& status) override {
    if (++counts_.ended == 1 && !isCancelled_ && !status.ok()) {
      std::cerr << "the first stream ended: " << status.error_code() << " "
                << status.error_message() << "\n";
    }
    std::lock_guard const lock(mutex_);
    status_ = status;
    isDone_ = true;
    done_.notify_all();
  }

  void cancel() {
    isCancelled_ = true;
    context_.TryCancel();
  }

  grpc::Status wait() {
    std::unique_lock lock(mutex_);
    done_.wait(lock, [this] { return isDone_; });
    return status_;
  }

  State state() const {
    std::lock_guard const lock(mutex_);
    return state_;
  }
  bool has(State const& state) const {
    std::lock_guard const lock(mutex_);
    return state_ == state;
  }

 private:
  Counts& counts_;
  grpc::ClientContext context_;
  gnmi::SubscribeRequest request_;
  gnmi::SubscribeResponse response_;
  mutable std::mutex mutex_;
  State state_;
  std::condition_variable done_;
  grpc::Status status_;
  bool isDone_ = false;
  std::atomic<bool> isCancelled_ = false;
};

std::unique_ptr<gnmi::gNMI::Stub> connect(std::string const& address) {
  grpc::ChannelArguments arguments;
  arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
  return gnmi::gNMI::NewStub(
      grpc::CreateCustomChannel(address, grpc::InsecureChannelCredentials(), arguments));
}

class Subscribers {
 public:
  Subscribers(std::string const& address, std::size_t streams, std::size_t connections)
      : asking_(connect(address)) {
    for (std::size_t at = 0; at < connections; ++at) {
      stubs_.push_back(connect(address));
    }
    for (std::size_t at = 0; at < streams; ++at) {
      all_.push_back(std::make_unique<Subscriber>(*stubs_[at % connections],
                                                  gnmi::SubscriptionList::STREAM, counts_));
    }
  }
  Subscribers(Subscribers const&) = delete;
  Subscribers& operator=(Subscribers const&) = delete;
  ~Subscribers() {
    for (auto const& each : all_) {
      each->cancel();
    }
    for (auto const& each : all_) {
      (void)each->wait();
    }
  }

  bool sync() const {
    auto const end = std::chrono::steady_clock::now() + patience;
    while (counts_.synced < all_.size() && std::chrono::steady_clock::now() < end) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return counts_.synced >= all_.size();
  }

  std::string count() const {
    auto const member = [](char const* name, std::uint64_t value) {
      return "\"" + std::string(name) + "\": " + std::to_string(value);
    };
    return "{" + member("messages", counts_.messages) + ", " + member("updates", counts_.updates) +
           ", " + member("skipped", counts_.skipped) + ", " + member("ended", counts_.ended) + "}";
  }

  std::string compare() const {
    Counts counts;
    Subscriber once(*asking_, gnmi::SubscriptionList::ONCE, counts);
    if (!once.wait().ok()) {
      return R"({"equal": 0})";
    }
    State const final = once.state();
    auto const end = std::chrono::steady_clock::now() + patience;
    std::size_t equal = 0;
    std::string difference;
    for (auto const& each : all_) {
      while (!each->has(final) && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
      }
      if (each->has(final)) {
        ++equal;
      } else if (difference.empty()) {
        difference = differenceOf(each->state(), final);
      }
    }
    if (!difference.empty()) {
      std::cerr << "the first that differs:" << difference << "\n";
    }
    return "{\"equal\": " + std::to_string(equal) +
           ", \"leaves\": " + std::to_string(final.size()) + "}";
  }

 private:
  Counts counts_;
  std::unique_ptr<gnmi::gNMI::Stub> asking_;
  std::vector<std::unique_ptr<gnmi::gNMI::Stub>> stubs_;
  std::vector<std::unique_ptr<Subscriber>> all_;
};

}  // namespace

int main(int count, char** words) {
  if (count != 4) {
    std::cerr << "usage: stp_gnmi_subscribers ADDRESS STREAMS CONNECTIONS\n";
    return 2;
  }
  Subscribers const subscribers(words[1], std::stoul(words[2]), std::stoul(words[3]));
  if (!subscribers.sync()) {
    std::cerr << "not all were served\n";
    return 1;
  }
  std::cout << "synced" << std::endl;
  for (std::string line; std::getline(std::cin, line);) {
    std::cout << (line == "compare" ? subscribers.compare() : subscribers.count()) << std::endl;
  }
  return 0;
}
