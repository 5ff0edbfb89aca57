#include "StpOper/TreeMirrors.h"

#include <optional>

#include "Lumo/RangeException.h"
#include "Stp/vlans/InstanceName.h"
#include "StpOper/Amendment.h"
#include "StpOper/EntityChild.h"

namespace Stp::Oper {

namespace {

// Where in the public model the tree of a name is; none if the protocol has no such tree.
std::optional<TreeId> treeIdOf(Mode mode, Lumo::String const& treeName) {
  switch (mode) {
    case Mode::stp:
    case Mode::rstp:
      return treeName == instanceIdToMstiName(0) ? std::optional(TreeId::rst()) : std::nullopt;
    case Mode::mstp: return TreeId::mst(mstiNameToInstanceId(treeName));
    case Mode::rapidPvst: break;
  }
  return std::nullopt;
}

Lumo::Ptr<TreeScope> scopeOf(Mode mode, Lumo::String const& treeName, bool running) {
  std::optional<TreeId> const tree = treeIdOf(mode, treeName);
  if (!tree) {
    Lumo::RangeException::throwException("the configured protocol has no tree " +
                                         treeName.toString());
  }
  auto scope = Lumo::make<TreeScope>();
  scope->valueIs<TreeScope::Id::tree, &TreeScopeTold::tree>(*tree);
  scope->valueIs<TreeScope::Id::running, &TreeScopeTold::running>(running);
  return scope;
}

// An MST instance knows the root of the region alone; the CIST shows that beside its own root.
bool stateAmended(OCTreeState& state, Operational::TreeTold const& told) {
  TreeId::Kind const kind = state.tree.kind();
  bool const isMst = kind == TreeId::Kind::mst;
  bool const isCist = kind == TreeId::Kind::cist;
  return Amendment()
      .set(state.bridge, told.bridgeId)
      .set(state.designatedRoot, isMst ? told.regionalRoot : told.designatedRoot)
      .set(state.rootCost, isMst ? told.internalRootCost : told.externalRootCost)
      .set(state.regionalRoot, isCist ? told.regionalRoot : std::nullopt)
      .set(state.regionalRootCost, isCist ? told.internalRootCost : std::nullopt)
      .set(state.rootPort, told.rootPort)
      .set(state.topologyChanges, told.topologyChanges)
      .set(state.lastTopologyChange, told.lastTopologyChange)
      .made();
}

}  // namespace

TreeScope::~TreeScope() = default;

OCTreeSm::OCTreeSm(Lumo::String const& name, Lumo::Ptr<Input::Config const> const& stpInputConfig,
                   Lumo::Ptr<Operational::Bridge const> const& bridge,
                   Lumo::Ptr<Operational::Tree const> const& tree,
                   Lumo::Ptr<OCTreeConfigDir> const& ocTreeConfigDir,
                   Lumo::Ptr<OCTreeStateDir> const& ocTreeStateDir,
                   Lumo::Ptr<OCTreePortConfigDir> const& ocTreePortConfigDir,
                   Lumo::Ptr<OCTreePortStateDir> const& ocTreePortStateDir,
                   Lumo::Ptr<OCTreePortCountersDir> const& ocTreePortCountersDir)
    : Reactor(name, stpInputConfig, bridge, tree, ocTreeConfigDir, ocTreeStateDir,
              ocTreePortConfigDir, ocTreePortStateDir, ocTreePortCountersDir),
      scope_(scopeOf(stpInputConfig->mode(), name, bridge->told().running)) {
  synchronise(&Self::handleConfig, &Self::handleState, &Self::handleInitialized);
}

bool OCTreeSm::mirrors(Lumo::Ptr<Operational::Tree const> const& of) const {
  return tree.pointer() == of && treeIdOf(stpInputConfig->mode(), name) == scope_->told().tree;
}

void OCTreeSm::handleInitialized() {
  auto const traced = trace<"handleInitialized", 58>();
  for (auto const& port : tree->port()) {
    Lumo::String const portName = port.key;
    handlePort(portName);
  }
}

void OCTreeSm::handleConfig() {
  auto const traced = trace<"handleConfig", 66>();
  if (scope_->told().tree.kind() == TreeId::Kind::mst) {
    return;
  }
  ocTreeConfigDir->recordAmend(scope_->told().tree, [this](OCTreeConfig& config) {
    auto const& bridgeId = tree->told().bridgeId;
    return Amendment()
        .set(config.bridgePriority, bridgeId ? std::optional(bridgeId->priority()) : std::nullopt)
        .made();
  });
}

void OCTreeSm::handleState() {
  auto const traced = trace<"handleState", 78>("running: ", bridge->told().running);
  if (bridge->told().running) {
    ocTreeStateDir->recordAmend(scope_->told().tree, [this](OCTreeState& state) {
      return stateAmended(state, tree->told());
    });
  } else {
    ocTreeStateDir->recordDel(scope_->told().tree);
  }
}

void OCTreeSm::handleRunning() {
  auto const traced = trace<"handleRunning", 89>("running: ", bridge->told().running);
  scope_->valueIs<TreeScope::Id::running, &TreeScopeTold::running>(bridge->told().running);
}

void OCTreeSm::handlePort(Lumo::String const& portName) {
  auto const traced = trace<"handlePort", 94>(portName);
  entityChildIs(
      ocTreePortSm, portName, [&] { return tree->port(portName); }, [&] { portWithdraw(portName); },
      [&](Lumo::Ptr<Operational::TreePort const> const& port) {
        return ocTreePortSmIs(portName, scope_, port, ocTreePortConfigDir, ocTreePortStateDir,
                              ocTreePortCountersDir);
      });
}

void OCTreeSm::withdraw() {
  auto const traced = trace<"withdraw", 106>();
  for (auto const& child : ocTreePortSm.members()) {
    Lumo::String const portName = child.key;
    portWithdraw(portName);
  }
  ocTreeConfigDir->recordDel(scope_->told().tree);
  ocTreeStateDir->recordDel(scope_->told().tree);
}

void OCTreeSm::portWithdraw(Lumo::String const& portName) {
  TreePortId const id{scope_->told().tree, Lanx::IntfId::of(portName)};
  ocTreePortSmDel(portName);
  ocTreePortConfigDir->recordDel(id);
  ocTreePortStateDir->recordDel(id);
  ocTreePortCountersDir->recordDel(id);
}

Lumo::Ptr<OCTreeSm> oCTreeSmFactory(Lumo::String const& name,
                                    Lumo::Ptr<Input::Config const> const& stpInputConfig,
                                    Lumo::Ptr<Operational::Bridge const> const& bridge,
                                    Lumo::Ptr<Operational::Tree const> const& tree,
                                    Lumo::Ptr<OCTreeConfigDir> const& ocTreeConfigDir,
                                    Lumo::Ptr<OCTreeStateDir> const& ocTreeStateDir,
                                    Lumo::Ptr<OCTreePortConfigDir> const& ocTreePortConfigDir,
                                    Lumo::Ptr<OCTreePortStateDir> const& ocTreePortStateDir,
                                    Lumo::Ptr<OCTreePortCountersDir> const& ocTreePortCountersDir) {
  return OCTreeSm::OCTreeSmIs(name, stpInputConfig, bridge, tree, ocTreeConfigDir, ocTreeStateDir,
                              ocTreePortConfigDir, ocTreePortStateDir, ocTreePortCountersDir);
}

OCTreeDirSm::OCTreeDirSm(Lumo::Ptr<Input::Config const> const& stpInputConfig,
                         Lumo::Ptr<Operational::Bridge const> const& bridge,
                         Lumo::Ptr<OCTreeConfigDir> const& ocTreeConfigDir,
                         Lumo::Ptr<OCTreeStateDir> const& ocTreeStateDir,
                         Lumo::Ptr<OCTreePortConfigDir> const& ocTreePortConfigDir,
                         Lumo::Ptr<OCTreePortStateDir> const& ocTreePortStateDir,
                         Lumo::Ptr<OCTreePortCountersDir> const& ocTreePortCountersDir)
    : Reactor(stpInputConfig, bridge, ocTreeConfigDir, ocTreeStateDir, ocTreePortConfigDir,
              ocTreePortStateDir, ocTreePortCountersDir) {
  synchronise(&Self::handleMode);
}

void OCTreeDirSm::handleMode() {
  auto const traced = trace<"handleMode", 152>("mode: ", static_cast<int>(stpInputConfig->mode()));
  for (auto const& child : ocTreeSm.members()) {
    Lumo::String const treeName = child.key;
    treeWithdraw(treeName);
  }
  for (auto const& tree : bridge->tree()) {
    Lumo::String const treeName = tree.key;
    handleTree(treeName);
  }
}

void OCTreeDirSm::handleTree(Lumo::String const& treeName) {
  auto const traced = trace<"handleTree", 164>(treeName);
  auto const tree = [&]() -> Lumo::Ptr<Operational::Tree const> {
    bool const isOfProtocol = treeIdOf(stpInputConfig->mode(), treeName).has_value();
    return isOfProtocol ? bridge->tree(treeName) : nullptr;
  };
  entityChildIs(
      ocTreeSm, treeName, tree, [&] { treeWithdraw(treeName); },
      [&](Lumo::Ptr<Operational::Tree const> const& of) {
        return ocTreeSmIs(treeName, stpInputConfig, bridge, of, ocTreeConfigDir, ocTreeStateDir,
                          ocTreePortConfigDir, ocTreePortStateDir, ocTreePortCountersDir);
      });
}

void OCTreeDirSm::treeWithdraw(Lumo::String const& treeName) {
  Lumo::Ptr<OCTreeSm> const tree = ocTreeSmDel(treeName);
  tree->withdraw();
}

Lumo::Ptr<OCTreeDirSm> oCTreeDirSmFactory(
    Lumo::Ptr<Input::Config const> const& stpInputConfig,
    Lumo::Ptr<Operational::Bridge const> const& bridge,
    Lumo::Ptr<OCTreeConfigDir> const& ocTreeConfigDir,
    Lumo::Ptr<OCTreeStateDir> const& ocTreeStateDir,
    Lumo::Ptr<OCTreePortConfigDir> const& ocTreePortConfigDir,
    Lumo::Ptr<OCTreePortStateDir> const& ocTreePortStateDir,
    Lumo::Ptr<OCTreePortCountersDir> const& ocTreePortCountersDir) {
  return OCTreeDirSm::OCTreeDirSmIs(stpInputConfig, bridge, ocTreeConfigDir, ocTreeStateDir,
                                    ocTreePortConfigDir, ocTreePortStateDir, ocTreePortCountersDir);
}

}  // namespace Stp::Oper
