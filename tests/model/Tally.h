// What a run of many sequences has exercised.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <sstream>
#include <string>

#include "Model.h"

namespace Harness {

/// Says what a run did, and what it never did: a run that leaves out a kind of operation, a class
/// or an outcome shows less than it seems to.
class Tally {
 public:
  void add(Model::Operation const& operation, Model::Outcome outcome, Model::State const& state) {
    ++steps_;
    ++done_[static_cast<std::size_t>(operation.what)];
    ++outcomes_[static_cast<std::size_t>(outcome)];
    if (operation.what == Model::Do::call) {
      ++calls_.at(static_cast<std::size_t>(operation.a));
    }
    auto const live = Model::liveObjects(state);
    for (std::size_t index = 0; index < live.size(); ++index) {
      most_[index] = std::max(most_[index], live[index]);
      sum_ += live[index];
    }
  }
  void addSkipped() { ++skipped_; }
  void addSequence() { ++sequences_; }

  std::uint64_t steps() const { return steps_; }

  /// One line for people.
  std::string text() const {
    std::ostringstream out;
    out << steps_ << " steps in " << sequences_ << " sequences, "
        << sum_ / std::max<std::uint64_t>(steps_, 1) << " live objects on average, "
        << outcomes_[1] + outcomes_[2] << " exceptions, " << skipped_
        << " operations left out that would end the process";
    return out.str();
  }

  /// What never happened; empty when everything did.
  std::string missing() const {
    std::ostringstream out;
    auto const list = [&out](auto const& counts, char const* what) {
      for (std::size_t index = 0; index < counts.size(); ++index) {
        if (counts[index] == 0) {
          out << ' ' << what << ' ' << index;
        }
      }
    };
    list(done_, "operation");
    list(calls_, "call");
    list(outcomes_, "outcome");
    list(most_, "class");
    return out.str();
  }

 private:
  std::uint64_t steps_ = 0;
  std::uint64_t sequences_ = 0;
  std::uint64_t skipped_ = 0;
  std::uint64_t sum_ = 0;
  std::array<std::uint64_t, Model::operationKinds> done_{};
  std::array<std::uint64_t, Model::calls> calls_{};
  std::array<std::uint64_t, 3> outcomes_{};
  std::array<std::uint64_t, 16> most_{};
};

}  // namespace Harness
