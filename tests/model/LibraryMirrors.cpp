// How operations make, drive and drop the library's top-level objects.
#include "Library.h"

namespace Harness {

namespace {

using Model::Call;
using Model::Do;
using Model::Tree;

void start(Mirrors& mirrors, Sources const& sources, Targets const& targets, Tree tree) {
  switch (tree) {
    case Tree::globalConfig:
      mirrors.globalConfig =
          Stp::oCGlobalConfigSmFactory(sources.inputConfig, targets.globalConfig);
      return;
    case Tree::globalState:
      mirrors.globalState = Stp::oCGlobalStateSmFactory(sources.config, sources.status,
                                                        sources.vlanDir, targets.globalState);
      return;
    case Tree::vlanSyncher:
      mirrors.vlanSyncher =
          Stp::oCGlobalVlanSyncherFactory(targets.globalConfig, sources.inputConfig);
      return;
    case Tree::interfaceConfig:
      mirrors.interfaceConfig = Stp::oCInterfaceConfigDirSmFactory(
          sources.inputConfig, sources.status, targets.interfaces);
      return;
    case Tree::interfaceState:
      mirrors.interfaceState = Stp::oCInterfaceStateDirSmFactory(sources.config, sources.status,
                                                                 targets.interfaceStates);
      return;
    case Tree::mstpConfig:
      mirrors.mstpConfig = Stp::oCMstpConfigWrapperSmFactory(sources.inputConfig, targets.mstis);
      return;
    case Tree::mstpState:
      mirrors.mstpState =
          Stp::oCMstpMainStateSmFactory(sources.config, sources.status, targets.mstiStates);
  }
}

// Calls a function with the pointer to a tree's top-level object.
template <class Function>
void with(Mirrors& mirrors, Tree tree, Function const& function) {
  switch (tree) {
    case Tree::globalConfig: return function(mirrors.globalConfig);
    case Tree::globalState: return function(mirrors.globalState);
    case Tree::vlanSyncher: return function(mirrors.vlanSyncher);
    case Tree::interfaceConfig: return function(mirrors.interfaceConfig);
    case Tree::interfaceState: return function(mirrors.interfaceState);
    case Tree::mstpConfig: return function(mirrors.mstpConfig);
    case Tree::mstpState: return function(mirrors.mstpState);
  }
}

void call(Mirrors& mirrors, Call what, int key) {
  switch (what) {
    case Call::configProtocol: return mirrors.globalConfig->handleEnabledProtocol();
    case Call::configGuard: return mirrors.globalConfig->handleBpduguard();
    case Call::configVlans: return mirrors.globalConfig->handleDisabledVlan();
    case Call::stateProtocol: return mirrors.globalState->handleEnabledProtocol();
    case Call::stateGuard: return mirrors.globalState->handleBpduguard();
    case Call::stateVlans: return mirrors.globalState->handleDisabledVlan();
    case Call::sync: return mirrors.vlanSyncher->syncDisabledVlan();
    case Call::interfaceConfigInitialized: return mirrors.interfaceConfig->handleInitialized();
    case Call::interfaceConfigPort: return mirrors.interfaceConfig->handleInterface(portName(key));
    case Call::interfaceConfigInstance:
      return mirrors.interfaceConfig->handleStpiStatusConfig(instanceName(key));
    case Call::interfaceConfigCleanUp:
      return mirrors.interfaceConfig->maybeCleanUpExternalIntfConfigs();
    case Call::interfaceConfigPortDel:
      mirrors.interfaceConfig->portConfigSmDel(portName(key));
      return;
    case Call::interfaceConfigInstanceDel:
      mirrors.interfaceConfig->stpiStatusConfigSmDel(instanceName(key));
      return;
    case Call::interfaceStateInitialized: return mirrors.interfaceState->handleInitialized();
    case Call::interfaceStateInstance:
      return mirrors.interfaceState->handleStpiStatus(instanceName(key));
    case Call::interfaceStateInstanceDel:
      mirrors.interfaceState->ocStpiStatusSmDel(instanceName(key));
      return;
    case Call::mstpConfigInitialized: return mirrors.mstpConfig->handleInitialized();
    case Call::mstpConfigVlans: return mirrors.mstpConfig->handleMstVlanMapping();
    case Call::mstpConfigInstance: return mirrors.mstpConfig->handleMstpConfigSm(instanceName(key));
    case Call::mstpConfigInstanceDel:
      mirrors.mstpConfig->ocMstpConfigSmDel(instanceName(key));
      return;
    case Call::mstpStateInitialized: return mirrors.mstpState->handleInitialized();
    case Call::mstpStateUpdate: return mirrors.mstpState->update();
    case Call::mstpStateTrigger: return mirrors.mstpState->triggerInc();
    case Call::mstpStateLeafDel: mirrors.mstpState->ocMstSmDel(); return;
    case Call::mstpStateLeavesDel: return mirrors.mstpState->ocMstiStatusSmDelAll();
  }
}

}  // namespace

void changeMirrors(Mirrors& mirrors, Sources const& sources, Targets const& targets,
                   Model::Operation const& operation) {
  Do const what = operation.what;
  bool const flag = operation.b != 0;
  auto const tree = what == Do::call
                        ? static_cast<Tree>(Model::treeOf(static_cast<Call>(operation.a)))
                        : static_cast<Tree>(operation.a);
  with(mirrors, tree, [&](auto& mirror) {
    if (what == Do::start) {
      mirror = nullptr;
      start(mirrors, sources, targets, tree);
    } else if (what == Do::stop) {
      mirror = nullptr;
    } else if (!mirror) {
      return;
    } else if (what == Do::activate) {
      if constexpr (requires { mirror->hasNotificationActiveIs(flag); }) {
        mirror->hasNotificationActiveIs(flag);
      }
    } else if (what == Do::sweep) {
      mirror->velDoZombieReactors(flag);
    } else {
      call(mirrors, static_cast<Call>(operation.a), operation.b);
    }
  });
}

}  // namespace Harness
