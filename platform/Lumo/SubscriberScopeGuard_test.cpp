#include "Lumo/SubscriberScopeGuard.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace Lumo {
namespace {

struct Owner {
  void unsubscribe() noexcept { ++unsubscribed; }

  int unsubscribed = 0;
};

TEST(SubscriberScopeGuard, LeavesSubscriptionsAloneWhenTheScopeIsLeftNormally) {
  Owner owner;
  { SubscriberScopeGuard const guard(owner); }
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

TEST(SubscriberScopeGuard, IgnoresAnExceptionThatIsCaughtWithin) {
  Owner owner;
  {
    SubscriberScopeGuard const guard(owner);
    try {
      throw std::runtime_error("no");
    } catch (std::runtime_error const&) {
    }
  }
  EXPECT_EQ(owner.unsubscribed, 0);
}

// Makes an owner while an exception passes, as a destructor that rebuilds something does.
class MakesOneAtTheEnd {
 public:
  MakesOneAtTheEnd(Owner& inner, bool fails) : inner_(inner), fails_(fails) {}
  MakesOneAtTheEnd(MakesOneAtTheEnd const&) = delete;
  MakesOneAtTheEnd& operator=(MakesOneAtTheEnd const&) = delete;
  ~MakesOneAtTheEnd() {
    try {
      SubscriberScopeGuard const guard(inner_);
      if (fails_) {
        throw std::logic_error("inner");
      }
    } catch (std::logic_error const&) {
    }
  }

 private:
  Owner& inner_;
  bool fails_;
};

TEST(SubscriberScopeGuard, TellsItsOwnExceptionFromAnotherThatPasses) {
  for (bool const fails : {false, true}) {
    SCOPED_TRACE(fails);
    Owner outer;
    Owner inner;
    try {
      SubscriberScopeGuard const guard(outer);
      MakesOneAtTheEnd const makes(inner, fails);
      throw std::runtime_error("outer");
    } catch (std::runtime_error const&) {
    }
    EXPECT_EQ(outer.unsubscribed, 1);
    EXPECT_EQ(inner.unsubscribed, fails ? 1 : 0);
  }
}

}  // namespace
}  // namespace Lumo
