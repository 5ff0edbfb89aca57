// Notification alone: one publisher, some subscribers that count. Peers are what others use for it;
// they are measured where their Debian package is installed.
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "Lumo/Publisher.h"
#include "bench/World.h"

#ifdef PEER_SIGNALS2
#include <boost/signals2.hpp>
#endif
#ifdef PEER_SIGCPP
#include <sigc++/sigc++.h>
#endif

namespace Bench {

namespace {

constexpr unsigned publications = 64;

void countArgument(benchmark::State& state, std::uint64_t seen) {
  state.counters["items"] = publications;
  if (seen != std::uint64_t(state.iterations()) * publications * std::uint64_t(state.range(0))) {
    state.SkipWithError("a subscriber missed a change");
  }
}

// A list of routines and owners, called one after the other: nobody may come or go meanwhile.
void floorNotification(benchmark::State& state) {
  struct Slot {
    void (*routine)(void* owner, Lumo::FieldId field, void const* key);
    void* owner;
  };
  std::uint64_t seen = 0;
  std::vector<Slot> slots(static_cast<std::size_t>(state.range(0)),
                          {[](void* owner, Lumo::FieldId /*field*/, void const* /*key*/) {
                             ++*static_cast<std::uint64_t*>(owner);
                           },
                           &seen});
  for ([[maybe_unused]] auto const& iteration : state) {
    for (unsigned at = 0; at < publications; ++at) {
      for (Slot const& slot : slots) {
        slot.routine(slot.owner, 130, nullptr);
      }
      benchmark::ClobberMemory();
    }
  }
  countArgument(state, seen);
}

void publisher(benchmark::State& state) {
  std::uint64_t seen = 0;
  Lumo::Publisher publisher;
  std::vector<std::unique_ptr<Lumo::Subscriber>> slots;
  for (std::int64_t at = 0; at < state.range(0); ++at) {
    slots.push_back(std::make_unique<Lumo::Subscriber>());
    slots.back()->routineIs([](Lumo::Publisher*, Lumo::Subscriber* slot, Lumo::FieldId, void const*,
                               void const*) { ++*static_cast<std::uint64_t*>(slot->owner()); },
                            &seen);
    publisher.subscriberAdd(*slots.back(), false);
  }
  for ([[maybe_unused]] auto const& iteration : state) {
    for (unsigned at = 0; at < publications; ++at) {
      publisher.publishChangeRecursive(130, nullptr, nullptr);
      benchmark::ClobberMemory();
    }
  }
  countArgument(state, seen);
  for (auto const& slot : slots) {
    slot->unsubscribeFrom(publisher);
  }
}

#ifdef PEER_SIGNALS2
void signals2(benchmark::State& state) {
  std::uint64_t seen = 0;
  boost::signals2::signal<void(Lumo::FieldId, void const*)> signal;
  for (std::int64_t at = 0; at < state.range(0); ++at) {
    signal.connect([&seen](Lumo::FieldId /*field*/, void const* /*key*/) { ++seen; });
  }
  for ([[maybe_unused]] auto const& iteration : state) {
    for (unsigned at = 0; at < publications; ++at) {
      signal(130, nullptr);
      benchmark::ClobberMemory();
    }
  }
  countArgument(state, seen);
}
#endif

#ifdef PEER_SIGCPP
void sigcpp(benchmark::State& state) {
  std::uint64_t seen = 0;
  sigc::signal<void(Lumo::FieldId, void const*)> signal;
  for (std::int64_t at = 0; at < state.range(0); ++at) {
    signal.connect([&seen](Lumo::FieldId /*field*/, void const* /*key*/) { ++seen; });
  }
  for ([[maybe_unused]] auto const& iteration : state) {
    for (unsigned at = 0; at < publications; ++at) {
      signal.emit(130, nullptr);
      benchmark::ClobberMemory();
    }
  }
  countArgument(state, seen);
}
#endif

void subscribers(benchmark::internal::Benchmark* benchmark) {
  benchmark->RangeMultiplier(2)->Range(1, 64);
}

}  // namespace

BENCHMARK(floorNotification)->Name("notify/floor")->Apply(&subscribers);
BENCHMARK(publisher)->Name("notify/publisher")->Apply(&subscribers);
#ifdef PEER_SIGCPP
BENCHMARK(sigcpp)->Name("notify/libsigc++")->Apply(&subscribers);
#endif
#ifdef PEER_SIGNALS2
BENCHMARK(signals2)->Name("notify/Boost.Signals2")->Apply(&subscribers);
#endif

}  // namespace Bench
