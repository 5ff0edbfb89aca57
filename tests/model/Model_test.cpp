// Random operations against the library and the model: after every step all targets are equal.
//
//   stp_model_test [--steps N] [--seed S]
//
// A failure names the seed of its sequence, and shows the sequence shortened.
#include <gtest/gtest.h>
#include <signal.h>

#include <iostream>
#include <string>

#include "Generator.h"
#include "Session.h"
#include "Shrink.h"
#include "Tally.h"
#include "tests/RandomRun.h"

namespace Harness {
namespace {

std::uint64_t steps = 100'000;
std::uint64_t seed = 1;

// The sequence under way, for the case that the process ends in the middle of it.
Sequence const* underWay = nullptr;
std::uint64_t sequenceSeed = 0;

std::string reproduce() {
  return "reproduce: --steps 1 --seed " + std::to_string(sequenceSeed) + "\n";
}

void processEnds(int signalNumber) {
  signal(signalNumber, SIG_DFL);
  if (underWay != nullptr) {
    std::cerr << "the process ends by signal " << signalNumber << "; " << reproduce()
              << report(*underWay) << std::flush;
  }
  raise(signalNumber);
}

void runSequence(Tally& tally) {
  constexpr int longest = 400;
  constexpr std::size_t attempts = 4;  // per step, since not every operation can be done
  Generator generator(sequenceSeed);
  Sequence sequence;
  sequence.dropOrder = static_cast<unsigned>(generator.below(4));
  auto const length = static_cast<std::size_t>(100 + generator.below(longest - 100));
  underWay = &sequence;
  Session session(sequence.dropOrder);
  std::vector<Model::Operation> const opening = generator.opening();
  for (std::size_t attempt = 0; attempt < attempts * length; ++attempt) {
    if (sequence.operations.size() >= length || !session.failure().empty()) {
      break;
    }
    sequence.operations.push_back(attempt < opening.size() ? opening[attempt]
                                                           : generator.next(session.state()));
    if (session.step(sequence.operations.back())) {
      tally.add(sequence.operations.back(), session.outcome(), session.state());
    } else {
      sequence.operations.pop_back();
      tally.addSkipped();
    }
  }
  if (session.failure().empty()) {
    session.finish();
  }
  tally.addSequence();
  underWay = nullptr;
  ASSERT_TRUE(session.failure().empty()) << "what differs first:\n"
                                         << session.failure() << reproduce() << report(sequence);
}

TEST(Model, TargetsAreEqualAfterEveryStep) {
  signal(SIGABRT, processEnds);
  signal(SIGSEGV, processEnds);
  Tally tally;
  for (sequenceSeed = seed; tally.steps() < steps; ++sequenceSeed) {
    ASSERT_NO_FATAL_FAILURE(runSequence(tally));
  }
  std::cout << tally.text() << '\n';
  if (constexpr std::uint64_t enough = 100'000; steps >= enough) {
    EXPECT_EQ(tally.missing(), "");
  }
}

TEST(Shrink, KeepsJustTheOperationsThatTheFailureNeeds) {
  Sequence sequence;
  for (int number = 0; number < 300; ++number) {
    sequence.operations.push_back(Model::Operation{Model::Do::setMode, number});
  }
  Sequence const shortest = shorten(sequence, [](Sequence const& candidate) {
    int needed = 0;
    for (Model::Operation const& operation : candidate.operations) {
      needed += operation.a == 17 || operation.a == 18 || operation.a == 291 ? 1 : 0;
    }
    return needed == 3;
  });
  ASSERT_EQ(shortest.operations.size(), 3U);
  EXPECT_EQ(shortest.operations[0].a, 17);
  EXPECT_EQ(shortest.operations[1].a, 18);
  EXPECT_EQ(shortest.operations[2].a, 291);
}

}  // namespace
}  // namespace Harness

int main(int argc, char** argv) {
  return Harness::runRandomly(argc, argv, Harness::steps, Harness::seed);
}
