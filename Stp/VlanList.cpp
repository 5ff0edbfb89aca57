#include "Stp/VlanList.h"

#include <array>
#include <bit>

namespace Stp {

namespace {

VlanIdOrRange run(std::uint16_t first, std::uint16_t last) {
  if (first == last) {
    return Bridging::VlanId(first);
  }
  return VlanRange{Bridging::VlanId(first), Bridging::VlanId(last)};
}

// All VLANs but 0 and 4095, so that every run ends within the words.
constexpr auto usable = [] {
  VlanSet::Words words{};
  words.fill(~std::uint64_t{0});
  words.front() &= ~std::uint64_t{1};
  words.back() &= ~(std::uint64_t{1} << (VlanSet::wordBits - 1));
  return words;
}();

}  // namespace

template <class Container>
void addDisabledVlanIdOrRange(Container& container, std::uint16_t first, std::uint16_t last) {
  container.disabledVlanPush(run(first, last));
}

template <class Container>
void compressDisabledVlans(Container& container, VlanSet const& disabled) {
  container.disabledVlanPopAll();
  VlanSet::Words const& words = disabled.words();

  // An edge is a bit that differs from the one below it: a run begins or has just ended there.
  SharedList<VlanIdOrRange>::Appender list(container.disabledVlan);
  bool open = false;
  std::uint16_t start = 0;
  std::uint64_t below = 0;
  for (unsigned at = 0; at < words.size(); ++at) {
    std::uint64_t const word = words[at] & usable[at];
    std::uint64_t edges = word ^ (word << 1 | below);
    below = word >> (VlanSet::wordBits - 1);
    for (; edges != 0; edges &= edges - 1) {
      auto const edge = static_cast<std::uint16_t>(at * VlanSet::wordBits +
                                                   static_cast<unsigned>(std::countr_zero(edges)));
      if (open) {
        list.push(run(start, static_cast<std::uint16_t>(edge - 1)));
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
