// The path of one change of what an engine computed, beside that of a port's BPDU guard: both write
// one member of a record in a directory.
#include <string>
#include <vector>

#include "Stp/InterfaceStateMirrors.h"
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

// The ports of one tree.
struct TreePorts {
  TreePorts() {
    using Bridge = Stp::Operational::Bridge;
    bridge->valueIs<Bridge::Id::running, &Stp::Operational::BridgeTold::running>(true);
    auto const tree = Lumo::make<Stp::Operational::Tree>();
    for (unsigned port = 0; port < ports; ++port) {
      sources.push_back(Lumo::make<Stp::Operational::TreePort>());
      tree->port.is(portName(port), sources.back());
    }
    bridge->tree.is("Cist", tree);
    mirror = Stp::Oper::oCTreeDirSmFactory(
        input, bridge, Lumo::make<Stp::OCTreeConfigDir>(), Lumo::make<Stp::OCTreeStateDir>(),
        Lumo::make<Stp::OCTreePortConfigDir>(), states, counters);
  }

  Lumo::Ptr<Stp::Input::Config> input = Lumo::make<Stp::Input::Config>();
  Lumo::Ptr<Stp::Operational::Bridge> bridge = Lumo::make<Stp::Operational::Bridge>();
  Lumo::Ptr<Stp::OCTreePortStateDir> states = Lumo::make<Stp::OCTreePortStateDir>();
  Lumo::Ptr<Stp::OCTreePortCountersDir> counters = Lumo::make<Stp::OCTreePortCountersDir>();
  std::vector<Lumo::Ptr<Stp::Operational::TreePort>> sources;
  Lumo::Ptr<Stp::Oper::OCTreeDirSm> mirror;
};

using Stp::Operational::PortRole;
using Stp::Operational::TreePort;
using Stp::Operational::TreePortTold;

void roleChange(benchmark::State& state) {
  TreePorts world;
  Reader const reader(*world.states);
  changes(state, reader, [&](bool isRoot) {
    for (auto const& source : world.sources) {
      source->valueIs<TreePort::Id::role, &TreePortTold::role>(isRoot ? PortRole::root
                                                                      : PortRole::alternate);
    }
  });
}

void counterChange(benchmark::State& state) {
  TreePorts world;
  Reader const reader(*world.counters);
  changes(state, reader, [&](bool isMore) {
    for (auto const& source : world.sources) {
      source->valueIs<TreePort::Id::bpduSent, &TreePortTold::bpduSent>(isMore ? 2U : 1U);
    }
  });
}

}  // namespace

BENCHMARK(bpduGuardChange)->Name("operational/bpduGuard");
BENCHMARK(roleChange)->Name("operational/role");
BENCHMARK(counterChange)->Name("operational/counter");

}  // namespace Bench
