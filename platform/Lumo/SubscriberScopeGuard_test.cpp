#include "Lumo/SubscriberScopeGuard.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Lumo {
namespace {

struct Owner {
  void unsubscribe() noexcept { ++unsubscribed; }

  int unsubscribed = 0;
};

TEST(SubscriberScopeGuard, LeavesSubscriptionsAloneOnceItIsDismissed) {
  Owner owner;
  {
    SubscriberScopeGuard guard(owner);
    guard.dismiss();
  }
  EXPECT_EQ(owner.unsubscribed, 0);
}

TEST(SubscriberScopeGuard, TakesThemBackOnceWhenAnExceptionPasses) {
  Owner owner;
  try {
    SubscriberScopeGuard const guard(owner);
    throw std::runtime_error("no");
  } catch (std::runtime_error const&) {
    EXPECT_EQ(owner.unsubscribed, 1);
  }
}

}  // namespace
}  // namespace Lumo
