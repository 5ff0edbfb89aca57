#include "StpOper/ProtocolMirrors.h"

namespace Stp::Oper {

namespace {

OCProtocolParameters parametersOf(Operational::BridgeTold const& told,
                                  std::optional<std::uint8_t> maxAge,
                                  std::optional<std::uint8_t> forwardDelay) {
  return {told.helloTime, maxAge,          forwardDelay, told.txHoldCount,
          told.maxHops,   told.regionName, told.revision};
}

// RSTP has neither regions nor hops.
OCProtocolParameters withoutRegion(OCProtocolParameters parameters) {
  parameters.maxHop.reset();
  parameters.name = {};
  parameters.revision.reset();
  return parameters;
}

template <class Target>
void recordIs(Target& target, OCProtocolParameters const& parameters) {
  if (target.record() != parameters) {
    target.recordIs({parameters});
  }
}

// The targets are held: a reader may drop whoever holds them.
template <class RstpTarget, class MstpTarget>
void parametersIs(Lumo::Ptr<RstpTarget> const rstp, Lumo::Ptr<MstpTarget> const mstp, Mode mode,
                  OCProtocolParameters const& parameters) {
  bool const isRstp = mode == Mode::stp || mode == Mode::rstp;
  recordIs(*rstp, isRstp ? withoutRegion(parameters) : OCProtocolParameters());
  recordIs(*mstp, mode == Mode::mstp ? parameters : OCProtocolParameters());
}

}  // namespace

OCProtocolParametersSm::OCProtocolParametersSm(Lumo::Ptr<Input::Config const> const& stpInputConfig,
                                               Lumo::Ptr<Operational::Bridge const> const& bridge,
                                               Lumo::Ptr<OCRstpConfig> const& ocRstpConfig,
                                               Lumo::Ptr<OCRstpState> const& ocRstpState,
                                               Lumo::Ptr<OCMstpConfig> const& ocMstpConfig,
                                               Lumo::Ptr<OCMstpState> const& ocMstpState)
    : Reactor(stpInputConfig, bridge, ocRstpConfig, ocRstpState, ocMstpConfig, ocMstpState) {
  synchronise(&Self::handleConfig, &Self::handleState);
}

void OCProtocolParametersSm::handleConfig() {
  auto const traced = trace<"handleConfig", 59>();
  Operational::BridgeTold const& told = bridge->told();
  parametersIs(ocRstpConfig.pointer(), ocMstpConfig.pointer(), stpInputConfig->mode(),
               parametersOf(told, told.bridgeMaxAge, told.bridgeForwardDelay));
}

void OCProtocolParametersSm::handleState() {
  auto const traced = trace<"handleState", 66>("running: ", bridge->told().running);
  Operational::BridgeTold const& told = bridge->told();
  parametersIs(
      ocRstpState.pointer(), ocMstpState.pointer(), stpInputConfig->mode(),
      told.running ? parametersOf(told, told.maxAge, told.forwardDelay) : OCProtocolParameters());
}

Lumo::Ptr<OCProtocolParametersSm> oCProtocolParametersSmFactory(
    Lumo::Ptr<Input::Config const> const& stpInputConfig,
    Lumo::Ptr<Operational::Bridge const> const& bridge, Lumo::Ptr<OCRstpConfig> const& ocRstpConfig,
    Lumo::Ptr<OCRstpState> const& ocRstpState, Lumo::Ptr<OCMstpConfig> const& ocMstpConfig,
    Lumo::Ptr<OCMstpState> const& ocMstpState) {
  return OCProtocolParametersSm::OCProtocolParametersSmIs(stpInputConfig, bridge, ocRstpConfig,
                                                          ocRstpState, ocMstpConfig, ocMstpState);
}

}  // namespace Stp::Oper
