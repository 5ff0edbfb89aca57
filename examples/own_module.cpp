// A reactor of one's own, in a module of one's own: the frame gives it what the library's have.
//
// It counts how often a port stopped being an edge port, as one does that hears another bridge.
#include <cstdint>
#include <iostream>
#include <tuple>

#include "Lumo/Ptr.h"
#include "Stp/frame/Reactor.h"
#include "Stp/frame/Registry.h"
#include "StpTypes/AttributeTable.h"
#include "StpTypes/Status.h"

// The module's record in the type registry.
extern Lumo::ModuleInspectData const hostModule;

namespace Host {

class EdgeLossSm;

struct Module {
  using Classes = Stp::ClassList<EdgeLossSm>;

  static constexpr Lumo::ModuleInspectData const& record = hostModule;
  static constexpr char const* sourcePath = "/src/Host/own_module";
  static inline constinit Vel::TraceHandle traceHandle{"Host", false};
};

// The target, an entity of the host's.
class EdgeLosses final : public Stp::TypedEntity<EdgeLosses> {
 public:
  enum class Id : Lumo::FieldId { count = 130 };

  std::uint32_t count() const { return count_; }
  void countIs(std::uint32_t value) { attributeIs(Id::count, count_, value); }

  static constexpr auto attributes = std::tuple{
      Stp::Attribute{"count", Id::count, &EdgeLosses::count, &EdgeLosses::countIs},
  };

 private:
  std::uint32_t count_ = 0;
};

// What the reactor is made of, and what it does when.
struct EdgeLossSmAttributes {
  Stp::Key name;  // of the port
  Stp::Source<"portStatus", Stp::StpiPortStatus const> portStatus;
  Stp::Target<"losses", EdgeLosses> losses;
};

class EdgeLossSm final : public Stp::Reactor<EdgeLossSm, EdgeLossSmAttributes, Module> {
 public:
  EdgeLossSm(Lumo::String const& name, Lumo::Ptr<Stp::StpiPortStatus const> const& portStatus,
             Lumo::Ptr<EdgeLosses> const& losses)
      : Reactor(name, portStatus, losses) {}

  void handleEdgePort() {
    auto const traced = trace<"handleEdgePort", 57>("edge: ", portStatus->operEdgePort());
    if (!portStatus->operEdgePort()) {
      losses->countIs(losses->count() + 1);
    }
  }

  static constexpr auto operations = std::tuple{
      Stp::Op{"handleEdgePort", &Self::handleEdgePort, Stp::StpiPortStatus::Id::operEdgePort},
  };
};

}  // namespace Host

Lumo::ModuleInspectData const hostModule = Stp::describeModule<Host::Module>("Host");

int main() {
  Lumo::ModuleInspectData::loaded(hostModule);

  auto const port = Lumo::make<Stp::StpiPortStatus>();
  auto const losses = Lumo::make<Host::EdgeLosses>();
  auto const counter = Host::EdgeLossSm::create("Ethernet1", port, losses);

  port->operEdgePortIs(true);
  port->operEdgePortIs(false);
  port->operEdgePortIs(true);
  port->operEdgePortIs(false);
  std::cout << "Ethernet1 stopped being an edge port " << losses->count() << " times\n";

  // The registry knows the class and what runs its handler, as it does of the library's.
  Lumo::ClassInspectData const& data = *Lumo::classOf(*counter);
  Lumo::FieldDescriptor const& handler = *data.field("handleEdgePort");
  std::cout << data.name << counter->keyInfo() << ": " << handler.triggers.front().entity
            << "::" << handler.triggers.front().attribute << " runs " << handler.name << "\n";
}
