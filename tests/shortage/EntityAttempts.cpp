// What entities and collections do by themselves: no mirror watches them here.
#include <bit>
#include <cstdint>
#include <string>
#include <utility>

#include "Attempts.h"
#include "Lumo/TypeName.h"
#include "Stp/tests/MstTestSupport.h"

namespace Shortage {

namespace {

template <class Entity>
Attempt making() {
  return {Lumo::typeName<Entity>(), Keeps::all, true, false,
          [](World& world) { return [&] { world.made = Lumo::make<Entity>(); }; }};
}

// Brings a new member into the collection of a source, which has no more room.
template <class Entity, class Member>
Attempt inserting(std::string_view name, Lumo::Ptr<Entity> (*entityOf)(World const&),
                  Stp::Members<Lumo::String, Member> Entity::*members) {
  return {name, Keeps::all, true, false, [=](World& world) {
            Lumo::Ptr<Entity> const entity = entityOf(world);
            auto const add = [entity, members](Lumo::String const& key,
                                               Lumo::Ptr<Member> const& member) {
              ((*entity).*members).is(key, member);
            };
            for (int more = 60; !std::has_single_bit(((*entity).*members)().size()); ++more) {
              add("MST" + std::to_string(more), Lumo::make<Member>());
            }
            return [add, key = Lumo::String("MST77"), member = Lumo::make<Member>()] {
              add(key, member);
            };
          }};
}

// Empties a collection or table of a source.
template <class Entity, class Owner>
Attempt emptying(std::string_view name, Lumo::Ptr<Entity> (*entityOf)(World const&),
                 void (Owner::*delAll)()) {
  return {name, Keeps::all, true, false, [=](World& world) {
            return [entity = entityOf(world), delAll] { ((*entity).*delAll)(); };
          }};
}

template <class Entity, class Member>
Attempt emptying(std::string_view name, Lumo::Ptr<Entity> (*entityOf)(World const&),
                 Stp::Members<Lumo::String, Member> Entity::*members) {
  return {name, Keeps::all, true, false, [=](World& world) {
            return [entity = entityOf(world), members] { ((*entity).*members).delAll(); };
          }};
}

// An operation on a target.
Attempt writing(std::string_view name, bool allocates, void (*prepare)(World&),
                void (*operation)(World&)) {
  return {name, Keeps::all, allocates, true, [=](World& world) {
            prepare(world);
            return [&world, operation] { operation(world); };
          }};
}

Lanx::IntfId port(unsigned number) {
  return Lanx::IntfId::of(number == 1 ? "Ethernet1" : "Ethernet2");
}
Stp::OCMstiState record(std::uint16_t id) {
  return Stp::OCMstiState(id);
}

Lumo::Ptr<Stp::Input::Config> inputOf(World const& world) {
  return world.input;
}
Lumo::Ptr<Stp::Config> configOf(World const& world) {
  return world.config;
}
Lumo::Ptr<Stp::Status> statusOf(World const& world) {
  return world.status;
}
Lumo::Ptr<Stp::Input::StpiConfig> mstInputOf(World const& world) {
  return world.mstInput;
}
Lumo::Ptr<Stp::StpiStatus> mstOf(World const& world) {
  return world.mst;
}
Lumo::Ptr<Stp::VlanConfigDir> vlansOf(World const& world) {
  return world.vlans;
}

void nothing(World& /*world*/) {
}

}  // namespace

std::vector<Attempt> entityAttempts() {
  return {
      making<Stp::Input::Config>(),
      making<Stp::Input::PortConfig>(),
      making<Stp::Input::StpiConfig>(),
      making<Stp::Input::MstiConfig>(),
      making<Stp::Config>(),
      making<Stp::PortConfig>(),
      making<Stp::Status>(),
      making<Stp::StpiStatus>(),
      making<Stp::StpiPortStatus>(),
      making<Stp::MstiStatus>(),
      making<Stp::VlanConfigDir>(),
      making<Stp::OCGlobalConfig>(),
      making<Stp::OCGlobalState>(),
      making<Stp::OCInterface>(),
      making<Stp::OCInterfaceConfigDir>(),
      making<Stp::OCInterfaceStateDir>(),
      making<Stp::OCMsti>(),
      making<Stp::OCMstiConfigDir>(),
      making<Stp::OCMstiStateDir>(),

      inserting("Input::Config::portConfig.is", &inputOf, &Stp::Input::Config::portConfig),
      inserting("Input::Config::stpiConfig.is", &inputOf, &Stp::Input::Config::stpiConfig),
      inserting("Input::StpiConfig::mstiConfig.is", &mstInputOf,
                &Stp::Input::StpiConfig::mstiConfig),
      inserting("Config::portConfig.is", &configOf, &Stp::Config::portConfig),
      inserting("Status::stpiStatus.is", &statusOf, &Stp::Status::stpiStatus),
      inserting("StpiStatus::stpiPortStatus.is", &mstOf, &Stp::StpiStatus::stpiPortStatus),
      inserting("StpiStatus::mstiStatus.is", &mstOf, &Stp::StpiStatus::mstiStatus),

      emptying("Input::Config::portConfig.delAll", &inputOf, &Stp::Input::Config::portConfig),
      emptying("Input::Config::stpiConfig.delAll", &inputOf, &Stp::Input::Config::stpiConfig),
      emptying("Input::StpiConfig::mstiConfig.delAll", &mstInputOf,
               &Stp::Input::StpiConfig::mstiConfig),
      emptying("Config::portConfig.delAll", &configOf, &Stp::Config::portConfig),
      emptying("ConfigBase::disabledVlanDelAll", &configOf, &Stp::Config::disabledVlanDelAll),
      emptying("Status::stpiStatus.delAll", &statusOf, &Stp::Status::stpiStatus),
      emptying("StpiStatus::stpiPortStatus.delAll", &mstOf, &Stp::StpiStatus::stpiPortStatus),
      emptying("StpiStatus::mstiStatus.delAll", &mstOf, &Stp::StpiStatus::mstiStatus),
      emptying("VlanConfigDir::vlanConfigDelAll", &vlansOf, &Stp::VlanConfigDir::vlanConfigDelAll),

      {"ConfigBase::mstConfigIs", Keeps::all, true, false,
       [](World& world) {
         Stp::MstConfig map = Stp::TestSupport::mstConfig(
             {{8, 2}, {9, 3}, {10, 3}, {11, 2}, {12, 2}, {13, 2}, {14, 2}});
         map.regionName = "another region";
         return [&world, map] { world.input->mstConfigIs(map); };
       }},

      writing("OCInterfaceConfigDir::interfaceIs", true, &nothing,
              [](World& world) { world.interfaces->interfaceIs(port(1)); }),
      writing(
          "OCInterfaceConfigDir::interfaceDelAll", true,
          [](World& world) {
            world.interfaces->interfaceIs(port(1));
            world.interfaces->interfaceIs(port(2));
          },
          [](World& world) { world.interfaces->interfaceDelAll(); }),
      writing("OCInterfaceStateDir::stateIs", true, &nothing,
              [](World& world) { world.interfaceStates->stateIs(Stp::InterfaceState{port(1)}); }),
      writing("OCInterfaceStateDir::stateAmend", true, &nothing,
              [](World& world) {
                world.interfaceStates->stateAmend(port(1), [](Stp::InterfaceState& state) {
                  state.linkType = Stp::OcLinkType::shared;
                });
              }),
      writing(
          "OCInterfaceStateDir::stateDelAll", true,
          [](World& world) {
            world.interfaceStates->stateIs(Stp::InterfaceState{port(1)});
            world.interfaceStates->stateIs(Stp::InterfaceState{port(2)});
          },
          [](World& world) { world.interfaceStates->stateDelAll(); }),
      writing("OCMstiConfigDir::mstInstanceIs", true, &nothing,
              [](World& world) { world.mstis->mstInstanceIs(5); }),
      writing(
          "OCMstiConfigDir::mstInstanceDelAll", true,
          [](World& world) {
            world.mstis->mstInstanceIs(1);
            world.mstis->mstInstanceIs(2);
          },
          [](World& world) { world.mstis->mstInstanceDelAll(); }),
      writing("OCMstiStateDir::stateIs", true, &nothing,
              [](World& world) { world.mstiStates->stateIs(record(5)); }),
      writing("OCMstiStateDir::stateAmend", true, &nothing,
              [](World& world) {
                world.mstiStates->stateAmend(5, [](Stp::OCMstiState& state) {
                  state.bridgePriority = Stp::OCBridgePriority(4096);
                });
              }),
      writing(
          "OCMstiStateDir::stateAmend of a shared list", true,
          [](World& world) {
            Stp::OCMstiState state = record(5);
            state.vlanPush(Bridging::VlanId(7));
            world.mstiStates->stateIs(state);
          },
          [](World& world) {
            world.mstiStates->stateAmend(
                5, [](Stp::OCMstiState& state) { state.vlan.last() = Bridging::VlanId(9); });
          }),
      writing(
          "OCMstiStateDir::stateDelAll", true,
          [](World& world) {
            world.mstiStates->stateIs(record(1));
            world.mstiStates->stateIs(record(2));
          },
          [](World& world) { world.mstiStates->stateDelAll(); }),
  };
}

}  // namespace Shortage
