// The names of MST instances, and of the spanning-tree instance that runs MSTP.
#pragma once

#include <cstdint>

#include "Base/Api.h"
#include "Lumo/String.h"

namespace Stp {

/// "Mst", the spanning-tree instance that runs MSTP.
STP_API Lumo::String const& mstpInstanceName();

/// "Cist" for 0 (the common and internal spanning tree, IEEE 802.1Q, 13.2), "MST1" to "MST4095"
/// for 1 to 4095. A larger id throws Lumo::RangeException.
STP_API Lumo::String const& instanceIdToMstiName(std::uint16_t instanceId);

/// The id of an instance name; throws Lumo::RangeException, naming it, for a text that is none.
STP_API std::uint16_t mstiNameToInstanceId(Lumo::String const& name);

}  // namespace Stp
