// What operations name by a number: VLAN-to-instance maps, and records that others left.
#include <random>

#include "Operation.h"

namespace Model {

namespace {

class Choice {
 public:
  explicit Choice(int seed) : generator_(static_cast<unsigned>(seed)) {}

  int below(int limit) { return static_cast<int>(generator_() % static_cast<unsigned>(limit)); }
  bool oneIn(int limit) { return below(limit) == 0; }

  template <class Values>
  int among(Values const& values) {
    return values[static_cast<std::size_t>(below(static_cast<int>(std::size(values))))];
  }

 private:
  std::mt19937 generator_;
};

void push(Bytes& bytes, int vlan, int instance) {
  for (int const number : {vlan, instance}) {
    bytes.push_back(static_cast<std::uint8_t>(number / 256));
    bytes.push_back(static_cast<std::uint8_t>(number % 256));
  }
}

int anyInstance(Choice& choice) {
  return mstInstances[choice.below(configuredMstInstances)];
}

Bytes everyVlan(Choice& choice, bool cistToo) {
  Bytes bytes;
  int instance = anyInstance(choice);
  for (int vlan = 1; vlan <= 4094; ++vlan) {
    if (choice.oneIn(700)) {
      instance = anyInstance(choice);
    }
    push(bytes, vlan, instance == 0 && !cistToo ? 1 : instance);
  }
  return bytes;
}

Bytes someVlans(Choice& choice, bool wellFormed) {
  Bytes bytes;
  int const entries = 1 + choice.below(12);
  int vlan = choice.oneIn(3) ? 4080 : choice.below(20);
  int instance = anyInstance(choice);
  for (int entry = 0; entry < entries; ++entry) {
    vlan += 1 + (choice.oneIn(3) ? choice.below(60) : 0);
    if (choice.oneIn(3)) {
      instance = anyInstance(choice);
    }
    if (!wellFormed && choice.oneIn(6)) {
      push(bytes, choice.among(std::vector{0, 4095, 65535, vlan - 1, vlan}), instance);
    }
    if (wellFormed && vlan > 4094) {
      break;
    }
    push(bytes, vlan, instance);
  }
  return bytes;
}

Bytes mapOf(int number) {
  Choice choice(number);
  if (number == 0) {
    return {};
  }
  if (number == maps - 1) {
    return {0, 10, 0, 1, 0, 11};
  }
  if (number >= maps - 4) {
    return everyVlan(choice, number == maps - 2);
  }
  return someVlans(choice, number % 3 != 0);
}

VlanList anyList(Choice& choice) {
  VlanList list;
  for (int entries = choice.below(4); entries > 0; --entries) {
    int const first = choice.oneIn(3) ? 4094 - choice.below(20) : 1 + choice.below(30);
    int const last = std::min(4094, choice.oneIn(50) ? 4094 : first + choice.below(6));
    switch (choice.below(3)) {
      case 0: list.push_back(VlanEntry{first, first, false}); break;
      case 1: list.push_back(VlanEntry{first, last, true}); break;
      default:
        list.push_back(choice.oneIn(5) ? VlanEntry{last, first, true}
                                       : VlanEntry{first, last, true});
    }
  }
  return list;
}

}  // namespace

Bytes const& byteMap(int number) {
  static std::vector<Bytes> const known = [] {
    std::vector<Bytes> all;
    for (int map = 0; map < maps; ++map) {
      all.push_back(mapOf(map));
    }
    return all;
  }();
  return known.at(static_cast<std::size_t>(number));
}

GlobalRecord stagedGlobal(int seed) {
  Choice choice(seed);
  GlobalRecord record;
  for (int count = choice.below(3); count > 0; --count) {
    record.enabledProtocol.push_back(choice.below(3));
  }
  record.disabledVlan = anyList(choice);
  record.bpduGuard = choice.oneIn(2);
  return record;
}

InterfaceRecord stagedInterface(int seed) {
  Choice choice(seed);
  return InterfaceRecord{choice.below(stagedPorts + 1) - 1, choice.among(std::vector{0, 1, notSet}),
                         choice.among(std::vector{0, 1, 2, notSet}),
                         choice.among(std::vector{0, 1, notSet})};
}

InterfaceRecord stagedInterfaceState(int port, int seed) {
  InterfaceRecord record = stagedInterface(seed);
  record.name = port;
  return record;
}

MstiRecord stagedMsti(int seed) {
  Choice choice(seed);
  return MstiRecord{choice.among(mstInstances), choice.among(std::vector{0, 4097, 20480, 61440}),
                    anyList(choice)};
}

MstiRecord stagedMstiState(int id, int seed) {
  MstiRecord record = stagedMsti(seed);
  record.mstId = id;
  return record;
}

}  // namespace Model
