#include "Model.h"

#include <set>

#include "Global.h"
#include "InterfaceConfig.h"
#include "InterfaceState.h"
#include "MstpConfig.h"
#include "MstpState.h"
#include "SourceChanges.h"

namespace Model {

namespace {

Root& rootOf(State& state, Tree tree) {
  switch (tree) {
    case Tree::globalConfig: return state.globalConfig;
    case Tree::globalState: return state.globalState;
    case Tree::vlanSyncher: return state.vlanSyncher;
    case Tree::interfaceConfig: return state.interfaceConfig;
    case Tree::interfaceState: return state.interfaceState;
    case Tree::mstpConfig: return state.mstpConfig;
    default: return state.mstpState;
  }
}

void stop(State& state, Tree tree) {
  switch (tree) {
    case Tree::interfaceConfig: state.interfaceConfig = {}; return;
    case Tree::interfaceState: state.interfaceState = {}; return;
    case Tree::mstpConfig: state.mstpConfig = {}; return;
    case Tree::mstpState: state.mstpState = {}; return;
    default: rootOf(state, tree) = {};
  }
}

void initialise(State& state, Tree tree) {
  switch (tree) {
    case Tree::globalConfig: return Global::configStart(state);
    case Tree::globalState: return Global::stateStart(state);
    case Tree::vlanSyncher: return;
    case Tree::interfaceConfig: return InterfaceConfig::handleInitialized(state);
    case Tree::interfaceState: return InterfaceState::handleInitialized(state);
    case Tree::mstpConfig: return MstpConfig::start(state);
    case Tree::mstpState: return MstpState::start(state);
  }
}

void start(State& state, Tree tree) {
  stop(state, tree);
  try {
    initialise(state, tree);
  } catch (Refused const&) {
    stop(state, tree);
    throw;
  }
  rootOf(state, tree).exists = true;
  rootOf(state, tree).active = tree != Tree::vlanSyncher;
}

void activate(State& state, Tree tree, bool active) {
  Root& root = rootOf(state, tree);
  if (root.active == active) {
    return;
  }
  root.active = active;
  switch (tree) {
    case Tree::interfaceConfig: return InterfaceConfig::activeIs(state, active);
    case Tree::interfaceState: return InterfaceState::activeIs(state, active);
    case Tree::mstpConfig: return MstpConfig::activeIs(state, active);
    case Tree::mstpState: return MstpState::activeIs(state, active);
    default: return;
  }
}

void call(State& state, Call what, int key) {
  switch (what) {
    case Call::configProtocol: return Global::configProtocol(state);
    case Call::configGuard: return Global::configGuard(state);
    case Call::configVlans: return Global::configVlans(state);
    case Call::stateProtocol: return Global::stateProtocol(state);
    case Call::stateGuard: return Global::stateGuard(state);
    case Call::stateVlans: return Global::stateVlans(state);
    case Call::sync: return Global::syncDisabledVlan(state);
    case Call::interfaceConfigInitialized: return InterfaceConfig::handleInitialized(state);
    case Call::interfaceConfigPort: return InterfaceConfig::handleInterface(state, key);
    case Call::interfaceConfigInstance: return InterfaceConfig::handleInstance(state, key);
    case Call::interfaceConfigCleanUp: return InterfaceConfig::cleanUp(state);
    case Call::interfaceConfigPortDel: state.interfaceConfig.ports.erase(key); return;
    case Call::interfaceConfigInstanceDel: state.interfaceConfig.instances.erase(key); return;
    case Call::interfaceStateInitialized: return InterfaceState::handleInitialized(state);
    case Call::interfaceStateInstance: return InterfaceState::handleInstance(state, key);
    case Call::interfaceStateInstanceDel: state.interfaceState.instances.erase(key); return;
    case Call::mstpConfigInitialized: return MstpConfig::handleInitialized(state);
    case Call::mstpConfigVlans: return MstpConfig::handleVlanMapping(state);
    case Call::mstpConfigInstance: return MstpConfig::handleInstance(state, key);
    case Call::mstpConfigInstanceDel:
      if (key == mstp) {
        state.mstpConfig.instance.reset();
      }
      return;
    case Call::mstpStateInitialized: return MstpState::handleInitialized(state);
    case Call::mstpStateUpdate: return MstpState::update(state);
    case Call::mstpStateTrigger: return MstpState::triggerInc(state);
    case Call::mstpStateLeafDel: state.mstpState.instance.reset(); return;
    case Call::mstpStateLeavesDel: state.mstpState.mstis.clear(); return;
  }
}

// What others write into the targets.
void stage(State& state, Operation const& operation) {
  auto const [what, a, b, c, d] = operation;
  Targets& targets = state.targets;
  bool const goes = b == 1;
  bool const changes = b == 2;
  if (what == Do::stageGlobal) {
    (a == 0 ? globalConfigIs : globalStateIs)(targets, stagedGlobal(b));
  } else if (what == Do::stageInterface && goes) {
    interfaceDel(targets, a);
  } else if (what == Do::stageInterface) {
    int const object = interfaceIs(targets, a);
    if (changes) {
      interfaceRecordIs(targets, a, object, stagedInterface(c));
    }
  } else if (what == Do::stageIfState) {
    goes ? interfaceStateDel(targets, a) : interfaceStateIs(targets, stagedInterfaceState(a, c));
  } else if (what == Do::stageMsti && goes) {
    mstiDel(targets, a);
  } else if (what == Do::stageMsti) {
    int const object = mstiIs(targets, a);
    if (changes) {
      mstiRecordIs(targets, a, object, stagedMsti(c));
    }
  } else {
    goes ? mstiStateDel(targets, a) : mstiStateIs(targets, stagedMstiState(a, c));
  }
}

void applyOrRefuse(State& state, Operation const& operation) {
  auto const [what, a, b, c, d] = operation;
  auto const tree = static_cast<Tree>(a);
  switch (what) {
    case Do::start: return start(state, tree);
    case Do::stop: return stop(state, tree);
    case Do::activate:
      if (rootOf(state, tree).exists && tree != Tree::vlanSyncher) {
        activate(state, tree, b != 0);
      }
      return;
    case Do::sweep:
      if (rootOf(state, tree).exists) {
        rootOf(state, tree).zombie = b != 0;
      }
      return;
    case Do::call:
      if (rootOf(state, static_cast<Tree>(treeOf(static_cast<Call>(a)))).exists) {
        call(state, static_cast<Call>(a), b);
      }
      return;
    case Do::stageGlobal:
    case Do::stageInterface:
    case Do::stageIfState:
    case Do::stageMsti:
    case Do::stageMstiState: return stage(state, operation);
    default: return notified([&] { changeSource(state, operation); });
  }
}

// The present trigger, and earlier ones that leaves still have.
std::uint64_t triggers(MstpStateTree const& tree) {
  std::set<int> alive;
  if (tree.exists) {
    alive.insert(tree.trigger);
  }
  if (tree.instance) {
    alive.insert(tree.instance->trigger);
  }
  for (auto const& msti : tree.mstis) {
    alive.insert(msti.value.trigger);
  }
  return alive.size();
}

}  // namespace

State freshState() {
  State state;
  for (std::size_t kind = firstPooled; kind < kinds; ++kind) {
    int const size = handSize(static_cast<Kind>(kind));
    state.sources.hand.at(kind).resize(static_cast<std::size_t>(size));
    for (int hand = 0; hand < size; ++hand) {
      renew(state, static_cast<Kind>(kind), hand);
    }
  }
  return state;
}

Outcome apply(State& state, Operation const& operation) {
  try {
    applyOrRefuse(state, operation);
    return Outcome::done;
  } catch (Refused const& refused) {
    return refused.outcome;
  }
}

std::array<std::uint64_t, 16> liveObjects(State const& state) {
  std::uint64_t portStates = 0;
  for (auto const& instance : state.interfaceState.instances) {
    portStates += instance.value.ports.size();
  }
  auto const& mst = state.mstpConfig.instance;
  auto const one = [](bool exists) { return std::uint64_t{exists ? 1U : 0U}; };
  return {one(state.globalConfig.exists),
          one(state.vlanSyncher.exists),
          one(state.globalState.exists),
          state.interfaceConfig.ports.size(),
          state.interfaceConfig.instances.size(),
          one(state.interfaceConfig.exists),
          portStates,
          state.interfaceState.instances.size(),
          one(state.interfaceState.exists),
          mst ? mst->mstis.size() : 0,
          one(mst.has_value()),
          one(state.mstpConfig.exists),
          triggers(state.mstpState),
          one(state.mstpState.instance.has_value()),
          state.mstpState.mstis.size(),
          one(state.mstpState.exists)};
}

}  // namespace Model
