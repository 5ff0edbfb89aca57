// Random operations on a session, and random subscriptions to it: after every step each client has
// what the document says, and was told nothing that did not change.
//
//   stp_gnmi_model_test [--steps N] [--seed S]
//
// A failure names the seed of its sequence, and its last operations.
#include <gtest/gtest.h>

#include <deque>
#include <filesystem>
#include <iostream>
#include <list>
#include <string>

#include "Operations.h"
#include "Plain.h"
#include "Subscriber.h"
#include "agent/sources/engine/EngineDifference.h"
#include "agent/sources/engine/EngineSnapshot.h"
#include "agent/text/Refusal.h"
#include "agent/views/document/OpenConfigView.h"
#include "tests/RandomRun.h"

namespace Harness {
namespace {

using namespace std::chrono_literals;

std::uint64_t steps = 10'000;
std::uint64_t seed = 1;

std::vector<Agent::EngineSnapshot> const& snapshots() {
  static std::vector<Agent::EngineSnapshot> const all = [] {
    std::vector<Agent::EngineSnapshot> read;
    for (auto const& entry : std::filesystem::directory_iterator(STP_CAPTURES_DIR)) {
      read.push_back(Agent::readSnapshot(entry.path(), "br0"));
    }
    return read;
  }();
  return all;
}

struct Tally {
  std::uint64_t steps = 0;
  std::uint64_t sequences = 0;
  std::uint64_t changes = 0;
  Subscriber::Counts counts;
};

class Sequence {
 public:
  Sequence(std::uint64_t seed, Tally& tally) : dice_(seed), tally_(tally) {}

  void run() {
    constexpr std::uint64_t length = 400;
    for (std::uint64_t at = 0; at < length && !testing::Test::HasFailure(); ++at) {
      step();
    }
    while (!subscribers_.empty()) {
      leave(subscribers_.begin());
    }
    tally_.steps += length;
    tally_.sequences += 1;
  }

  std::string lastOperations() const {
    std::string text;
    for (std::string const& operation : operations_) {
      text += operation + "\n";
    }
    return text;
  }

 private:
  void step() {
    if (dice_.oneIn(20)) {
      if (subscribers_.size() < 12) {
        subscribers_.emplace_back(hub_, dice_, leaves_);
      } else {
        leave(std::next(subscribers_.begin(),
                        static_cast<std::ptrdiff_t>(dice_.below(subscribers_.size()))));
      }
    }
    bool const isLong = dice_.oneIn(10);
    std::chrono::nanoseconds const passed = isLong ? 2500ms : 0ns;
    time_.pass(1us);
    time_.pass(passed);
    // Some change sets come faster than anybody sees to them.
    for (std::uint64_t more = dice_.oneIn(16) ? dice_.below(8) : 0; more > 0; --more) {
      change();
      documentIsNew();
      for (Subscriber& subscriber : subscribers_) {
        subscriber.miss(leaves_);
      }
      time_.pass(1us);
    }
    change();
    // Others are seen to together.
    if (passed > 0ns || !dice_.oneIn(5)) {
      hub_.step();
    } else {
      (void)hub_.snapshot();
    }
    documentIsNew();
    EXPECT_EQ(leavesIn(hub_.snapshot().leaves(Agent::Gnmi::resolve(RequestPath()).selection)),
              leaves_);
    for (Subscriber& subscriber : subscribers_) {
      subscriber.step(dice_, leaves_, passed);
    }
  }

  void documentIsNew() {
    Leaves const before = leaves_;
    leaves_ = leavesOf(openConfigView(session_.database().targets()));
    Difference const changed = difference(before, leaves_);
    tally_.changes += changed.updates + changed.deletes;
  }

  void change() {
    if (dice_.oneIn(15)) {
      std::uint64_t const at = dice_.below(snapshots().size());
      noted("snapshot " + std::to_string(at));
      session_.apply(differences(snapshots()[at], session_.database().sources()));
      return;
    }
    std::string const line = randomOperation(dice_);
    try {
      session_.apply(Agent::parseOperation(line));
      noted(line);
    } catch (Agent::Refusal const&) {
      return;  // that, too, is a step
    }
  }

  void noted(std::string const& operation) {
    operations_.push_back(operation);
    if (operations_.size() > 20) {
      operations_.pop_front();
    }
  }

  void leave(std::list<Subscriber>::iterator subscriber) {
    subscriber->settle();
    Subscriber::Counts const& counts = subscriber->counts();
    tally_.counts.updates += counts.updates;
    tally_.counts.deletes += counts.deletes;
    tally_.counts.duplicates += counts.duplicates;
    tally_.counts.samples += counts.samples;
    tally_.counts.answers += counts.answers;
    subscribers_.erase(subscriber);
  }

  static Agent::Settings settings() {
    Agent::Settings settings;
    settings.show = Agent::Show::none;
    return settings;
  }

  // However slow a client is, it is not ended here.
  Agent::Gnmi::HubSettings hubSettings() {
    Agent::Gnmi::HubSettings settings;
    if (dice_.oneIn(2)) {
      settings.mostWaiting = dice_.below(4);
    }
    settings.sendPatience = std::chrono::hours(10'000);
    settings.limits.counterInterval = Subscriber::counterInterval;
    return settings;
  }

  Dice dice_;
  Tally& tally_;
  Agent::KeptOutput output_;
  Agent::Session session_{settings(), output_};
  Agent::Gnmi::ManualTime time_;
  Agent::Gnmi::Hub hub_{hubSettings(), time_.clocks()};
  Agent::Gnmi::Collector collector_{session_.observed(), hub_};
  Leaves leaves_ = leavesOf(openConfigView(session_.database().targets()));
  std::list<Subscriber> subscribers_;
  std::deque<std::string> operations_;
};

TEST(GnmiModel, EveryClientHasTheDocumentAndWasToldJustWhatChanged) {
  Tally tally;
  for (std::uint64_t at = seed; tally.steps < steps; ++at) {
    Sequence sequence(at, tally);
    sequence.run();
    ASSERT_FALSE(HasFailure()) << "reproduce: --steps 1 --seed " << at << "\n"
                               << sequence.lastOperations();
  }
  std::cout << tally.sequences << " sequences, " << tally.steps << " steps, " << tally.changes
            << " changes of leaves; told " << tally.counts.updates << " updates, "
            << tally.counts.deletes << " deletes, " << tally.counts.duplicates
            << " values counted, " << tally.counts.samples << " in samples, "
            << tally.counts.answers << " answers\n";
  if (constexpr std::uint64_t enough = 10'000; steps >= enough) {
    EXPECT_GT(tally.changes, 1'000U);
    EXPECT_GT(tally.counts.deletes, 1'000U);
    EXPECT_GT(tally.counts.duplicates, 100U);
    EXPECT_GT(tally.counts.samples, 1'000U);
    EXPECT_GT(tally.counts.answers, 100U);
  }
}

}  // namespace
}  // namespace Harness

int main(int argc, char** argv) {
  return Harness::runRandomly(argc, argv, Harness::steps, Harness::seed);
}
