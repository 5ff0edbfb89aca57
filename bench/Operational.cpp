// What an engine computed: the path of one change, beside that of a port's BPDU guard (both write
// one member of a record in a directory), and all trees, made and synchronised at once.
#include <chrono>
#include <string>
#include <vector>

#include "Stp/InterfaceStateMirrors.h"
#include "Stp/vlans/InstanceName.h"
#include "StpOper/TreeMirrors.h"
#include "bench/World.h"

namespace Bench {

namespace {

constexpr unsigned ports = 64;

// Runs `round(value)`, which changes every port once, with values that always differ.
template <class Round>
void changes(benchmark::State& state, Reader const& reader, Round round) {
  round(false);
  std::uint64_t const seenBefore = reader.seen();
  std::uint64_t const allocationsBefore = heapAllocations;
  bool value = true;
  for ([[maybe_unused]] auto const& iteration : state) {
    round(value);
    value = !value;
    benchmark::ClobberMemory();
  }
  if (reader.seen() - seenBefore != std::uint64_t(state.iterations()) * ports) {
    state.SkipWithError("a reader missed a change");
  }
  state.counters["items"] = ports;
  state.counters["allocations"] =
      static_cast<double>(heapAllocations - allocationsBefore) / double(state.iterations());
}

void bpduGuardChange(benchmark::State& state) {
  using Guard = Stp::PortConfigBase::BpduguardEnabledState;
  auto const config = Lumo::make<Stp::Config>();
  auto const directory = Lumo::make<Stp::OCInterfaceStateDir>();
  std::vector<Lumo::Ptr<Stp::PortConfig>> sources;
  std::vector<Lumo::Ptr<Stp::OCStpiPortStatusSm>> mirrors;
  for (unsigned port = 0; port < ports; ++port) {
    sources.push_back(Lumo::make<Stp::PortConfig>());
    mirrors.push_back(Stp::oCStpiPortStatusSmFactory(portName(port), config, sources.back(),
                                                     Lumo::make<Stp::StpiPortStatus>(), directory));
  }
  Reader const reader(*directory);
  changes(state, reader, [&](bool guarded) {
    for (auto const& source : sources) {
      source->bpduguardIs(guarded ? Guard::bpduguardEnabled : Guard::bpduguardDisabled);
    }
  });
}

// So many ports in each of so many trees.
struct Trees {
  explicit Trees(unsigned trees, unsigned portsOfEach) {
    using Bridge = Stp::Operational::Bridge;
    input->modeIs(Stp::Mode::mstp);
    bridge->valueIs<Bridge::Id::running, &Stp::Operational::BridgeTold::running>(true);
    for (unsigned id = 0; id < trees; ++id) {
      auto const tree = Lumo::make<Stp::Operational::Tree>();
      for (unsigned port = 0; port < portsOfEach; ++port) {
        sources.push_back(Lumo::make<Stp::Operational::TreePort>());
        tree->port.is(portName(port), sources.back());
      }
      bridge->tree.is(Stp::instanceIdToMstiName(static_cast<std::uint16_t>(id)), tree);
    }
  }

  Lumo::Ptr<Stp::Oper::OCTreeDirSm> mirror() const {
    return Stp::Oper::oCTreeDirSmFactory(input, bridge, Lumo::make<Stp::OCTreeConfigDir>(),
                                         Lumo::make<Stp::OCTreeStateDir>(),
                                         Lumo::make<Stp::OCTreePortConfigDir>(), states, counters);
  }

  Lumo::Ptr<Stp::Input::Config> input = Lumo::make<Stp::Input::Config>();
  Lumo::Ptr<Stp::Operational::Bridge> bridge = Lumo::make<Stp::Operational::Bridge>();
  Lumo::Ptr<Stp::OCTreePortStateDir> states = Lumo::make<Stp::OCTreePortStateDir>();
  Lumo::Ptr<Stp::OCTreePortCountersDir> counters = Lumo::make<Stp::OCTreePortCountersDir>();
  std::vector<Lumo::Ptr<Stp::Operational::TreePort>> sources;
};

using Stp::Operational::PortRole;
using Stp::Operational::TreePort;
using Stp::Operational::TreePortTold;

void roleChange(benchmark::State& state) {
  Trees const world(1, ports);
  auto const mirror = world.mirror();
  Reader const reader(*world.states);
  changes(state, reader, [&](bool isRoot) {
    for (auto const& source : world.sources) {
      source->valueIs<TreePort::Id::role, &TreePortTold::role>(isRoot ? PortRole::root
                                                                      : PortRole::alternate);
    }
  });
}

void counterChange(benchmark::State& state) {
  Trees const world(1, ports);
  auto const mirror = world.mirror();
  Reader const reader(*world.counters);
  changes(state, reader, [&](bool isMore) {
    for (auto const& source : world.sources) {
      source->valueIs<TreePort::Id::bpduSent, &TreePortTold::bpduSent>(isMore ? 2U : 1U);
    }
  });
}

// An item is a port of a tree.
void synchroniseTrees(benchmark::State& state) {
  auto const portsOfEach = unsigned(state.range(0));
  auto const trees = unsigned(state.range(1));
  Trees const world(trees, portsOfEach);
  for ([[maybe_unused]] auto const& iteration : state) {
    using Clock = std::chrono::steady_clock;
    auto const start = Clock::now();
    auto const mirror = world.mirror();
    state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
  }
  if (world.states->record().size() != world.sources.size()) {
    state.SkipWithError("a port was not mirrored");
  }
  state.counters["items"] = double(portsOfEach) * trees;
}

}  // namespace

BENCHMARK(bpduGuardChange)->Name("operational/bpduGuard");
BENCHMARK(roleChange)->Name("operational/role");
BENCHMARK(counterChange)->Name("operational/counter");
BENCHMARK(synchroniseTrees)
    ->Name("operational/trees")
    ->ArgsProduct({{48, 1024}, {1, 64}})
    ->UseManualTime();

}  // namespace Bench
