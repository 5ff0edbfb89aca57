// A row that names an attribute by the enumeration of a base of the entity does not compile:
// changes are told apart by the entity's own.
#include "Stp/Reactor.h"
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
      : Reactor(name, portConfig, stpInputConfig, externalIntf) {}

  void handleLinkType() { auto const traced = trace<"handleLinkType", 1>(); }

  static constexpr auto operations = std::tuple{
      Op{"handleLinkType", &Self::handleLinkType, PortConfigBase::Id::bpduguard},
  };
};

Lumo::Ptr<ThingSm> make(Lumo::Ptr<Input::PortConfig> const& port,
                        Lumo::Ptr<Input::Config> const& config,
                        Lumo::Ptr<OCInterface> const& interface) {
  return ThingSm::create("Ethernet1", port, config, interface);
}

}  // namespace Stp
