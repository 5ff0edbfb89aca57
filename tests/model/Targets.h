// The entities that are written, as plain values, and how often they were.
#pragma once

#include <map>
#include <vector>

#include "Vlans.h"

namespace Model {

constexpr int notSet = 255;

struct GlobalRecord {
  std::vector<int> enabledProtocol;
  VlanList disabledVlan;
  bool bpduGuard = false;

  friend bool operator==(GlobalRecord const&, GlobalRecord const&) = default;
};

/// The name is a port's number, or -1 for none.
struct InterfaceRecord {
  int name = -1;
  int linkType = notSet;
  int edgePort = notSet;
  int bpduGuard = notSet;

  friend bool operator==(InterfaceRecord const&, InterfaceRecord const&) = default;
};

struct MstiRecord {
  int mstId = 0;
  int bridgePriority = 32768;
  VlanList vlan;

  friend bool operator==(MstiRecord const&, MstiRecord const&) = default;
};

/// A member of a directory of entities. Another one under the same key has another number.
template <class Record>
struct Member {
  int object;
  Record record;
};

/// The changes that the targets announced.
struct Writes {
  int globalConfig = 0;
  int globalState = 0;
  int interfaceMembers = 0;
  int interfaceRecords = 0;
  int interfaceStates = 0;
  int mstiMembers = 0;
  int mstiRecords = 0;
  int mstiStates = 0;

  friend bool operator==(Writes const&, Writes const&) = default;
};

struct Targets {
  GlobalRecord globalConfig;
  GlobalRecord globalState;
  std::map<int, Member<InterfaceRecord>> interfaces;
  std::map<int, InterfaceRecord> interfaceStates;
  std::map<int, Member<MstiRecord>> mstis;
  std::map<int, MstiRecord> mstiStates;

  Writes writes;
  int objects = 0;
};

void globalConfigIs(Targets& targets, GlobalRecord const& record);
void globalStateIs(Targets& targets, GlobalRecord const& record);

/// The number of the interface of a port, new where there was none.
int interfaceIs(Targets& targets, int port);
void interfaceDel(Targets& targets, int port);

/// The present record of an interface; a fresh one for an interface that no directory has any more.
InterfaceRecord interfaceRecord(Targets const& targets, int port, int object);

/// Nobody sees what is written into an interface that no directory has any more.
void interfaceRecordIs(Targets& targets, int port, int object, InterfaceRecord const& record);

void interfaceStateIs(Targets& targets, InterfaceRecord const& record);
void interfaceStateDel(Targets& targets, int port);

/// The same for MST instances.
int mstiIs(Targets& targets, int id);
void mstiDel(Targets& targets, int id);
MstiRecord mstiRecord(Targets const& targets, int id, int object);
void mstiRecordIs(Targets& targets, int id, int object, MstiRecord const& record);

void mstiStateIs(Targets& targets, MstiRecord const& record);
void mstiStateDel(Targets& targets, int id);
void mstiStateDelAll(Targets& targets);

}  // namespace Model
