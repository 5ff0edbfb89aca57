// The path of one change: from the setter of a source to the published target.
#include <unistd.h>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "Flashlog/Flashlog.h"
#include "Stp/GlobalMirrors.h"
#include "Stp/InterfaceConfigMirrors.h"
#include "Stp/InterfaceStateMirrors.h"
#include "bench/World.h"

namespace Bench {

namespace {

constexpr unsigned ports = 64;

// Records every block into a file of this process while it lives.
class FastTrace {
 public:
  FastTrace() : path_("/tmp/stp-bench." + std::to_string(getpid())), handle_(path_) {
    Flashlog::defaultFlashlogHandle = &handle_;
  }
  FastTrace(FastTrace const&) = delete;
  FastTrace& operator=(FastTrace const&) = delete;
  ~FastTrace() {
    Flashlog::defaultFlashlogHandle = nullptr;
    (void)std::remove(path_.c_str());
  }

 private:
  std::string path_;
  Flashlog::FlashlogHandle handle_;
};

// Runs `round(value)`, which changes every port once, with values that always differ.
template <class Round>
void changes(benchmark::State& state, std::uint64_t const& seen, std::uint64_t perRound,
             Round round) {
  round(std::uint8_t{1});
  std::uint64_t const seenBefore = seen;
  std::uint64_t const allocationsBefore = heapAllocations;
  std::uint8_t value = 2;
  for ([[maybe_unused]] auto const& iteration : state) {
    round(value);
    value ^= 3U;
    benchmark::ClobberMemory();
  }
  if (seen - seenBefore != std::uint64_t(state.iterations()) * perRound) {
    state.SkipWithError("a reader missed a change");
  }
  state.counters["items"] = ports;
  state.counters["allocations"] =
      static_cast<double>(heapAllocations - allocationsBefore) / double(state.iterations());
}

[[gnu::noinline]] void floorRound(std::vector<FloorTarget<Stp::InterfaceConfig>>& targets,
                                  std::vector<Lanx::IntfId> const& ids, std::uint8_t value) {
  for (std::size_t port = 0; port < targets.size(); ++port) {
    FloorTarget<Stp::InterfaceConfig>& target = targets[port];
    Stp::InterfaceConfig config = target.record;
    config.name = ids[port];
    config.bpduGuard = value == 1   ? Stp::OcBpduGuard::enabled
                       : value == 2 ? Stp::OcBpduGuard::disabled
                                    : Stp::OcBpduGuard::notSet;
    target.record = config;
    target.changed(target.reader);
  }
}

void floorChange(benchmark::State& state) {
  std::uint64_t seen = 0;
  std::vector<FloorTarget<Stp::InterfaceConfig>> targets(ports, {{}, &countSeen, &seen});
  std::vector<Lanx::IntfId> ids;
  for (unsigned port = 0; port < ports; ++port) {
    ids.push_back(Lanx::IntfId::of(portName(port)));
  }
  changes(state, seen, ports, [&](std::uint8_t value) { floorRound(targets, ids, value); });
}

// Ports with their mirrors, and one reader for each target.
struct ConfiguredPorts {
  std::vector<Lumo::Ptr<Stp::Input::PortConfig>> sources;
  std::vector<Lumo::Ptr<Stp::OCInterface>> targets;
  std::vector<Lumo::Ptr<Stp::OCPortConfigSm>> mirrors;
  std::vector<std::unique_ptr<Lumo::Subscriber>> slots;
  std::uint64_t seen = 0;

  explicit ConfiguredPorts(unsigned count) {
    for (unsigned port = 0; port < count; ++port) {
      sources.push_back(Lumo::make<Stp::Input::PortConfig>());
      targets.push_back(Lumo::make<Stp::OCInterface>());
      mirrors.push_back(Stp::oCPortConfigSmFactory(portName(port), sources.back(), targets.back()));
      slots.push_back(std::make_unique<Lumo::Subscriber>());
      slots.back()->routineIs(
          [](Lumo::Publisher*, Lumo::Subscriber* slot, Lumo::FieldId, void const*, void const*) {
            ++*static_cast<std::uint64_t*>(slot->owner());
          },
          &seen);
      targets.back()->publisher().subscriberAdd(*slots.back(), false);
    }
  }
  ConfiguredPorts(ConfiguredPorts const&) = delete;
  ConfiguredPorts& operator=(ConfiguredPorts const&) = delete;
  ~ConfiguredPorts() {
    for (std::size_t port = 0; port < slots.size(); ++port) {
      slots[port]->unsubscribeFrom(targets[port]->publisher());
    }
  }

  [[gnu::noinline]] void bpduguardIs(std::uint8_t value) {
    for (auto const& source : sources) {
      source->bpduguardIs(static_cast<Stp::PortConfigBase::BpduguardEnabledState>(value));
    }
  }
};

void portChange(benchmark::State& state) {
  ConfiguredPorts world(ports);
  changes(state, world.seen, ports, [&](std::uint8_t value) { world.bpduguardIs(value); });
}

void portChangeTraced(benchmark::State& state) {
  FastTrace const trace;
  portChange(state);
}

// The bridge-wide flag of the global configuration; an item is one change.
void globalChange(benchmark::State& state) {
  auto const source = Lumo::make<Stp::Input::Config>();
  auto const target = Lumo::make<Stp::OCGlobalConfig>();
  auto const mirror = Stp::oCGlobalConfigSmFactory(source, target);
  Reader const reader(*target);
  std::uint64_t seen = 0;
  bool guard = false;
  changes(state, seen, 0, [&](std::uint8_t /*value*/) {
    for (unsigned change = 0; change < ports; ++change) {
      guard = !guard;
      source->portfastBpduguardIs(guard);
    }
  });
  if (reader.seen() < std::uint64_t(state.iterations()) * ports) {
    state.SkipWithError("a reader missed a change");
  }
}

void globalChangeTraced(benchmark::State& state) {
  FastTrace const trace;
  globalChange(state);
}

// A port's operational edge status runs two handlers; an item is one change of the status.
void edgeChange(benchmark::State& state) {
  auto const config = Lumo::make<Stp::Config>();
  auto const directory = Lumo::make<Stp::OCInterfaceStateDir>();
  std::vector<Lumo::Ptr<Stp::StpiPortStatus>> statuses;
  std::vector<Lumo::Ptr<Stp::OCStpiPortStatusSm>> mirrors;
  for (unsigned port = 0; port < ports; ++port) {
    statuses.push_back(Lumo::make<Stp::StpiPortStatus>());
    mirrors.push_back(Stp::oCStpiPortStatusSmFactory(
        portName(port), config, Lumo::make<Stp::PortConfig>(), statuses.back(), directory));
  }
  Reader const reader(*directory);
  std::uint64_t seen = 0;
  changes(state, seen, 0, [&](std::uint8_t value) {
    for (auto const& status : statuses) {
      status->operEdgePortIs(value == 1);
    }
  });
  if (reader.seen() < std::uint64_t(state.iterations()) * ports * 2) {
    state.SkipWithError("a reader missed a change");
  }
}

// A handle of this program's own, tested without a call as the library tests its own.
constinit Vel::TraceHandle ownTraceHandle("bench", false);

// What a handler's trace costs alone, switched off: the difference of two handlers would be noise,
// so the block itself.
void traceOff(benchmark::State& state) {
  for ([[maybe_unused]] auto const& iteration : state) {
    for (unsigned block = 0; block < ports; ++block) {
      Flashlog::BlockTimerSelf const timer(Flashlog::currentTraceFile(), 1);
      if (ownTraceHandle.enabled(8)) [[unlikely]] {
        state.SkipWithError("the trace is on");
      }
      benchmark::ClobberMemory();
    }
  }
  state.counters["items"] = ports;
}

void traceOn(benchmark::State& state) {
  FastTrace const trace;
  int id = 0;
  Flashlog::MsgDesc message(*Flashlog::currentTraceFile(), id, "/bench", 1);
  message << "block";
  message.finish();
  for ([[maybe_unused]] auto const& iteration : state) {
    for (unsigned block = 0; block < ports; ++block) {
      Flashlog::BlockTimerSelf const timer(Flashlog::currentTraceFile(), id);
      benchmark::ClobberMemory();
    }
  }
  state.counters["items"] = ports;
}

void clockReads(benchmark::State& state) {
  for ([[maybe_unused]] auto const& iteration : state) {
    for (unsigned block = 0; block < ports; ++block) {
      benchmark::DoNotOptimize(Flashlog::timestamp());
      benchmark::DoNotOptimize(Flashlog::timestamp());
    }
  }
  state.counters["items"] = ports;
}

// A reactor made, activated and dropped.
void reactorLife(benchmark::State& state) {
  auto const name = portName(0);
  Lumo::Ptr<Stp::Input::PortConfig const> const source = Lumo::make<Stp::Input::PortConfig>();
  auto const target = Lumo::make<Stp::OCInterface>();
  for ([[maybe_unused]] auto const& iteration : state) {
    for (unsigned life = 0; life < ports; ++life) {
      benchmark::DoNotOptimize(Stp::oCPortConfigSmFactory(name, source, target));
    }
  }
  state.counters["items"] = ports;
}

// The least for the same: memory of this size, four references, one link in a list.
void floorLife(benchmark::State& state) {
  struct Link {
    Link* next;
    Link* previous;
  };
  Link ring{&ring, &ring};
  std::uint64_t references[4] = {};
  for ([[maybe_unused]] auto const& iteration : state) {
    for (unsigned life = 0; life < ports; ++life) {
      auto* const link = static_cast<Link*>(std::malloc(sizeof(Stp::OCPortConfigSm)));
      *link = {&ring, ring.previous};
      ring.previous->next = link;
      ring.previous = link;
      for (auto& count : references) {
        ++count;
      }
      benchmark::ClobberMemory();
      link->previous->next = link->next;
      link->next->previous = link->previous;
      for (auto& count : references) {
        --count;
      }
      std::free(link);
      benchmark::DoNotOptimize(references);
    }
  }
  state.counters["items"] = ports;
}

}  // namespace

BENCHMARK(floorChange)->Name("change/floor");
BENCHMARK(portChange)->Name("change/port");
BENCHMARK(portChangeTraced)->Name("change/portTraced");
BENCHMARK(globalChange)->Name("change/global");
BENCHMARK(globalChangeTraced)->Name("change/globalTraced");
BENCHMARK(edgeChange)->Name("change/edgeTwoHandlers");
BENCHMARK(clockReads)->Name("trace/floor");
BENCHMARK(traceOn)->Name("trace/block");
BENCHMARK(traceOff)->Name("trace/off");
BENCHMARK(floorLife)->Name("life/floor");
BENCHMARK(reactorLife)->Name("life/reactor");

}  // namespace Bench
