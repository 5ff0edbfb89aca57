// A whole host: the entities, all seven mirrors, a reader that turns changes into text, and what a
// process owes the library: one thread, an order of starting and stopping, and a way to say what
// went wrong when a broken invariant ends the process.
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>

#include "Lumo/Publisher.h"
#include "Stp/GlobalMirrors.h"
#include "Stp/InterfaceConfigMirrors.h"
#include "Stp/InterfaceStateMirrors.h"
#include "Stp/MstpConfigMirrors.h"
#include "Stp/MstpStateMirrors.h"
#include "Stp/vlans/InstanceName.h"

namespace {

// What the switch's other processes write.
struct Sources {
  Lumo::Ptr<Stp::Input::Config> input = Lumo::make<Stp::Input::Config>();
  Lumo::Ptr<Stp::Config> config = Lumo::make<Stp::Config>();
  Lumo::Ptr<Stp::Status> status = Lumo::make<Stp::Status>();
  Lumo::Ptr<Stp::VlanConfigDir> vlans = Lumo::make<Stp::VlanConfigDir>();
};

// What OpenConfig clients read.
struct Targets {
  Lumo::Ptr<Stp::OCGlobalConfig> globalConfig = Lumo::make<Stp::OCGlobalConfig>();
  Lumo::Ptr<Stp::OCGlobalState> globalState = Lumo::make<Stp::OCGlobalState>();
  Lumo::Ptr<Stp::OCInterfaceConfigDir> interfaceConfig = Lumo::make<Stp::OCInterfaceConfigDir>();
  Lumo::Ptr<Stp::OCInterfaceStateDir> interfaceState = Lumo::make<Stp::OCInterfaceStateDir>();
  Lumo::Ptr<Stp::OCMstiConfigDir> mstiConfig = Lumo::make<Stp::OCMstiConfigDir>();
  Lumo::Ptr<Stp::OCMstiStateDir> mstiState = Lumo::make<Stp::OCMstiStateDir>();
};

// The mirrors. Members are made from top to bottom and dropped from bottom to top; while they live,
// they hold the entities.
class Mirrors {
 public:
  Mirrors(Sources const& from, Targets const& to)
      : globalConfig_(Stp::oCGlobalConfigSmFactory(from.input, to.globalConfig)),
        globalState_(
            Stp::oCGlobalStateSmFactory(from.config, from.status, from.vlans, to.globalState)),
        vlanSyncher_(Stp::oCGlobalVlanSyncherFactory(to.globalConfig, from.input)),
        interfaceConfig_(
            Stp::oCInterfaceConfigDirSmFactory(from.input, from.status, to.interfaceConfig)),
        interfaceState_(
            Stp::oCInterfaceStateDirSmFactory(from.config, from.status, to.interfaceState)),
        mstpConfig_(Stp::oCMstpConfigWrapperSmFactory(from.input, to.mstiConfig)),
        mstpState_(Stp::oCMstpMainStateSmFactory(from.config, from.status, to.mstiState)) {}

  // A client wrote the target's list of disabled VLANs: carry it back into the input.
  void disabledVlansWritten() { vlanSyncher_->syncDisabledVlan(); }

 private:
  Lumo::Ptr<Stp::OCGlobalConfigSm> globalConfig_;
  Lumo::Ptr<Stp::OCGlobalStateSm> globalState_;
  Lumo::Ptr<Stp::OCGlobalVlanSyncher> vlanSyncher_;
  Lumo::Ptr<Stp::OCInterfaceConfigDirSm> interfaceConfig_;
  Lumo::Ptr<Stp::OCInterfaceStateDirSm> interfaceState_;
  Lumo::Ptr<Stp::OCMstpConfigWrapperSm> mstpConfig_;
  Lumo::Ptr<Stp::OCMstpMainStateSm> mstpState_;
};

// Prints the MST instances of the state as they change; the key of the changed one comes along.
class InstanceReader {
 public:
  explicit InstanceReader(Lumo::Ptr<Stp::OCMstiStateDir> const& directory) : directory_(directory) {
    slot_.routineIs(&changed, this);
    directory_->publisher().subscriberAdd(slot_, /*notifyPresent=*/false);
  }
  InstanceReader(InstanceReader const&) = delete;
  InstanceReader& operator=(InstanceReader const&) = delete;
  ~InstanceReader() { slot_.unsubscribeFrom(directory_->publisher()); }

 private:
  static void changed(Lumo::Publisher* /*publisher*/, Lumo::Subscriber* slot,
                      Lumo::FieldId /*field*/, void const* key, void const* /*now*/) {
    auto const id = *static_cast<std::uint16_t const*>(key);
    Stp::OCMstiState const* const state =
        static_cast<InstanceReader*>(slot->owner())->directory_->state(id);
    std::cout << Stp::instanceIdToMstiName(id);
    if (state == nullptr) {
      std::cout << " is gone\n";
      return;
    }
    std::cout << ": priority " << state->bridgePriority.value() << ", " << state->vlan.size()
              << (state->vlan.size() == 1 ? " VLAN entry\n" : " VLAN entries\n");
  }

  Lumo::Ptr<Stp::OCMstiStateDir> directory_;
  Lumo::Subscriber slot_;
};

// An exception that a handler lets out, for instance of a name that no MST instance has, is a
// broken invariant of whoever wrote the source: it ends the process. Say which.
[[noreturn]] void sayWhatWentWrong() {
  try {
    if (std::exception_ptr const failure = std::current_exception()) {
      std::rethrow_exception(failure);
    }
  } catch (std::exception const& error) {
    std::cerr << "fatal: " << error.what() << '\n';
  } catch (...) {
    std::cerr << "fatal\n";
  }
  std::abort();
}

// Stands for the event loop: the engine reports an instance, a priority and the end of it.
void engineRuns(Sources const& sources) {
  sources.status->activeProtocolIs(Stp::Mode::mstp);
  auto const mst = Lumo::make<Stp::StpiStatus>();
  auto const msti = Lumo::make<Stp::MstiStatus>();
  mst->mstiStatus.is("MST5", msti);
  sources.status->stpiStatus.is("Mst", mst);
  msti->bridgePriorityIs(4096);
  sources.status->activeProtocolIs(Stp::Mode::rstp);
}

}  // namespace

int main() {
  std::set_terminate(&sayWhatWentWrong);
  Sources const sources;
  Targets const targets;
  InstanceReader const reader(targets.mstiState);  // before the mirrors: it sees their first writes
  Mirrors mirrors(sources, targets);

  engineRuns(sources);

  Stp::OCGlobalConfigContainer written = targets.globalConfig->config();
  written.disabledVlanPush(Bridging::VlanId(7));
  targets.globalConfig->configIs(written);
  mirrors.disabledVlansWritten();
  std::cout << "VLAN 7 is " << (sources.input->disabledVlan(7) ? "disabled" : "enabled") << '\n';
}
