#include "Stp/VlanList.h"

#include <bit>

namespace Stp {

template <class Container>
void addDisabledVlanIdOrRange(Container& container, std::uint16_t first, std::uint16_t last) {
  if (first == last) {
    container.disabledVlanPush(Bridging::VlanId(first));
  } else {
    container.disabledVlanPush(VlanRange{Bridging::VlanId(first), Bridging::VlanId(last)});
  }
}

template <class Container>
void compressDisabledVlans(Container& container, VlanSet const& disabled) {
  container.disabledVlanPopAll();
  VlanSet::Words words = disabled.words();
  words.front() &= ~std::uint64_t{1};                              // VLAN 0
  words.back() &= ~(std::uint64_t{1} << (VlanSet::wordBits - 1));  // VLAN 4095

  // An edge is a bit that differs from the one below it: a run begins or has just ended there.
  bool open = false;
  unsigned start = 0;
  std::uint64_t below = 0;
  for (unsigned at = 0; at < words.size(); ++at) {
    std::uint64_t edges = words[at] ^ (words[at] << 1 | below);
    below = words[at] >> (VlanSet::wordBits - 1);
    for (; edges != 0; edges &= edges - 1) {
      unsigned const edge = at * VlanSet::wordBits + static_cast<unsigned>(std::countr_zero(edges));
      if (open) {
        addDisabledVlanIdOrRange(container, static_cast<std::uint16_t>(start),
                                 static_cast<std::uint16_t>(edge - 1));
      }
      start = edge;
      open = !open;
    }
  }
}

template void addDisabledVlanIdOrRange(OCGlobalConfigContainer&, std::uint16_t, std::uint16_t);
template void addDisabledVlanIdOrRange(OCGlobalStateContainer&, std::uint16_t, std::uint16_t);
template void compressDisabledVlans(OCGlobalConfigContainer&, VlanSet const&);
template void compressDisabledVlans(OCGlobalStateContainer&, VlanSet const&);

}  // namespace Stp
