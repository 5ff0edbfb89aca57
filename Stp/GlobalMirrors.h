// The bridge-wide mirrors: protocol, BPDU-guard default and disabled VLANs, into the OpenConfig
// global configuration and state, and the disabled VLANs back into the input configuration.
#pragma once

#include <tuple>

#include "Base/Api.h"
#include "Stp/Module.h"
#include "Stp/frame/Reactor.h"
#include "StpTypes/Input.h"
#include "StpTypes/OpenConfigConfig.h"
#include "StpTypes/OpenConfigState.h"
#include "StpTypes/Status.h"

namespace Stp {

struct STP_API OCGlobalConfigSmAttributes {
  Source<"stpInputConfig", Input::Config const> stpInputConfig;
  Target<"ocGlobalConfig", OCGlobalConfig> ocGlobalConfig;
};

/// Keeps /stp/global/config equal to the input configuration.
class STP_API OCGlobalConfigSm final
    : public Reactor<OCGlobalConfigSm, OCGlobalConfigSmAttributes, Module> {
 public:
  /// Writes the protocol and the disabled VLANs. The BPDU guard is written only when the source's
  /// flag changes later: until then the target keeps what it has.
  OCGlobalConfigSm(Lumo::Ptr<Input::Config const> const& stpInputConfig,
                   Lumo::Ptr<OCGlobalConfig> const& ocGlobalConfig);

  static constexpr auto OCGlobalConfigSmIs = &create;
  static constexpr auto stpInputConfigDispatch = &dispatch<Input::Config>;

  /// Each writes one member of the record and leaves the others: the protocols that the mode stands
  /// for, the flag, the compressed list.
  void handleEnabledProtocol();
  void handleBpduguard();
  void handleDisabledVlan();

  static constexpr auto operations = std::tuple{
      Op{"handleEnabledProtocol", &Self::handleEnabledProtocol, Input::Config::Id::mode},
      Op{"handleBpduguard", &Self::handleBpduguard, Input::Config::Id::portfastBpduguard},
      Op{"handleDisabledVlan", &Self::handleDisabledVlan, Input::Config::Id::disabledVlan},
  };
};

/// A new, active mirror of the global configuration.
STP_API Lumo::Ptr<OCGlobalConfigSm> oCGlobalConfigSmFactory(
    Lumo::Ptr<Input::Config const> const& stpInputConfig,
    Lumo::Ptr<OCGlobalConfig> const& ocGlobalConfig);

struct STP_API OCGlobalVlanSyncherAttributes {
  Target<"ocGlobalConfig", OCGlobalConfig> ocGlobalConfig;
  Target<"stpInputConfig", Input::Config> stpInputConfig;
};

/// Carries the disabled VLANs of /stp/global/config back into the input configuration, when asked
/// to. It watches nothing and is never active.
class STP_API OCGlobalVlanSyncher final
    : public Reactor<OCGlobalVlanSyncher, OCGlobalVlanSyncherAttributes, Module> {
 public:
  /// Touches nothing; both entities may still be absent.
  OCGlobalVlanSyncher(Lumo::Ptr<OCGlobalConfig> const& ocGlobalConfig,
                      Lumo::Ptr<Input::Config> const& stpInputConfig);

  static constexpr auto OCGlobalVlanSyncherIs = &create;

  /// Makes the input configuration's table of disabled VLANs hold exactly the VLANs that the
  /// OpenConfig list names, and the list canonical. Both entities must be present.
  void syncDisabledVlan();

  static constexpr auto operations = std::tuple{
      Op{"syncDisabledVlan", &Self::syncDisabledVlan},
  };
};

/// A new object that waits to be asked.
STP_API Lumo::Ptr<OCGlobalVlanSyncher> oCGlobalVlanSyncherFactory(
    Lumo::Ptr<OCGlobalConfig> const& ocGlobalConfig,
    Lumo::Ptr<Input::Config> const& stpInputConfig);

struct STP_API OCGlobalStateSmAttributes {
  Source<"stpConfig", Config const> stpConfig;
  Source<"stpStatus", Status const> stpStatus;
  Source<"stpVlanConfigDir", VlanConfigDir const> stpVlanConfigDir;
  Target<"ocGlobalState", OCGlobalState> ocGlobalState;
};

/// Keeps /stp/global/state equal to what runs.
class STP_API OCGlobalStateSm final
    : public Reactor<OCGlobalStateSm, OCGlobalStateSmAttributes, Module> {
 public:
  /// Writes the disabled VLANs and the protocol; the BPDU guard only when the flag changes later.
  OCGlobalStateSm(Lumo::Ptr<Config const> const& stpConfig,
                  Lumo::Ptr<Status const> const& stpStatus,
                  Lumo::Ptr<VlanConfigDir const> const& stpVlanConfigDir,
                  Lumo::Ptr<OCGlobalState> const& ocGlobalState);

  static constexpr auto OCGlobalStateSmIs = &create;
  static constexpr auto stpConfigDispatch = &dispatch<Config>;
  static constexpr auto stpStatusDispatch = &dispatch<Status>;
  static constexpr auto stpVlanConfigDirDispatch = &dispatch<VlanConfigDir>;

  /// Each writes one member of the record and leaves the others: the protocol that runs, the flag,
  /// the VLANs that are disabled and exist.
  void handleEnabledProtocol();
  void handleBpduguard();
  void handleDisabledVlan();

  static constexpr auto operations = std::tuple{
      Op{"handleEnabledProtocol", &Self::handleEnabledProtocol, Status::Id::activeProtocol},
      Op{"handleBpduguard", &Self::handleBpduguard, Config::Id::portfastBpduguard},
      Op{"handleDisabledVlan", &Self::handleDisabledVlan, Config::Id::disabledVlan,
         VlanConfigDir::Id::vlanConfig},
  };
};

/// A new, active mirror of the global state.
STP_API Lumo::Ptr<OCGlobalStateSm> oCGlobalStateSmFactory(
    Lumo::Ptr<Config const> const& stpConfig, Lumo::Ptr<Status const> const& stpStatus,
    Lumo::Ptr<VlanConfigDir const> const& stpVlanConfigDir,
    Lumo::Ptr<OCGlobalState> const& ocGlobalState);

}  // namespace Stp
