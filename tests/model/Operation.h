// What a test does to the world, one step after another, as plain numbers: a sequence can be
// repeated, shortened and printed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "Sources.h"
#include "Targets.h"

namespace Model {

/// What a step does; the comments name the numbers `a`, `b`, `c` and `d` of its operation.
enum class Do {
  setMode,         // mode
  setGuard,        // configuration, flag
  setMap,          // configuration, map, revision
  setVlans,        // configuration, first id, last id, 0 false, 1 true or 2 no entry
  clearVlans,      // configuration
  setProtocol,     // protocol
  setVlanDir,      // first id, last id, whether they exist
  clearVlanDir,    //
  setAttribute,    // kind, hand, field, value
  renew,           // kind, hand: a fresh entity
  put,             // collection, owner's hand, key, member's hand
  remove,          // collection, owner's hand, key
  clear,           // collection, owner's hand
  touch,           // kind, hand, field, key
  start,           // tree
  stop,            // tree
  activate,        // tree, flag
  sweep,           // tree, flag: the mark-and-sweep flag
  call,            // call, key
  stageGlobal,     // 0 configuration or 1 state, seed
  stageInterface,  // port, 0 appear, 1 go, 2 change, seed
  stageIfState,    // port, 1 go or 2 change, seed
  stageMsti,       // instance, 0 appear, 1 go, 2 change, seed
  stageMstiState,  // instance, 1 go or 2 change, seed
};

constexpr std::size_t operationKinds = 24;

struct Operation {
  Do what;
  int a = 0;
  int b = 0;
  int c = 0;
  int d = 0;
};

/// The keyed collections of the sources.
enum class Members {
  inputPorts,
  inputInstances,
  runningPorts,
  statusInstances,
  portsOfStatus,
  mstisOfStatus,
  mstisOfConfig,
};
constexpr int collections = 7;

/// The kind of the members, and of the owner, which names it when there are several.
Kind memberKind(Members collection);
Kind ownerKind(Members collection);

/// The number under which a collection announces its changes.
int fieldOf(Members collection);

/// What a host calls on an object, by its tree.
enum class Call {
  configProtocol,
  configGuard,
  configVlans,
  stateProtocol,
  stateGuard,
  stateVlans,
  sync,
  interfaceConfigInitialized,
  interfaceConfigPort,
  interfaceConfigInstance,
  interfaceConfigCleanUp,
  interfaceConfigPortDel,
  interfaceConfigInstanceDel,
  interfaceStateInitialized,
  interfaceStateInstance,
  interfaceStateInstanceDel,
  mstpConfigInitialized,
  mstpConfigVlans,
  mstpConfigInstance,
  mstpConfigInstanceDel,
  mstpStateInitialized,
  mstpStateUpdate,
  mstpStateTrigger,
  mstpStateLeafDel,
  mstpStateLeavesDel,
};
constexpr int calls = 25;

/// The tree whose object a call is for, as a number of `Tree`.
int treeOf(Call call);

/// Six ports and two that only leftovers have, three instances, eight MST instances and one that
/// only leftovers have.
constexpr int ports = 6;
constexpr int stagedPorts = 8;
constexpr int instances = 3;
constexpr int mstInstances[] = {0, 1, 2, 3, 15, 64, 4094, 4095, 77};
constexpr int configuredMstInstances = 8;

std::string portName(int port);
std::string instanceName(int instance);
std::string mstiName(int id);

/// The VLAN-to-instance maps that operations name by number: the empty one, well-formed and
/// malformed ones, ones that name every VLAN, and, the last, one of a broken size.
constexpr int maps = 24;
Bytes const& byteMap(int number);

/// Records of all sorts, by a seed.
GlobalRecord stagedGlobal(int seed);
InterfaceRecord stagedInterface(int seed);
InterfaceRecord stagedInterfaceState(int port, int seed);
MstiRecord stagedMsti(int seed);
MstiRecord stagedMstiState(int id, int seed);

/// One line for people.
std::string describe(Operation const& operation);

}  // namespace Model
