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
  VlanSet::Words const& words = disabled.words();
  constexpr std::uint64_t lowest = 1;
  constexpr std::uint64_t highest = lowest << (VlanSet::wordBits - 1);

  // An edge is a bit that differs from the one below it: a run begins or has just ended there.
  // VLANs 0 and 4095 are left out, so that every run ends within the words.
  bool open = false;
  std::uint16_t start = 0;
  std::uint64_t below = 0;
  for (unsigned at = 0; at < words.size(); ++at) {
    std::uint64_t const word =
        words[at] & ~(at == 0 ? lowest : 0) & ~(at == words.size() - 1 ? highest : 0);
    std::uint64_t edges = word ^ (word << 1 | below);
    below = word >> (VlanSet::wordBits - 1);
    for (; edges != 0; edges &= edges - 1) {
      auto const edge = static_cast<std::uint16_t>(at * VlanSet::wordBits +
                                                   static_cast<unsigned>(std::countr_zero(edges)));
      if (open) {
        addDisabledVlanIdOrRange(container, start, static_cast<std::uint16_t>(edge - 1));
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
