// For tests of the frame: a module of their own classes, which the registry does not know, and
// objects that are not active.
#pragma once

#include "Lumo/ModuleInspect.h"
#include "Lumo/Ptr.h"
#include "Stp/frame/ClassList.h"
#include "Vel/TraceHandle.h"

namespace Stp::FrameTest {

template <class... Class>
struct ProbeModule {
  using Classes = ClassList<Class...>;
  static constexpr Lumo::ModuleInspectData record{"Probe", "/src/Probe", {}, {}};
  static constexpr char const* sourcePath = "/src/Probe";
  static inline Vel::TraceHandle traceHandle{"Probe", false};
};

/// A constructed object that nobody has activated.
template <class Class, class... Argument>
Lumo::Ptr<Class> inactive(Argument const&... arguments) {
  return Lumo::Ptr<Class>::adopt(Class::make(arguments...));
}

}  // namespace Stp::FrameTest
