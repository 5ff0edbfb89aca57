// The counted pointer to a node.
#pragma once

#include <concepts>
#include <cstddef>
#include <utility>

#include "Lumo/Node.h"
#include "Lumo/RangeException.h"
#include "Lumo/TypeName.h"

namespace Lumo {

/// Holds one reference to a node, or none: an absent pointer. A const T is an entity that the
/// holder only reads. Comparison is by identity.
template <class T>
class Ptr {
 public:
  using Element = T;

  Ptr() = default;
  Ptr(std::nullptr_t) {}  // NOLINT(google-explicit-constructor): absence, as of any pointer

  /// Takes a further reference; `node` may be null.
  explicit Ptr(T* node) : node_(node) { add(); }

  Ptr(Ptr const& other) noexcept : node_(other.node_) { add(); }
  Ptr(Ptr&& other) noexcept : node_(std::exchange(other.node_, nullptr)) {}

  template <class U>
  requires std::convertible_to<U*, T*> Ptr(Ptr<U> const& other)
  noexcept  // NOLINT(google-explicit-constructor): as U* to T*
      : node_(other.get()) {
    add();
  }

  ~Ptr() {
    if (node_ != nullptr) {
      node_->referenceRelease();
    }
  }

  Ptr& operator=(Ptr other) noexcept {
    std::swap(node_, other.node_);
    return *this;
  }

  /// Takes over the reference that a new node is born with.
  static Ptr adopt(T* node) noexcept {
    Ptr result;
    result.node_ = node;
    return result;
  }

  /// The node, or null.
  T* get() const noexcept { return node_; }
  explicit operator bool() const noexcept { return node_ != nullptr; }

  /// Throws AbsentPointerException, naming T, when there is no node.
  T* operator->() const { return &**this; }
  T& operator*() const {
    if (node_ == nullptr) [[unlikely]] {
      AbsentPointerException::throwException(typeName<T>());
    }
    return *node_;
  }

  template <class U>
  friend bool operator==(Ptr const& a, Ptr<U> const& b) noexcept {
    return a.get() == b.get();
  }
  friend bool operator==(Ptr const& a, std::nullptr_t) noexcept { return a.node_ == nullptr; }

 private:
  void add() const noexcept {
    if (node_ != nullptr) {
      node_->referenceAdd();
    }
  }

  T* node_ = nullptr;
};

/// A new node and the one reference to it.
template <class T, class... Arguments>
Ptr<T> make(Arguments&&... arguments) {
  return Ptr<T>::adopt(new T(std::forward<Arguments>(arguments)...));
}

}  // namespace Lumo
