// Runs one kind of change over and over, for an instruction counter: the difference between two
// numbers of rounds, divided by the changes between them, is what one change costs.
//   stp-bench-instructions PORTS ROUNDS
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "Stp/InterfaceConfigMirrors.h"

namespace {

void count(Lumo::Publisher* /*publisher*/, Lumo::Subscriber* slot, Lumo::FieldId /*field*/,
           void const* /*old*/, void const* /*now*/) {
  ++*static_cast<std::uint64_t*>(slot->owner());
}

std::uint64_t portChanges(unsigned ports, unsigned rounds) {
  std::uint64_t seen = 0;
  std::vector<Lumo::Ptr<Stp::Input::PortConfig>> sources;
  std::vector<Lumo::Ptr<Stp::OCInterface>> targets;
  std::vector<Lumo::Ptr<Stp::OCPortConfigSm>> mirrors;
  std::vector<Lumo::Subscriber> readers(ports);
  for (unsigned port = 0; port < ports; ++port) {
    sources.push_back(Lumo::make<Stp::Input::PortConfig>());
    targets.push_back(Lumo::make<Stp::OCInterface>());
    mirrors.push_back(Stp::oCPortConfigSmFactory("Ethernet" + std::to_string(port + 1),
                                                 sources.back(), targets.back()));
    readers[port].routineIs(&count, &seen);
    targets.back()->publisher().subscriberAdd(readers[port], false);
  }
  for (unsigned round = 0; round < rounds; ++round) {
    for (auto const& source : sources) {
      source->bpduguardIs(static_cast<Stp::PortConfigBase::BpduguardEnabledState>(round % 2 + 1));
    }
  }
  for (unsigned port = 0; port < ports; ++port) {
    readers[port].unsubscribeFrom(targets[port]->publisher());
  }
  return seen;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s PORTS ROUNDS\n", argv[0]);
    return 2;
  }
  auto const ports = static_cast<unsigned>(std::strtoul(argv[1], nullptr, 10));
  auto const rounds = static_cast<unsigned>(std::strtoul(argv[2], nullptr, 10));
  std::printf("%llu changes seen\n", static_cast<unsigned long long>(portChanges(ports, rounds)));
}
