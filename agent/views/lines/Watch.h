// Shows every change of a target as it is published.
#pragma once

#include "agent/host/Output.h"
#include "agent/state/TargetObserver.h"

namespace Agent {

/// Prints one line of JSON a change. It should come before those who change the targets: what
/// happened before it came it does not show.
class Watch final : public TargetObserver {
 public:
  /// Both must outlive this.
  Watch(ObservedTargets& targets, Output& output);
  ~Watch() override;

  void recordIs(TargetPlace const& place, TargetRecord const& record) noexcept override;
  void recordGone(TargetPlace const& place) noexcept override;

 private:
  ObservedTargets& targets_;
  Output& output_;
};

}  // namespace Agent
