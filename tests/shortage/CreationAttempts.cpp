// What makes a reactor: the factories, and the creators of children.
#include <string_view>
#include <utility>

#include "Attempts.h"
#include "Mirrors.h"

namespace Shortage {

namespace {

// `prepare` makes what the operation takes, before memory is short: its result goes into `create`.
template <class Prepare, class Create>
Attempt creating(
    std::string_view name, bool writes, Prepare prepare, Create create,
    std::function<void(World&)> beforeRepeating = [](World&) {}) {
  return {name,
          Keeps::users,
          true,
          writes,
          [=](World& world) {
            return [&world, create, argument = prepare(world)] {
              world.made = create(world, argument);
            };
          },
          std::move(beforeRepeating)};
}

int nothing(World& /*world*/) {
  return 0;
}

// A parent without the children that it made by itself.
auto interfaceConfigParent(World& world) {
  auto parent = interfaceConfigMirror(world);
  parent->portConfigSmDelAll();
  parent->stpiStatusConfigSmDelAll();
  return parent;
}
auto stpiStatusParent(World& world) {
  auto parent = stpiStatusMirror(world);
  parent->ocStpiPortStatusSmDelAll();
  return parent;
}
auto interfaceStateParent(World& world) {
  auto parent = interfaceStateMirror(world);
  parent->ocStpiStatusSmDelAll();
  return parent;
}
auto mstpConfigParent(World& world) {
  auto parent = mstpConfigMirror(world);
  parent->ocMstiConfigSmDelAll();
  return parent;
}
auto wrapperParent(World& world) {
  auto parent = mstpConfigWrapper(world);
  parent->ocMstpConfigSmDelAll();
  return parent;
}
auto mainStateParent(World& world) {
  auto parent = mstpStateMirror(world);
  parent->ocMstSmDel();
  parent->ocMstiStatusSmDelAll();
  return parent;
}

std::vector<Attempt> factories() {
  auto const made = [](auto factory) {
    return [factory](World& world, int) { return factory(world); };
  };
  // An interface or instance that exists already, as its mirror finds it.
  auto const interface = [](World& world) {
    return world.interfaces->interfaceIs(Lanx::IntfId::of("Ethernet1"));
  };
  auto const instance = [](World& world) { return world.mstis->mstInstanceIs(1); };
  auto const trigger = [](World&) { return Stp::OCMstpTrigger::create(); };
  return {
      creating("OCGlobalConfigSm", true, &nothing, made(&globalConfigMirror)),
      creating("OCGlobalVlanSyncher", false, &nothing, made(&vlanSyncher)),
      creating("OCGlobalStateSm", true, &nothing, made(&globalStateMirror)),
      creating("OCPortConfigSm", true, interface,
               [](World& world, auto const&) { return portConfigMirror(world); }),
      creating("OCStpiStatusConfigSm", true, &nothing, made(&stpiStatusConfigMirror),
               &forgetInterfaces),
      creating("OCInterfaceConfigDirSm", true, &nothing, made(&interfaceConfigMirror),
               &forgetInterfaces),
      creating("OCStpiPortStatusSm", true, &nothing, made(&portStatusMirror)),
      creating("OCStpiStatusSm", true, &nothing, made(&stpiStatusMirror)),
      creating("OCInterfaceStateDirSm", true, &nothing, made(&interfaceStateMirror)),
      creating("OCMstiConfigSm", true, instance,
               [](World& world, auto const&) { return mstiConfigMirror(world); }),
      creating("OCMstpConfigSm", true, &nothing, made(&mstpConfigMirror),
               &forgetUnfinishedInstances),
      creating("OCMstpConfigWrapperSm", true, &nothing, made(&mstpConfigWrapper),
               &forgetUnfinishedInstances),
      creating("OCMstpTrigger", false, &nothing,
               [](World&, int) { return Stp::OCMstpTrigger::create(); }),
      creating("OCMstSm", false, trigger,
               [](World& world, auto const& counter) {
                 return Stp::oCMstSmFactory(world.mst, counter);
               }),
      creating("OCMstiStatusSm", false, trigger,
               [](World& world, auto const& counter) {
                 return Stp::oCMstiStatusSmFactory("MST1", world.mst->mstiStatus("MST1"), counter);
               }),
      creating("OCMstpMainStateSm", true, &nothing, made(&mstpStateMirror)),
  };
}

std::vector<Attempt> childCreators() {
  return {
      creating("OCInterfaceConfigDirSm::portConfigSmIs", true, &interfaceConfigParent,
               [](World& world, auto const& parent) {
                 return parent->portConfigSmIs(
                     "Ethernet1", world.input->portConfig("Ethernet1"),
                     world.interfaces->interface(Lanx::IntfId::of("Ethernet1")));
               }),
      creating(
          "OCInterfaceConfigDirSm::stpiStatusConfigSmIs", true,
          [](World& world) {
            auto parent = interfaceConfigParent(world);
            forgetInterfaces(world);
            return parent;
          },
          [](World& world, auto const& parent) {
            return parent->stpiStatusConfigSmIs("Mst", world.input, world.mst, world.interfaces);
          },
          &forgetInterfaces),
      creating("OCStpiStatusSm::ocStpiPortStatusSmIs", true, &stpiStatusParent,
               [](World& world, auto const& parent) {
                 return parent->ocStpiPortStatusSmIs(
                     "Ethernet1", world.config, world.config->portConfig("Ethernet1"),
                     world.mst->stpiPortStatus("Ethernet1"), world.interfaceStates);
               }),
      creating("OCInterfaceStateDirSm::ocStpiStatusSmIs", true, &interfaceStateParent,
               [](World& world, auto const& parent) {
                 return parent->ocStpiStatusSmIs("Mst", world.config, world.mst,
                                                 world.interfaceStates);
               }),
      creating("OCMstpConfigSm::ocMstiConfigSmIs", true, &mstpConfigParent,
               [](World& world, auto const& parent) {
                 return parent->ocMstiConfigSmIs("MST1", world.mstInput->mstiConfig("MST1"),
                                                 world.mstis->mstInstance(1));
               }),
      creating("OCMstpConfigWrapperSm::ocMstpConfigSmIs", true, &wrapperParent,
               [](World& world, auto const& parent) {
                 return parent->ocMstpConfigSmIs("Mst", world.mstInput, world.input, world.mstis);
               }),
      creating("OCMstpMainStateSm::ocMstpTriggerIs", false, &mainStateParent,
               [](World&, auto const& parent) { return parent->ocMstpTriggerIs(); }),
      creating("OCMstpMainStateSm::ocMstSmIs", false, &mainStateParent,
               [](World& world, auto const& parent) {
                 return parent->ocMstSmIs(world.mst, parent->ocMstpTriggerIs());
               }),
      creating("OCMstpMainStateSm::ocMstiStatusSmIs", false, &mainStateParent,
               [](World& world, auto const& parent) {
                 return parent->ocMstiStatusSmIs("MST1", world.mst->mstiStatus("MST1"),
                                                 parent->ocMstpTriggerIs());
               }),
  };
}

}  // namespace

std::vector<Attempt> creationAttempts() {
  std::vector<Attempt> all = factories();
  for (Attempt const& attempt : childCreators()) {
    all.push_back(attempt);
  }
  return all;
}

}  // namespace Shortage
