#include "StpTypes/VlanIdOrRange.h"

#include "Kova/UnionAccess.h"

namespace Stp {

void VlanIdOrRange::throwBadAccess(char const* alternative) const {
  Kova::throwRangeExceptionBadUnionAccess("Stp::VlanIdOrRange", alternative,
                                          static_cast<unsigned>(tag()));
}

}  // namespace Stp
