// Handlers called directly. Each mirror slept while its world changed, so that there is something
// to do.
#include <string_view>
#include <utility>

#include "Attempts.h"
#include "Mirrors.h"

namespace Shortage {

namespace {

// What calling a handler can run into.
struct Troubles {
  bool allocates;
  bool writes;
};
constexpr Troubles memory{true, false};
constexpr Troubles readers{false, true};
constexpr Troubles both{true, true};

template <class Factory, class Call>
Attempt calling(
    std::string_view name, Troubles troubles, Factory factory, Call call,
    std::function<void(World&)> beforeRepeating = [](World&) {}) {
  return {name,
          Keeps::sources,
          troubles.allocates,
          troubles.writes,
          [=](World& world) {
            auto const mirror = factory(world);
            mirror->hasNotificationActiveIs(false);
            world.change(1);
            world.wakeUp = [mirror] { mirror->hasNotificationActiveIs(true); };
            return [call, mirror] { call(*mirror); };
          },
          std::move(beforeRepeating)};
}

// A mirror whose directory of interfaces somebody emptied.
template <class Factory>
auto bare(Factory factory) {
  return [factory](World& world) {
    auto mirror = factory(world);
    mirror->hasNotificationActiveIs(false);
    forgetInterfaces(world);
    return mirror;
  };
}

std::vector<Attempt> globalHandlers() {
  return {
      calling("OCGlobalConfigSm::handleEnabledProtocol", both, &globalConfigMirror,
              [](auto& mirror) { mirror.handleEnabledProtocol(); }),
      calling("OCGlobalConfigSm::handleBpduguard", readers, &globalConfigMirror,
              [](auto& mirror) { mirror.handleBpduguard(); }),
      calling("OCGlobalConfigSm::handleDisabledVlan", both, &globalConfigMirror,
              [](auto& mirror) { mirror.handleDisabledVlan(); }),
      calling("OCGlobalStateSm::handleEnabledProtocol", both, &globalStateMirror,
              [](auto& mirror) { mirror.handleEnabledProtocol(); }),
      calling("OCGlobalStateSm::handleBpduguard", readers, &globalStateMirror,
              [](auto& mirror) { mirror.handleBpduguard(); }),
      calling("OCGlobalStateSm::handleDisabledVlan", both, &globalStateMirror,
              [](auto& mirror) { mirror.handleDisabledVlan(); }),
  };
}

// What comes back from OpenConfig is written into the source, whose readers can refuse it, too.
Attempt syncingDisabledVlans() {
  return {"OCGlobalVlanSyncher::syncDisabledVlan", Keeps::nothing, true, true, [](World& world) {
            Stp::OCGlobalConfigContainer record;
            for (std::uint16_t const vlan : {12, 14, 15, 13}) {
              record.disabledVlanPush(Bridging::VlanId(vlan));
            }
            world.globalConfig->configIs(record);
            world.readers.watch(world.input);
            return [syncher = vlanSyncher(world)] { syncher->syncDisabledVlan(); };
          }};
}

std::vector<Attempt> interfaceConfigHandlers() {
  return {
      calling("OCPortConfigSm::handleInitialized", readers, &portConfigMirror,
              [](auto& mirror) { mirror.handleInitialized(); }),
      calling("OCPortConfigSm::handleEdgePort", readers, &portConfigMirror,
              [](auto& mirror) { mirror.handleEdgePort(); }),
      calling("OCPortConfigSm::handleBpduguard", readers, &portConfigMirror,
              [](auto& mirror) { mirror.handleBpduguard(); }),
      calling("OCPortConfigSm::handleLinkType", readers, &portConfigMirror,
              [](auto& mirror) { mirror.handleLinkType(); }),
      calling(
          "OCStpiStatusConfigSm::handleInitialized", both, bare(&stpiStatusConfigMirror),
          [](auto& mirror) { mirror.handleInitialized(); }, &forgetInterfaces),
      calling(
          "OCStpiStatusConfigSm::handleStpiPortStatusConfig", both, bare(&stpiStatusConfigMirror),
          [](auto& mirror) { mirror.handleStpiPortStatusConfig("Ethernet21"); }, &forgetInterfaces),
      calling(
          "OCInterfaceConfigDirSm::handleInitialized", both, bare(&interfaceConfigMirror),
          [](auto& mirror) { mirror.handleInitialized(); }, &forgetInterfaces),
      calling("OCInterfaceConfigDirSm::handleInterface, of a configured port", both,
              &interfaceConfigMirror, [](auto& mirror) { mirror.handleInterface("Ethernet11"); }),
      calling("OCInterfaceConfigDirSm::handleInterface, of a port that has an interface", both,
              &interfaceConfigMirror, [](auto& mirror) { mirror.handleInterface("Ethernet1"); }),
      calling("OCInterfaceConfigDirSm::handleInterface, of a listed port", both,
              &interfaceConfigMirror, [](auto& mirror) { mirror.handleInterface("Ethernet3"); }),
      calling(
          "OCInterfaceConfigDirSm::handleInterface, of a removed port", readers,
          [](World& world) {
            auto mirror = interfaceConfigMirror(world);
            world.interfaces->interfaceIs(Lanx::IntfId::of("Ethernet7"));
            return mirror;
          },
          [](auto& mirror) { mirror.handleInterface("Ethernet7"); }),
      calling(
          "OCInterfaceConfigDirSm::handleStpiStatusConfig", both,
          [](World& world) {
            auto mirror = interfaceConfigMirror(world);
            mirror->stpiStatusConfigSmDelAll();
            forgetInterfaces(world);
            return mirror;
          },
          [](auto& mirror) { mirror.handleStpiStatusConfig("Mst"); }, &forgetInterfaces),
      calling(
          "OCInterfaceConfigDirSm::maybeCleanUpExternalIntfConfigs", both,
          [](World& world) {
            auto mirror = interfaceConfigMirror(world);
            for (char const* const name : {"Ethernet7", "Ethernet8"}) {
              world.interfaces->interfaceIs(Lanx::IntfId::of(name));
            }
            return mirror;
          },
          [](auto& mirror) { mirror.maybeCleanUpExternalIntfConfigs(); }),
  };
}

std::vector<Attempt> interfaceStateHandlers() {
  return {
      calling("OCStpiPortStatusSm::handleInitialized", readers, &portStatusMirror,
              [](auto& mirror) { mirror.handleInitialized(); }),
      calling("OCStpiPortStatusSm::handleLinkType", readers, &portStatusMirror,
              [](auto& mirror) { mirror.handleLinkType(); }),
      calling("OCStpiPortStatusSm::handleEdgePort", readers, &portStatusMirror,
              [](auto& mirror) { mirror.handleEdgePort(); }),
      calling("OCStpiPortStatusSm::handleBpduguard", readers, &portStatusMirror,
              [](auto& mirror) { mirror.handleBpduguard(); }),
      calling("OCStpiStatusSm::handleInitialized", both, &stpiStatusMirror,
              [](auto& mirror) { mirror.handleInitialized(); }),
      calling("OCStpiStatusSm::handleStpiPortStatus", both, &stpiStatusMirror,
              [](auto& mirror) { mirror.handleStpiPortStatus("Ethernet21"); }),
      calling(
          "OCInterfaceStateDirSm::handleInitialized", both,
          [](World& world) {
            auto mirror = interfaceStateMirror(world);
            mirror->ocStpiStatusSmDelAll();
            return mirror;
          },
          [](auto& mirror) { mirror.handleInitialized(); }),
      calling(
          "OCInterfaceStateDirSm::handleStpiStatus", both,
          [](World& world) {
            auto mirror = interfaceStateMirror(world);
            mirror->ocStpiStatusSmDelAll();
            return mirror;
          },
          [](auto& mirror) { mirror.handleStpiStatus("Mst"); }),
  };
}

// The other instances have mirrors, which must find them again.
void forgetUnfinishedInstance31(World& world) {
  auto const added = world.mstis->mstInstance(31);
  if (added && added->config() == Stp::OCMstiConfig()) {
    world.mstis->mstInstanceDel(31);
  }
}

std::vector<Attempt> mstpHandlers() {
  return {
      calling("OCMstiConfigSm::handleBridgePriority", readers, &mstiConfigMirror,
              [](auto& mirror) { mirror.handleBridgePriority(); }),
      calling(
          "OCMstpConfigSm::handleInitialized", both, &mstpConfigMirror,
          [](auto& mirror) { mirror.handleInitialized(); }, &forgetUnfinishedInstance31),
      calling(
          "OCMstpConfigSm::handleMstiConfig", both, &mstpConfigMirror,
          [](auto& mirror) { mirror.handleMstiConfig("MST31"); }, &forgetUnfinishedInstance31),
      calling(
          "OCMstpConfigWrapperSm::handleInitialized", both,
          [](World& world) {
            auto mirror = mstpConfigWrapper(world);
            mirror->ocMstpConfigSmDelAll();
            return mirror;
          },
          [](auto& mirror) { mirror.handleInitialized(); }, &forgetUnfinishedInstances),
      calling("OCMstpConfigWrapperSm::handleMstVlanMapping", both, &mstpConfigWrapper,
              [](auto& mirror) { mirror.handleMstVlanMapping(); }),
      calling(
          "OCMstpConfigWrapperSm::handleMstpConfigSm", both,
          [](World& world) {
            auto mirror = mstpConfigWrapper(world);
            mirror->ocMstpConfigSmDelAll();
            return mirror;
          },
          [](auto& mirror) { mirror.handleMstpConfigSm("Mst"); }, &forgetUnfinishedInstances),
      calling("OCMstpMainStateSm::handleInitialized", memory, &mstpStateMirror,
              [](auto& mirror) { mirror.handleInitialized(); }),
      calling("OCMstpMainStateSm::update", both, &mstpStateMirror,
              [](auto& mirror) { mirror.update(); }),
      calling(
          "OCMstpMainStateSm::update, without MSTP", both,
          [](World& world) {
            auto mirror = mstpStateMirror(world);
            mirror->hasNotificationActiveIs(false);
            world.status->activeProtocolIs(Stp::Mode::rstp);
            return mirror;
          },
          [](auto& mirror) { mirror.update(); }),
  };
}

}  // namespace

std::vector<Attempt> handlerAttempts() {
  std::vector<Attempt> all{syncingDisabledVlans()};
  for (auto const& part :
       {globalHandlers(), interfaceConfigHandlers(), interfaceStateHandlers(), mstpHandlers()}) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}

}  // namespace Shortage
