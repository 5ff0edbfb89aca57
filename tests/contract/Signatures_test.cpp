// The functions by which other software makes and steers the objects, with their parameters.

#include <gtest/gtest.h>

#include <concepts>
#include <cstdint>
#include <type_traits>

#include "Lumo/Node.h"
#include "Lumo/Ptr.h"
#include "Lumo/Publisher.h"
#include "Lumo/String.h"
#include "Stp/GlobalMirrors.h"
#include "Stp/InterfaceConfigMirrors.h"
#include "Stp/InterfaceStateMirrors.h"
#include "Stp/MstpConfigMirrors.h"
#include "Stp/MstpStateMirrors.h"
#include "Vel/AllocTrack.h"

namespace Stp {
namespace {

using Lumo::Ptr;
using Lumo::String;

// A function that returns a new object, and takes these.
template <class Class, class... Argument>
using Makes = Ptr<Class> (*)(Argument const&...);

template <class Expected, class Function>
constexpr bool is(Function /*function*/) {
  return std::convertible_to<Function, Expected>;
}

// The constructor's, the static creator's and the factory's parameters are the same.
template <class Class, class... Argument, class Creator, class Factory>
constexpr bool isMadeFrom(Creator creator, Factory factory) {
  return std::constructible_from<Class, Argument const&...> &&
         is<Makes<Class, Argument...>>(creator) && is<Makes<Class, Argument...>>(factory);
}

TEST(Signatures, OfConstructorsCreatorsAndFactories) {
  EXPECT_TRUE((isMadeFrom<OCGlobalConfigSm, Ptr<Input::Config const>, Ptr<OCGlobalConfig>>(
      OCGlobalConfigSm::OCGlobalConfigSmIs, &oCGlobalConfigSmFactory)));
  EXPECT_TRUE((isMadeFrom<OCGlobalVlanSyncher, Ptr<OCGlobalConfig>, Ptr<Input::Config>>(
      OCGlobalVlanSyncher::OCGlobalVlanSyncherIs, &oCGlobalVlanSyncherFactory)));
  EXPECT_TRUE((
      isMadeFrom<OCGlobalStateSm, Ptr<Config const>, Ptr<Status const>, Ptr<VlanConfigDir const>,
                 Ptr<OCGlobalState>>(OCGlobalStateSm::OCGlobalStateSmIs, &oCGlobalStateSmFactory)));
  EXPECT_TRUE((isMadeFrom<OCPortConfigSm, String, Ptr<Input::PortConfig const>, Ptr<OCInterface>>(
      OCPortConfigSm::OCPortConfigSmIs, &oCPortConfigSmFactory)));
  EXPECT_TRUE((isMadeFrom<OCStpiStatusConfigSm, String, Ptr<Input::Config const>,
                          Ptr<StpiStatus const>, Ptr<OCInterfaceConfigDir>>(
      OCStpiStatusConfigSm::OCStpiStatusConfigSmIs, OCStpiStatusConfigSm::OCStpiStatusConfigSmIs)))
      << "it has no factory: a parent makes it";
  EXPECT_TRUE((isMadeFrom<OCInterfaceConfigDirSm, Ptr<Input::Config const>, Ptr<Status>,
                          Ptr<OCInterfaceConfigDir>>(
      OCInterfaceConfigDirSm::OCInterfaceConfigDirSmIs, &oCInterfaceConfigDirSmFactory)));
  EXPECT_TRUE((isMadeFrom<OCStpiPortStatusSm, String, Ptr<Config const>, Ptr<PortConfig const>,
                          Ptr<StpiPortStatus const>, Ptr<OCInterfaceStateDir>>(
      OCStpiPortStatusSm::OCStpiPortStatusSmIs, &oCStpiPortStatusSmFactory)));
  EXPECT_TRUE((isMadeFrom<OCStpiStatusSm, String, Ptr<Config const>, Ptr<StpiStatus const>,
                          Ptr<OCInterfaceStateDir>>(OCStpiStatusSm::OCStpiStatusSmIs,
                                                    &oCStpiStatusSmFactory)));
  EXPECT_TRUE((isMadeFrom<OCInterfaceStateDirSm, Ptr<Config const>, Ptr<Status const>,
                          Ptr<OCInterfaceStateDir>>(OCInterfaceStateDirSm::OCInterfaceStateDirSmIs,
                                                    &oCInterfaceStateDirSmFactory)));
  EXPECT_TRUE((isMadeFrom<OCMstiConfigSm, String, Ptr<Input::MstiConfig const>, Ptr<OCMsti>>(
      OCMstiConfigSm::OCMstiConfigSmIs, &oCMstiConfigSmFactory)));
  EXPECT_TRUE(
      (isMadeFrom<OCMstpConfigSm, String, Ptr<Input::StpiConfig const>, Ptr<Input::Config const>,
                  Ptr<OCMstiConfigDir>>(OCMstpConfigSm::OCMstpConfigSmIs, &oCMstpConfigSmFactory)));
  EXPECT_TRUE((isMadeFrom<OCMstpConfigWrapperSm, Ptr<Input::Config const>, Ptr<OCMstiConfigDir>>(
      OCMstpConfigWrapperSm::OCMstpConfigWrapperSmIs, &oCMstpConfigWrapperSmFactory)));
  EXPECT_TRUE((isMadeFrom<OCMstSm, Ptr<StpiStatus const>, Ptr<OCMstpTrigger>>(OCMstSm::OCMstSmIs,
                                                                              &oCMstSmFactory)));
  EXPECT_TRUE((isMadeFrom<OCMstiStatusSm, String, Ptr<MstiStatus const>, Ptr<OCMstpTrigger>>(
      OCMstiStatusSm::OCMstiStatusSmIs, &oCMstiStatusSmFactory)));
  EXPECT_TRUE(
      (isMadeFrom<OCMstpMainStateSm, Ptr<Config const>, Ptr<Status const>, Ptr<OCMstiStateDir>>(
          OCMstpMainStateSm::OCMstpMainStateSmIs, &oCMstpMainStateSmFactory)));
  EXPECT_TRUE(std::constructible_from<OCMstpTrigger>);
}

template <class Routine>
constexpr bool isRoutine(Routine /*routine*/) {
  return std::convertible_to<Routine, void (*)(Lumo::Publisher*, Lumo::Subscriber*, Lumo::FieldId,
                                               void const*, void const*)>;
}

TEST(Signatures, OfDispatchRoutines) {
  EXPECT_TRUE(isRoutine(OCGlobalConfigSm::stpInputConfigDispatch));
  EXPECT_TRUE(isRoutine(OCGlobalStateSm::stpConfigDispatch));
  EXPECT_TRUE(isRoutine(OCGlobalStateSm::stpStatusDispatch));
  EXPECT_TRUE(isRoutine(OCGlobalStateSm::stpVlanConfigDirDispatch));
  EXPECT_TRUE(isRoutine(OCPortConfigSm::portConfigDispatch));
  EXPECT_TRUE(isRoutine(OCStpiStatusConfigSm::stpiStatusDispatch));
  EXPECT_TRUE(isRoutine(OCInterfaceConfigDirSm::stpInputConfigDispatch));
  EXPECT_TRUE(isRoutine(OCInterfaceConfigDirSm::stpStatusDispatch));
  EXPECT_TRUE(isRoutine(OCStpiPortStatusSm::stpiPortStatusDispatch));
  EXPECT_TRUE(isRoutine(OCStpiPortStatusSm::portConfigDispatch));
  EXPECT_TRUE(isRoutine(OCStpiPortStatusSm::stpConfigDispatch));
  EXPECT_TRUE(isRoutine(OCStpiStatusSm::stpiStatusDispatch));
  EXPECT_TRUE(isRoutine(OCInterfaceStateDirSm::stpStatusDispatch));
  EXPECT_TRUE(isRoutine(OCMstiConfigSm::mstiConfigDispatch));
  EXPECT_TRUE(isRoutine(OCMstpConfigSm::mstDispatch));
  EXPECT_TRUE(isRoutine(OCMstpConfigWrapperSm::stpInputConfigDispatch));
  EXPECT_TRUE(isRoutine(OCMstSm::stpiStatusDispatch));
  EXPECT_TRUE(isRoutine(OCMstiStatusSm::mstiStatusDispatch));
  EXPECT_TRUE(isRoutine(OCMstpMainStateSm::stpConfigDispatch));
  EXPECT_TRUE(isRoutine(OCMstpMainStateSm::stpStatusDispatch));
  EXPECT_TRUE(isRoutine(OCMstpMainStateSm::ocMstpTriggerDispatch));
}

// The creator, the deleter and the one for all of a keyed set.
template <class Parent, class Child, class... Argument, class Del, class DelAll, class Is>
constexpr bool isSet(Is creator, Del deleter, DelAll deleterOfAll) {
  return is<Ptr<Child> (Parent::*)(String const&, Argument const&...)>(creator) &&
         is<Ptr<Child> (Parent::*)(String const&)>(deleter) && is<void (Parent::*)()>(deleterOfAll);
}

TEST(Signatures, OfChildren) {
  using Dir = OCInterfaceConfigDirSm;
  EXPECT_TRUE((isSet<Dir, OCPortConfigSm, Ptr<Input::PortConfig const>, Ptr<OCInterface>>(
      &Dir::portConfigSmIs, &Dir::portConfigSmDel, &Dir::portConfigSmDelAll)));
  EXPECT_TRUE((isSet<Dir, OCStpiStatusConfigSm, Ptr<Input::Config const>, Ptr<StpiStatus const>,
                     Ptr<OCInterfaceConfigDir>>(
      &Dir::stpiStatusConfigSmIs, &Dir::stpiStatusConfigSmDel, &Dir::stpiStatusConfigSmDelAll)));
  using Stpi = OCStpiStatusSm;
  EXPECT_TRUE((isSet<Stpi, OCStpiPortStatusSm, Ptr<Config const>, Ptr<PortConfig const>,
                     Ptr<StpiPortStatus const>, Ptr<OCInterfaceStateDir>>(
      &Stpi::ocStpiPortStatusSmIs, &Stpi::ocStpiPortStatusSmDel, &Stpi::ocStpiPortStatusSmDelAll)));
  using StateDir = OCInterfaceStateDirSm;
  EXPECT_TRUE((isSet<StateDir, OCStpiStatusSm, Ptr<Config const>, Ptr<StpiStatus const>,
                     Ptr<OCInterfaceStateDir>>(
      &StateDir::ocStpiStatusSmIs, &StateDir::ocStpiStatusSmDel, &StateDir::ocStpiStatusSmDelAll)));
  using Mstp = OCMstpConfigSm;
  EXPECT_TRUE((isSet<Mstp, OCMstiConfigSm, Ptr<Input::MstiConfig const>, Ptr<OCMsti>>(
      &Mstp::ocMstiConfigSmIs, &Mstp::ocMstiConfigSmDel, &Mstp::ocMstiConfigSmDelAll)));
  using Wrapper = OCMstpConfigWrapperSm;
  EXPECT_TRUE((isSet<Wrapper, OCMstpConfigSm, Ptr<Input::StpiConfig const>,
                     Ptr<Input::Config const>, Ptr<OCMstiConfigDir>>(
      &Wrapper::ocMstpConfigSmIs, &Wrapper::ocMstpConfigSmDel, &Wrapper::ocMstpConfigSmDelAll)));
  using State = OCMstpMainStateSm;
  EXPECT_TRUE((isSet<State, OCMstiStatusSm, Ptr<MstiStatus const>, Ptr<OCMstpTrigger>>(
      &State::ocMstiStatusSmIs, &State::ocMstiStatusSmDel, &State::ocMstiStatusSmDelAll)));
  EXPECT_TRUE((is<Ptr<OCMstpTrigger> (State::*)()>(&State::ocMstpTriggerIs)));
  EXPECT_TRUE((is<Ptr<OCMstpTrigger> (State::*)()>(&State::ocMstpTriggerDel)));
  EXPECT_TRUE((is<Ptr<OCMstSm> (State::*)(Ptr<StpiStatus const> const&, Ptr<OCMstpTrigger> const&)>(
      &State::ocMstSmIs)));
  EXPECT_TRUE((is<Ptr<OCMstSm> (State::*)()>(&State::ocMstSmDel)));

  EXPECT_TRUE((std::same_as<decltype(Dir::HN_PortConfigSm::value), Ptr<OCPortConfigSm>>));
  EXPECT_TRUE(
      (std::same_as<decltype(Dir::HN_StpiStatusConfigSm::value), Ptr<OCStpiStatusConfigSm>>));
  EXPECT_TRUE((std::same_as<decltype(StateDir::HN_OcStpiStatusSm::value), Ptr<OCStpiStatusSm>>));
  EXPECT_TRUE(
      (std::same_as<decltype(Stpi::HN_OcStpiPortStatusSm::value), Ptr<OCStpiPortStatusSm>>));
  StateDir::HN_OcStpiStatusSm const node{"Mst", nullptr};
  EXPECT_EQ(StateDir::OcStpiStatusSmKeyFunktor()(node), "Mst");
  Stpi::HN_OcStpiPortStatusSm const portNode{"Ethernet1", nullptr};
  EXPECT_EQ(Stpi::OcStpiPortStatusSmKeyFunktor()(portNode), "Ethernet1");
}

template <class Class>
constexpr bool hasTheCommonOperations() {
  return std::derived_from<Class, Lumo::Node> &&
         std::same_as<decltype(Class::memAllocationTracker_), Vel::AllocTrackTypeInfo> &&
         is<Lumo::VelTypeBase (Class::*)() const>(&Class::typeData) && requires(Class object) {
    object.velDoZombieReactors(true);
  };
}

TEST(Signatures, OfTheOperationsOfEveryClass) {
  EXPECT_TRUE(hasTheCommonOperations<OCGlobalConfigSm>());
  EXPECT_TRUE(hasTheCommonOperations<OCGlobalVlanSyncher>());
  EXPECT_TRUE(hasTheCommonOperations<OCGlobalStateSm>());
  EXPECT_TRUE(hasTheCommonOperations<OCPortConfigSm>());
  EXPECT_TRUE(hasTheCommonOperations<OCStpiStatusConfigSm>());
  EXPECT_TRUE(hasTheCommonOperations<OCInterfaceConfigDirSm>());
  EXPECT_TRUE(hasTheCommonOperations<OCStpiPortStatusSm>());
  EXPECT_TRUE(hasTheCommonOperations<OCStpiStatusSm>());
  EXPECT_TRUE(hasTheCommonOperations<OCInterfaceStateDirSm>());
  EXPECT_TRUE(hasTheCommonOperations<OCMstiConfigSm>());
  EXPECT_TRUE(hasTheCommonOperations<OCMstpConfigSm>());
  EXPECT_TRUE(hasTheCommonOperations<OCMstpConfigWrapperSm>());
  EXPECT_TRUE(hasTheCommonOperations<OCMstpTrigger>());
  EXPECT_TRUE(hasTheCommonOperations<OCMstSm>());
  EXPECT_TRUE(hasTheCommonOperations<OCMstiStatusSm>());
  EXPECT_TRUE(hasTheCommonOperations<OCMstpMainStateSm>());
  EXPECT_TRUE((is<void (OCMstpTrigger::*)(std::uint8_t)>(&OCMstpTrigger::counterIs)));
  EXPECT_TRUE((is<void (OCMstpTrigger::*)(std::uint8_t)>(&OCMstpTrigger::counterInc)));
  EXPECT_TRUE((is<Lumo::Publisher& (OCMstpTrigger::*)()>(&OCMstpTrigger::publisher)));
}

}  // namespace
}  // namespace Stp
