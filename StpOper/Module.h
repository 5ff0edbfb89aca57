// The module of the operation: its record in the type registry, its trace handle, and its classes.
#pragma once

#include "Base/Api.h"
#include "Lumo/ModuleInspect.h"
#include "Stp/frame/ClassList.h"
#include "Vel/TraceHandle.h"

namespace Stp::Oper {

/// The record of this module in the type registry. It becomes known to the framework when the
/// library is loaded.
extern STP_API Lumo::ModuleInspectData const stpOperationalSmModule;

class OCProtocolParametersSm;
class OCTreePortSm;
class OCTreeSm;
class OCTreeDirSm;
class OCProtectionSm;
class OCProtectionDirSm;

/// What the frame asks of a module (Stp/frame/Reactor.h), for this one.
struct Module {
  using Classes = ClassList<OCProtocolParametersSm, OCTreePortSm, OCTreeSm, OCTreeDirSm,
                            OCProtectionSm, OCProtectionDirSm>;

  static constexpr Lumo::ModuleInspectData const& record = stpOperationalSmModule;
  static constexpr char const* sourcePath = "/src/StpOper/StpOperationalSm";
  static constinit Vel::TraceHandle traceHandle;
};

/// The module's one handle of the text trace, "StpOperSm". Level 8 is what handlers write.
STP_API Vel::TraceHandle& defaultTraceHandle();

}  // namespace Stp::Oper
