// Takes subscriptions back when the scope that made them is left by an exception.
#pragma once

#include <exception>

namespace Lumo {

/// Armed by a reactor's constructor once its subscriptions stand: if the constructor is left by
/// an exception, the reactor's `unsubscribe()` runs before anything that it holds is released.
/// The count of exceptions is compared with that at the start, so that a reactor which is made
/// while another exception passes keeps its subscriptions.
template <class Owner>
class SubscriberScopeGuard {
 public:
  /// `owner` must outlive the guard and have a `void unsubscribe() noexcept`.
  explicit SubscriberScopeGuard(Owner& owner) noexcept
      : owner_(owner), exceptions_(std::uncaught_exceptions()) {}
  SubscriberScopeGuard(SubscriberScopeGuard const&) = delete;
  SubscriberScopeGuard& operator=(SubscriberScopeGuard const&) = delete;
  ~SubscriberScopeGuard() {
    if (std::uncaught_exceptions() > exceptions_) {
      owner_.unsubscribe();
    }
  }

 private:
  Owner& owner_;
  int exceptions_;
};

}  // namespace Lumo
