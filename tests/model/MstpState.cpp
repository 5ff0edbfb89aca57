#include "MstpState.h"

#include "Failures.h"

namespace Model::MstpState {

namespace {

constexpr int largestPriority = 61440;
constexpr int largestInstance = 4095;

MstpStateTree& treeOf(State& state) {
  return state.mstpState;
}

// A new record that takes the members over that the stored one has.
MstiRecord recordOf(State const& state, int id) {
  auto const found = state.targets.mstiStates.find(id);
  MstiRecord record = found != state.targets.mstiStates.end() ? found->second : MstiRecord();
  record.mstId = id;
  return record;
}

void leavesDel(State& state) {
  treeOf(state).instance.reset();
  treeOf(state).mstis.clear();
}

void bump(State& state, int trigger) {
  if (trigger != treeOf(state).trigger) {
    return;  // nobody watches an earlier trigger
  }
  if (!treeOf(state).active) {
    throw Ends{"whether an inactive main mirror hears its own trigger is nobody's promise"};
  }
  if (!treeOf(state).zombie) {
    notified([&] { update(state); });
  }
}

void vlans(State& state, Decoded const& decoded) {
  for (auto const& [id, list] : decoded) {
    MstiRecord record = recordOf(state, id);
    record.vlan = list;
    mstiStateIs(state.targets, record);
  }
}

void priorities(State& state, Ref instance) {
  MstpStateTree& tree = treeOf(state);
  if (!tree.instance) {
    tree.instance = TriggerLeaf{watchOf(state, instance), tree.trigger};
  }
  auto const& mstis = at(state.sources.stpiStatuses, instance).mstis;
  for (auto const& msti : mstis) {
    MstiRecord record = recordOf(state, msti.key);
    record.bridgePriority = at(state.sources.mstiStatuses, msti.value).bridgePriority;
    if (record.bridgePriority > largestPriority) {
      throw Refused{Outcome::outOfRange};
    }
    mstiStateIs(state.targets, record);
    if (!tree.mstis.has(msti.key)) {
      tree.mstis.put(msti.key, TriggerLeaf{watchOf(state, msti.value), tree.trigger});
    }
  }
  for (int const id : tree.mstis.keys()) {
    if (!mstis.has(id)) {
      tree.mstis.erase(id);
    }
  }
}

}  // namespace

void update(State& state) {
  if (state.sources.status.activeProtocol != 3) {
    leavesDel(state);
    mstiStateDelAll(state.targets);
    return;
  }
  Decoded const& decoded = decode(state.sources.config.vidToMsti);
  vlans(state, decoded);
  Ref const* const mst = state.sources.status.instances.find(mstp);
  if (mst == nullptr) {
    mstiStateDelAll(state.targets);
    leavesDel(state);
  } else {
    priorities(state, *mst);
  }
  auto const states = state.targets.mstiStates;
  for (auto const& [id, record] : states) {
    if (id > largestInstance) {
      throw Ends{"how far the walk came before an instance without a name is nobody's promise"};
    }
    bool const reported = mst != nullptr && at(state.sources.stpiStatuses, *mst).mstis.has(id);
    if (!decoded.contains(id) && !reported) {
      mstiStateDel(state.targets, id);
    }
  }
}

void handleInitialized(State& state) {
  ++treeOf(state).trigger;
}

void start(State& state) {
  handleInitialized(state);
  update(state);
}

void triggerInc(State& state) {
  bump(state, treeOf(state).trigger);
}

void activeIs(State& state, bool active) {
  if (auto& instance = treeOf(state).instance) {
    Model::activeIs(state, *instance, active);
  }
  for (auto& msti : treeOf(state).mstis) {
    Model::activeIs(state, msti.value, active);
  }
}

void configChanged(State& state, int field) {
  if (treeOf(state).hears() && field == 298) {
    triggerInc(state);
  }
}

void statusChanged(State& state, int field) {
  if (treeOf(state).hears() && (field == 258 || field == 259)) {
    triggerInc(state);
  }
}

void stpiStatusChanged(State& state, Ref instance, int field) {
  auto const& leaf = treeOf(state).instance;
  if (leaf && leaf->follows(instance) && field == 262) {
    bump(state, leaf->trigger);
  }
}

void mstiStatusChanged(State& state, Ref msti, int field) {
  if (field != 259) {
    return;
  }
  auto const follows = [msti](Watch const& watch) { return watch.follows(msti); };
  std::vector<std::pair<int, std::uint64_t>> told;
  for (int const id : keysInTurn(treeOf(state).mstis, follows)) {
    told.emplace_back(id, treeOf(state).mstis.find(id)->since);
  }
  for (auto const& [id, since] : told) {
    TriggerLeaf const* const leaf = treeOf(state).mstis.find(id);
    if (leaf != nullptr && leaf->since == since) {  // an update before may have dropped it
      bump(state, leaf->trigger);
    }
  }
}

}  // namespace Model::MstpState
