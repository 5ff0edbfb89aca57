// VLAN lists: compressing a set of VLANs into entries, and expanding entries into VLANs.
//
// OpenConfig writes a set of VLANs as a list whose entries are one id or an inclusive range; the
// spanning-tree entities hold a table with a bit for each id. A compressed list is canonical:
// ascending, its runs maximal, a run of one an id. Ids 0 and 4095 never appear in one.
#pragma once

#include <cstdint>

#include "Base/Api.h"
#include "Base/Assertion.h"
#include "Bridging/VlanId.h"
#include "StpTypes/OpenConfigConfig.h"
#include "StpTypes/OpenConfigState.h"
#include "StpTypes/VlanIdOrRange.h"
#include "StpTypes/VlanTable.h"

namespace Stp {

/// Appends the VLAN `first`, if `last` is the same, or the range from first to last to the
/// container's `disabledVlan`. Throws Lumo::RangeException, and appends nothing, unless both lie
/// in 1 to 4094; their order is trusted.
template <class Container>
STP_API void addDisabledVlanIdOrRange(Container& container, std::uint16_t first,
                                      std::uint16_t last);
extern template STP_API void addDisabledVlanIdOrRange(OCGlobalConfigContainer&, std::uint16_t,
                                                      std::uint16_t);
extern template STP_API void addDisabledVlanIdOrRange(OCGlobalStateContainer&, std::uint16_t,
                                                      std::uint16_t);

/// Empties the container's `disabledVlan` and appends one entry for each maximal run of VLANs 1 to
/// 4094 in the set. It costs the runs, not the ids.
template <class Container>
STP_API void compressDisabledVlans(Container& container, VlanSet const& disabled);
extern template STP_API void compressDisabledVlans(OCGlobalConfigContainer&, VlanSet const&);
extern template STP_API void compressDisabledVlans(OCGlobalStateContainer&, VlanSet const&);

/// Calls `mark(id)` for each id that an entry covers, in ascending order; a reversed range covers
/// none. An entry that is neither an id nor a range is a broken invariant of the list's owner: the
/// process ends with that owner's `line` and `function`.
template <class Mark>
void expandVlans(VlanIdOrRange const& entry, Mark mark, char const* sourcePath, unsigned line,
                 char const* function) {
  switch (entry.tag()) {
    case VlanIdOrRange::Tag::vlanId: mark(entry.vlanId().value()); return;
    case VlanIdOrRange::Tag::vlanRange: {
      VlanRange const range = entry.vlanRange();
      for (std::uint16_t vlan = range.first.value(); vlan <= range.last.value(); ++vlan) {
        mark(vlan);
        if (vlan == 0xFFFF) {
          return;
        }
      }
      return;
    }
  }
  Base::assertionFailed("false && \"Unknown content of VlanIdOrRange\"", sourcePath, line,
                        function);
}

}  // namespace Stp
