#include "MstpConfig.h"

#include "Failures.h"

namespace Model::MstpConfig {

namespace {

constexpr int largestPriority = 61440;
constexpr int largestInstance = 4095;

MstpConfigTree& treeOf(State& state) {
  return state.mstpConfig;
}

Bytes const& mapOf(State const& state) {
  return state.sources.inputConfig.vidToMsti;
}

std::vector<int> instancesOf(State const& state) {
  std::vector<int> ids;
  for (auto const& [id, msti] : state.targets.mstis) {
    if (id > largestInstance) {
      throw Ends{"how far the walk came before an instance without a name is nobody's promise"};
    }
    ids.push_back(id);
  }
  return ids;
}

void bridgePriority(State& state, int id, MstiConfigMirror const& mirror) {
  int const priority = at(state.sources.mstiConfigs, mirror.source).bridgePriority;
  if (priority > largestPriority) {
    throw Refused{Outcome::outOfRange};
  }
  MstiRecord record = mstiRecord(state.targets, id, mirror.msti);
  record.bridgePriority = priority;
  mstiRecordIs(state.targets, id, mirror.msti, record);
}

void mstiMirrorIs(State& state, MstpInstanceMirror& instance, int id, Ref source, int msti) {
  if (MstiConfigMirror const* const present = instance.mstis.find(id)) {
    if (present->source != source || present->msti != msti) {
      throw Refused{Outcome::reinstantiated};
    }
    return;
  }
  MstiConfigMirror const mirror{watchOf(state, source), msti};
  bridgePriority(state, id, mirror);
  instance.mstis.put(id, mirror);
}

void handleMsti(State& state, MstpInstanceMirror& instance, int id) {
  Ref const* const source = at(state.sources.stpiConfigs, instance.source).mstis.find(id);
  if (source == nullptr) {
    instance.mstis.erase(id);
    mstiDel(state.targets, id);
    return;
  }
  bool const known = state.targets.mstis.contains(id);
  int const msti = mstiIs(state.targets, id);
  if (!known) {
    MstiRecord record = mstiRecord(state.targets, id, msti);
    record.mstId = at(state.sources.mstiConfigs, *source).mstiId;
    mstiRecordIs(state.targets, id, msti, record);
  }
  mstiMirrorIs(state, instance, id, *source, msti);
}

bool mapKeeps(Bytes const& map, int id) {
  return id == 0 ? entryCount(map) != 4094 : anyEntryNames(map, id);
}

MstpInstanceMirror instanceOf(State& state, Ref source) {
  MstpInstanceMirror instance{watchOf(state, source), {}};
  auto const& configured = at(state.sources.stpiConfigs, source).mstis;
  for (int const id : instancesOf(state)) {
    if (!configured.has(id) && !mapKeeps(mapOf(state), id)) {
      mstiDel(state.targets, id);
    }
  }
  for (int const id : configured.keys()) {
    handleMsti(state, instance, id);
  }
  return instance;
}

}  // namespace

void handleVlanMapping(State& state) {
  Decoded const& decoded = decode(mapOf(state));
  for (auto const& [id, vlans] : decoded) {
    int const msti = mstiIs(state.targets, id);
    int const priority = mstiRecord(state.targets, id, msti).bridgePriority;
    mstiRecordIs(state.targets, id, msti, MstiRecord{id, priority, vlans});
  }
  Ref const* const mst = state.sources.inputConfig.instances.find(mstp);
  for (int const id : instancesOf(state)) {
    if (decoded.contains(id)) {
      continue;
    }
    int const msti = state.targets.mstis.at(id).object;
    MstiRecord record = mstiRecord(state.targets, id, msti);
    record.vlan.clear();
    mstiRecordIs(state.targets, id, msti, record);
    if (mst == nullptr || !at(state.sources.stpiConfigs, *mst).mstis.has(id)) {
      mstiDel(state.targets, id);
    }
  }
}

void handleInstance(State& state, int instance) {
  if (instance != mstp) {
    return;
  }
  auto& mirror = treeOf(state).instance;
  Ref const* const source = state.sources.inputConfig.instances.find(mstp);
  if (source == nullptr) {
    mirror.reset();
  } else if (!mirror) {
    mirror = instanceOf(state, *source);
  } else if (mirror->source != *source) {
    throw Refused{Outcome::reinstantiated};
  }
  handleVlanMapping(state);
}

void handleInitialized(State& state) {
  if (state.sources.inputConfig.instances.has(mstp)) {
    handleInstance(state, mstp);
    return;
  }
  auto const mstis = state.targets.mstis;
  for (auto const& [id, msti] : mstis) {
    mstiDel(state.targets, id);
  }
}

void start(State& state) {
  handleInitialized(state);
  handleVlanMapping(state);
}

void activeIs(State& state, bool active) {
  auto& instance = treeOf(state).instance;
  if (instance && Model::activeIs(state, *instance, active)) {
    for (auto& msti : instance->mstis) {
      Model::activeIs(state, msti.value, active);
    }
  }
}

void inputConfigChanged(State& state, int field, int key) {
  if (!treeOf(state).hears()) {
    return;
  }
  if (field == 298) {
    handleVlanMapping(state);
  } else if (field == 387) {
    handleInstance(state, key);
  }
}

void stpiConfigChanged(State& state, Ref instance, int field, int key) {
  auto& mirror = treeOf(state).instance;
  if (mirror && mirror->follows(instance) && field == 259) {
    handleMsti(state, *mirror, key);
  }
}

void mstiConfigChanged(State& state, Ref msti, int field) {
  auto const& instance = treeOf(state).instance;
  if (!instance || field != 259) {
    return;
  }
  auto const follows = [msti](Watch const& watch) { return watch.follows(msti); };
  for (int const id : keysInTurn(instance->mstis, follows)) {
    bridgePriority(state, id, *instance->mstis.find(id));
  }
}

}  // namespace Model::MstpConfig
