// The trees of the bridge: of RSTP under /stp/rstp, the CIST and the MST instances under /stp/mstp.
//
//   OCTreeDirSm       keeps a mirror for every tree that the configured protocol has
//    +- OCTreeSm      by tree: its root, and a mirror for every port
//        +- OCTreePortSm   by port (TreePortMirror.h)
//
// What was said of a tree, or of a port in it, goes with it.
#pragma once

#include <tuple>

#include "Base/Api.h"
#include "Stp/frame/Reactor.h"
#include "StpOper/Module.h"
#include "StpOper/TreePortMirror.h"
#include "StpOper/TreeScope.h"
#include "StpTypes/Input.h"
#include "StpTypes/OpenConfigOperational.h"
#include "StpTypes/Operational.h"

namespace Stp::Oper {

struct STP_API OCTreeSmAttributes {
  Key name;
  Held<"stpInputConfig", Input::Config const> stpInputConfig;
  Source<"bridge", Operational::Bridge const> bridge;
  Source<"tree", Operational::Tree const> tree;
  Target<"ocTreeConfigDir", OCTreeConfigDir> ocTreeConfigDir;
  Target<"ocTreeStateDir", OCTreeStateDir> ocTreeStateDir;
  Held<"ocTreePortConfigDir", OCTreePortConfigDir> ocTreePortConfigDir;
  Held<"ocTreePortStateDir", OCTreePortStateDir> ocTreePortStateDir;
  Held<"ocTreePortCountersDir", OCTreePortCountersDir> ocTreePortCountersDir;
  Children<"ocTreePortSm", OCTreePortSm> ocTreePortSm;
};

/// Keeps the records of one tree, and a mirror for each of its ports.
class STP_API OCTreeSm final : public Reactor<OCTreeSm, OCTreeSmAttributes, Module> {
 public:
  /// All must be present. A name that is no MST instance's, or not "Cist" outside MSTP, throws
  /// Lumo::RangeException.
  OCTreeSm(Lumo::String const& name, Lumo::Ptr<Input::Config const> const& stpInputConfig,
           Lumo::Ptr<Operational::Bridge const> const& bridge,
           Lumo::Ptr<Operational::Tree const> const& tree,
           Lumo::Ptr<OCTreeConfigDir> const& ocTreeConfigDir,
           Lumo::Ptr<OCTreeStateDir> const& ocTreeStateDir,
           Lumo::Ptr<OCTreePortConfigDir> const& ocTreePortConfigDir,
           Lumo::Ptr<OCTreePortStateDir> const& ocTreePortStateDir,
           Lumo::Ptr<OCTreePortCountersDir> const& ocTreePortCountersDir);

  static constexpr auto OCTreeSmIs = &create;
  static constexpr auto bridgeDispatch = &dispatch<Operational::Bridge>;
  static constexpr auto treeDispatch = &dispatch<Operational::Tree>;

  /// Whether it was made for this entity, and for the protocol that is configured now.
  bool mirrors(Lumo::Ptr<Operational::Tree const> const& of) const;

  /// Brings in every port.
  void handleInitialized();

  /// The bridge priority is configuration of the CIST and of RSTP; that of an MST instance has a
  /// record elsewhere.
  void handleConfig();
  void handleState();

  /// Tells the mirrors of the ports whether the protocol runs.
  void handleRunning();

  /// Brings a port in, anew if it is another entity than before, or drops it.
  void handlePort(Lumo::String const& portName);

  /// Drops all ports and deletes what was said of the tree and of them. Whoever holds the mirror is
  /// to drop it next.
  void withdraw();

  /// The child of a port, which must be made from the same entities, or else
  /// Vel::ReinstantiationException is thrown; a new, active one where there is none.
  Lumo::Ptr<OCTreePortSm> ocTreePortSmIs(Lumo::String const& portName,
                                         Lumo::Ptr<TreeScope const> const& scope,
                                         Lumo::Ptr<Operational::TreePort const> const& port,
                                         Lumo::Ptr<OCTreePortConfigDir> const& configDir,
                                         Lumo::Ptr<OCTreePortStateDir> const& stateDir,
                                         Lumo::Ptr<OCTreePortCountersDir> const& countersDir) {
    return ocTreePortSm.is(portName, scope, port, configDir, stateDir, countersDir);
  }
  /// Takes a child out of the set and returns it, as active as it was; null where there is none.
  Lumo::Ptr<OCTreePortSm> ocTreePortSmDel(Lumo::String const& portName) {
    return ocTreePortSm.del(portName);
  }
  void ocTreePortSmDelAll() { ocTreePortSm.delAll(); }

  static constexpr auto operations = std::tuple{
      Op{"handleInitialized", &Self::handleInitialized},
      Op{"handleConfig", &Self::handleConfig, Operational::Tree::Id::bridgeId},
      Op{"handleState", &Self::handleState, Operational::Bridge::Id::running,
         Operational::Tree::Id::bridgeId, Operational::Tree::Id::designatedRoot,
         Operational::Tree::Id::externalRootCost, Operational::Tree::Id::regionalRoot,
         Operational::Tree::Id::internalRootCost, Operational::Tree::Id::rootPort,
         Operational::Tree::Id::topologyChanges, Operational::Tree::Id::lastTopologyChange},
      Op{"handleRunning", &Self::handleRunning, Operational::Bridge::Id::running},
      Op{"handlePort", &Self::handlePort, Operational::Tree::Id::port},
      Op{"withdraw", &Self::withdraw},
  };

 private:
  [[gnu::visibility("hidden")]] void portWithdraw(Lumo::String const& portName);

  Lumo::Ptr<TreeScope> const scope_;
};

/// A new, active mirror of one tree.
STP_API Lumo::Ptr<OCTreeSm> oCTreeSmFactory(
    Lumo::String const& name, Lumo::Ptr<Input::Config const> const& stpInputConfig,
    Lumo::Ptr<Operational::Bridge const> const& bridge,
    Lumo::Ptr<Operational::Tree const> const& tree,
    Lumo::Ptr<OCTreeConfigDir> const& ocTreeConfigDir,
    Lumo::Ptr<OCTreeStateDir> const& ocTreeStateDir,
    Lumo::Ptr<OCTreePortConfigDir> const& ocTreePortConfigDir,
    Lumo::Ptr<OCTreePortStateDir> const& ocTreePortStateDir,
    Lumo::Ptr<OCTreePortCountersDir> const& ocTreePortCountersDir);

struct STP_API OCTreeDirSmAttributes {
  Source<"stpInputConfig", Input::Config const> stpInputConfig;
  Source<"bridge", Operational::Bridge const> bridge;
  Held<"ocTreeConfigDir", OCTreeConfigDir> ocTreeConfigDir;
  Held<"ocTreeStateDir", OCTreeStateDir> ocTreeStateDir;
  Held<"ocTreePortConfigDir", OCTreePortConfigDir> ocTreePortConfigDir;
  Held<"ocTreePortStateDir", OCTreePortStateDir> ocTreePortStateDir;
  Held<"ocTreePortCountersDir", OCTreePortCountersDir> ocTreePortCountersDir;
  Children<"ocTreeSm", OCTreeSm> ocTreeSm;
};

/// Keeps a mirror for every tree that the configured protocol has: STP and RSTP one, that of the
/// CIST's name, MSTP all, and any other protocol none.
class STP_API OCTreeDirSm final : public Reactor<OCTreeDirSm, OCTreeDirSmAttributes, Module> {
 public:
  /// All must be present.
  OCTreeDirSm(Lumo::Ptr<Input::Config const> const& stpInputConfig,
              Lumo::Ptr<Operational::Bridge const> const& bridge,
              Lumo::Ptr<OCTreeConfigDir> const& ocTreeConfigDir,
              Lumo::Ptr<OCTreeStateDir> const& ocTreeStateDir,
              Lumo::Ptr<OCTreePortConfigDir> const& ocTreePortConfigDir,
              Lumo::Ptr<OCTreePortStateDir> const& ocTreePortStateDir,
              Lumo::Ptr<OCTreePortCountersDir> const& ocTreePortCountersDir);

  static constexpr auto OCTreeDirSmIs = &create;
  static constexpr auto stpInputConfigDispatch = &dispatch<Input::Config>;
  static constexpr auto bridgeDispatch = &dispatch<Operational::Bridge>;

  /// Another protocol has its trees elsewhere: all are brought in anew.
  void handleMode();
  /// Brings a tree in, anew if it is another entity than before, or drops it.
  void handleTree(Lumo::String const& treeName);

  /// The child of a tree, which must be made from the same entities, or else
  /// Vel::ReinstantiationException is thrown; a new, active one where there is none.
  Lumo::Ptr<OCTreeSm> ocTreeSmIs(Lumo::String const& treeName,
                                 Lumo::Ptr<Input::Config const> const& inputConfig,
                                 Lumo::Ptr<Operational::Bridge const> const& ofBridge,
                                 Lumo::Ptr<Operational::Tree const> const& tree,
                                 Lumo::Ptr<OCTreeConfigDir> const& configDir,
                                 Lumo::Ptr<OCTreeStateDir> const& stateDir,
                                 Lumo::Ptr<OCTreePortConfigDir> const& portConfigDir,
                                 Lumo::Ptr<OCTreePortStateDir> const& portStateDir,
                                 Lumo::Ptr<OCTreePortCountersDir> const& portCountersDir) {
    return ocTreeSm.is(treeName, inputConfig, ofBridge, tree, configDir, stateDir, portConfigDir,
                       portStateDir, portCountersDir);
  }
  /// Takes a child out of the set and returns it, as active as it was; null where there is none.
  Lumo::Ptr<OCTreeSm> ocTreeSmDel(Lumo::String const& treeName) { return ocTreeSm.del(treeName); }
  void ocTreeSmDelAll() { ocTreeSm.delAll(); }

  static constexpr auto operations = std::tuple{
      Op{"handleMode", &Self::handleMode, Input::Config::Id::mode},
      Op{"handleTree", &Self::handleTree, Operational::Bridge::Id::tree},
  };

 private:
  [[gnu::visibility("hidden")]] void treeWithdraw(Lumo::String const& treeName);
};

/// A new, active mirror of all trees.
STP_API Lumo::Ptr<OCTreeDirSm> oCTreeDirSmFactory(
    Lumo::Ptr<Input::Config const> const& stpInputConfig,
    Lumo::Ptr<Operational::Bridge const> const& bridge,
    Lumo::Ptr<OCTreeConfigDir> const& ocTreeConfigDir,
    Lumo::Ptr<OCTreeStateDir> const& ocTreeStateDir,
    Lumo::Ptr<OCTreePortConfigDir> const& ocTreePortConfigDir,
    Lumo::Ptr<OCTreePortStateDir> const& ocTreePortStateDir,
    Lumo::Ptr<OCTreePortCountersDir> const& ocTreePortCountersDir);

}  // namespace Stp::Oper
