// How an operation can fail.
#pragma once

namespace Model {

/// What a caller gets of an operation.
enum class Outcome { done, outOfRange, reinstantiated };

/// An exception that passes to a direct caller.
struct Refused {
  Outcome outcome;
};

/// The process would end, or nobody says what would happen.
struct Ends {
  char const* why;
};

/// Runs what a notification runs: an exception that gets out of it ends the process.
template <class Reaction>
void notified(Reaction const& reaction) {
  try {
    reaction();
  } catch (Refused const&) {
    throw Ends{"an exception gets out of a notification"};
  }
}

}  // namespace Model
