// VLAN tables, VLAN lists and the VLAN-to-instance map, as plain values.
#pragma once

#include <bitset>
#include <cstdint>
#include <map>
#include <vector>

namespace Model {

/// A single VLAN, whose two ends are equal, or a range as it was given.
struct VlanEntry {
  int first;
  int last;
  bool range;

  friend bool operator==(VlanEntry const&, VlanEntry const&) = default;
};

using VlanList = std::vector<VlanEntry>;
using VlanBits = std::bitset<4096>;
using Bytes = std::vector<std::uint8_t>;

/// The VLANs of every instance that has any.
using Decoded = std::map<int, VlanList>;

/// The maximal runs of the ids 1 to 4094.
VlanList compress(VlanBits const& ids);

/// Throws Ends for a map that is no whole number of entries.
Decoded const& decode(Bytes const& vidToMsti);

/// How many entries a map has.
int entryCount(Bytes const& vidToMsti);

/// Whether any entry of a map, used by the decoder or not, names an instance.
bool anyEntryNames(Bytes const& vidToMsti, int instance);

}  // namespace Model
