// Runs operations against both worlds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Library.h"
#include "Model.h"

namespace Harness {

/// Both worlds, step by step.
class Session {
 public:
  /// `dropOrder` decides which part of the library's world goes first in the end.
  explicit Session(unsigned dropOrder) : state_(Model::freshState()), dropOrder_(dropOrder) {}

  Model::State const& state() const { return state_; }

  /// Does one step in both worlds, unless it would end the process; tells whether it was done.
  bool step(Model::Operation const& operation);

  /// Drops everything. What differs then, or differed after the last step, is in `failure`.
  void finish();

  /// What the caller got of the last step.
  Model::Outcome outcome() const { return outcome_; }

  /// Empty as long as the worlds agree.
  std::string const& failure() const { return failure_; }

 private:
  Model::State state_;
  Model::State before_;
  Library library_;
  unsigned dropOrder_;
  Model::Outcome outcome_ = Model::Outcome::done;
  std::string failure_;
};

/// A sequence of operations, and which part of the world goes first after them.
struct Sequence {
  std::vector<Model::Operation> operations;
  unsigned dropOrder = 0;
};

/// Runs a sequence up to the first difference, and tells what differs, or nothing.
std::string run(Sequence const& sequence);

}  // namespace Harness
