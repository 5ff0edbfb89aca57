// The list inside a record: copied with the record at the cost of a count.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <new>
#include <span>
#include <type_traits>
#include <utility>

#include "Lumo/RangeException.h"
#include "Lumo/ThreadControl.h"
#include "Pebble/Slab.h"

namespace Stp {

/// A list of small plain values. Copies share their elements until one of them changes. Records
/// are copied whole for every change of one of their members, so this is what keeps the change of
/// another member from costing the length of the list.
///
/// Elements come from the slabs. So only the notification thread changes a list or drops the last
/// one of those that share their elements; other threads may hold copies and read them.
template <class T>
class SharedList {
  static_assert(std::is_trivially_copyable_v<T> && alignof(T) <= 8 && sizeof(T) <= 48);

 public:
  SharedList() = default;
  SharedList(std::initializer_list<T> elements) : SharedList() {
    for (T const& element : elements) {
      push(element);
    }
  }
  SharedList(SharedList const& other) noexcept : block_(other.block_) {
    if (block_ != nullptr) {
      Lumo::countAdd(block_->references, std::uint32_t{1});
    }
  }
  SharedList(SharedList&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
  ~SharedList() { release(); }
  SharedList& operator=(SharedList other) noexcept {
    std::swap(block_, other.block_);
    return *this;
  }

  std::size_t size() const noexcept { return block_ == nullptr ? 0 : block_->size; }
  bool empty() const noexcept { return size() == 0; }

  /// Valid until this list changes or goes.
  std::span<T const> elements() const noexcept {
    return block_ == nullptr ? std::span<T const>() : std::span<T const>(first(), block_->size);
  }
  auto begin() const noexcept { return elements().begin(); }
  auto end() const noexcept { return elements().end(); }

  /// Throws Lumo::VectorOutOfRangeException past the end.
  T const& operator[](std::size_t index) const {
    if (index >= size()) [[unlikely]] {
      Lumo::VectorOutOfRangeException::throwException(index, size());
    }
    return first()[index];
  }

  /// Appends one element, and returns it as `last` does; a list that shares its elements first
  /// takes its own copy of them.
  T& push(T const& element) {
    T const added = element;  // it may lie in this very list
    Block* block = block_;    // reading the count would make the compiler read this again
    if (block == nullptr || !unique() || block->size == block->capacity) [[unlikely]] {
      grow();
      block = block_;
    }
    return *new (reinterpret_cast<T*>(block + 1) + block->size++) T(added);
  }

  /// Appends many elements: what one append has to ask, it asks once for all. The list has them
  /// when the appender goes, and must not be used before.
  class Appender {
   public:
    explicit Appender(SharedList& list) : list_(list) {
      if (list.block_ != nullptr && !list.unique()) {
        list.grow();
      }
      if (list.block_ != nullptr) {
        resume();
      }
    }
    Appender(Appender const&) = delete;
    Appender& operator=(Appender const&) = delete;
    ~Appender() { commit(); }

    void push(T element) {
      if (next_ == end_) [[unlikely]] {
        commit();
        list_.grow();
        resume();
      }
      new (next_++) T(element);
    }

   private:
    void commit() noexcept {
      if (next_ != nullptr) {
        list_.block_->size = static_cast<std::uint32_t>(next_ - list_.first());
      }
    }
    void resume() noexcept {
      next_ = list_.first() + list_.block_->size;
      end_ = list_.first() + list_.block_->capacity;
    }

    SharedList& list_;
    T* next_ = nullptr;
    T* end_ = nullptr;
  };

  /// The last element, to be changed in place, valid until the list changes or is copied; a list
  /// that shares its elements first takes its own copy of them. Throws
  /// Lumo::VectorOutOfRangeException for an empty list.
  T& last() {
    if (block_ == nullptr || block_->size == 0) [[unlikely]] {
      Lumo::VectorOutOfRangeException::throwException(0, 0);
    }
    Block* block = block_;  // reading the count would make the compiler read this again
    if (!unique()) [[unlikely]] {
      grow();
      block = block_;
    }
    return reinterpret_cast<T*>(block + 1)[block->size - 1];
  }

  /// Empties the list; it keeps its room unless that is shared.
  void clear() noexcept {
    if (block_ != nullptr && unique()) {
      block_->size = 0;
    } else {
      release();
    }
  }

  friend bool operator==(SharedList const& a, SharedList const& b) noexcept {
    return a.block_ == b.block_ || std::ranges::equal(a.elements(), b.elements());
  }

 private:
  // The elements follow the header in the same allocation.
  struct Block {
    std::uint32_t references;
    std::uint32_t size;
    std::size_t capacity;
  };

  static std::size_t bytes(std::size_t capacity) { return sizeof(Block) + capacity * sizeof(T); }
  T* first() const noexcept { return reinterpret_cast<T*>(block_ + 1); }
  bool unique() const noexcept { return Lumo::countLoad(block_->references) == 1; }

  // Out of line: appending one element seldom needs it.
  [[gnu::noinline]] void grow() {
    std::size_t const capacity = std::max<std::size_t>(size() * 2, 48 / sizeof(T));
    auto* const grown = new (Pebble::slabAlloc(bytes(capacity)))
        Block{1, static_cast<std::uint32_t>(size()), capacity};
    if (block_ != nullptr) {
      std::memcpy(static_cast<void*>(grown + 1), first(), block_->size * sizeof(T));
    }
    release();
    block_ = grown;
  }

  void release() noexcept {
    Block* const block = std::exchange(block_, nullptr);
    if (block != nullptr && Lumo::countSubtract(block->references, std::uint32_t{1}) == 1) {
      Pebble::slabFree(block, bytes(block->capacity));
    }
  }

  Block* block_ = nullptr;
};

}  // namespace Stp
