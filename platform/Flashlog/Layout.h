// What a trace file looks like on disk: header, message area, ring of slots, in this order.
//
// Everything is in the byte order of the machine that wrote it; a file of the other order shows as
// one of another version. The writer may die between any two of its stores, so whatever becomes
// valid later than the rest (the magic, the used length of the message area, the number of the
// latest clock pair, the tag of a slot) is one word, stored last.
#pragma once

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>

namespace Flashlog {

/// One moment, told by the time-stamp counter and by two clocks of the system.
struct ClockPair {
  std::uint64_t ticks;     ///< the counter
  std::int64_t realtime;   ///< nanoseconds since 1970-01-01 UTC: what time of day it was
  std::int64_t monotonic;  ///< nanoseconds, never set by anyone: how long an interval was
};

/// The highest id that a message can have; the lowest is 1.
inline constexpr int maxMessageId = 1 << 18;

}  // namespace Flashlog

namespace Flashlog::Layout {

/// First word of a file whose creation was finished.
inline constexpr std::uint64_t magic =
    std::bit_cast<std::uint64_t>(std::array{'F', 'L', 'A', 'S', 'H', 'L', 'O', 'G'});

/// Changes with every change of this header.
inline constexpr std::uint32_t version = 1;

/// The message area begins here.
inline constexpr std::uint32_t headerBytes = 4096;

/// Message entries begin at multiples of this, so that the ring behind them is aligned too.
inline constexpr std::uint32_t entryAlignment = 8;

struct Header {
  std::uint64_t magic;
  std::uint32_t version;
  std::uint32_t headerBytes;
  std::uint64_t messageAreaBytes;
  std::uint64_t ringCapacity;
  std::uint32_t slotBytes;
  std::uint32_t processId;
  std::uint64_t messageBytesUsed;
  std::uint64_t lap;              ///< how often the ring has been filled
  std::uint64_t clockGeneration;  ///< its lowest bit says which of latestClocks is valid
  ClockPair firstClock;
  std::array<ClockPair, 2> latestClocks;
};
static_assert(sizeof(Header) == 136 && sizeof(Header) <= headerBytes);

/// What a message entry begins with; the bytes of its source path and of its text follow.
struct EntryHeader {
  std::int32_t id;
  std::uint32_t line;
  std::uint32_t pathBytes;
  std::uint32_t textBytes;
};
static_assert(sizeof(EntryHeader) == 16);

/// One record. A slot that was never written is zero all over; one being written has a lap, but
/// the id 0.
struct Slot {
  std::uint64_t start;     ///< ticks
  std::uint64_t duration;  ///< ticks
  std::uint64_t tag;       ///< lapTag() above, id below
};
static_assert(sizeof(Slot) == 24);

/// Number of bits that the id takes in the tag of a slot.
inline constexpr unsigned idBits = 32;

/// The upper half of a tag in this lap, never zero: laps are told apart modulo 2^32 - 1.
constexpr std::uint64_t lapTag(std::uint64_t lap) noexcept {
  return (lap % std::numeric_limits<std::uint32_t>::max() + 1) << idBits;
}

/// Bytes of an entry, with what aligns the next one.
constexpr std::uint64_t entryBytes(std::uint64_t pathBytes, std::uint64_t textBytes) noexcept {
  std::uint64_t const bytes = sizeof(EntryHeader) + pathBytes + textBytes;
  return (bytes + entryAlignment - 1) / entryAlignment * entryAlignment;
}

/// Bytes of a file with these sizes; nothing when no file can be that large.
constexpr std::optional<std::uint64_t> fileBytes(std::uint64_t messageAreaBytes,
                                                 std::uint64_t ringCapacity) noexcept {
  std::uint64_t const most = std::numeric_limits<std::int64_t>::max();
  if (messageAreaBytes > most - headerBytes) {
    return std::nullopt;
  }
  std::uint64_t const beforeRing = headerBytes + messageAreaBytes;
  if (ringCapacity > (most - beforeRing) / sizeof(Slot)) {
    return std::nullopt;
  }
  return beforeRing + ringCapacity * sizeof(Slot);
}

/// Stores a word after every store that stands before the call and before every one that stands
/// behind it. A process dies between two of its instructions, so their order is all that counts:
/// on x86-64 this is one move.
template <class Word>
inline void storeInOrder(Word& word, Word value) noexcept {
  static_assert(std::atomic_ref<Word>::is_always_lock_free);
  std::atomic_ref<Word>(word).store(value, std::memory_order_release);
  std::atomic_signal_fence(std::memory_order_seq_cst);
}

}  // namespace Flashlog::Layout
