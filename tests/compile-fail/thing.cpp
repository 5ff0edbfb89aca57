// A module of one class that compiles, unless the command line puts a mistake into one place.
#ifndef PASSED_ON
#define PASSED_ON name, portConfig, stpInputConfig, stpiStatus, externalIntf
#endif
#ifndef TRACED
#define TRACED "handleLinkType"
#endif
#ifndef LISTED
#define LISTED , Input::PortConfig::Id::linkType
#endif
#ifndef KEY
#define KEY Lumo::String
#endif
#ifndef MEMBERS
#define MEMBERS StpiStatus::Id::stpiPortStatus
#endif
#ifndef CLASSES
#define CLASSES ThingSm
#endif
#ifndef CALLED
#define CALLED velDoZombieReactors(true)
#endif
#ifndef GIVEN
#define GIVEN port, config, instance
#endif

#include "Stp/frame/Reactor.h"
#include "StpTypes/Input.h"
#include "StpTypes/OpenConfigConfig.h"
#include "StpTypes/Status.h"

namespace Stp {

class ThingSm;
class OtherSm;

extern Lumo::ModuleInspectData const thingModule;

struct ThingModule {
  using Classes = ClassList<CLASSES>;

  static constexpr Lumo::ModuleInspectData const& record = thingModule;
  static constexpr char const* sourcePath = "/src/Thing";
  static Vel::TraceHandle traceHandle;
};

struct ThingSmAttributes {
  Key name;
  Source<"portConfig", Input::PortConfig const> portConfig;
  Held<"stpInputConfig", Input::Config const> stpInputConfig;
  Source<"stpiStatus", StpiStatus const> stpiStatus;
  Target<"externalIntf", OCInterface> externalIntf;
};

class ThingSm final : public Reactor<ThingSm, ThingSmAttributes, ThingModule> {
 public:
  ThingSm(Lumo::String const& name, Lumo::Ptr<Input::PortConfig const> const& portConfig,
          Lumo::Ptr<Input::Config const> const& stpInputConfig,
          Lumo::Ptr<StpiStatus const> const& stpiStatus, Lumo::Ptr<OCInterface> const& externalIntf)
      : Reactor(PASSED_ON) {}

  void handleLinkType() { auto const traced = trace<TRACED, 1>(); }
  void handleMember(KEY const& /*key*/) {}

  static constexpr auto operations = std::tuple{
      Op{"handleLinkType", &Self::handleLinkType LISTED},
      Op{"handleMember", &Self::handleMember, MEMBERS},
  };
};

Lumo::Ptr<ThingSm> make(Lumo::Ptr<Input::PortConfig> const& port,
                        Lumo::Ptr<Input::Config> const& config,
                        Lumo::Ptr<StpiStatus> const& instance,
                        Lumo::Ptr<OCInterface> const& interface) {
  auto thing = ThingSm::create("Ethernet1", GIVEN, interface);
  thing->CALLED;
  return thing;
}

}  // namespace Stp
