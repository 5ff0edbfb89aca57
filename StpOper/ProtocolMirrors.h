// The parameters of the protocol that the bridge is configured for, as /stp/rstp and /stp/mstp
// config and state.
#pragma once

#include <tuple>

#include "Base/Api.h"
#include "Stp/frame/Reactor.h"
#include "StpOper/Module.h"
#include "StpTypes/Input.h"
#include "StpTypes/OpenConfigOperational.h"
#include "StpTypes/Operational.h"

namespace Stp::Oper {

struct STP_API OCProtocolParametersSmAttributes {
  Source<"stpInputConfig", Input::Config const> stpInputConfig;
  Source<"bridge", Operational::Bridge const> bridge;
  Target<"ocRstpConfig", OCRstpConfig> ocRstpConfig;
  Target<"ocRstpState", OCRstpState> ocRstpState;
  Target<"ocMstpConfig", OCMstpConfig> ocMstpConfig;
  Target<"ocMstpState", OCMstpState> ocMstpState;
};

/// Fills the parameters of RSTP while the bridge is configured for STP or RSTP, those of MSTP while
/// it is configured for MSTP, and leaves the other ones empty. The state is empty while the
/// protocol does not run. A record that would stay as it is is not written.
class STP_API OCProtocolParametersSm final
    : public Reactor<OCProtocolParametersSm, OCProtocolParametersSmAttributes, Module> {
 public:
  /// All must be present.
  OCProtocolParametersSm(Lumo::Ptr<Input::Config const> const& stpInputConfig,
                         Lumo::Ptr<Operational::Bridge const> const& bridge,
                         Lumo::Ptr<OCRstpConfig> const& ocRstpConfig,
                         Lumo::Ptr<OCRstpState> const& ocRstpState,
                         Lumo::Ptr<OCMstpConfig> const& ocMstpConfig,
                         Lumo::Ptr<OCMstpState> const& ocMstpState);

  static constexpr auto OCProtocolParametersSmIs = &create;
  static constexpr auto stpInputConfigDispatch = &dispatch<Input::Config>;
  static constexpr auto bridgeDispatch = &dispatch<Operational::Bridge>;

  /// What this bridge is configured with.
  void handleConfig();
  /// What it runs with: the ages are those of the root that it follows.
  void handleState();

  static constexpr auto operations = std::tuple{
      Op{"handleConfig", &Self::handleConfig, Input::Config::Id::mode,
         Operational::Bridge::Id::regionName, Operational::Bridge::Id::revision,
         Operational::Bridge::Id::helloTime, Operational::Bridge::Id::bridgeMaxAge,
         Operational::Bridge::Id::bridgeForwardDelay, Operational::Bridge::Id::txHoldCount,
         Operational::Bridge::Id::maxHops},
      Op{"handleState", &Self::handleState, Input::Config::Id::mode,
         Operational::Bridge::Id::running, Operational::Bridge::Id::regionName,
         Operational::Bridge::Id::revision, Operational::Bridge::Id::helloTime,
         Operational::Bridge::Id::maxAge, Operational::Bridge::Id::forwardDelay,
         Operational::Bridge::Id::txHoldCount, Operational::Bridge::Id::maxHops},
  };
};

/// A new, active mirror of the protocol's parameters.
STP_API Lumo::Ptr<OCProtocolParametersSm> oCProtocolParametersSmFactory(
    Lumo::Ptr<Input::Config const> const& stpInputConfig,
    Lumo::Ptr<Operational::Bridge const> const& bridge, Lumo::Ptr<OCRstpConfig> const& ocRstpConfig,
    Lumo::Ptr<OCRstpState> const& ocRstpState, Lumo::Ptr<OCMstpConfig> const& ocMstpConfig,
    Lumo::Ptr<OCMstpState> const& ocMstpState);

}  // namespace Stp::Oper
