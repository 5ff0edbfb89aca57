// Run compression: the bitmap's words against a plain pass over the words and a look-up an id.
#include <array>
#include <bit>
#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Stp/vlans/VlanList.h"
#include "bench/World.h"

namespace Bench {

namespace {

enum Shape : std::int64_t { noVlan, tenRuns, everyOther, allVlans };

Stp::VlanSet makeSet(std::int64_t shape) {
  Stp::VlanSet set;
  for (std::uint16_t vlan = 1; vlan <= 4094; ++vlan) {
    bool const in = shape == allVlans || (shape == tenRuns && vlan % 400 < 37) ||
                    (shape == everyOther && vlan % 2 == 0);
    if (in) {
      set.insert(vlan);
    }
  }
  return set;
}

void name(benchmark::State& state) {
  static constexpr std::array<char const*, 4> names{"none", "ten runs", "every other", "all"};
  state.SetLabel(names.at(static_cast<std::size_t>(state.range(0))));
}

// Pairs of first and last id into an array that is large enough: no list, no checks.
void floorCompression(benchmark::State& state) {
  Stp::VlanSet const set = makeSet(state.range(0));
  std::vector<std::pair<std::uint16_t, std::uint16_t>> runs(2048);
  for ([[maybe_unused]] auto const& iteration : state) {
    std::size_t count = 0;
    std::uint64_t carry = 0;
    std::uint16_t start = 0;
    bool open = false;
    for (unsigned at = 0; at < set.words().size(); ++at) {
      std::uint64_t const word = set.words()[at];
      std::uint64_t edges = word ^ (word << 1 | carry);
      carry = word >> 63;
      while (edges != 0) {
        auto const edge = static_cast<std::uint16_t>(at * 64 + std::countr_zero(edges));
        edges &= edges - 1;
        if (open) {
          runs[count++] = {start, static_cast<std::uint16_t>(edge - 1)};
        }
        start = edge;
        open = !open;
      }
    }
    benchmark::DoNotOptimize(runs.data());
    benchmark::DoNotOptimize(count);
    benchmark::ClobberMemory();
  }
  name(state);
}

void wordCompression(benchmark::State& state) {
  Stp::VlanSet const set = makeSet(state.range(0));
  Stp::OCGlobalConfigContainer container;
  for ([[maybe_unused]] auto const& iteration : state) {
    Stp::compressDisabledVlans(container, set);
    benchmark::DoNotOptimize(container);
  }
  name(state);
}

// What a first draft does: one look-up for each VLAN.
void lookUpCompression(benchmark::State& state) {
  Stp::VlanSet const set = makeSet(state.range(0));
  std::unordered_map<std::uint16_t, bool> table;
  for (std::uint16_t vlan = 1; vlan <= 4094; ++vlan) {
    if (set.contains(vlan)) {
      table.emplace(vlan, true);
    }
  }
  Stp::OCGlobalConfigContainer container;
  for ([[maybe_unused]] auto const& iteration : state) {
    container.disabledVlanPopAll();
    std::uint16_t start = 0;
    for (std::uint16_t vlan = 1; vlan <= 4095; ++vlan) {
      auto const found = table.find(vlan);
      if (found != table.end() && found->second) {
        start = start == 0 ? vlan : start;
      } else if (start != 0) {
        auto const last = static_cast<std::uint16_t>(vlan - 1);
        Stp::addDisabledVlanIdOrRange(container, std::exchange(start, std::uint16_t{0}), last);
      }
    }
    benchmark::DoNotOptimize(container);
  }
  name(state);
}

}  // namespace

BENCHMARK(floorCompression)->Name("compress/floor")->DenseRange(noVlan, allVlans);
BENCHMARK(wordCompression)->Name("compress/words")->DenseRange(noVlan, allVlans);
BENCHMARK(lookUpCompression)->Name("compress/hashLookups")->DenseRange(noVlan, allVlans);

}  // namespace Bench
