// What protects a port beyond its trees, and the trouble that it is in: guard, bpdu-filter and
// bpdu-guard-error of /stp/interfaces/interface.
//
//   OCProtectionDirSm     keeps a mirror for every port that the engine tells of
//    +- OCProtectionSm    by port
#pragma once

#include <tuple>

#include "Base/Api.h"
#include "Stp/frame/Reactor.h"
#include "StpOper/Module.h"
#include "StpTypes/OpenConfigOperational.h"
#include "StpTypes/Operational.h"

namespace Stp::Oper {

struct STP_API OCProtectionSmAttributes {
  Key name;
  Source<"bridge", Operational::Bridge const> bridge;
  Source<"port", Operational::Port const> port;
  Target<"ocProtectionConfigDir", OCProtectionConfigDir> ocProtectionConfigDir;
  Target<"ocProtectionStateDir", OCProtectionStateDir> ocProtectionStateDir;
};

/// Keeps the protection of one port; its state is there while the protocol runs.
class STP_API OCProtectionSm final
    : public Reactor<OCProtectionSm, OCProtectionSmAttributes, Module> {
 public:
  /// All must be present.
  OCProtectionSm(Lumo::String const& name, Lumo::Ptr<Operational::Bridge const> const& bridge,
                 Lumo::Ptr<Operational::Port const> const& port,
                 Lumo::Ptr<OCProtectionConfigDir> const& ocProtectionConfigDir,
                 Lumo::Ptr<OCProtectionStateDir> const& ocProtectionStateDir);

  static constexpr auto OCProtectionSmIs = &create;
  static constexpr auto bridgeDispatch = &dispatch<Operational::Bridge>;
  static constexpr auto portDispatch = &dispatch<Operational::Port>;

  /// Whether it was made for this entity.
  bool mirrors(Lumo::Ptr<Operational::Port const> const& of) const { return port.pointer() == of; }

  void handleConfig();
  void handleState();

  static constexpr auto operations = std::tuple{
      Op{"handleConfig", &Self::handleConfig, Operational::Port::Id::restrictedRole,
         Operational::Port::Id::bpduFilter},
      Op{"handleState", &Self::handleState, Operational::Bridge::Id::running,
         Operational::Port::Id::restrictedRole, Operational::Port::Id::bpduFilter,
         Operational::Port::Id::bpduGuardError},
  };
};

/// A new, active mirror of one port's protection.
STP_API Lumo::Ptr<OCProtectionSm> oCProtectionSmFactory(
    Lumo::String const& name, Lumo::Ptr<Operational::Bridge const> const& bridge,
    Lumo::Ptr<Operational::Port const> const& port,
    Lumo::Ptr<OCProtectionConfigDir> const& ocProtectionConfigDir,
    Lumo::Ptr<OCProtectionStateDir> const& ocProtectionStateDir);

struct STP_API OCProtectionDirSmAttributes {
  Source<"bridge", Operational::Bridge const> bridge;
  Held<"ocProtectionConfigDir", OCProtectionConfigDir> ocProtectionConfigDir;
  Held<"ocProtectionStateDir", OCProtectionStateDir> ocProtectionStateDir;
  Children<"ocProtectionSm", OCProtectionSm> ocProtectionSm;
};

/// Keeps a mirror for every port that the engine tells of. What was said of a port goes with it.
class STP_API OCProtectionDirSm final
    : public Reactor<OCProtectionDirSm, OCProtectionDirSmAttributes, Module> {
 public:
  /// All must be present.
  OCProtectionDirSm(Lumo::Ptr<Operational::Bridge const> const& bridge,
                    Lumo::Ptr<OCProtectionConfigDir> const& ocProtectionConfigDir,
                    Lumo::Ptr<OCProtectionStateDir> const& ocProtectionStateDir);

  static constexpr auto OCProtectionDirSmIs = &create;
  static constexpr auto bridgeDispatch = &dispatch<Operational::Bridge>;

  /// Brings in every port.
  void handleInitialized();
  /// Brings a port in, anew if it is another entity than before, or drops it.
  void handlePort(Lumo::String const& portName);

  /// The child of a port, which must be made from the same entities, or else
  /// Vel::ReinstantiationException is thrown; a new, active one where there is none.
  Lumo::Ptr<OCProtectionSm> ocProtectionSmIs(Lumo::String const& portName,
                                             Lumo::Ptr<Operational::Bridge const> const& ofBridge,
                                             Lumo::Ptr<Operational::Port const> const& port,
                                             Lumo::Ptr<OCProtectionConfigDir> const& configDir,
                                             Lumo::Ptr<OCProtectionStateDir> const& stateDir) {
    return ocProtectionSm.is(portName, ofBridge, port, configDir, stateDir);
  }
  /// Takes a child out of the set and returns it, as active as it was; null where there is none.
  Lumo::Ptr<OCProtectionSm> ocProtectionSmDel(Lumo::String const& portName) {
    return ocProtectionSm.del(portName);
  }
  void ocProtectionSmDelAll() { ocProtectionSm.delAll(); }

  static constexpr auto operations = std::tuple{
      Op{"handleInitialized", &Self::handleInitialized},
      Op{"handlePort", &Self::handlePort, Operational::Bridge::Id::port},
  };
};

/// A new, active mirror of the protection of all ports.
STP_API Lumo::Ptr<OCProtectionDirSm> oCProtectionDirSmFactory(
    Lumo::Ptr<Operational::Bridge const> const& bridge,
    Lumo::Ptr<OCProtectionConfigDir> const& ocProtectionConfigDir,
    Lumo::Ptr<OCProtectionStateDir> const& ocProtectionStateDir);

}  // namespace Stp::Oper
