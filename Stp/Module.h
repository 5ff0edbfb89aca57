// The module: its record in the type registry, its trace handle, and its sixteen classes.
#pragma once

#include "Base/Api.h"
#include "Lumo/ModuleInspect.h"
#include "Vel/TraceHandle.h"

/// The record of this module in the type registry: all its names, and its classes by class index.
/// It becomes known to the framework when the library is loaded.
extern STP_API Lumo::ModuleInspectData const _StpOpenConfigSm_a888b7c7e663556e_velModule;

namespace Stp {

/// The module's one handle of the text trace, "StpOCSm". Level 8 is what handlers write.
STP_API Vel::TraceHandle& _defaultTraceHandle();

}  // namespace Stp
