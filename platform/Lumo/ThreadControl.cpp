#include "Lumo/ThreadControl.h"

namespace Lumo {

bool ThreadControl::tsp_ = false;

}  // namespace Lumo
