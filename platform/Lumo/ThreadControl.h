// Whether the process runs more than one thread, and the counting that depends on it.
#pragma once

#include <atomic>
#include <concepts>

#include "Base/Api.h"

namespace Lumo {

/// Entities live on one notification thread, yet other threads may hold references to them, and
/// copies of their records. A process that starts a second thread says so once, before it starts
/// it. What comes from the slabs (reactors, the lists of records) is freed on the notification
/// thread alone: the last reference to it must not be dropped elsewhere.
class STP_API ThreadControl {
 public:
  /// True once the process is multi-threaded: reference counts are then atomic
  /// read-modify-writes, before that plain increments.
  static bool tsp_;
};

/// Reads a shared word. What a thread did before it released its reference is visible to the one
/// that sees the count without it.
template <std::unsigned_integral Word>
inline Word countLoad(Word& word) noexcept {
  return std::atomic_ref<Word>(word).load(std::memory_order_acquire);
}

/// Adds `amount` to a shared word and returns what it held before.
template <std::unsigned_integral Word>
inline Word countAdd(Word& word, Word amount) noexcept {
  if (ThreadControl::tsp_) [[unlikely]] {
    return std::atomic_ref<Word>(word).fetch_add(amount, std::memory_order_relaxed);
  }
  Word const before = word;
  word = before + amount;
  return before;
}

/// Subtracts `amount` and returns what the word held before. What the releasing threads wrote is
/// visible to the one that finds the last reference.
template <std::unsigned_integral Word>
inline Word countSubtract(Word& word, Word amount) noexcept {
  if (ThreadControl::tsp_) [[unlikely]] {
    return std::atomic_ref<Word>(word).fetch_sub(amount, std::memory_order_acq_rel);
  }
  Word const before = word;
  word = before - amount;
  return before;
}

}  // namespace Lumo
