// The VLAN-to-instance byte map: every VLAN is in exactly one list, the one that the entries say.
#include <array>

#include "Lumo/Bytes.h"
#include "Stp/vlans/VidToMsti.h"
#include "Stp/vlans/VlanList.h"
#include "fuzz/Input.h"

namespace {

// VLAN by VLAN, as the rule has it.
std::array<std::uint16_t, 4096> expected(Lumo::Bytes const& map) {
  std::array<std::uint16_t, 4096> instanceOf{};
  Stp::VidToMstiEntries const entries(map);
  std::size_t cursor = 0;
  for (std::uint16_t vlan = 1; vlan <= 4094; ++vlan) {
    if (entries[cursor].vlan == vlan) {
      instanceOf[vlan] = entries[cursor++].instance;
    }
  }
  return instanceOf;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  Lumo::Bytes map;
  for (std::size_t at = 0; at < size - size % 4; ++at) {
    map.push(data[at]);
  }
  auto const instanceOf = expected(map);
  std::array<unsigned, 4096> seen{};
  for (auto const& lists : Stp::mstiToVidFromBytes(map)) {
    auto const& list = lists.second.list();
    Fuzz::require(!list.empty(), "an instance in the result has VLANs");
    unsigned before = 0;
    for (Stp::VlanIdOrRange const& entry : list) {
      Stp::expandVlans(
          entry,
          [&](std::uint16_t vlan) {
            Fuzz::require(vlan > before, "a list ascends");
            Fuzz::require(instanceOf[vlan] == lists.first, "a VLAN is in its instance's list");
            before = vlan;
            ++seen[vlan];
          },
          __FILE__, __LINE__, __func__);
    }
  }
  for (unsigned vlan = 1; vlan <= 4094; ++vlan) {
    Fuzz::require(seen[vlan] == 1, "each VLAN is in one list");
  }
  return 0;
}
