#include "Kova/UnionAccess.h"

#include <string>

namespace Kova {

BadUnionAccessException::~BadUnionAccessException() = default;

void throwRangeExceptionBadUnionAccess(std::string_view unionName, std::string_view alternative,
                                       unsigned tag) {
  throw BadUnionAccessException(std::string(unionName) + " with tag " + std::to_string(tag) +
                                " does not hold a " + std::string(alternative));
}

}  // namespace Kova
