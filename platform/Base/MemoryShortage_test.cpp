// What the platform promises when memory is short: nothing changes. The allocation functions of
// this executable can be told to fail, and count what is in use.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "Lumo/Ptr.h"
#include "Lumo/String.h"
#include "Lumo/UnorderedMap.h"
#include "Pebble/TestSupport.h"
#include "Vel/HashMap2018.h"

namespace {

constexpr unsigned unlimited = std::numeric_limits<unsigned>::max();

// Allocations that still succeed on this thread.
thread_local unsigned allocationsLeft = unlimited;

std::atomic<std::int64_t> allocationsInUse = 0;

void* allocate(std::size_t size) noexcept {
  if (allocationsLeft == 0) {
    return nullptr;
  }
  if (allocationsLeft != unlimited) {
    --allocationsLeft;
  }
  void* const memory = std::malloc(size == 0 ? 1 : size);
  allocationsInUse += memory == nullptr ? 0 : 1;
  return memory;
}

void release(void* memory) noexcept {
  allocationsInUse -= memory == nullptr ? 0 : 1;
  std::free(memory);
}

void* allocateOrThrow(std::size_t size) {
  void* const memory = allocate(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

}  // namespace

void* operator new(std::size_t size) {
  return allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
  return allocateOrThrow(size);
}
void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
  return allocate(size);
}
void* operator new[](std::size_t size, std::nothrow_t const&) noexcept {
  return allocate(size);
}
void operator delete(void* memory) noexcept {
  release(memory);
}
void operator delete[](void* memory) noexcept {
  release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  release(memory);
}

namespace {

// Runs `change` with ever more memory until it succeeds; `unchanged` holds after each failure.
// Returns how often it failed.
template <class Change, class Unchanged>
unsigned failUntilItFits(Change change, Unchanged unchanged) {
  for (unsigned allowed = 0;; ++allowed) {
    allocationsLeft = allowed;
    try {
      change();
      allocationsLeft = unlimited;
      return allowed;
    } catch (std::bad_alloc const&) {
      allocationsLeft = unlimited;
      unchanged();
    }
  }
}

TEST(MemoryShortage, LeavesTheTextsAsTheyWere) {
  Lumo::String const first = "the first text, which makes the table";
  for (int count = 0; count < 2000; ++count) {
    std::string const text = "scarce name " + std::to_string(count);
    std::vector<Lumo::String> kept;
    kept.reserve(1);
    std::int64_t const before = allocationsInUse;
    unsigned const failures = failUntilItFits([&] { kept.emplace_back(std::string_view(text)); },
                                              [&] {
                                                ASSERT_TRUE(kept.empty());
                                                ASSERT_EQ(allocationsInUse, before);
                                              });
    EXPECT_GE(failures, 2U) << "a text and its place in the table";
    EXPECT_EQ(kept.front().view(), text);
  }
}

TEST(MemoryShortage, EndsForATextWithItsLastName) {
  Lumo::String const first = "the first text, which makes the table";
  std::string const text = "a text of which nothing stays";
  for (bool const threads : {false, true}) {
    SCOPED_TRACE(threads);
    Lumo::ThreadControl::tsp_ = threads;
    std::int64_t const before = allocationsInUse;
    for (int round = 0; round < 3; ++round) {
      Lumo::String name = text;
      Lumo::String const copy = name;
      EXPECT_GT(allocationsInUse, before);
      name = Lumo::String();
    }
    EXPECT_EQ(allocationsInUse, before);
  }
  Lumo::ThreadControl::tsp_ = false;
}

TEST(MemoryShortage, LeavesTheNumbersOfNamesAsTheyWere) {
  // Names that have no number yet, until the table of numbers has grown.
  static int names = 0;
  std::uint32_t last = Lumo::String("scarce number " + std::to_string(++names)).ordinal();
  unsigned failures = 0;
  for (int count = 0; count < 3000 || (failures == 0 && count < 1'000'000); ++count) {
    Lumo::String const name = "scarce number " + std::to_string(++names);
    failures += failUntilItFits([&] { EXPECT_EQ(name.ordinal(), last + 1); }, [] {});
    EXPECT_EQ(Lumo::String::ofOrdinal(last + 1), name);
    ++last;
  }
  EXPECT_GE(failures, 1U);
}

using Map = Vel::HashMap2018Generic<std::uint16_t, std::optional<int>>;

std::string contentOf(Map const& map) {
  std::string content;
  for (auto const& member : map) {
    content += std::to_string(member.key) + "=" + std::to_string(*member.value) + " ";
  }
  return content;
}

TEST(MemoryShortage, LeavesACollectionAsItWas) {
  Map map;
  unsigned failures = 0;
  for (std::uint16_t id = 0; id < 300; ++id) {
    if (id % 3 == 2) {
      map.deleteMemberG(static_cast<std::uint16_t>(id - 1));
    }
    auto const before = contentOf(map);
    std::size_t const size = map.size();
    auto iterator = map.begin();
    failures += failUntilItFits([&] { map.newMemberG(id, 7); },
                                [&] {
                                  ASSERT_EQ(contentOf(map), before);
                                  ASSERT_EQ(map.size(), size);
                                  ASSERT_EQ(map.find(id), nullptr);
                                });
    EXPECT_EQ(contentOf(map), before + std::to_string(id) + "=7 ");
    EXPECT_TRUE(size == 0 || **map.find(iterator.key()) == 7);
  }
  EXPECT_GE(failures, 2U) << "neither the members nor the index ever grew";
}

TEST(MemoryShortage, NeverHindersRemoval) {
  Map map;
  for (std::uint16_t id = 0; id < 100; ++id) {
    map.newMemberG(id, 7);
  }
  allocationsLeft = 0;
  for (std::uint16_t id = 0; id < 50; ++id) {
    map.deleteMemberG(id);
  }
  map._memberDelAll();
  allocationsLeft = unlimited;
  EXPECT_TRUE(map.empty());
}

// What went leaves no trace, however long others come in its place.
TEST(MemoryShortage, NeverComesFromMembersThatWent) {
  for (std::uint16_t const living : {1, 2, 10}) {
    SCOPED_TRACE(living);
    Map map;
    auto const walk = map.begin();
    auto const renew = [&](int rounds) {
      for (int round = 0; round < rounds; ++round) {
        for (std::uint16_t id = 0; id < living; ++id) {
          map.deleteMemberG(id);
          map.newMemberG(id, 7);
        }
      }
    };
    renew(100);
    allocationsLeft = 0;
    renew(10'000);
    allocationsLeft = unlimited;
    EXPECT_EQ(map.size(), living);
    EXPECT_TRUE(walk.atEnd());
  }
}

TEST(MemoryShortage, LeavesAMapAsItWas) {
  Lumo::UnorderedMap<std::uint16_t, std::uint16_t> map;
  unsigned failures = 0;
  for (std::uint16_t key = 0; key < 300; ++key) {
    failures += failUntilItFits([&] { map[key] = key; },
                                [&] {
                                  ASSERT_EQ(map.size(), key);
                                  ASSERT_EQ(map.find(key), nullptr);
                                });
    for (std::uint16_t each = 0; each <= key; ++each) {
      ASSERT_EQ(*map.find(each), each);
    }
  }
  EXPECT_GE(failures, 2U) << "neither the entries nor the index ever grew";
}

TEST(MemoryShortage, LeavesTheSlabsAsTheyWere) {
  std::size_t const size = Pebble::unusedSize();
  std::vector<void*> pieces;
  pieces.reserve(100);
  unsigned failures = 0;
  for (int count = 0; count < 100; ++count) {
    failures += failUntilItFits([&] { pieces.push_back(Pebble::slabAlloc(size)); }, [] {});
  }
  EXPECT_GE(failures, 2U) << "no chunk was taken";
  Pebble::SlabCounters const counters = Pebble::countersOf(size);
  EXPECT_EQ(counters.inUse, 100U);
  EXPECT_EQ(counters.allocated, 100U);
  EXPECT_EQ(counters.chunks, failures);
  for (void* const piece : pieces) {
    Pebble::slabFree(piece, size);
  }
}

}  // namespace
