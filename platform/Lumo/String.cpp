#include "Lumo/String.h"

#include <atomic>
#include <cstring>
#include <mutex>
#include <new>
#include <ostream>
#include <unordered_set>
#include <vector>

#include "Lumo/RangeException.h"

namespace Lumo {

/// All texts of the process. It is never destroyed, so that names in static storage stay valid.
class StringTable {
 public:
  static StringTable& instance() {
    static auto& table = *new StringTable;
    return table;
  }

  String::Text* intern(std::string_view text) {
    auto const guard = lock();
    auto const found = texts_.find(text);
    if (found != texts_.end()) {
      countAdd((*found)->references, std::uint32_t{1});
      return *found;
    }
    void* const memory = ::operator new(sizeof(String::Text) + text.size());
    auto* const added = new (memory)
        String::Text{std::hash<std::string_view>{}(text), text.size(), 1, String::noOrdinal};
    std::memcpy(added + 1, text.data(), text.size());
    try {
      texts_.insert(added);
    } catch (...) {
      ::operator delete(memory);
      throw;
    }
    return added;
  }

  // The count reaches zero only under the lock, so that no other thread can find a text that is
  // about to go.
  void release(String::Text* text) noexcept {
    std::atomic_ref<std::uint32_t> references(text->references);
    std::uint32_t count = references.load(std::memory_order_relaxed);
    while (count > 1) {
      if (references.compare_exchange_weak(count, count - 1, std::memory_order_acq_rel)) {
        return;
      }
    }
    auto const guard = lock();
    if (references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
      texts_.erase(text);
      ::operator delete(text);
    }
  }

  std::uint32_t ordinalAssign(String::Text* text) {
    auto const guard = lock();
    if (text->ordinal == String::noOrdinal) {
      numbered_.push_back(text);
      countAdd(text->references, std::uint32_t{1});  // its number holds it for good
      std::atomic_ref(text->ordinal)
          .store(static_cast<std::uint32_t>(numbered_.size() - 1), std::memory_order_relaxed);
    }
    return text->ordinal;
  }

  String ofOrdinal(std::uint32_t ordinal) {
    auto const guard = lock();
    if (ordinal >= numbered_.size()) {
      RangeException::throwException("no name has the number " + std::to_string(ordinal));
    }
    String::Text* const text = numbered_[ordinal];
    countAdd(text->references, std::uint32_t{1});
    String name;
    name.text_ = text;
    return name;
  }

 private:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const noexcept {
      return std::hash<std::string_view>{}(text);
    }
    std::size_t operator()(String::Text const* text) const noexcept { return text->hash; }
  };
  struct Equal {
    using is_transparent = void;
    bool operator()(String::Text const* a, String::Text const* b) const noexcept { return a == b; }
    bool operator()(std::string_view a, String::Text const* b) const noexcept {
      return a == std::string_view(String::characters(b), b->size);
    }
    bool operator()(String::Text const* a, std::string_view b) const noexcept {
      return (*this)(b, a);
    }
  };

  std::unique_lock<std::mutex> lock() {
    return ThreadControl::tsp_ ? std::unique_lock(mutex_) : std::unique_lock<std::mutex>();
  }

  std::mutex mutex_;
  std::unordered_set<String::Text*, Hash, Equal> texts_;
  std::vector<String::Text*> numbered_;
};

String::String(std::string_view text)
    : text_(text.empty() ? nullptr : StringTable::instance().intern(text)) {
}

void String::releaseShared(Text* text) noexcept {
  StringTable::instance().release(text);
}

std::uint32_t String::ordinalAssign(Text* text) {
  if (text == nullptr) {
    RangeException::throwException("the empty name has no number");
  }
  return StringTable::instance().ordinalAssign(text);
}

String String::ofOrdinal(std::uint32_t ordinal) {
  return StringTable::instance().ofOrdinal(ordinal);
}

std::ostream& operator<<(std::ostream& out, String const& name) {
  return out << name.view();
}

}  // namespace Lumo
