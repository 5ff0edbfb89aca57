// A source that compares what it is told with the state, with one mistake at a time: OWNED is what
// it says it owns, and COMPARED what it compares.
#include "agent/state/Difference.h"

#ifndef OWNED
#define OWNED mode
#endif
#ifndef COMPARED
#define COMPARED mode
#endif

namespace Agent {

using Input = Stp::Input::Config;
using OwnershipOfTheSource = Ownership<Owned<Input, Input::Id::OWNED>>;

Changes differencesOfTheSource(Stp::Mode mode, SourceView const& sources) {
  Difference<OwnershipOfTheSource> changes;
  changes.attribute<Input::Id::COMPARED>(sources.input, mode);
  return changes.take();
}

}  // namespace Agent
