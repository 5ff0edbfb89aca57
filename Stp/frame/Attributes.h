// What a reactor is made of.
//
// A class lists its attributes as the members of an aggregate: first the constructor's arguments,
// in the order of its parameters, then its children. The types below say what each one is; names,
// numbers, constructor, subscription, comparison and tear-down follow from them (Reactor.h).
#pragma once

#include <string_view>
#include <type_traits>
#include <utility>

#include "Lumo/FixedString.h"
#include "Lumo/ModuleInspect.h"
#include "Lumo/Ptr.h"
#include "Lumo/Publisher.h"
#include "Lumo/String.h"
#include "Lumo/TypeName.h"
#include "Vel/HashMap2018.h"

namespace Stp {

/// The numbers of a class's own attributes and operations begin here.
inline constexpr Lumo::FieldId firstField = 130;

namespace Impl {

// The name of a type without the const of a pointer that only reads it.
template <class T>
inline constexpr std::string_view entityName = Lumo::typeName<std::remove_const_t<T>>();

// A reference to an entity; absent where the one who made the reactor had none.
template <Lumo::FixedString attribute, Lumo::FieldKind fieldKind, class T>
class Reference {
 public:
  using Argument = Lumo::Ptr<T>;
  using Entity = std::remove_const_t<T>;

  static constexpr std::string_view attributeName = attribute.view();
  static constexpr std::string_view typeName = entityName<T>;
  static constexpr Lumo::FieldKind kind = fieldKind;

  Reference(Argument const& entity) : entity_(entity) {}  // NOLINT(modernize-pass-by-value)

  Argument const& pointer() const noexcept { return entity_; }
  operator Argument const&() const noexcept {  // NOLINT(google-explicit-constructor): is one
    return entity_;
  }
  explicit operator bool() const noexcept { return static_cast<bool>(entity_); }

  /// Throws Lumo::AbsentPointerException when there is no entity.
  T* operator->() const { return entity_.operator->(); }

 private:
  Argument entity_;
};

}  // namespace Impl

/// The name under which a parent holds the object.
class Key : public Lumo::String {
 public:
  using Argument = Lumo::String;

  static constexpr std::string_view attributeName = "name";
  static constexpr std::string_view typeName = Lumo::typeName<Lumo::String>();
  static constexpr Lumo::FieldKind kind = Lumo::FieldKind::key;

  Key(Lumo::String const& name) : Lumo::String(name) {}  // NOLINT(google-explicit-constructor)
};

/// An entity that is only held: read, or passed on to children.
template <Lumo::FixedString attribute, class T>
using Held = Impl::Reference<attribute, Lumo::FieldKind::held, T>;

/// An entity that is written.
template <Lumo::FixedString attribute, class T>
using Target = Impl::Reference<attribute, Lumo::FieldKind::target, T>;

/// An entity that is watched, with the slot of the subscription to it.
template <Lumo::FixedString attribute, class T>
class Source : public Impl::Reference<attribute, Lumo::FieldKind::source, T> {
 public:
  using Impl::Reference<attribute, Lumo::FieldKind::source, T>::Reference;
  Source(Source const&) = delete;
  Source& operator=(Source const&) = delete;
  ~Source() { unsubscribe(); }

  /// Subscribes, without a notification for the present values, unless the entity is absent or the
  /// slot is in use.
  void subscribe(Lumo::Subscriber::Routine routine, void* owner) {
    if (*this && !slot_.subscribed()) {
      Lumo::Publisher& publisher = (*this)->publisher();
      slot_.routineIs(routine, owner);
      publisher.subscriberAdd(slot_, false);
    }
  }
  void unsubscribe() noexcept {
    if (*this) {
      slot_.unsubscribeFrom(this->pointer()->publisher());
    }
  }
  bool subscribed() const noexcept { return slot_.subscribed(); }

 private:
  Lumo::Subscriber slot_;
};

/// Children by name. A child never outlives the collection's owner.
template <Lumo::FixedString attribute, class T>
class Children {
 public:
  using Child = T;
  using Set = Vel::HashMap2018<Lumo::String, T>;

  /// The key of a node.
  struct KeyFunktor {
    Lumo::String const& operator()(typename Set::Node const& node) const { return node.key; }
  };

  static constexpr std::string_view attributeName = attribute.view();
  static constexpr std::string_view typeName = Lumo::typeName<T>();
  static constexpr Lumo::FieldKind kind = Lumo::FieldKind::children;

  /// The child under `name`, a new and active one where there was none. Throws
  /// Vel::ReinstantiationException when it was made from other entities.
  template <class... Arguments>
  Lumo::Ptr<T> is(Lumo::String const& name, Arguments const&... arguments) {
    if (Lumo::Ptr<T> const* const present = children_.find(name)) {
      (*present)->requireMadeFrom(arguments...);
      return *present;
    }
    Lumo::Ptr<T> child = T::create(name, arguments...);
    children_.newMemberG(name, child);
    return child;
  }

  /// Removes the child and returns it; absent when there was none.
  Lumo::Ptr<T> del(Lumo::String const& name) { return children_.deleteMemberG(name); }
  void delAll() { children_._memberDelAll(); }

  /// Whether there is a child under `name`.
  bool has(Lumo::String const& name) const { return children_.find(name) != nullptr; }
  Set const& members() const noexcept { return children_; }

  void activeIs(bool value) {
    for (auto const& member : children_) {
      Lumo::Ptr<T> const child = member.value;
      child->hasNotificationActiveIs(value);
    }
  }

 private:
  Set children_;
};

/// One child, or none.
template <Lumo::FixedString attribute, class T>
class Child {
 public:
  static constexpr std::string_view attributeName = attribute.view();
  static constexpr std::string_view typeName = Lumo::typeName<T>();
  static constexpr Lumo::FieldKind kind = Lumo::FieldKind::child;

  Lumo::Ptr<T> const& pointer() const noexcept { return child_; }
  explicit operator bool() const noexcept { return static_cast<bool>(child_); }

  /// The present child if it was made from just these entities; otherwise a new and active one in
  /// its place.
  template <class... Arguments>
  Lumo::Ptr<T> is(Arguments const&... arguments) {
    if (!child_ || !child_->isMadeFrom(arguments...)) {
      child_ = T::create(arguments...);
    }
    return child_;
  }

  /// Removes the child and returns it; absent when there was none.
  Lumo::Ptr<T> del() { return std::exchange(child_, nullptr); }
  void delAll() { del(); }

  void activeIs(bool value) {
    if (Lumo::Ptr<T> const child = child_) {
      child->hasNotificationActiveIs(value);
    }
  }

 private:
  Lumo::Ptr<T> child_;
};

/// One child that is an entity which its owner watches.
template <Lumo::FixedString attribute, class T>
class WatchedChild {
 public:
  using Entity = T;

  static constexpr std::string_view attributeName = attribute.view();
  static constexpr std::string_view typeName = Lumo::typeName<T>();
  static constexpr Lumo::FieldKind kind = Lumo::FieldKind::child;

  WatchedChild() = default;
  WatchedChild(WatchedChild const&) = delete;
  WatchedChild& operator=(WatchedChild const&) = delete;
  ~WatchedChild() { unsubscribe(); }

  Lumo::Ptr<T> const& pointer() const noexcept { return child_; }
  explicit operator bool() const noexcept { return static_cast<bool>(child_); }
  T* operator->() const { return child_.operator->(); }

  /// Puts `child`, which may be absent, in the place of the present one, whose subscription ends;
  /// the new one is not subscribed yet. Returns the one before.
  Lumo::Ptr<T> replace(Lumo::Ptr<T> child) {
    unsubscribe();
    return std::exchange(child_, std::move(child));
  }
  void delAll() { replace(nullptr); }

  void subscribe(Lumo::Subscriber::Routine routine, void* owner) {
    if (child_ && !slot_.subscribed()) {
      slot_.routineIs(routine, owner);
      child_->publisher().subscriberAdd(slot_, false);
    }
  }
  void unsubscribe() noexcept {
    if (child_) {
      slot_.unsubscribeFrom(child_->publisher());
    }
  }

 private:
  Lumo::Ptr<T> child_;
  Lumo::Subscriber slot_;
};

/// A plain value of an entity class.
template <Lumo::FixedString attribute, class T>
struct Value {
  static constexpr std::string_view attributeName = attribute.view();
  static constexpr std::string_view typeName{};
  static constexpr Lumo::FieldKind kind = Lumo::FieldKind::attribute;

  T value = T();
};

}  // namespace Stp
