// What rows that changed can make different in the sources.
#pragma once

#include <cstdint>
#include <set>
#include <type_traits>

#include "Lumo/String.h"
#include "StpTypes/VlanTable.h"
#include "agent/sources/sonic/Keys.h"
#include "agent/sources/sonic/Records.h"

namespace Agent::Sonic {

/// What is to be compared. What is about the bridge as a whole is so little that it always is.
struct Dirty {
  /// Nothing is known of the sources.
  bool everything = true;
  /// Instances, and the VLANs of each.
  bool instances = false;
  std::set<Lumo::String> ports;
  std::set<TreePortKey> treePorts;
  Stp::VlanSet vlans;

  // A row about this says something else.
  void touch(std::type_identity<Global> /*row*/, OnlyRow /*key*/) {}
  void touch(std::type_identity<Region> /*row*/, OnlyRow /*key*/) {}
  void touch(std::type_identity<Instance> /*row*/, std::uint16_t /*key*/) { instances = true; }
  void touch(std::type_identity<Port> /*row*/, Lumo::String const& key) { ports.insert(key); }
  void touch(std::type_identity<VlanTree> /*row*/, std::uint16_t key) { vlans.insert(key); }
  void touch(std::type_identity<Vlan> /*row*/, std::uint16_t key) { vlans.insert(key); }
  void touch(std::type_identity<VlanState> /*row*/, std::uint16_t key) { vlans.insert(key); }
  void touch(std::type_identity<RunningInstance> /*row*/, std::uint16_t /*key*/) {
    instances = true;
  }
  void touch(std::type_identity<RunningTreePort> /*row*/, TreePortKey const& key) {
    treePorts.insert(key);
    if (key.first == 0) {
      ports.insert(key.second);
    }
  }
  void touch(std::type_identity<RunningVlan> /*row*/, std::uint16_t /*key*/) {}
  void touch(std::type_identity<RunningVlanPort> /*row*/, Lumo::String const& key) {
    ports.insert(key);
  }
  void touch(std::type_identity<RunningPort> /*row*/, Lumo::String const& key) {
    ports.insert(key);
  }
};

}  // namespace Agent::Sonic
