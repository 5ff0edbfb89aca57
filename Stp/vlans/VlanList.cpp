#include "Stp/vlans/VlanList.h"

#include <array>
#include <bit>
#include <cstddef>

namespace Stp {

namespace {

// All VLANs but 0 and 4095, so that every run ends within the words.
constexpr auto usable = [] {
  VlanSet::Words words{};
  words.fill(~std::uint64_t{0});
  words.front() &= ~std::uint64_t{1};
  words.back() &= ~(std::uint64_t{1} << (VlanSet::wordBits - 1));
  return words;
}();

// The ids at which a run begins or has just ended, in ascending order: the bits that differ from
// the one below. There is an even number of them.
class Edges {
 public:
  explicit Edges(VlanSet::Words const& words) : words_(words) {}

  static constexpr std::uint16_t none = 0;

  std::uint16_t next() {
    while (edges_ == 0) {
      if (at_ == words_.size()) {
        return none;
      }
      std::uint64_t const word = words_[at_] & usable[at_];
      edges_ = word ^ (word << 1 | below_);
      below_ = word >> (VlanSet::wordBits - 1);
      ++at_;
    }
    auto const bit = static_cast<unsigned>(std::countr_zero(edges_));
    edges_ &= edges_ - 1;
    return static_cast<std::uint16_t>((at_ - 1) * VlanSet::wordBits + bit);
  }

 private:
  VlanSet::Words const& words_;
  std::size_t at_ = 0;
  std::uint64_t edges_ = 0;  // those of the words before at_ that are still to come
  std::uint64_t below_ = 0;  // the last bit of the word before at_
};

}  // namespace

template <class Container>
void addDisabledVlanIdOrRange(Container& container, std::uint16_t first, std::uint16_t last) {
  container.disabledVlanPush(VlanIdOrRange::run(first, last));
}

template <class Container>
void compressDisabledVlans(Container& container, VlanSet const& disabled) {
  container.disabledVlanPopAll();
  SharedList<VlanIdOrRange>::Appender list(container.disabledVlan);
  Edges edges(disabled.words());
  for (std::uint16_t start = edges.next(); start != Edges::none; start = edges.next()) {
    list.push(VlanIdOrRange::run(start, static_cast<std::uint16_t>(edges.next() - 1)));
  }
}

template void addDisabledVlanIdOrRange(OCGlobalConfigContainer&, std::uint16_t, std::uint16_t);
template void addDisabledVlanIdOrRange(OCGlobalStateContainer&, std::uint16_t, std::uint16_t);
template void compressDisabledVlans(OCGlobalConfigContainer&, VlanSet const&);
template void compressDisabledVlans(OCGlobalStateContainer&, VlanSet const&);

}  // namespace Stp
