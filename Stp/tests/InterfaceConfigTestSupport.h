// A bridge as the tests of the interface configuration mirrors see it: what the operator
// configures, what the instances list, and the directory of interfaces that comes of it.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "Lanx/IntfId.h"
#include "Stp/InterfaceConfigMirrors.h"
#include "Stp/tests/InterfaceTestSupport.h"
#include "StpTypes/Input.h"
#include "StpTypes/OpenConfigConfig.h"
#include "StpTypes/Status.h"

namespace Stp::InterfaceTest {

/// The settings of an interface configuration, by the numbers that they have in the public model.
struct Settings {
  unsigned linkType = 255;
  unsigned edgePort = 255;
  unsigned bpduGuard = 255;

  friend bool operator==(Settings const&, Settings const&) = default;
  friend std::ostream& operator<<(std::ostream& out, Settings const& settings) {
    return out << "link type " << settings.linkType << ", edge port " << settings.edgePort
               << ", BPDU guard " << settings.bpduGuard;
  }
};

inline Settings settingsOf(InterfaceConfig const& config) {
  return {static_cast<unsigned>(config.linkType), static_cast<unsigned>(config.edgePort),
          static_cast<unsigned>(config.bpduGuard)};
}

/// The record of these settings under this name.
inline InterfaceConfig recordOf(Lumo::String const& name, Settings const& settings) {
  InterfaceConfig config;
  config.name = Lanx::IntfId::of(name);
  config.linkType = static_cast<OcLinkType>(settings.linkType);
  config.edgePort = static_cast<OcEdgePort>(settings.edgePort);
  config.bpduGuard = static_cast<OcBpduGuard>(settings.bpduGuard);
  return config;
}

class InterfaceConfigTest : public InstancesTest {
 protected:
  /// Gives a port a new input configuration, also in the place of one.
  Lumo::Ptr<Input::PortConfig> configure(Lumo::String const& port) {
    auto config = Lumo::make<Input::PortConfig>();
    input->portConfig.is(port, config);
    return config;
  }
  void unconfigure(Lumo::String const& port) { input->portConfig.del(port); }

  /// Lets a present instance list a port, or list it no more.
  void list(Lumo::String const& instance, Lumo::String const& port) {
    status->stpiStatus(instance)->stpiPortStatus.is(port, Lumo::make<StpiPortStatus>());
  }
  void unlist(Lumo::String const& instance, Lumo::String const& port) {
    status->stpiStatus(instance)->stpiPortStatus.del(port);
  }

  void start() { mirror = oCInterfaceConfigDirSmFactory(input, status, directory); }
  void stop() { mirror = nullptr; }

  Lumo::Ptr<OCInterface> interface(Lumo::String const& port) const {
    return directory->interface(Lanx::IntfId::of(port));
  }

  /// Puts an interface into the directory, as an earlier run may have left it.
  Lumo::Ptr<OCInterface> leaveInterface(Lumo::String const& port, Settings const& settings = {}) {
    Lumo::Ptr<OCInterface> left = directory->interfaceIs(Lanx::IntfId::of(port));
    left->configIs(recordOf(port, settings));
    return left;
  }

  Names interfaces() const {
    Names names;
    for (auto const& interface : directory->interface()) {
      names.push_back(interface.key.stringValue().toString());
    }
    return names;
  }
  void expectInterface(Lumo::String const& port, Settings const& settings) const {
    SCOPED_TRACE(port);
    Lumo::Ptr<OCInterface> const present = interface(port);
    ASSERT_TRUE(present);
    EXPECT_EQ(settingsOf(present->config()), settings);
    EXPECT_EQ(present->config().name.stringValue(), port);
  }
  void expectNoInterface(Lumo::String const& port) const { EXPECT_FALSE(interface(port)) << port; }

  Names portChildren() const { return childNamesOf(*mirror, "portConfigSm"); }
  Names instanceChildren() const { return childNamesOf(*mirror, "stpiStatusConfigSm"); }

  /// Watches the directory: "+NAME" for an interface that comes, "-NAME" for one that goes.
  class DirectoryLog {
   public:
    explicit DirectoryLog(Lumo::Ptr<OCInterfaceConfigDir> const& directory)
        : watch_(directory, [this, directory = directory.get()](
                                Lumo::FieldId field, void const* key, void const* /*newValue*/) {
            EXPECT_EQ(field, 130U);
            Lanx::IntfId const id = *static_cast<Lanx::IntfId const*>(key);
            changes_.push_back((directory->interface(id) ? "+" : "-") +
                               id.stringValue().toString());
          }) {}

    /// The changes since this was last called.
    Names take() { return std::exchange(changes_, {}); }

   private:
    Names changes_;
    Watch<OCInterfaceConfigDir> watch_;
  };

  Lumo::Ptr<Input::Config> input = Lumo::make<Input::Config>();
  Lumo::Ptr<OCInterfaceConfigDir> directory = Lumo::make<OCInterfaceConfigDir>();
  Lumo::Ptr<OCInterfaceConfigDirSm> mirror;
};

}  // namespace Stp::InterfaceTest
