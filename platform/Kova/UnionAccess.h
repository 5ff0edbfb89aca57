// The error of reading the alternative that a tagged union does not hold.
#pragma once

#include <string_view>

#include "Base/Api.h"
#include "Lumo/RangeException.h"

namespace Kova {

/// A tagged union was asked for an alternative that its tag does not name; the message names the
/// union, the alternative and the tag.
class STP_API BadUnionAccessException : public Lumo::RangeException {
 public:
  using RangeException::RangeException;
  ~BadUnionAccessException() override;
};

/// Throws BadUnionAccessException.
[[noreturn]] STP_API void throwRangeExceptionBadUnionAccess(std::string_view unionName,
                                                            std::string_view alternative,
                                                            unsigned tag);

}  // namespace Kova
