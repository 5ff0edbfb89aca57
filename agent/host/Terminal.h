// Whether a person looks at what is written.
#pragma once

namespace Agent {

/// Whether a descriptor is a terminal.
bool isTerminal(int descriptor);

/// Whether it is one that shows colours to somebody who wants them: TERM is there and not "dumb",
/// and NO_COLOR is not there, or empty.
bool hasColours(int descriptor);

}  // namespace Agent
