// Takes subscriptions back when the scope that made them is left by an exception.
#pragma once

namespace Lumo {

/// Armed by a reactor's constructor once its subscriptions stand: unless it is dismissed, at the
/// end of the constructor, the reactor's `unsubscribe()` runs before anything that it holds is
/// released.
template <class Owner>
class SubscriberScopeGuard {
 public:
  /// `owner` must outlive the guard and have a `void unsubscribe() noexcept`.
  explicit SubscriberScopeGuard(Owner& owner) noexcept : owner_(&owner) {}
  SubscriberScopeGuard(SubscriberScopeGuard const&) = delete;
  SubscriberScopeGuard& operator=(SubscriberScopeGuard const&) = delete;
  ~SubscriberScopeGuard() {
    if (owner_ != nullptr) {
      owner_->unsubscribe();
    }
  }

  /// The reactor is complete: the subscriptions stay.
  void dismiss() noexcept { owner_ = nullptr; }

 private:
  Owner* owner_;
};

}  // namespace Lumo
