// The MSTP mirrors: a rebuild of the state against an array pass over the byte map, and the change
// of a priority.
#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "Stp/InstanceName.h"
#include "Stp/MstpConfigMirrors.h"
#include "Stp/MstpStateMirrors.h"
#include "Stp/VidToMsti.h"
#include "bench/World.h"

namespace Bench {

namespace {

enum Shape : std::int64_t { empty, blocks, interleaved, scattered };

Lumo::Bytes makeMap(std::int64_t shape, unsigned instances) {
  Lumo::Bytes map;
  for (unsigned vlan = 1; vlan <= 4094 && shape != empty; ++vlan) {
    unsigned const instance = shape == blocks        ? (vlan - 1) * instances / 4094
                              : shape == interleaved ? vlan % instances
                              : vlan % 251 < 16      ? vlan / 251 % instances
                                                     : 0;
    if (instance != 0) {
      for (unsigned const byte : {vlan >> 8, vlan & 0xFF, instance >> 8, instance & 0xFF}) {
        map.push(static_cast<std::uint8_t>(byte));
      }
    }
  }
  return map;
}

// Expands the entries into an array, counts the runs of each instance, and places them side by
// side: the least for a result that is grouped by instance.
struct FlatRuns {
  struct Run {
    std::uint16_t first;
    std::uint16_t last;
  };
  std::vector<Run> runs;
  std::vector<std::uint32_t> begin;  // by instance, 4096 of them
};

FlatRuns floorDecode(Lumo::Bytes const& map) {
  std::array<std::uint16_t, 4096> instanceOf{};
  std::uint8_t const* const bytes = map.data();
  for (std::size_t at = 0; at + 4 <= map.size(); at += 4) {
    instanceOf[(bytes[at] << 8 | bytes[at + 1]) & 4095] =
        static_cast<std::uint16_t>((bytes[at + 2] << 8 | bytes[at + 3]) & 4095);
  }
  FlatRuns result;
  result.begin.assign(4097, 0);
  for (unsigned vlan = 1; vlan <= 4094; ++vlan) {
    result.begin[instanceOf[vlan] + 1U] +=
        vlan == 1 || instanceOf[vlan] != instanceOf[vlan - 1] ? 1 : 0;
  }
  for (unsigned instance = 1; instance < result.begin.size(); ++instance) {
    result.begin[instance] += result.begin[instance - 1];
  }
  result.runs.resize(result.begin.back());
  std::vector<std::uint32_t> next = result.begin;
  for (unsigned vlan = 1; vlan <= 4094; ++vlan) {
    bool const starts = vlan == 1 || instanceOf[vlan] != instanceOf[vlan - 1];
    if (starts) {
      result.runs[next[instanceOf[vlan]]++].first = static_cast<std::uint16_t>(vlan);
    }
    result.runs[next[instanceOf[vlan]] - 1].last = static_cast<std::uint16_t>(vlan);
  }
  return result;
}

void floorDecoding(benchmark::State& state) {
  Lumo::Bytes const map = makeMap(state.range(0), unsigned(state.range(1)));
  for ([[maybe_unused]] auto const& iteration : state) {
    benchmark::DoNotOptimize(floorDecode(map));
  }
}

// One rebuild of the whole state; an item is one update. The map and the instances stay the same.
void update(benchmark::State& state) {
  auto const instances = unsigned(state.range(1));
  auto const config = Lumo::make<Stp::Config>();
  Stp::MstConfig mstConfig;
  mstConfig.vidToMsti = makeMap(state.range(0), instances);
  config->mstConfigIs(mstConfig);
  auto const status = Lumo::make<Stp::Status>();
  status->activeProtocolIs(Stp::Mode::mstp);
  auto const mst = Lumo::make<Stp::StpiStatus>();
  for (unsigned id = 0; id < instances; ++id) {
    mst->mstiStatusIs(Stp::instanceIdToMstiName(static_cast<std::uint16_t>(id)),
                      Lumo::make<Stp::MstiStatus>());
  }
  status->stpiStatusIs(Stp::mstpInstanceName(), mst);
  auto const directory = Lumo::make<Stp::OCMstiStateDir>();
  auto const mirror = Stp::oCMstpMainStateSmFactory(config, status, directory);
  std::uint64_t const before = heapAllocations;
  for ([[maybe_unused]] auto const& iteration : state) {
    mirror->update();
  }
  state.counters["allocations"] =
      static_cast<double>(heapAllocations - before) / double(state.iterations());
}

// A leaf's bridge priority, among so many instances.
void priorityChange(benchmark::State& state) {
  auto const instances = unsigned(state.range(0));
  auto const input = Lumo::make<Stp::Input::Config>();
  auto const mst = Lumo::make<Stp::Input::StpiConfig>();
  std::vector<Lumo::Ptr<Stp::Input::MstiConfig>> configs;
  for (unsigned id = 0; id < instances; ++id) {
    configs.push_back(Lumo::make<Stp::Input::MstiConfig>());
    configs.back()->mstiIdIs(static_cast<std::uint16_t>(id));
    mst->mstiConfigIs(Stp::instanceIdToMstiName(static_cast<std::uint16_t>(id)), configs.back());
  }
  input->stpiConfigIs(Stp::mstpInstanceName(), mst);
  auto const directory = Lumo::make<Stp::OCMstiConfigDir>();
  auto const mirror = Stp::oCMstpConfigWrapperSmFactory(input, directory);
  std::uint16_t priority = 4096;
  for ([[maybe_unused]] auto const& iteration : state) {
    for (auto const& config : configs) {
      config->bridgePriorityIs(priority);
    }
    priority ^= 0x3000U;
  }
  state.counters["items"] = instances;
}

void shapes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Args({empty, 1})
      ->Args({blocks, 16})
      ->Args({blocks, 64})
      ->Args({interleaved, 16})
      ->Args({interleaved, 64})
      ->Args({scattered, 16});
}

}  // namespace

BENCHMARK(floorDecoding)->Name("mstp/floor")->Apply(&shapes);
BENCHMARK(update)->Name("mstp/update")->Apply(&shapes);
BENCHMARK(priorityChange)->Name("change/priority")->Arg(1)->Arg(16)->Arg(64);

}  // namespace Bench
