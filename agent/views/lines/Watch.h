// Shows every change of a target as it is published.
#pragma once

#include <memory>
#include <vector>

#include "agent/host/Output.h"
#include "agent/state/Database.h"

namespace Agent {

/// Watches the targets, and each of their members while it is one. It should come before those
/// who change the targets: what happened before it came it does not show.
class Watch {
 public:
  /// `output` must outlive this.
  Watch(TargetView const& targets, Output& output);
  Watch(Watch const&) = delete;
  Watch& operator=(Watch const&) = delete;
  ~Watch();

  /// One target, or one member of a target.
  class Subscription {
   public:
    Subscription() = default;
    Subscription(Subscription const&) = delete;
    Subscription& operator=(Subscription const&) = delete;
    virtual ~Subscription() = default;
  };

 private:
  std::vector<std::unique_ptr<Subscription>> subscriptions_;
};

}  // namespace Agent
