// The interface configuration mirrors: which interfaces /stp/interfaces has a configuration for,
// and what each one's configuration says.
//
//   OCInterfaceConfigDirSm    the directory: one interface per configured port, and one per
//   external
//    |                        port, which only the status of an instance lists
//    +- OCPortConfigSm        by port: its settings
//    +- OCStpiStatusConfigSm  by instance: the external ports that come and go there
#pragma once

#include <tuple>

#include "Base/Api.h"
#include "Stp/Module.h"
#include "Stp/frame/Reactor.h"
#include "StpTypes/Input.h"
#include "StpTypes/OpenConfigConfig.h"
#include "StpTypes/Status.h"

namespace Stp {

struct STP_API OCPortConfigSmAttributes {
  Key name;
  Source<"portConfig", Input::PortConfig const> portConfig;
  Target<"externalIntf", OCInterface> externalIntf;
};

/// Keeps the edge port, BPDU guard and link type of one interface equal to the port's input
/// configuration. Every update refreshes the record's name.
class STP_API OCPortConfigSm final
    : public Reactor<OCPortConfigSm, OCPortConfigSmAttributes, Module> {
 public:
  /// Writes the edge port alone: link type and BPDU guard follow only when they change later.
  OCPortConfigSm(Lumo::String const& name, Lumo::Ptr<Input::PortConfig const> const& portConfig,
                 Lumo::Ptr<OCInterface> const& externalIntf);

  static constexpr auto OCPortConfigSmIs = &create;
  static constexpr auto portConfigDispatch = &dispatch<Input::PortConfig>;

  /// The initial synchronisation: the edge port.
  void handleInitialized();

  /// Each writes one member of the record, and the name, and leaves the others.
  void handleEdgePort();
  void handleBpduguard();
  void handleLinkType();

  static constexpr auto operations = std::tuple{
      Op{"handleInitialized", &Self::handleInitialized},
      Op{"handleEdgePort", &Self::handleEdgePort, Input::PortConfig::Id::edgePortEnable,
         Input::PortConfig::Id::edgePortAuto, Input::PortConfig::Id::edgePortDisable},
      Op{"handleBpduguard", &Self::handleBpduguard, Input::PortConfig::Id::bpduguard},
      Op{"handleLinkType", &Self::handleLinkType, Input::PortConfig::Id::linkType},
  };

 private:
  template <class Edit>
  [[gnu::visibility("hidden")]] void amend(Edit edit);
};

/// A new, active mirror of one port's settings.
STP_API Lumo::Ptr<OCPortConfigSm> oCPortConfigSmFactory(
    Lumo::String const& name, Lumo::Ptr<Input::PortConfig const> const& portConfig,
    Lumo::Ptr<OCInterface> const& externalIntf);

struct STP_API OCStpiStatusConfigSmAttributes {
  Key name;
  Held<"stpInputConfig", Input::Config const> stpInputConfig;
  Source<"stpiStatus", StpiStatus const> stpiStatus;
  Target<"externalIntfConfigDir", OCInterfaceConfigDir> externalIntfConfigDir;
};

/// Gives every port that an instance lists an interface, and takes it from those that neither the
/// instance lists nor the operator configured.
class STP_API OCStpiStatusConfigSm final
    : public Reactor<OCStpiStatusConfigSm, OCStpiStatusConfigSmAttributes, Module> {
 public:
  /// Status and directory must be present. So must the input configuration as soon as a decision
  /// depends on it: see handleStpiPortStatusConfig.
  OCStpiStatusConfigSm(Lumo::String const& name,
                       Lumo::Ptr<Input::Config const> const& stpInputConfig,
                       Lumo::Ptr<StpiStatus const> const& stpiStatus,
                       Lumo::Ptr<OCInterfaceConfigDir> const& externalIntfConfigDir);

  static constexpr auto OCStpiStatusConfigSmIs = &create;
  static constexpr auto stpiStatusDispatch = &dispatch<StpiStatus>;

  /// Decides on every port that the instance lists.
  void handleInitialized();

  /// Adds an interface that is listed and not there yet. Otherwise asks the input configuration,
  /// and takes the interface away if nobody configured the port, even if it is listed.
  void handleStpiPortStatusConfig(Lumo::String const& portName);

  static constexpr auto operations = std::tuple{
      Op{"handleInitialized", &Self::handleInitialized},
      Op{"handleStpiPortStatusConfig", &Self::handleStpiPortStatusConfig,
         StpiStatus::Id::stpiPortStatus},
  };
};

struct STP_API OCInterfaceConfigDirSmAttributes {
  Source<"stpInputConfig", Input::Config const> stpInputConfig;
  Source<"stpStatus", Status> stpStatus;  // only watched and read
  Target<"externalIntfConfigDir", OCInterfaceConfigDir> externalIntfConfigDir;
  Children<"portConfigSm", OCPortConfigSm> portConfigSm;
  Children<"stpiStatusConfigSm", OCStpiStatusConfigSm> stpiStatusConfigSm;
};

/// Keeps the directory of interface configurations.
class STP_API OCInterfaceConfigDirSm final
    : public Reactor<OCInterfaceConfigDirSm, OCInterfaceConfigDirSmAttributes, Module> {
 public:
  /// Removes what an earlier run left and nothing backs, then brings in every configured port and
  /// every instance. Input configuration and status must be present.
  OCInterfaceConfigDirSm(Lumo::Ptr<Input::Config const> const& stpInputConfig,
                         Lumo::Ptr<Status> const& stpStatus,
                         Lumo::Ptr<OCInterfaceConfigDir> const& externalIntfConfigDir);

  static constexpr auto OCInterfaceConfigDirSmIs = &create;
  static constexpr auto stpInputConfigDispatch = &dispatch<Input::Config>;
  static constexpr auto stpStatusDispatch = &dispatch<Status>;

  using HN_PortConfigSm = Children<"portConfigSm", OCPortConfigSm>::Set::Node;
  using HN_StpiStatusConfigSm = Children<"stpiStatusConfigSm", OCStpiStatusConfigSm>::Set::Node;

  /// The initial synchronisation, as the constructor does it.
  void handleInitialized();

  /// Brings one port's interface up to date after its input configuration came, changed its entity
  /// or went. A reader of the directory that is told of the interface here must not remove the
  /// port's input configuration from inside: the port's mirror, which comes next, needs it.
  void handleInterface(Lumo::String const& portName);

  /// Adds the mirror of an instance, or drops it and cleans up after it. Another entity under the
  /// name of one that has a mirror throws Vel::ReinstantiationException.
  void handleStpiStatusConfig(Lumo::String const& stpiName);

  /// Deletes the interfaces that are neither configured nor listed by any instance.
  void maybeCleanUpExternalIntfConfigs();

  /// The child of a port: the present one, which must be made from the same entities, or else
  /// Vel::ReinstantiationException is thrown; a new, active one where there is none.
  Lumo::Ptr<OCPortConfigSm> portConfigSmIs(Lumo::String const& name,
                                           Lumo::Ptr<Input::PortConfig const> const& portConfig,
                                           Lumo::Ptr<OCInterface> const& externalIntf) {
    return portConfigSm.is(name, portConfig, externalIntf);
  }
  /// Takes a child out of the set and returns it, as active as it was; null where there is none.
  Lumo::Ptr<OCPortConfigSm> portConfigSmDel(Lumo::String const& name) {
    return portConfigSm.del(name);
  }
  void portConfigSmDelAll() { portConfigSm.delAll(); }

  /// The same for the child of an instance.
  Lumo::Ptr<OCStpiStatusConfigSm> stpiStatusConfigSmIs(
      Lumo::String const& name, Lumo::Ptr<Input::Config const> const& inputConfig,
      Lumo::Ptr<StpiStatus const> const& stpiStatus,
      Lumo::Ptr<OCInterfaceConfigDir> const& intfConfigDir) {
    return stpiStatusConfigSm.is(name, inputConfig, stpiStatus, intfConfigDir);
  }
  Lumo::Ptr<OCStpiStatusConfigSm> stpiStatusConfigSmDel(Lumo::String const& name) {
    return stpiStatusConfigSm.del(name);
  }
  void stpiStatusConfigSmDelAll() { stpiStatusConfigSm.delAll(); }

  static constexpr auto operations = std::tuple{
      Op{"handleInitialized", &Self::handleInitialized},
      Op{"handleInterface", &Self::handleInterface, Input::Config::Id::portConfig},
      Op{"handleStpiStatusConfig", &Self::handleStpiStatusConfig, Status::Id::stpiStatus},
      Op{"maybeCleanUpExternalIntfConfigs", &Self::maybeCleanUpExternalIntfConfigs},
  };
};

/// A new, active mirror of the interface configurations.
STP_API Lumo::Ptr<OCInterfaceConfigDirSm> oCInterfaceConfigDirSmFactory(
    Lumo::Ptr<Input::Config const> const& stpInputConfig, Lumo::Ptr<Status> const& stpStatus,
    Lumo::Ptr<OCInterfaceConfigDir> const& externalIntfConfigDir);

}  // namespace Stp
