// The keyed collection by interface id: looking a record up and storing it, and walking all. It
// keeps insertion order and iterators that survive removal, which its peers do not.
#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

#include "Lanx/IntfId.h"
#include "StpTypes/OpenConfigState.h"
#include "Vel/HashMap2018.h"
#include "bench/World.h"

#ifdef PEER_FLAT_MAP
#include <boost/unordered/unordered_flat_map.hpp>
#endif

namespace Bench {

namespace {

constexpr unsigned members = 1024;

std::vector<Lanx::IntfId> interfaceIds() {
  std::vector<Lanx::IntfId> ids;
  for (unsigned port = 0; port < members; ++port) {
    ids.push_back(Lanx::IntfId::of(portName(port)));
  }
  return ids;
}

// The least: an array by id.
void floorStore(benchmark::State& state) {
  auto const ids = interfaceIds();
  std::vector<Stp::InterfaceState> records(ids.back().value() + 1);
  for ([[maybe_unused]] auto const& iteration : state) {
    for (Lanx::IntfId const id : ids) {
      Stp::InterfaceState record = records[id.value()];
      record.name = id;
      records[id.value()] = record;
      benchmark::ClobberMemory();
    }
  }
  state.counters["items"] = members;
}

void collectionStore(benchmark::State& state) {
  auto const ids = interfaceIds();
  Vel::HashMap2018Generic<Lanx::IntfId, std::optional<Stp::InterfaceState>> records;
  for (Lanx::IntfId const id : ids) {
    records.newMemberG(id, Stp::InterfaceState{id});
  }
  for ([[maybe_unused]] auto const& iteration : state) {
    for (Lanx::IntfId const id : ids) {
      Stp::InterfaceState record = **records.find(id);
      record.name = id;
      *records.find(id) = record;
      benchmark::ClobberMemory();
    }
  }
  state.counters["items"] = members;
}

template <class Map>
void mapStore(benchmark::State& state) {
  auto const ids = interfaceIds();
  Map records;
  for (Lanx::IntfId const id : ids) {
    records[id.value()] = Stp::InterfaceState{id};
  }
  for ([[maybe_unused]] auto const& iteration : state) {
    for (Lanx::IntfId const id : ids) {
      Stp::InterfaceState record = records.find(id.value())->second;
      record.name = id;
      records.find(id.value())->second = record;
      benchmark::ClobberMemory();
    }
  }
  state.counters["items"] = members;
}

}  // namespace

BENCHMARK(floorStore)->Name("store/floor");
BENCHMARK(collectionStore)->Name("store/collection");
BENCHMARK_TEMPLATE(mapStore, std::unordered_map<std::uint32_t, Stp::InterfaceState>)
    ->Name("store/std::unordered_map");
#ifdef PEER_FLAT_MAP
BENCHMARK_TEMPLATE(mapStore, boost::unordered_flat_map<std::uint32_t, Stp::InterfaceState>)
    ->Name("store/boost::unordered_flat_map");
#endif

}  // namespace Bench
