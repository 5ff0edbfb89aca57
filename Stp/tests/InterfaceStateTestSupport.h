// A bridge as the tests of the interface state mirrors see it: the running configuration, what the
// instances report, and the directory of states that comes of it.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "Lanx/IntfId.h"
#include "Stp/InterfaceStateMirrors.h"
#include "Stp/tests/InterfaceTestSupport.h"
#include "StpTypes/OpenConfigState.h"
#include "StpTypes/Status.h"

namespace Stp::InterfaceTest {

/// The state of an interface, by the numbers that it has in the public model.
struct PortState {
  unsigned linkType = 1;
  unsigned edgePort = 1;
  unsigned bpduGuard = 255;

  friend bool operator==(PortState const&, PortState const&) = default;
  friend std::ostream& operator<<(std::ostream& out, PortState const& state) {
    return out << "link type " << state.linkType << ", edge port " << state.edgePort
               << ", BPDU guard " << state.bpduGuard;
  }
};

inline PortState stateOf(InterfaceState const& state) {
  return {static_cast<unsigned>(state.linkType), static_cast<unsigned>(state.edgePort),
          static_cast<unsigned>(state.bpduGuard)};
}

class InterfaceStateTest : public InstancesTest {
 protected:
  using Guard = PortConfigBase::BpduguardEnabledState;

  /// Gives a port a new running configuration, also in the place of one.
  Lumo::Ptr<PortConfig> configure(Lumo::String const& port, unsigned bpduguard = 0) {
    auto portConfig = Lumo::make<PortConfig>();
    portConfig->bpduguardIs(static_cast<Guard>(bpduguard));
    config->portConfig.is(port, portConfig);
    return portConfig;
  }

  /// Lets a present instance report a port, also in the place of another report, or no more.
  Lumo::Ptr<StpiPortStatus> report(Lumo::String const& instance, Lumo::String const& port) {
    auto portStatus = Lumo::make<StpiPortStatus>();
    status->stpiStatus(instance)->stpiPortStatus.is(port, portStatus);
    return portStatus;
  }
  void unreport(Lumo::String const& instance, Lumo::String const& port) {
    status->stpiStatus(instance)->stpiPortStatus.del(port);
  }
  Lumo::Ptr<StpiPortStatus> reported(Lumo::String const& instance, Lumo::String const& port) const {
    return status->stpiStatus(instance)->stpiPortStatus(port);
  }

  void start() { mirror = oCInterfaceStateDirSmFactory(config, status, directory); }
  void stop() { mirror = nullptr; }

  /// The interfaces that have a state, in the directory's order.
  Names states() const {
    Names names;
    for (auto const& state : directory->state()) {
      names.push_back(state.key.stringValue().toString());
    }
    return names;
  }
  void expectState(Lumo::String const& port, PortState const& state) const {
    SCOPED_TRACE(port);
    InterfaceState const* const present = directory->state(Lanx::IntfId::of(port));
    ASSERT_NE(present, nullptr);
    EXPECT_EQ(stateOf(*present), state);
    EXPECT_EQ(present->name.stringValue(), port);
  }

  Names instanceChildren() const { return childNamesOf(*mirror, "ocStpiStatusSm"); }
  Lumo::Ptr<Lumo::Node> instanceChild(std::string const& instance) const {
    for (ChildMember const& member : childrenOf(*mirror, "ocStpiStatusSm")) {
      if (member.name == instance) {
        return member.child;
      }
    }
    ADD_FAILURE() << "no child " << instance;
    return nullptr;
  }
  Names portChildren(std::string const& instance) const {
    return childNamesOf(*instanceChild(instance), "ocStpiPortStatusSm");
  }

  /// Keeps the states that the directory announces, with the names.
  class StateLog {
   public:
    using Entry = std::pair<std::string, PortState>;

    explicit StateLog(Lumo::Ptr<OCInterfaceStateDir> const& directory)
        : watch_(directory, [this, directory = directory.get()](
                                Lumo::FieldId field, void const* key, void const* /*newValue*/) {
            EXPECT_EQ(field, 130U);
            Lanx::IntfId const id = *static_cast<Lanx::IntfId const*>(key);
            InterfaceState const* const state = directory->state(id);
            ASSERT_NE(state, nullptr) << "a state was removed";
            entries_.emplace_back(id.stringValue().toString(), stateOf(*state));
          }) {}

    /// The changes since this was last called.
    std::vector<Entry> take() { return std::exchange(entries_, {}); }

   private:
    std::vector<Entry> entries_;
    Watch<OCInterfaceStateDir> watch_;
  };

  Lumo::Ptr<Config> config = Lumo::make<Config>();
  Lumo::Ptr<OCInterfaceStateDir> directory = Lumo::make<OCInterfaceStateDir>();
  Lumo::Ptr<OCInterfaceStateDirSm> mirror;
};

}  // namespace Stp::InterfaceTest
