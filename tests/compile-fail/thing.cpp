// A class that compiles, unless the command line puts a mistake into one of four places.
#ifndef PASSED_ON
#define PASSED_ON name, portConfig, stpInputConfig, externalIntf
#endif
#ifndef TRACED
#define TRACED "handleLinkType"
#endif
#ifndef LISTED
#define LISTED , Input::PortConfig::Id::linkType
#endif
#ifndef GIVEN
#define GIVEN port, config
#endif

#include "Stp/frame/Reactor.h"
#include "StpTypes/Input.h"
#include "StpTypes/OpenConfigConfig.h"

namespace Stp {

struct ThingSmAttributes {
  static constexpr std::uint16_t classIndex = 0;

  Key name;
  Source<"portConfig", Input::PortConfig const> portConfig;
  Held<"stpInputConfig", Input::Config const> stpInputConfig;
  Target<"externalIntf", OCInterface> externalIntf;
};

class ThingSm final : public Reactor<ThingSm, ThingSmAttributes> {
 public:
  ThingSm(Lumo::String const& name, Lumo::Ptr<Input::PortConfig const> const& portConfig,
          Lumo::Ptr<Input::Config const> const& stpInputConfig,
          Lumo::Ptr<OCInterface> const& externalIntf)
      : Reactor(PASSED_ON) {}

  void handleLinkType() { auto const traced = trace<TRACED, 1>(); }

  static constexpr auto operations = std::tuple{
      Op{"handleLinkType", &Self::handleLinkType LISTED},
  };
};

Lumo::Ptr<ThingSm> make(Lumo::Ptr<Input::PortConfig> const& port,
                        Lumo::Ptr<Input::Config> const& config,
                        Lumo::Ptr<OCInterface> const& interface) {
  return ThingSm::create("Ethernet1", GIVEN, interface);
}

}  // namespace Stp
