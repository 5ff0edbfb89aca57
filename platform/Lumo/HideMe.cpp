#include "Lumo/HideMe.h"

namespace Lumo {

InspectException::~InspectException() = default;
ChildIterator::~ChildIterator() = default;
HideMe::~HideMe() = default;

}  // namespace Lumo
