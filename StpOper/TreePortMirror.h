// A port of a tree, as interfaces/interface config and state below the tree.
#pragma once

#include <tuple>

#include "Base/Api.h"
#include "Stp/frame/Reactor.h"
#include "StpOper/Module.h"
#include "StpOper/TreeScope.h"
#include "StpTypes/OpenConfigOperational.h"
#include "StpTypes/Operational.h"

namespace Stp::Oper {

struct STP_API OCTreePortSmAttributes {
  Key name;
  Source<"scope", TreeScope const> scope;
  Source<"port", Operational::TreePort const> port;
  Target<"ocTreePortConfigDir", OCTreePortConfigDir> ocTreePortConfigDir;
  Target<"ocTreePortStateDir", OCTreePortStateDir> ocTreePortStateDir;
  Target<"ocTreePortCountersDir", OCTreePortCountersDir> ocTreePortCountersDir;
};

/// Keeps the records of one port in one tree. State and counters are there while the protocol runs;
/// an MST instance's port has no counters.
class STP_API OCTreePortSm final : public Reactor<OCTreePortSm, OCTreePortSmAttributes, Module> {
 public:
  using Told = Operational::TreePortTold;

  /// All must be present.
  OCTreePortSm(Lumo::String const& name, Lumo::Ptr<TreeScope const> const& scope,
               Lumo::Ptr<Operational::TreePort const> const& port,
               Lumo::Ptr<OCTreePortConfigDir> const& ocTreePortConfigDir,
               Lumo::Ptr<OCTreePortStateDir> const& ocTreePortStateDir,
               Lumo::Ptr<OCTreePortCountersDir> const& ocTreePortCountersDir);

  static constexpr auto OCTreePortSmIs = &create;
  static constexpr auto scopeDispatch = &dispatch<TreeScope>;
  static constexpr auto portDispatch = &dispatch<Operational::TreePort>;

  /// Whether it was made for this entity.
  bool mirrors(Lumo::Ptr<Operational::TreePort const> const& of) const {
    return port.pointer() == of;
  }

  /// The record of the configuration; it keeps the port's entry whatever runs.
  void handleConfig();

  /// The whole record of the state.
  void handleState();
  /// Each changes what its attributes say in the record of the state, while there is one.
  void handlePortId();
  void handleCost();
  void handleRole();
  void handlePortState();
  void handleDesignatedRoot();
  void handleDesignatedCost();
  void handleDesignatedBridge();
  void handleDesignatedPort();
  void handleForwardTransitions();
  void handleDisputed();

  /// The record of the counters.
  void handleCounters();

  static constexpr auto operations = std::tuple{
      Op{"handleConfig", &Self::handleConfig, Operational::TreePort::Id::portId},
      Op{"handleState", &Self::handleState, TreeScope::Id::running},
      Op{"handlePortId", &Self::handlePortId, Operational::TreePort::Id::portId},
      Op{"handleCost", &Self::handleCost, Operational::TreePort::Id::externalCost,
         Operational::TreePort::Id::internalCost},
      Op{"handleRole", &Self::handleRole, Operational::TreePort::Id::role},
      Op{"handlePortState", &Self::handlePortState, Operational::TreePort::Id::state},
      Op{"handleDesignatedRoot", &Self::handleDesignatedRoot,
         Operational::TreePort::Id::designatedRoot,
         Operational::TreePort::Id::designatedRegionalRoot},
      Op{"handleDesignatedCost", &Self::handleDesignatedCost,
         Operational::TreePort::Id::designatedExternalCost,
         Operational::TreePort::Id::designatedInternalCost},
      Op{"handleDesignatedBridge", &Self::handleDesignatedBridge,
         Operational::TreePort::Id::designatedBridge},
      Op{"handleDesignatedPort", &Self::handleDesignatedPort,
         Operational::TreePort::Id::designatedPort},
      Op{"handleForwardTransitions", &Self::handleForwardTransitions,
         Operational::TreePort::Id::forwardTransitions},
      Op{"handleDisputed", &Self::handleDisputed, Operational::TreePort::Id::disputed},
      Op{"handleCounters", &Self::handleCounters, TreeScope::Id::running,
         Operational::TreePort::Id::bpduSent, Operational::TreePort::Id::bpduReceived},
  };

 private:
  template <auto... rules>
  [[gnu::visibility("hidden")]] void amend();

  TreePortId const id_;
};

/// A new, active mirror of one port in one tree.
STP_API Lumo::Ptr<OCTreePortSm> oCTreePortSmFactory(
    Lumo::String const& name, Lumo::Ptr<TreeScope const> const& scope,
    Lumo::Ptr<Operational::TreePort const> const& port,
    Lumo::Ptr<OCTreePortConfigDir> const& ocTreePortConfigDir,
    Lumo::Ptr<OCTreePortStateDir> const& ocTreePortStateDir,
    Lumo::Ptr<OCTreePortCountersDir> const& ocTreePortCountersDir);

}  // namespace Stp::Oper
