#include "Stp/Module.h"

#include <iostream>  // the standard streams live as long as this library

#include "Stp/GlobalMirrors.h"
#include "Stp/InterfaceConfigMirrors.h"
#include "Stp/InterfaceStateMirrors.h"
#include "Stp/MstpConfigMirrors.h"
#include "Stp/MstpStateMirrors.h"
#include "Stp/frame/Registry.h"

namespace Stp {

constinit Vel::TraceHandle Module::traceHandle("StpOCSm", false);

Vel::TraceHandle& _defaultTraceHandle() {
  return Module::traceHandle;
}

}  // namespace Stp

Lumo::ModuleInspectData const _StpOpenConfigSm_a888b7c7e663556e_velModule =
    Stp::describeModule<Stp::Module>("StpOpenConfigSm");

namespace {

// Runs when the library is loaded.
[[maybe_unused]] bool const registered = [] {
  Lumo::ModuleInspectData::loaded(_StpOpenConfigSm_a888b7c7e663556e_velModule);
  return true;
}();

}  // namespace
