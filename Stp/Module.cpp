#include "Stp/Module.h"

#include <algorithm>
#include <array>
#include <iostream>  // the standard streams live as long as this library
#include <string_view>

#include "Flashlog/MsgDesc.h"
#include "Stp/GlobalMirrors.h"
#include "Stp/InterfaceConfigMirrors.h"
#include "Stp/InterfaceStateMirrors.h"
#include "Stp/MstpConfigMirrors.h"
#include "Stp/MstpStateMirrors.h"
#include "Stp/frame/Inspector.h"

namespace Stp {

namespace Impl {

namespace {

// The classes of the module; each stands at its class index.
using ModuleClasses =
    TypeList<OCGlobalConfigSm, OCGlobalVlanSyncher, OCGlobalStateSm, OCPortConfigSm,
             OCStpiStatusConfigSm, OCInterfaceConfigDirSm, OCStpiPortStatusSm, OCStpiStatusSm,
             OCInterfaceStateDirSm, OCMstiConfigSm, OCMstpConfigSm, OCMstpConfigWrapperSm,
             OCMstpTrigger, OCMstSm, OCMstiStatusSm, OCMstpMainStateSm>;

template <class Class>
constinit Inspector<Class> const inspector;

template <class... Class>
constexpr bool standAtTheirIndices(TypeList<Class...> /*classes*/) {
  std::uint16_t index = 0;
  return ((Class::AttributeList::classIndex == index++) && ...);
}
static_assert(standAtTheirIndices(ModuleClasses()));

template <class... Class>
std::array<Lumo::ClassInspectData, sizeof...(Class)> describeClasses(
    TypeList<Class...> /*classes*/) {
  return {Lumo::ClassInspectData{Lumo::typeName<Class>(), fieldsOf<Class>, &inspector<Class>}...};
}

struct Names {
  std::array<std::string_view, 512> names{};
  std::size_t count = 0;

  constexpr void add(std::string_view name) {
    if (!name.empty()) {
      names.at(count++) = name;
    }
  }
};

// All names of the module's classes, sorted, each once.
template <class... Class>
consteval Names collectNames(TypeList<Class...> /*classes*/) {
  Names all;
  auto const addClass = [&all](std::string_view name, auto const& fields) {
    all.add(name);
    for (auto const& field : fields) {
      all.add(field.name);
      all.add(field.type);
    }
  };
  (addClass(Lumo::typeName<Class>(), fieldsOf<Class>), ...);
  auto* const end = all.names.data() + all.count;
  std::sort(all.names.data(), end);
  all.count = static_cast<std::size_t>(std::unique(all.names.data(), end) - all.names.data());
  return all;
}

constexpr Names moduleNames = collectNames(ModuleClasses());
auto const moduleClasses = describeClasses(ModuleClasses());

}  // namespace

constinit Vel::TraceHandle moduleTraceHandle("StpOCSm", false);

void traceSiteRegister(Flashlog::TraceFile& file, int& id, TraceSite const& site) {
  Flashlog::MsgDesc message(file, id, sourcePath, site.line);
  message << "Stp::" << site.className << "::" << site.handler;
  message << (site.handler.ends_with(')') ? ":" : "():") << site.line;
  message.finish();
}

}  // namespace Impl

Vel::TraceHandle& _defaultTraceHandle() {
  return Impl::moduleTraceHandle;
}

}  // namespace Stp

Lumo::ModuleInspectData const _StpOpenConfigSm_a888b7c7e663556e_velModule{
    "StpOpenConfigSm", Stp::Impl::sourcePath,
    std::span(Stp::Impl::moduleNames.names).first(Stp::Impl::moduleNames.count),
    Stp::Impl::moduleClasses};

namespace {

// Runs when the library is loaded.
[[maybe_unused]] bool const registered = [] {
  Lumo::ModuleInspectData::loaded(_StpOpenConfigSm_a888b7c7e663556e_velModule);
  return true;
}();

}  // namespace
