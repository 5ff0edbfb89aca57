// What the tests of the MST mirrors share: byte maps from entries, and directories as plain values.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <utility>

#include "Lumo/Bytes.h"
#include "Lumo/Ptr.h"
#include "Stp/tests/TestSupport.h"
#include "Stp/vlans/VlanTestSupport.h"
#include "StpTypes/ConfigBase.h"
#include "StpTypes/OpenConfigConfig.h"
#include "StpTypes/OpenConfigState.h"

namespace Stp::TestSupport {

/// One entry of a VLAN-to-instance map.
struct MapEntry {
  std::uint16_t vlan;
  std::uint16_t instance;
};

/// The byte map of some entries, in their order.
template <class Entries = std::initializer_list<MapEntry>>
Lumo::Bytes byteMap(Entries const& entries) {
  Lumo::Bytes bytes;
  for (MapEntry const& entry : entries) {
    for (int const number : {int{entry.vlan}, int{entry.instance}}) {
      bytes.push(static_cast<std::uint8_t>(number / 256));
      bytes.push(static_cast<std::uint8_t>(number % 256));
    }
  }
  return bytes;
}

/// An MST configuration with such a map.
template <class Entries = std::initializer_list<MapEntry>>
MstConfig mstConfig(Entries const& entries) {
  MstConfig config;
  config.vidToMsti = byteMap(entries);
  return config;
}

/// The map that gives every VLAN to one instance: 4094 entries.
inline Lumo::Bytes everyVlanTo(std::uint16_t instance) {
  Lumo::Bytes bytes;
  for (std::uint16_t vlan = 1; vlan <= 4094; ++vlan) {
    for (int const number : {int{vlan}, int{instance}}) {
      bytes.push(static_cast<std::uint8_t>(number / 256));
      bytes.push(static_cast<std::uint8_t>(number % 256));
    }
  }
  return bytes;
}

/// A record of a directory, as a plain value.
struct MstiRecord {
  std::uint16_t id;
  std::uint16_t priority;
  std::string vlans;

  friend bool operator==(MstiRecord const&, MstiRecord const&) = default;
  friend std::ostream& operator<<(std::ostream& out, MstiRecord const& record) {
    return out << "id " << record.id << ", priority " << record.priority << ", VLANs ["
               << record.vlans << "]";
  }
};

/// The records of a directory by the ids under which they stand.
using MstiRecords = std::map<std::uint16_t, MstiRecord>;

inline MstiRecord recordOf(OCMstiRecord const& record) {
  return {record.mstId, record.bridgePriority.value(), textOf(record.vlan)};
}

inline MstiRecords recordsOf(OCMstiConfigDir const& directory) {
  MstiRecords records;
  for (auto const& instance : directory.mstInstance()) {
    records.emplace(instance.key, recordOf(instance.value->config()));
  }
  return records;
}

inline MstiRecords recordsOf(OCMstiStateDir const& directory) {
  MstiRecords records;
  for (auto const& state : directory.state()) {
    records.emplace(state.key, recordOf(*state.value));
  }
  return records;
}

/// Counts what is written into a directory of configured instances: members that come and go, and
/// records of the instances, those that have been removed included.
class ConfigWrites {
 public:
  explicit ConfigWrites(Lumo::Ptr<OCMstiConfigDir> const& directory)
      : directory_(*directory),
        members_(directory, [this](Lumo::FieldId, void const* key, void const*) {
          follow(*static_cast<std::uint16_t const*>(key));
        }) {
    for (auto const& instance : directory->mstInstance()) {
      follow(instance.key);
    }
  }

  /// How many members came and went since this was last asked.
  int members() { return members_.changes(); }

  /// How many records were written since this was last asked.
  int records() {
    int count = std::exchange(earlier_, 0);
    for (auto const& [id, instance] : instances_) {
      count += instance.watch == nullptr ? 0 : instance.watch->changes();
    }
    return count;
  }

 private:
  struct Instance {
    OCMsti const* entity = nullptr;
    std::unique_ptr<Watch<OCMsti>> watch;
  };

  void follow(std::uint16_t id) {
    Lumo::Ptr<OCMsti> const entity = directory_.mstInstance(id);
    Instance& instance = instances_[id];
    if (entity && instance.entity != entity.get()) {
      earlier_ += instance.watch == nullptr ? 0 : instance.watch->changes();
      instance.entity = entity.get();
      instance.watch = std::make_unique<Watch<OCMsti>>(entity);
    }
  }

  OCMstiConfigDir const& directory_;
  std::map<std::uint16_t, Instance> instances_;
  int earlier_ = 0;
  Watch<OCMstiConfigDir> members_;
};

}  // namespace Stp::TestSupport
