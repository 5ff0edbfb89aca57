#include "Targets.h"

namespace Model {

namespace {

template <class Record>
int memberIs(std::map<int, Member<Record>>& members, int key, int& objects, int& writes) {
  auto const found = members.find(key);
  if (found != members.end()) {
    return found->second.object;
  }
  ++writes;
  members.emplace(key, Member<Record>{++objects, Record()});
  return objects;
}

template <class Record>
Record recordOf(std::map<int, Member<Record>> const& members, int key, int object) {
  auto const found = members.find(key);
  return found != members.end() && found->second.object == object ? found->second.record : Record();
}

template <class Record>
void recordIs(std::map<int, Member<Record>>& members, int key, int object, Record const& record,
              int& writes) {
  auto const found = members.find(key);
  if (found != members.end() && found->second.object == object) {
    found->second.record = record;
    ++writes;
  }
}

}  // namespace

void globalConfigIs(Targets& targets, GlobalRecord const& record) {
  targets.globalConfig = record;
  ++targets.writes.globalConfig;
}

void globalStateIs(Targets& targets, GlobalRecord const& record) {
  targets.globalState = record;
  ++targets.writes.globalState;
}

int interfaceIs(Targets& targets, int port) {
  return memberIs(targets.interfaces, port, targets.objects, targets.writes.interfaceMembers);
}

void interfaceDel(Targets& targets, int port) {
  targets.writes.interfaceMembers += static_cast<int>(targets.interfaces.erase(port));
}

InterfaceRecord interfaceRecord(Targets const& targets, int port, int object) {
  return recordOf(targets.interfaces, port, object);
}

void interfaceRecordIs(Targets& targets, int port, int object, InterfaceRecord const& record) {
  recordIs(targets.interfaces, port, object, record, targets.writes.interfaceRecords);
}

void interfaceStateIs(Targets& targets, InterfaceRecord const& record) {
  targets.interfaceStates[record.name] = record;
  ++targets.writes.interfaceStates;
}

void interfaceStateDel(Targets& targets, int port) {
  targets.writes.interfaceStates += static_cast<int>(targets.interfaceStates.erase(port));
}

int mstiIs(Targets& targets, int id) {
  return memberIs(targets.mstis, id, targets.objects, targets.writes.mstiMembers);
}

void mstiDel(Targets& targets, int id) {
  targets.writes.mstiMembers += static_cast<int>(targets.mstis.erase(id));
}

MstiRecord mstiRecord(Targets const& targets, int id, int object) {
  return recordOf(targets.mstis, id, object);
}

void mstiRecordIs(Targets& targets, int id, int object, MstiRecord const& record) {
  recordIs(targets.mstis, id, object, record, targets.writes.mstiRecords);
}

void mstiStateIs(Targets& targets, MstiRecord const& record) {
  targets.mstiStates[record.mstId] = record;
  ++targets.writes.mstiStates;
}

void mstiStateDel(Targets& targets, int id) {
  targets.writes.mstiStates += static_cast<int>(targets.mstiStates.erase(id));
}

void mstiStateDelAll(Targets& targets) {
  targets.writes.mstiStates += static_cast<int>(targets.mstiStates.size());
  targets.mstiStates.clear();
}

}  // namespace Model
