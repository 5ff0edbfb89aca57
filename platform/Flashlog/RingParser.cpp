#include "Flashlog/RingParser.h"

#include <cstring>
#include <limits>
#include <unordered_map>

#include "Flashlog/Layout.h"

namespace Flashlog {

namespace {

using Bytes = std::span<std::byte const>;

// Parses the slots of a ring into records. All slots up to some point are of the newest lap, all
// behind it are of the lap before, or were never written if there was none.
class RingParser {
 public:
  RingParser(std::string const& name, Bytes slots, Trace& trace)
      : name_(name), slots_(slots), capacity_(slots.size() / sizeof(Layout::Slot)), trace_(trace) {
    for (std::size_t i = 0; i < trace.messages.size(); ++i) {
      if (!messageById_.emplace(trace.messages[i].id, i).second) {
        damaged(name, "two messages have the id " + std::to_string(trace.messages[i].id));
      }
    }
  }

  void parse(std::uint64_t headerLap) {
    if (isBlank(slot(0))) {
      if (headerLap != 0) {
        damaged(name_, "no record, but " + std::to_string(headerLap) + " laps of the ring");
      }
      expectBlank(0);
      return;
    }
    std::uint64_t const lap = newestLap(headerLap);
    std::size_t head = 0;
    while (head < capacity_ && tagHasLap(slot(head), lap)) {
      ++head;
    }
    if (lap == 0) {
      expectBlank(head);
    } else {
      for (std::size_t i = head; i < capacity_; ++i) {
        addOld(i, lap - 1);
      }
    }
    // Of the newest record there may be no more than the tag that announced it.
    trace_.torn = idOf(slot(head - 1)) == 0 ? 1 : 0;
    for (std::size_t i = 0; i < head - trace_.torn; ++i) {
      add(i, lap);
    }
    std::uint64_t const begun = lap * capacity_ + head;
    trace_.lost = begun - trace_.records.size() - trace_.torn;
  }

 private:
  [[nodiscard]] Layout::Slot slot(std::size_t index) const noexcept {
    Layout::Slot slot{};
    std::memcpy(&slot, slots_.data() + index * sizeof slot, sizeof slot);
    return slot;
  }

  static bool isBlank(Layout::Slot const& slot) noexcept {
    return slot.start == 0 && slot.duration == 0 && slot.tag == 0;
  }

  static bool tagHasLap(Layout::Slot const& slot, std::uint64_t lap) noexcept {
    return slot.tag >> Layout::idBits == Layout::lapTag(lap) >> Layout::idBits;
  }

  static std::uint32_t idOf(Layout::Slot const& slot) noexcept {
    return static_cast<std::uint32_t>(slot.tag);
  }

  [[noreturn]] void damagedRecord(std::size_t index, std::string const& what) const {
    damaged(name_, "record " + std::to_string(index + 1) + " of the ring " + what);
  }

  // The header is one lap ahead when the writer stopped at the end of the ring, and one behind
  // when the writer went on while the file was being read.
  [[nodiscard]] std::uint64_t newestLap(std::uint64_t headerLap) const {
    std::uint64_t const most = std::numeric_limits<std::uint64_t>::max() / capacity_ - 2;
    if (headerLap > most) {
      damaged(name_, std::to_string(headerLap) + " laps of the ring");
    }
    for (std::uint64_t const lap : {headerLap, headerLap - 1, headerLap + 1}) {
      if (lap <= most + 1 && tagHasLap(slot(0), lap)) {
        return lap;
      }
    }
    damagedRecord(0, "has a sequence that is not its own");
  }

  void expectBlank(std::size_t from) const {
    for (std::size_t i = from; i < capacity_; ++i) {
      if (!isBlank(slot(i))) {
        damagedRecord(i, "has a sequence that is not its own");
      }
    }
  }

  void addOld(std::size_t index, std::uint64_t lap) {
    if (!tagHasLap(slot(index), lap)) {
      damagedRecord(index, "has a sequence that is not its own");
    }
    add(index, lap);
  }

  void add(std::size_t index, std::uint64_t lap) {
    Layout::Slot const record = slot(index);
    auto const message = messageById_.find(idOf(record));
    if (message == messageById_.end()) {
      damagedRecord(index, "has the unknown message id " + std::to_string(idOf(record)));
    }
    trace_.records.push_back({lap * capacity_ + index, record.start,
                              trace_.calibration.time(record.start),
                              trace_.calibration.duration(record.duration), message->second});
  }

  std::string const& name_;
  Bytes slots_;
  std::size_t capacity_;
  Trace& trace_;
  std::unordered_map<std::uint32_t, std::size_t> messageById_;
};

}  // namespace

void damaged(std::string const& name, std::string const& what) {
  throw ReadError(name + ": is damaged: " + what);
}

void parseRing(std::string const& name, std::span<std::byte const> slots, std::uint64_t headerLap,
               Trace& trace) {
  RingParser(name, slots, trace).parse(headerLap);
}

}  // namespace Flashlog
