// The MSTP mirrors: a rebuild of the state against an array pass over the byte map, and the change
// of a priority.
#include <array>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Stp/MstpConfigMirrors.h"
#include "Stp/MstpStateMirrors.h"
#include "Stp/vlans/InstanceName.h"
#include "Stp/vlans/VidToMsti.h"
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

// The least for a result that is grouped by instance: the entries in an array, the runs in it, the
// runs of each instance side by side. Tables are kept from one call to the next.
class ArrayPass {
 public:
  struct Run {
    std::uint16_t first;
    std::uint16_t last;
  };
  struct Group {
    std::uint16_t instance;
    std::uint32_t begin;
  };
  struct Result {
    std::vector<Run> runs;
    std::vector<Group> groups;
  };

  Result operator()(Lumo::Bytes const& map) {
    instanceOf_.fill(0);
    std::uint8_t const* const bytes = map.data();
    for (std::size_t at = 0; at + 4 <= map.size(); at += 4) {
      instanceOf_[(bytes[at] << 8 | bytes[at + 1]) & 4095] =
          static_cast<std::uint16_t>((bytes[at + 2] << 8 | bytes[at + 3]) & 4095);
    }
    std::size_t found = 0;
    for (std::uint16_t vlan = 1, start = 1; vlan <= 4094; ++vlan) {
      if (vlan == 4094 || instanceOf_[vlan + 1U] != instanceOf_[vlan]) {
        runs_[found++] = {start, vlan};
        start = static_cast<std::uint16_t>(vlan + 1);
      }
    }
    Result result;
    for (std::size_t at = 0; at < found; ++at) {
      std::uint16_t const instance = instanceOf_[runs_[at].first];
      if (count_[instance]++ == 0) {
        result.groups.push_back({instance, 0});
      }
    }
    std::uint32_t begin = 0;
    for (Group& group : result.groups) {
      group.begin = begin;
      begin += std::exchange(count_[group.instance], begin);
    }
    result.runs.resize(found);
    for (std::size_t at = 0; at < found; ++at) {
      result.runs[count_[instanceOf_[runs_[at].first]]++] = runs_[at];
    }
    for (Group const& group : result.groups) {
      count_[group.instance] = 0;
    }
    return result;
  }

 private:
  std::array<std::uint16_t, 4096> instanceOf_{};
  std::array<Run, 4096> runs_{};
  std::array<std::uint32_t, 4096> count_{};
};

void arrayPass(benchmark::State& state) {
  Lumo::Bytes const map = makeMap(state.range(0), unsigned(state.range(1)));
  auto const pass = std::make_unique<ArrayPass>();
  for ([[maybe_unused]] auto const& iteration : state) {
    benchmark::DoNotOptimize((*pass)(map));
  }
}

void decode(benchmark::State& state) {
  Lumo::Bytes const map = makeMap(state.range(0), unsigned(state.range(1)));
  std::uint64_t const before = heapAllocations;
  for ([[maybe_unused]] auto const& iteration : state) {
    benchmark::DoNotOptimize(Stp::mstiToVidFromBytes(map));
  }
  state.counters["allocations"] =
      static_cast<double>(heapAllocations - before) / double(state.iterations());
}

// What a first draft does: every VLAN, one look-up in the standard map, a standard vector each.
void hashMapDecode(benchmark::State& state) {
  Lumo::Bytes const map = makeMap(state.range(0), unsigned(state.range(1)));
  for ([[maybe_unused]] auto const& iteration : state) {
    std::unordered_map<std::uint16_t, std::vector<ArrayPass::Run>> lists;
    std::uint8_t const* const bytes = map.data();
    std::size_t at = 0;
    for (std::uint16_t vlan = 1; vlan <= 4094; ++vlan) {
      unsigned instance = 0;
      if (at < map.size() && (bytes[at] << 8 | bytes[at + 1]) == vlan) {
        instance = static_cast<unsigned>(bytes[at + 2] << 8 | bytes[at + 3]);
        at += 4;
      }
      auto& list = lists[static_cast<std::uint16_t>(instance)];
      if (!list.empty() && list.back().last + 1 == vlan) {
        list.back().last = vlan;
      } else {
        list.push_back({vlan, vlan});
      }
    }
    benchmark::DoNotOptimize(lists);
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
    mst->mstiStatus.is(Stp::instanceIdToMstiName(static_cast<std::uint16_t>(id)),
                       Lumo::make<Stp::MstiStatus>());
  }
  status->stpiStatus.is(Stp::mstpInstanceName(), mst);
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
    mst->mstiConfig.is(Stp::instanceIdToMstiName(static_cast<std::uint16_t>(id)), configs.back());
  }
  input->stpiConfig.is(Stp::mstpInstanceName(), mst);
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
      ->Args({interleaved, 2})
      ->Args({interleaved, 4})
      ->Args({interleaved, 16})
      ->Args({interleaved, 64})
      ->Args({scattered, 16});
}

}  // namespace

BENCHMARK(arrayPass)->Name("mstp/floor")->Apply(&shapes);
BENCHMARK(decode)->Name("mstp/decode")->Apply(&shapes);
BENCHMARK(hashMapDecode)->Name("mstp/unorderedMap")->Apply(&shapes);
BENCHMARK(update)->Name("mstp/update")->Apply(&shapes);
BENCHMARK(priorityChange)->Name("change/priority")->Arg(1)->Arg(16)->Arg(64);

}  // namespace Bench
