#include "Session.h"

#include <algorithm>

#include "Comparison.h"

namespace Harness {

namespace {

char const* nameOf(Model::Outcome outcome) {
  switch (outcome) {
    case Model::Outcome::done: return "done";
    case Model::Outcome::outOfRange: return "a range exception";
    default: return "a reinstantiation exception";
  }
}

}  // namespace

bool Session::step(Model::Operation const& operation) {
  before_ = state_;
  try {
    outcome_ = Model::apply(state_, operation);
  } catch (Model::Ends const&) {
    state_ = before_;
    return false;
  }
  Model::Outcome const outcome = library_.apply(operation);
  if (outcome != outcome_) {
    failure_ = std::string("  outcome\n    library  ") + nameOf(outcome) + "\n    model    " +
               nameOf(outcome_) + "\n";
  }
  failure_ += difference(library_, state_);
  return true;
}

void Session::finish() {
  library_.dropAll(dropOrder_);
  auto const live = library_.live();
  for (std::size_t index = 0; index < live.size(); ++index) {
    if (live[index] != 0) {
      failure_ += "  everything is dropped, but " + std::to_string(live[index]) +
                  " objects of class " + std::to_string(index) + " live\n";
    }
  }
}

std::string run(Sequence const& sequence) {
  Session session(sequence.dropOrder);
  for (Model::Operation const& operation : sequence.operations) {
    session.step(operation);
    if (!session.failure().empty()) {
      return session.failure();
    }
  }
  session.finish();
  return session.failure();
}

}  // namespace Harness
