// A small switch, with what makes each of the sixteen classes on it, for the tests of what they
// share.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Lanx/IntfId.h"
#include "Lumo/Ptr.h"
#include "Lumo/Publisher.h"
#include "Pebble/Slab.h"
#include "Stp/GlobalMirrors.h"
#include "Stp/InterfaceConfigMirrors.h"
#include "Stp/InterfaceStateMirrors.h"
#include "Stp/MstpConfigMirrors.h"
#include "Stp/MstpStateMirrors.h"
#include "Stp/tests/TestSupport.h"

namespace Stp::FrameTest {

/// The entities of a switch that runs MSTP: one configured port, Ethernet1, and another, Ethernet2,
/// that only the engine reports; MST instance 1 with VLAN 10. The targets are fresh.
struct World {
  World() {
    for (std::uint16_t const vlan : {10, 11, 12}) {
      inputConfig->disabledVlanIs(vlan, true);
      config->disabledVlanIs(vlan, true);
    }
    vlanDir->vlanConfigIs(10);
    vlanDir->vlanConfigIs(12);
    inputConfig->modeIs(Mode::mstp);
    inputConfig->mstConfigIs(oneVlan(10, 1));
    config->mstConfigIs(oneVlan(10, 1));
    inputConfig->portConfig.is("Ethernet1", inputPort);
    config->portConfig.is("Ethernet1", port);
    inputMsti->mstiIdIs(1);
    inputMsti->bridgePriorityIs(4096);
    inputMst->mstiConfig.is("MST1", inputMsti);
    inputConfig->stpiConfig.is("Mst", inputMst);
    msti->bridgePriorityIs(8192);
    mst->mstiStatus.is("MST1", msti);
    mst->stpiPortStatus.is("Ethernet1", portStatus);
    mst->stpiPortStatus.is("Ethernet2", Lumo::make<StpiPortStatus>());
    status->stpiStatus.is("Mst", mst);
    status->activeProtocolIs(Mode::mstp);
  }

  /// An MST configuration that gives one VLAN to one instance.
  static MstConfig oneVlan(std::uint8_t vlan, std::uint8_t instance) {
    MstConfig result;
    result.vidToMsti = {0, vlan, 0, instance};
    return result;
  }

  Lumo::Ptr<Input::Config> inputConfig = Lumo::make<Input::Config>();
  Lumo::Ptr<Input::PortConfig> inputPort = Lumo::make<Input::PortConfig>();
  Lumo::Ptr<Input::StpiConfig> inputMst = Lumo::make<Input::StpiConfig>();
  Lumo::Ptr<Input::MstiConfig> inputMsti = Lumo::make<Input::MstiConfig>();
  Lumo::Ptr<Config> config = Lumo::make<Config>();
  Lumo::Ptr<PortConfig> port = Lumo::make<PortConfig>();
  Lumo::Ptr<Status> status = Lumo::make<Status>();
  Lumo::Ptr<StpiStatus> mst = Lumo::make<StpiStatus>();
  Lumo::Ptr<MstiStatus> msti = Lumo::make<MstiStatus>();
  Lumo::Ptr<StpiPortStatus> portStatus = Lumo::make<StpiPortStatus>();
  Lumo::Ptr<VlanConfigDir> vlanDir = Lumo::make<VlanConfigDir>();

  Lumo::Ptr<OCGlobalConfig> ocGlobalConfig = Lumo::make<OCGlobalConfig>();
  Lumo::Ptr<OCGlobalState> ocGlobalState = Lumo::make<OCGlobalState>();
  Lumo::Ptr<OCInterface> ocInterface = Lumo::make<OCInterface>();
  Lumo::Ptr<OCInterfaceConfigDir> ocInterfaceConfigDir = Lumo::make<OCInterfaceConfigDir>();
  Lumo::Ptr<OCInterfaceStateDir> ocInterfaceStateDir = Lumo::make<OCInterfaceStateDir>();
  Lumo::Ptr<OCMsti> ocMsti = Lumo::make<OCMsti>();
  Lumo::Ptr<OCMstiConfigDir> ocMstiConfigDir = Lumo::make<OCMstiConfigDir>();
  Lumo::Ptr<OCMstiStateDir> ocMstiStateDir = Lumo::make<OCMstiStateDir>();
  Lumo::Ptr<OCMstpTrigger> trigger = OCMstpTrigger::create();

  /// Calls `visit(name, entity)` for each watched entity.
  template <class Visit>
  void eachSource(Visit visit) {
    visit("inputConfig", inputConfig);
    visit("inputPort", inputPort);
    visit("inputMst", inputMst);
    visit("inputMsti", inputMsti);
    visit("config", config);
    visit("port", port);
    visit("status", status);
    visit("mst", mst);
    visit("msti", msti);
    visit("portStatus", portStatus);
    visit("vlanDir", vlanDir);
  }

  /// The same for each written one.
  template <class Visit>
  void eachTarget(Visit visit) {
    visit("ocGlobalConfig", ocGlobalConfig);
    visit("ocGlobalState", ocGlobalState);
    visit("ocInterface", ocInterface);
    visit("ocInterfaceConfigDir", ocInterfaceConfigDir);
    visit("ocInterfaceStateDir", ocInterfaceStateDir);
    visit("ocMsti", ocMsti);
    visit("ocMstiConfigDir", ocMstiConfigDir);
    visit("ocMstiStateDir", ocMstiStateDir);
    visit("trigger", trigger);
  }
};

/// One class of the module, and how an object of it is made on such a switch.
struct Maker {
  std::string_view className;
  std::function<Lumo::Ptr<Lumo::Node>(World&)> make;
};

/// All classes, by class index.
inline std::vector<Maker> const& makers() {
  static std::vector<Maker> const all{
      {"OCGlobalConfigSm",
       [](World& w) { return oCGlobalConfigSmFactory(w.inputConfig, w.ocGlobalConfig); }},
      {"OCGlobalVlanSyncher",
       [](World& w) { return oCGlobalVlanSyncherFactory(w.ocGlobalConfig, w.inputConfig); }},
      {"OCGlobalStateSm",
       [](World& w) {
         return oCGlobalStateSmFactory(w.config, w.status, w.vlanDir, w.ocGlobalState);
       }},
      {"OCPortConfigSm",
       [](World& w) { return oCPortConfigSmFactory("Ethernet1", w.inputPort, w.ocInterface); }},
      {"OCStpiStatusConfigSm",
       [](World& w) {
         return OCStpiStatusConfigSm::OCStpiStatusConfigSmIs("Mst", w.inputConfig, w.mst,
                                                             w.ocInterfaceConfigDir);
       }},
      {"OCInterfaceConfigDirSm",
       [](World& w) {
         return oCInterfaceConfigDirSmFactory(w.inputConfig, w.status, w.ocInterfaceConfigDir);
       }},
      {"OCStpiPortStatusSm",
       [](World& w) {
         return oCStpiPortStatusSmFactory("Ethernet1", w.config, w.port, w.portStatus,
                                          w.ocInterfaceStateDir);
       }},
      {"OCStpiStatusSm",
       [](World& w) {
         return oCStpiStatusSmFactory("Mst", w.config, w.mst, w.ocInterfaceStateDir);
       }},
      {"OCInterfaceStateDirSm",
       [](World& w) {
         return oCInterfaceStateDirSmFactory(w.config, w.status, w.ocInterfaceStateDir);
       }},
      {"OCMstiConfigSm",
       [](World& w) { return oCMstiConfigSmFactory("MST1", w.inputMsti, w.ocMsti); }},
      {"OCMstpConfigSm",
       [](World& w) {
         return oCMstpConfigSmFactory("Mst", w.inputMst, w.inputConfig, w.ocMstiConfigDir);
       }},
      {"OCMstpConfigWrapperSm",
       [](World& w) { return oCMstpConfigWrapperSmFactory(w.inputConfig, w.ocMstiConfigDir); }},
      {"OCMstpTrigger", [](World& /*w*/) { return OCMstpTrigger::create(); }},
      {"OCMstSm", [](World& w) { return oCMstSmFactory(w.mst, w.trigger); }},
      {"OCMstiStatusSm", [](World& w) { return oCMstiStatusSmFactory("MST1", w.msti, w.trigger); }},
      {"OCMstpMainStateSm",
       [](World& w) { return oCMstpMainStateSmFactory(w.config, w.status, w.ocMstiStateDir); }},
  };
  return all;
}

/// Slab memory that is handed out now, by size of the pieces.
inline std::map<std::size_t, std::uint64_t> slabsInUse() {
  std::map<std::size_t, std::uint64_t> inUse;
  for (Pebble::SlabCounters const& counters : Pebble::slabCounters()) {
    if (counters.inUse != 0) {
      inUse[counters.pieceSize] = counters.inUse;
    }
  }
  return inUse;
}

/// Subscribes to a publisher without holding what it belongs to, which may go before.
class LooseWatch {
 public:
  LooseWatch(Lumo::Publisher& publisher, std::function<void()> reaction)
      : publisher_(&publisher), reaction_(std::move(reaction)) {
    slot_.routineIs(&changed, this);
    publisher.subscriberAdd(slot_, false);
  }
  LooseWatch(LooseWatch const&) = delete;
  LooseWatch& operator=(LooseWatch const&) = delete;
  ~LooseWatch() {
    if (slot_.subscribed()) {
      slot_.unsubscribeFrom(*publisher_);
    }
  }

  /// Whether what is watched lives.
  bool watching() const { return slot_.subscribed(); }

 private:
  static void changed(Lumo::Publisher* /*publisher*/, Lumo::Subscriber* slot,
                      Lumo::FieldId /*field*/, void const* /*key*/, void const* /*newValue*/) {
    static_cast<LooseWatch*>(slot->owner())->reaction_();
  }

  Lumo::Publisher* publisher_;
  std::function<void()> reaction_;
  Lumo::Subscriber slot_;
};

}  // namespace Stp::FrameTest
