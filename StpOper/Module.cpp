#include "StpOper/Module.h"

#include <iostream>  // the standard streams live as long as this library

#include "Stp/frame/Registry.h"
#include "StpOper/ProtectionMirrors.h"
#include "StpOper/ProtocolMirrors.h"
#include "StpOper/TreeMirrors.h"

namespace Stp::Oper {

constinit Vel::TraceHandle Module::traceHandle("StpOperSm", false);

Vel::TraceHandle& defaultTraceHandle() {
  return Module::traceHandle;
}

Lumo::ModuleInspectData const stpOperationalSmModule = describeModule<Module>("StpOperationalSm");

namespace {

// Runs when the library is loaded.
[[maybe_unused]] bool const registered = [] {
  Lumo::ModuleInspectData::loaded(stpOperationalSmModule);
  return true;
}();

}  // namespace

}  // namespace Stp::Oper
