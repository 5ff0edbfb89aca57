// The interface state tree at scale: everything made and synchronised at once, dropped at once, one
// bridge-wide change, and one instance removed.
#include <malloc.h>

#include <chrono>
#include <cstdint>
#include <vector>

#include "Pebble/Slab.h"
#include "Stp/InterfaceConfigMirrors.h"
#include "Stp/InterfaceStateMirrors.h"
#include "bench/World.h"

namespace Bench {

namespace {

// So many ports in each of so many instances.
struct Sources {
  Lumo::Ptr<Stp::Config> config = Lumo::make<Stp::Config>();
  Lumo::Ptr<Stp::Status> status = Lumo::make<Stp::Status>();
  Lumo::Ptr<Stp::Input::Config> input = Lumo::make<Stp::Input::Config>();

  Sources(unsigned ports, unsigned instances) {
    std::vector<Lumo::String> names;
    for (unsigned port = 0; port < ports; ++port) {
      names.push_back(portName(port));
      auto const portConfig = Lumo::make<Stp::PortConfig>();
      portConfig->adminEdgePortIs(true);
      config->portConfig.is(names.back(), portConfig);
    }
    for (unsigned id = 0; id < instances; ++id) {
      auto const instance = Lumo::make<Stp::StpiStatus>();
      for (auto const& name : names) {
        instance->stpiPortStatus.is(name, Lumo::make<Stp::StpiPortStatus>());
      }
      status->stpiStatus.is(Lumo::String("instance" + std::to_string(id)), instance);
    }
  }
};

// Bytes that reactors, their keys' counts, slots and indices take: the slabs' pieces and the heap.
std::size_t bytesInUse() {
  auto const heap = mallinfo2();
  std::size_t bytes = heap.uordblks + heap.hblkhd;
  for (auto const& counters : Pebble::slabCounters()) {
    bytes += counters.inUse * counters.pieceSize;
    bytes -= counters.chunkBytes;
  }
  return bytes;
}

// An item is one leaf. Creation with synchronisation is the time that counts; dropping is told
// beside it.
void synchronise(benchmark::State& state) {
  auto const ports = unsigned(state.range(0));
  auto const instances = unsigned(state.range(1));
  Sources const sources(ports, instances);
  auto const directory = Lumo::make<Stp::OCInterfaceStateDir>();
  {
    auto const warmUp =
        Stp::oCInterfaceStateDirSmFactory(sources.config, sources.status, directory);
  }
  double const leaves = double(ports) * instances;
  double dropping = 0;
  double bytes = 0;
  using Clock = std::chrono::steady_clock;
  for ([[maybe_unused]] auto const& iteration : state) {
    std::size_t const before = bytesInUse();
    auto const start = Clock::now();
    auto mirror = Stp::oCInterfaceStateDirSmFactory(sources.config, sources.status, directory);
    auto const synchronised = Clock::now();
    bytes = double(bytesInUse() - before) / leaves;
    auto const dropStart = Clock::now();
    mirror = nullptr;
    dropping += std::chrono::duration<double, std::nano>(Clock::now() - dropStart).count();
    state.SetIterationTime(std::chrono::duration<double>(synchronised - start).count());
  }
  state.counters["items"] = leaves;
  state.counters["bytes"] = bytes;
  state.counters["dropNs"] = dropping / (double(state.iterations()) * leaves);
}

// One bridge-wide change over so many port mirrors; an item is one mirror.
void bridgeGuard(benchmark::State& state) {
  Sources const sources(unsigned(state.range(0)), 1);
  auto const directory = Lumo::make<Stp::OCInterfaceStateDir>();
  auto const mirror = Stp::oCInterfaceStateDirSmFactory(sources.config, sources.status, directory);
  bool guard = false;
  for ([[maybe_unused]] auto const& iteration : state) {
    guard = !guard;
    sources.config->portfastBpduguardIs(guard);
  }
  state.counters["items"] = double(state.range(0));
}

// The clean-up when one of 64 instances with so many external ports goes; an item is one name that
// it looks at.
void instanceRemoval(benchmark::State& state) {
  auto const ports = unsigned(state.range(0));
  constexpr unsigned instances = 64;
  Sources const sources(ports, instances);
  auto const directory = Lumo::make<Stp::OCInterfaceConfigDir>();
  auto const mirror = Stp::oCInterfaceConfigDirSmFactory(sources.input, sources.status, directory);
  for (unsigned port = 0; port < ports; ++port) {
    directory->interfaceIs(Lanx::IntfId::of(portName(port)));
  }
  for ([[maybe_unused]] auto const& iteration : state) {
    mirror->maybeCleanUpExternalIntfConfigs();
  }
  state.counters["items"] = double(ports) * instances;
}

}  // namespace

BENCHMARK(synchronise)
    ->Name("synchronise/tree")
    ->ArgsProduct({{16, 128, 1024, 4096, 16384}, {64}})
    ->UseManualTime();
BENCHMARK(bridgeGuard)
    ->Name("bridgeGuard/mirror")
    ->Arg(16)
    ->Arg(128)
    ->Arg(1024)
    ->Arg(4096)
    ->Arg(16384);
BENCHMARK(instanceRemoval)->Name("instanceRemoval/name")->Arg(1024)->Arg(16384);

}  // namespace Bench
