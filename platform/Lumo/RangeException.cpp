#include "Lumo/RangeException.h"

namespace Lumo {

RangeException::~RangeException() = default;
VectorOutOfRangeException::~VectorOutOfRangeException() = default;
AbsentPointerException::~AbsentPointerException() = default;

void RangeException::throwException(std::string const& message) {
  throw RangeException(message);
}

void VectorOutOfRangeException::throwException(std::size_t index, std::size_t size) {
  throw VectorOutOfRangeException("index " + std::to_string(index) + " of a list of " +
                                  std::to_string(size));
}

void AbsentPointerException::throwException(std::string_view typeName) {
  throw AbsentPointerException("the Lumo::Ptr to " + std::string(typeName) + " is absent");
}

}  // namespace Lumo
