#include "Vlans.h"

#include <utility>

#include "Failures.h"

namespace Model {

namespace {

constexpr int lastVlan = 4094;

int numberAt(Bytes const& bytes, int entry, int offset) {
  auto const at = static_cast<std::size_t>(4 * entry + offset);
  return bytes[at] * 256 + bytes[at + 1];
}

void append(VlanList& list, int vlan) {
  if (!list.empty() && list.back().last == vlan - 1) {
    list.back().last = vlan;
    list.back().range = true;
  } else {
    list.push_back(VlanEntry{vlan, vlan, false});
  }
}

Decoded decodeAfresh(Bytes const& vidToMsti) {
  if (vidToMsti.size() % 4 != 0) {
    throw Ends{"a VLAN-to-instance map of a broken size"};
  }
  int const count = entryCount(vidToMsti);
  int cursor = 0;
  Decoded result;
  for (int vlan = 1; vlan <= lastVlan; ++vlan) {
    int instance = 0;
    if (cursor < count && numberAt(vidToMsti, cursor, 0) == vlan) {
      instance = numberAt(vidToMsti, cursor, 2);
      ++cursor;
    }
    append(result[instance], vlan);
  }
  return result;
}

}  // namespace

VlanList compress(VlanBits const& ids) {
  VlanList list;
  for (int vlan = 1; vlan <= lastVlan; ++vlan) {
    if (ids[static_cast<std::size_t>(vlan)]) {
      append(list, vlan);
    }
  }
  return list;
}

Decoded const& decode(Bytes const& vidToMsti) {
  static std::map<Bytes, Decoded> known;  // the maps that a test uses are few
  auto const found = known.find(vidToMsti);
  return found != known.end() ? found->second
                              : known.emplace(vidToMsti, decodeAfresh(vidToMsti)).first->second;
}

int entryCount(Bytes const& vidToMsti) {
  return static_cast<std::uint16_t>(vidToMsti.size() / 4);
}

bool anyEntryNames(Bytes const& vidToMsti, int instance) {
  for (int entry = 0; entry < entryCount(vidToMsti); ++entry) {
    if (numberAt(vidToMsti, entry, 2) == instance) {
      return true;
    }
  }
  return false;
}

}  // namespace Model
