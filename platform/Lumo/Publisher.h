// Change notification: an entity's publisher calls the slots that subscribe to it.
//
// A notification is synchronous: when `publishChangeRecursive` returns, every subscriber has run.
// Subscribers are called in the order in which they subscribed. From inside a notification any
// slot may be removed, the publisher itself may be destroyed, and further slots may subscribe:
// those are not called for the change under way, which happened before they came.
#pragma once

#include "Base/Api.h"
#include "Lumo/FieldId.h"

namespace Lumo {

class Entity;
class Publisher;

namespace Impl {

// A place in a publisher's ring of slots.
struct Link {
  Link* next = nullptr;
  Link* previous = nullptr;
};

}  // namespace Impl

/// One subscription, a member of the one who subscribes. While subscribed it holds the routine to
/// call and the object that the routine is for; otherwise it is empty. It must be empty when it is
/// destroyed.
class STP_API Subscriber : private Impl::Link {
 public:
  /// Called with the publisher, the slot, the changed attribute and two values that depend on the
  /// attribute: of a collection or table the key of the changed member and null, of a plain
  /// attribute the old and the new value.
  using Routine = void (*)(Publisher*, Subscriber*, FieldId, void const*, void const*);

  Subscriber() = default;
  Subscriber(Subscriber const&) = delete;
  Subscriber& operator=(Subscriber const&) = delete;
  ~Subscriber() {
    if (routine_ != nullptr) [[unlikely]] {
      destroyedWhileSubscribed();
    }
  }

  bool subscribed() const noexcept { return routine_ != nullptr; }

  /// The object that the routine is for, as given to `routineIs`.
  void* owner() const noexcept { return owner_; }

  /// Prepares an empty slot for `Publisher::subscriberAdd`.
  void routineIs(Routine routine, void* owner) noexcept {
    routine_ = routine;
    owner_ = owner;
  }

  /// Calls the routine, as for a change; nothing happens when the slot is empty.
  void notify(Publisher& publisher, FieldId field, void const* oldValue, void const* newValue) {
    if (subscribed()) {
      routine_(&publisher, this, field, oldValue, newValue);
    }
  }

  /// Ends the subscription; nothing happens when the slot is empty.
  void unsubscribeFrom(Publisher& publisher) noexcept;

 private:
  friend class Publisher;

  [[noreturn]] static void destroyedWhileSubscribed() noexcept;

  Routine routine_ = nullptr;
  void* owner_ = nullptr;
};

/// Keeps its subscribers in an intrusive ring: subscribing and removal cost the same whatever
/// their number and never allocate. A publisher that is destroyed empties the slots it still has.
class STP_API Publisher {
 public:
  /// `entity` is the one whose present values a new subscriber can ask for; null if there is none.
  explicit Publisher(Entity const* entity = nullptr) noexcept : entity_(entity) {}
  Publisher(Publisher const&) = delete;
  Publisher& operator=(Publisher const&) = delete;
  ~Publisher();

  /// Subscribes a prepared slot that is not subscribed yet. With `notifyPresent` it is first
  /// called for each present value of the entity, as for a change, as long as it stays subscribed;
  /// an exception from there ends the subscription and passes to the caller.
  void subscriberAdd(Subscriber& slot, bool notifyPresent) {
    if (slot.next != nullptr || !slot.subscribed()) [[unlikely]] {
      slotMisused("slot.next == nullptr && slot.routine_ != nullptr",
                  "void Lumo::Publisher::subscriberAdd(Lumo::Subscriber&, bool)");
    }
    slot.next = &ring_;
    slot.previous = ring_.previous;
    ring_.previous->next = &slot;
    ring_.previous = &slot;
    if (notifyPresent && entity_ != nullptr) {
      notifyPresentValues(slot);
    }
  }

  /// Ends the subscription of a slot of this publisher and empties it.
  void subscriberRemove(Subscriber& slot) noexcept {
    if (slot.next == nullptr) [[unlikely]] {
      slotMisused("slot.next != nullptr",
                  "void Lumo::Publisher::subscriberRemove(Lumo::Subscriber&)");
    }
    if (cursors_ != nullptr) [[unlikely]] {
      cursorsPass(slot);
    }
    slot.previous->next = slot.next;
    slot.next->previous = slot.previous;
    slot.next = nullptr;
    slot.previous = nullptr;
    slot.routineIs(nullptr, nullptr);
  }

  /// Whether nobody subscribes.
  bool empty() const noexcept { return ring_.next == &ring_; }

  /// Announces one change to every subscriber. An exception of a subscriber passes to the caller;
  /// the subscribers after it are then not called.
  void publishChangeRecursive(FieldId field, void const* oldValue, void const* newValue) {
    Impl::Link* const first = ring_.next;
    if (first->next == &ring_) [[likely]] {
      if (first != &ring_) {
        auto* const slot = static_cast<Subscriber*>(first);
        slot->routine_(this, slot, field, oldValue, newValue);
      }
      return;
    }
    publishToAll(field, oldValue, newValue);
  }

 private:
  friend class Subscriber;
  class Cursor;
  class Relay;

  [[noreturn]] static void slotMisused(char const* condition, char const* function) noexcept;
  void notifyPresentValues(Subscriber& slot);
  void cursorsPass(Subscriber const& removed) noexcept;
  void publishToAll(FieldId field, void const* oldValue, void const* newValue);

  Impl::Link ring_{&ring_, &ring_};
  Cursor* cursors_ = nullptr;  // one for each notification under way, innermost first
  Entity const* entity_;
};

inline void Subscriber::unsubscribeFrom(Publisher& publisher) noexcept {
  if (subscribed()) {
    publisher.subscriberRemove(*this);
  }
}

}  // namespace Lumo
