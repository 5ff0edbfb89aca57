#include "agent/state/Mirror.h"

#include <algorithm>

#include "Stp/GlobalMirrors.h"
#include "Stp/InterfaceConfigMirrors.h"
#include "Stp/InterfaceStateMirrors.h"
#include "Stp/MstpConfigMirrors.h"
#include "Stp/MstpStateMirrors.h"
#include "StpOper/ProtectionMirrors.h"
#include "StpOper/ProtocolMirrors.h"
#include "StpOper/TreeMirrors.h"

namespace Agent {

using Object = Lumo::Ptr<Lumo::Node>;

std::array<TopLevelClass, topLevelClassCount> const topLevelClasses{{
    {"OCGlobalConfigSm",
     [](SourceTree const& from, TargetTree const& to) -> Object {
       return Stp::oCGlobalConfigSmFactory(from.input, to.globalConfig);
     }},
    {"OCGlobalStateSm",
     [](SourceTree const& from, TargetTree const& to) -> Object {
       return Stp::oCGlobalStateSmFactory(from.config, from.status, from.vlanConfigDir,
                                          to.globalState);
     }},
    {"OCGlobalVlanSyncher",
     [](SourceTree const& from, TargetTree const& to) -> Object {
       return Stp::oCGlobalVlanSyncherFactory(to.globalConfig, from.input);
     }},
    {"OCInterfaceConfigDirSm",
     [](SourceTree const& from, TargetTree const& to) -> Object {
       return Stp::oCInterfaceConfigDirSmFactory(from.input, from.status, to.interfaceConfigDir);
     }},
    {"OCInterfaceStateDirSm",
     [](SourceTree const& from, TargetTree const& to) -> Object {
       return Stp::oCInterfaceStateDirSmFactory(from.config, from.status, to.interfaceStateDir);
     }},
    {"OCMstpConfigWrapperSm",
     [](SourceTree const& from, TargetTree const& to) -> Object {
       return Stp::oCMstpConfigWrapperSmFactory(from.input, to.mstiConfigDir);
     }},
    {"OCMstpMainStateSm",
     [](SourceTree const& from, TargetTree const& to) -> Object {
       return Stp::oCMstpMainStateSmFactory(from.config, from.status, to.mstiStateDir);
     }},
    {"OCProtocolParametersSm",
     [](SourceTree const& from, TargetTree const& to) -> Object {
       return Stp::Oper::oCProtocolParametersSmFactory(from.input, from.operational, to.rstpConfig,
                                                       to.rstpState, to.mstpConfig, to.mstpState);
     }},
    {"OCTreeDirSm",
     [](SourceTree const& from, TargetTree const& to) -> Object {
       return Stp::Oper::oCTreeDirSmFactory(from.input, from.operational, to.treeConfigDir,
                                            to.treeStateDir, to.treePortConfigDir,
                                            to.treePortStateDir, to.treePortCountersDir);
     }},
    {"OCProtectionDirSm",
     [](SourceTree const& from, TargetTree const& to) -> Object {
       return Stp::Oper::oCProtectionDirSmFactory(from.operational, to.protectionConfigDir,
                                                  to.protectionStateDir);
     }},
}};

TopLevelClass const* topLevelClass(std::string_view name) {
  auto const found = std::ranges::find(topLevelClasses, name, &TopLevelClass::name);
  return found == topLevelClasses.end() ? nullptr : &*found;
}

void Mirror::start(TopLevelClass const& topLevel) {
  Object& object = objects_[indexOf(topLevel)];
  if (!object) {
    object = topLevel.create(database_.sourceTree(), database_.targetTree());
  }
}

void Mirror::startAll() {
  for (TopLevelClass const& topLevel : topLevelClasses) {
    start(topLevel);
  }
}

void Mirror::stop(TopLevelClass const& topLevel) {
  objects_[indexOf(topLevel)] = nullptr;
}

void Mirror::stopAll() {
  for (std::size_t at = objects_.size(); at > 0; --at) {
    objects_[at - 1] = nullptr;
  }
}

void Mirror::syncDisabledVlans() const {
  for (Object const& object : objects_) {
    if (auto* const syncher = dynamic_cast<Stp::OCGlobalVlanSyncher*>(object.get())) {
      syncher->syncDisabledVlan();
    }
  }
}

Lumo::Ptr<Lumo::Node> Mirror::object(TopLevelClass const& topLevel) const {
  return objects_[indexOf(topLevel)];
}

std::size_t Mirror::indexOf(TopLevelClass const& topLevel) {
  return static_cast<std::size_t>(&topLevel - topLevelClasses.data());
}

}  // namespace Agent
