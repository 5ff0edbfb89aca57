// A source that somebody tells, and records kept from it, with one mistake at a time: MEMBER is the
// member that a row of its table names, VALUE what it is told, KEY whose record goes, and PORT what
// the record says of a port.
#ifndef MEMBER
#define MEMBER &ThingTold::role
#endif
#ifndef VALUE
#define VALUE Operational::PortRole::root
#endif
#ifndef KEY
#define KEY TreePortId()
#endif
#ifndef PORT
#define PORT PortId()
#endif

#include "StpTypes/OpenConfigOperational.h"
#include "StpTypes/Operational.h"

namespace Stp {

struct ThingTold {
  std::optional<Operational::PortRole> role;
};

class Thing final : public ToldEntity<Thing, ThingTold> {
 public:
  enum class Id : Lumo::FieldId { role = 258 };

  static constexpr auto attributes = std::tuple{row<Id::role, MEMBER>("role")};
};

void told(Thing& thing, OCTreePortStateDir& states) {
  thing.valueIs<Thing::Id::role, &ThingTold::role>(VALUE);
  states.recordDel(KEY);
  states.recordAmend(TreePortId(), [](OCTreePortState& state) {
    state.port = PORT;
    return true;
  });
}

}  // namespace Stp
