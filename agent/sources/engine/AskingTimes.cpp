#include "agent/sources/engine/AskingTimes.h"

#include <algorithm>

namespace Agent {

bool AskingTimes::asks(Time now) {
  bool const isLast = followUp_ && step_ == pauses.size();
  isAsking_ = true;
  isOfEvent_ = followUp_ && *followUp_ <= due_;
  begun_ = now;
  due_ = now + interval_;
  followUp_.reset();
  return isLast;
}

void AskingTimes::answered(Time now) {
  isAsking_ = false;
  ended_ = now;
  rest_ = isOfEvent_ ? now - begun_ : Duration::zero();
  due_ = std::max(due_, now);
  if (step_ < pauses.size()) {
    followUp_ = now + std::max<Duration>(pauses.at(step_++), rest_);
  }
}

void AskingTimes::event(Time now) {
  step_ = 0;
  if (!isAsking_) {
    Time const soon = std::max<Time>(now + gathering, ended_ + rest_);
    followUp_ = std::min(followUp_.value_or(soon), soon);
  }
}

AskingTimes::Time AskingTimes::next() const {
  return std::min(followUp_.value_or(due_), due_);
}

}  // namespace Agent
