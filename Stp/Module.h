// The module: its record in the type registry, its trace handle, and its sixteen classes.
#pragma once

#include "Base/Api.h"
#include "Lumo/ModuleInspect.h"
#include "Stp/frame/ClassList.h"
#include "Vel/TraceHandle.h"

/// The record of this module in the type registry: all its names, and its classes by class index.
/// It becomes known to the framework when the library is loaded.
extern STP_API Lumo::ModuleInspectData const _StpOpenConfigSm_a888b7c7e663556e_velModule;

namespace Stp {

class OCGlobalConfigSm;
class OCGlobalVlanSyncher;
class OCGlobalStateSm;
class OCPortConfigSm;
class OCStpiStatusConfigSm;
class OCInterfaceConfigDirSm;
class OCStpiPortStatusSm;
class OCStpiStatusSm;
class OCInterfaceStateDirSm;
class OCMstiConfigSm;
class OCMstpConfigSm;
class OCMstpConfigWrapperSm;
class OCMstpTrigger;
class OCMstSm;
class OCMstiStatusSm;
class OCMstpMainStateSm;

/// What the frame asks of a module (Stp/frame/Reactor.h), for this one.
struct Module {
  using Classes =
      ClassList<OCGlobalConfigSm, OCGlobalVlanSyncher, OCGlobalStateSm, OCPortConfigSm,
                OCStpiStatusConfigSm, OCInterfaceConfigDirSm, OCStpiPortStatusSm, OCStpiStatusSm,
                OCInterfaceStateDirSm, OCMstiConfigSm, OCMstpConfigSm, OCMstpConfigWrapperSm,
                OCMstpTrigger, OCMstSm, OCMstiStatusSm, OCMstpMainStateSm>;

  static constexpr Lumo::ModuleInspectData const& record =
      _StpOpenConfigSm_a888b7c7e663556e_velModule;
  static constexpr char const* sourcePath = "/src/Stp/StpOpenConfigSm";
  static constinit Vel::TraceHandle traceHandle;
};

/// The module's one handle of the text trace, "StpOCSm". Level 8 is what handlers write.
STP_API Vel::TraceHandle& _defaultTraceHandle();

}  // namespace Stp
