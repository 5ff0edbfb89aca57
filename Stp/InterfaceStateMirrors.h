// The interface state mirrors: what the engine says of each port, as /stp/interfaces state.
//
//   OCInterfaceStateDirSm        the directory
//    +- OCStpiStatusSm           by instance
//        +- OCStpiPortStatusSm   by port: the one that writes
//
// No record is ever removed: the directory keeps the last state of every interface that any
// instance reported, also when instance and mirror have gone.
#pragma once

#include <tuple>

#include "Base/Api.h"
#include "Stp/Module.h"
#include "Stp/frame/Reactor.h"
#include "StpTypes/OpenConfigState.h"
#include "StpTypes/Status.h"

namespace Stp {

struct STP_API OCStpiPortStatusSmAttributes {
  Key name;
  Source<"stpConfig", Config const> stpConfig;
  Source<"portConfig", PortConfig const> portConfig;
  Source<"stpiPortStatus", StpiPortStatus const> stpiPortStatus;
  Target<"externalIntfStateDir", OCInterfaceStateDir> externalIntfStateDir;
};

/// Keeps the link type, edge port and BPDU guard of one interface's state equal to what one
/// instance reports for the port. Where several instances report it, the last write of each member
/// wins.
class STP_API OCStpiPortStatusSm final
    : public Reactor<OCStpiPortStatusSm, OCStpiPortStatusSmAttributes, Module> {
 public:
  /// `stpConfig` and `portConfig` may be absent: the BPDU guard is then never computed. Status and
  /// directory must be present.
  OCStpiPortStatusSm(Lumo::String const& name, Lumo::Ptr<Config const> const& stpConfig,
                     Lumo::Ptr<PortConfig const> const& portConfig,
                     Lumo::Ptr<StpiPortStatus const> const& stpiPortStatus,
                     Lumo::Ptr<OCInterfaceStateDir> const& externalIntfStateDir);

  static constexpr auto OCStpiPortStatusSmIs = &create;
  static constexpr auto stpConfigDispatch = &dispatch<Config>;
  static constexpr auto portConfigDispatch = &dispatch<PortConfig>;
  static constexpr auto stpiPortStatusDispatch = &dispatch<StpiPortStatus>;

  /// The initial synchronisation: all three members, one after the other.
  void handleInitialized();

  /// Each writes one member of the record, which it adds if it is not there, and leaves the others.
  void handleEdgePort();
  void handleBpduguard();
  void handleLinkType();

  static constexpr auto operations = std::tuple{
      Op{"handleInitialized", &Self::handleInitialized},
      Op{"handleEdgePort", &Self::handleEdgePort, StpiPortStatus::Id::operEdgePort},
      Op{"handleBpduguard", &Self::handleBpduguard, StpiPortStatus::Id::operEdgePort,
         PortConfig::Id::adminEdgePort, PortConfig::Id::bpduguard, Config::Id::portfastBpduguard},
      Op{"handleLinkType", &Self::handleLinkType, StpiPortStatus::Id::operPointToPointMac},
  };

 private:
  template <class Edit>
  [[gnu::visibility("hidden")]] void amend(Edit edit);
};

/// A new, active mirror of one port's state.
STP_API Lumo::Ptr<OCStpiPortStatusSm> oCStpiPortStatusSmFactory(
    Lumo::String const& name, Lumo::Ptr<Config const> const& stpConfig,
    Lumo::Ptr<PortConfig const> const& portConfig,
    Lumo::Ptr<StpiPortStatus const> const& stpiPortStatus,
    Lumo::Ptr<OCInterfaceStateDir> const& externalIntfStateDir);

struct STP_API OCStpiStatusSmAttributes {
  Key name;
  Held<"stpConfig", Config const> stpConfig;
  Source<"stpiStatus", StpiStatus const> stpiStatus;
  Held<"externalIntfStateDir", OCInterfaceStateDir> externalIntfStateDir;
  Children<"ocStpiPortStatusSm", OCStpiPortStatusSm> ocStpiPortStatusSm;
};

/// Keeps a port mirror for every port that one instance reports.
class STP_API OCStpiStatusSm final
    : public Reactor<OCStpiStatusSm, OCStpiStatusSmAttributes, Module> {
 public:
  /// Running configuration and instance status must be present.
  OCStpiStatusSm(Lumo::String const& name, Lumo::Ptr<Config const> const& stpConfig,
                 Lumo::Ptr<StpiStatus const> const& stpiStatus,
                 Lumo::Ptr<OCInterfaceStateDir> const& externalIntfStateDir);

  static constexpr auto OCStpiStatusSmIs = &create;
  static constexpr auto stpiStatusDispatch = &dispatch<StpiStatus>;

  using HN_OcStpiPortStatusSm = Children<"ocStpiPortStatusSm", OCStpiPortStatusSm>::Set::Node;
  using OcStpiPortStatusSmKeyFunktor =
      Children<"ocStpiPortStatusSm", OCStpiPortStatusSm>::KeyFunktor;

  /// Brings in every port that the instance reports.
  void handleInitialized();

  /// A port's configuration is looked up only here: one that comes or is replaced later does not
  /// reach the port's mirror, and makes the next notification for the port's status an error.
  void handleStpiPortStatus(Lumo::String const& portName);

  /// The child of a port: the present one, which must be made from the same entities, or else
  /// Vel::ReinstantiationException is thrown; a new, active one where there is none.
  Lumo::Ptr<OCStpiPortStatusSm> ocStpiPortStatusSmIs(
      Lumo::String const& portName, Lumo::Ptr<Config const> const& config,
      Lumo::Ptr<PortConfig const> const& portConfig,
      Lumo::Ptr<StpiPortStatus const> const& stpiPortStatus,
      Lumo::Ptr<OCInterfaceStateDir> const& intfStateDir) {
    return ocStpiPortStatusSm.is(portName, config, portConfig, stpiPortStatus, intfStateDir);
  }
  /// Takes a child out of the set and returns it, as active as it was; null where there is none.
  Lumo::Ptr<OCStpiPortStatusSm> ocStpiPortStatusSmDel(Lumo::String const& portName) {
    return ocStpiPortStatusSm.del(portName);
  }
  void ocStpiPortStatusSmDelAll() { ocStpiPortStatusSm.delAll(); }

  static constexpr auto operations = std::tuple{
      Op{"handleInitialized", &Self::handleInitialized},
      Op{"handleStpiPortStatus", &Self::handleStpiPortStatus, StpiStatus::Id::stpiPortStatus},
  };
};

/// A new, active mirror of one instance's ports.
STP_API Lumo::Ptr<OCStpiStatusSm> oCStpiStatusSmFactory(
    Lumo::String const& name, Lumo::Ptr<Config const> const& stpConfig,
    Lumo::Ptr<StpiStatus const> const& stpiStatus,
    Lumo::Ptr<OCInterfaceStateDir> const& externalIntfStateDir);

struct STP_API OCInterfaceStateDirSmAttributes {
  Held<"stpConfig", Config const> stpConfig;
  Source<"stpStatus", Status const> stpStatus;
  Held<"externalIntfStateDir", OCInterfaceStateDir> externalIntfStateDir;
  Children<"ocStpiStatusSm", OCStpiStatusSm> ocStpiStatusSm;
};

/// Keeps a mirror for every instance that the engine reports.
class STP_API OCInterfaceStateDirSm final
    : public Reactor<OCInterfaceStateDirSm, OCInterfaceStateDirSmAttributes, Module> {
 public:
  /// The status must be present.
  OCInterfaceStateDirSm(Lumo::Ptr<Config const> const& stpConfig,
                        Lumo::Ptr<Status const> const& stpStatus,
                        Lumo::Ptr<OCInterfaceStateDir> const& externalIntfStateDir);

  static constexpr auto OCInterfaceStateDirSmIs = &create;
  static constexpr auto stpStatusDispatch = &dispatch<Status>;

  using HN_OcStpiStatusSm = Children<"ocStpiStatusSm", OCStpiStatusSm>::Set::Node;
  using OcStpiStatusSmKeyFunktor = Children<"ocStpiStatusSm", OCStpiStatusSm>::KeyFunktor;

  /// Brings in every instance that the engine reports.
  void handleInitialized();

  /// Adds the mirror of an instance, or drops it; the states that it wrote stay.
  void handleStpiStatus(Lumo::String const& stpiName);

  /// The child of an instance: the present one, which must be made from the same entities, or else
  /// Vel::ReinstantiationException is thrown; a new, active one where there is none.
  Lumo::Ptr<OCStpiStatusSm> ocStpiStatusSmIs(Lumo::String const& stpiName,
                                             Lumo::Ptr<Config const> const& config,
                                             Lumo::Ptr<StpiStatus const> const& stpiStatus,
                                             Lumo::Ptr<OCInterfaceStateDir> const& intfStateDir) {
    return ocStpiStatusSm.is(stpiName, config, stpiStatus, intfStateDir);
  }
  /// Takes a child out of the set and returns it, as active as it was; null where there is none.
  Lumo::Ptr<OCStpiStatusSm> ocStpiStatusSmDel(Lumo::String const& stpiName) {
    return ocStpiStatusSm.del(stpiName);
  }
  void ocStpiStatusSmDelAll() { ocStpiStatusSm.delAll(); }

  static constexpr auto operations = std::tuple{
      Op{"handleInitialized", &Self::handleInitialized},
      Op{"handleStpiStatus", &Self::handleStpiStatus, Status::Id::stpiStatus},
  };
};

/// A new, active mirror of the interface states.
STP_API Lumo::Ptr<OCInterfaceStateDirSm> oCInterfaceStateDirSmFactory(
    Lumo::Ptr<Config const> const& stpConfig, Lumo::Ptr<Status const> const& stpStatus,
    Lumo::Ptr<OCInterfaceStateDir> const& externalIntfStateDir);

}  // namespace Stp
