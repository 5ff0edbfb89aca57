#include "Lumo/Publisher.h"

#include "Base/Assertion.h"
#include "Lumo/Entity.h"

namespace Lumo {

// GCC mistakes the cursor, which is linked only during a notification, for one that stays linked.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wdangling-pointer"
#endif

/// The part of the ring that a notification still has to visit, from `next` to `last`.
class Publisher::Cursor {
 public:
  Cursor(Publisher& publisher, Impl::Link* next, Impl::Link* last)
      : publisher_(&publisher), outer_(publisher.cursors_), next_(next), last_(last) {
    publisher.cursors_ = this;
  }
  Cursor(Cursor const&) = delete;
  Cursor& operator=(Cursor const&) = delete;
  ~Cursor() {
    if (publisher_ != nullptr) {
      publisher_->cursors_ = outer_;
    }
  }

  Subscriber* next() const { return static_cast<Subscriber*>(next_); }

  /// Passes each slot of the part to `call`, while any may be removed and the publisher destroyed.
  ///
  /// The slot after the one that is called is remembered and only compared with the cursor's after
  /// the call: the processor then reads ahead along the ring, instead of waiting for the cursor.
  template <class Call>
  void visit(Call call) {
    Impl::Link* slot = next_;
    while (slot != last_) {
      Impl::Link* const after = slot->next;
      next_ = after;
      call(static_cast<Subscriber*>(slot));
      slot = after;
      if (next_ != unrelated(after)) [[unlikely]] {
        slot = next_;
        if (slot == nullptr) {
          return;
        }
      }
    }
    next_ = nullptr;
    call(static_cast<Subscriber*>(slot));
  }

  static void slotRemoved(Cursor* innermost, Impl::Link const* slot) {
    for (Cursor* cursor = innermost; cursor != nullptr; cursor = cursor->outer_) {
      if (cursor->next_ == slot) {
        cursor->next_ = slot == cursor->last_ ? nullptr : slot->next;
      } else if (cursor->last_ == slot) {
        cursor->last_ = slot->previous;
      }
    }
  }
  static void publisherGone(Cursor* innermost) {
    for (Cursor* cursor = innermost; cursor != nullptr; cursor = cursor->outer_) {
      cursor->publisher_ = nullptr;
      cursor->next_ = nullptr;
    }
  }

 private:
  // The same pointer, though the compiler cannot tell: of two equal pointers it must not go on with
  // the one that it has to load from memory.
  static Impl::Link* unrelated(Impl::Link* link) {
    asm("" : "+r"(link));
    return link;
  }

  Publisher* publisher_;
  Cursor* outer_;
  Impl::Link* next_;
  Impl::Link* last_;
};

/// Passes present values on to one slot as long as that is subscribed. The entity calls the slot
/// of the relay, which outlives whatever the subscriber does to its own.
class Publisher::Relay {
 public:
  Relay(Publisher& publisher, Subscriber& slot) : cursor_(publisher, &slot, &slot) {
    slot_.routineIs(&pass, this);
  }
  Relay(Relay const&) = delete;
  Relay& operator=(Relay const&) = delete;
  ~Relay() { slot_.routineIs(nullptr, nullptr); }

  Subscriber& slot() { return slot_; }

  /// Whom the values are for; null once it has left.
  Subscriber* subscriber() const { return cursor_.next(); }

 private:
  static void pass(Publisher* publisher, Subscriber* relay, FieldId field, void const* oldValue,
                   void const* newValue) {
    Subscriber* const slot = static_cast<Relay*>(relay->owner())->subscriber();
    if (slot != nullptr) {
      slot->routine_(publisher, slot, field, oldValue, newValue);
    }
  }

  Cursor cursor_;
  Subscriber slot_;
};

void Subscriber::destroyedWhileSubscribed() noexcept {
  Base::assertionFailed("!subscribed()", __FILE__, __LINE__, "Lumo::Subscriber::~Subscriber()");
}

Publisher::~Publisher() {
  Cursor::publisherGone(cursors_);
  cursors_ = nullptr;
  while (!empty()) {
    subscriberRemove(static_cast<Subscriber&>(*ring_.next));
  }
}

void Publisher::slotMisused(char const* condition, char const* function) noexcept {
  Base::assertionFailed(condition, __FILE__, __LINE__, function);
}

void Publisher::notifyPresentValues(Subscriber& slot) {
  Relay relay(*this, slot);
  try {
    entity_->presentValuesNotify(relay.slot());
  } catch (...) {
    if (Subscriber* const present = relay.subscriber()) {
      subscriberRemove(*present);
    }
    throw;
  }
}

void Publisher::cursorsPass(Subscriber const& removed) noexcept {
  Cursor::slotRemoved(cursors_, &removed);
}

// Aligned: where the loop lies in its cache lines accounts for a sixth of its cost.
[[gnu::aligned(64)]] void Publisher::publishToAll(FieldId field, void const* oldValue,
                                                  void const* newValue) {
  Cursor cursor(*this, ring_.next, ring_.previous);
  cursor.visit([&](Subscriber* slot) { slot->routine_(this, slot, field, oldValue, newValue); });
}

}  // namespace Lumo
