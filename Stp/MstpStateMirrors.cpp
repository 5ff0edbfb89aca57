#include "Stp/MstpStateMirrors.h"

#include "Stp/vlans/InstanceName.h"
#include "Stp/vlans/VidToMsti.h"

namespace Stp {

namespace {

// Holds the trigger: the rebuild that a bump causes may drop whoever bumped.
void bump(Lumo::Ptr<OCMstpTrigger> const& trigger) {
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the copy is the point
  Lumo::Ptr<OCMstpTrigger> const held = trigger;
  held->counterInc(1);
}

void clear(OCMstiStateDir& directory) {
  if (!directory.state().empty()) {
    directory.stateDelAll();
  }
}

}  // namespace

OCMstpTrigger::OCMstpTrigger() = default;

void OCMstpTrigger::counterIs(std::uint8_t value) {
  std::uint8_t const before = counter_.value;
  if (before != value) {
    counter_.value = value;
    publisher_.publishChangeRecursive(static_cast<Lumo::FieldId>(Id::counter), &before,
                                      &counter_.value);
  }
}

void OCMstpTrigger::counterInc(std::uint8_t delta) {
  counterIs(static_cast<std::uint8_t>(counter_.value + delta));
}

OCMstSm::OCMstSm(Lumo::Ptr<StpiStatus const> const& stpiStatus,
                 Lumo::Ptr<OCMstpTrigger> const& ocMstpTrigger)
    : Reactor(stpiStatus, ocMstpTrigger) {
}

void OCMstSm::triggerInc() {
  auto const traced = trace<"triggerInc", 851>();
  bump(ocMstpTrigger);
}

Lumo::Ptr<OCMstSm> oCMstSmFactory(Lumo::Ptr<StpiStatus const> const& stpiStatus,
                                  Lumo::Ptr<OCMstpTrigger> const& ocMstpTrigger) {
  return OCMstSm::OCMstSmIs(stpiStatus, ocMstpTrigger);
}

OCMstiStatusSm::OCMstiStatusSm(Lumo::String const& name,
                               Lumo::Ptr<MstiStatus const> const& mstiStatus,
                               Lumo::Ptr<OCMstpTrigger> const& ocMstpTrigger)
    : Reactor(name, mstiStatus, ocMstpTrigger) {
}

void OCMstiStatusSm::triggerInc() {
  auto const traced = trace<"triggerInc", 858>();
  bump(ocMstpTrigger);
}

Lumo::Ptr<OCMstiStatusSm> oCMstiStatusSmFactory(Lumo::String const& name,
                                                Lumo::Ptr<MstiStatus const> const& mstiStatus,
                                                Lumo::Ptr<OCMstpTrigger> const& ocMstpTrigger) {
  return OCMstiStatusSm::OCMstiStatusSmIs(name, mstiStatus, ocMstpTrigger);
}

OCMstpMainStateSm::OCMstpMainStateSm(Lumo::Ptr<Config const> const& stpConfig,
                                     Lumo::Ptr<Status const> const& stpStatus,
                                     Lumo::Ptr<OCMstiStateDir> const& ocMstiStateDir)
    : Reactor(stpConfig, stpStatus, ocMstiStateDir) {
  synchronise(&Self::handleInitialized, &Self::update);
}

void OCMstpMainStateSm::handleInitialized() {
  auto const traced = trace<"handleInitialized", 869>();
  ocMstpTriggerIs();
}

Lumo::Ptr<OCMstpTrigger> OCMstpMainStateSm::ocMstpTriggerIs() {
  ocMstpTrigger.replace(OCMstpTrigger::create());
  subscribe(ocMstpTrigger);
  return ocMstpTrigger.pointer();
}

void OCMstpMainStateSm::triggerInc() {
  auto const traced = trace<"triggerInc", 865>();
  bump(ocMstpTrigger.pointer());
}

void OCMstpMainStateSm::update() {
  auto const traced = trace<"update", 874>();
  if (stpStatus->activeProtocol() != Mode::mstp) {
    leavesDel();
    clear(*ocMstiStateDir.pointer());
    return;
  }

  MstiToVid const vlans = mstiToVidFromBytes(stpConfig->mstConfig().vidToMsti);
  for (auto const& entry : vlans) {
    ocMstiStateDir->stateAmend(entry.first,
                               [&entry](OCMstiState& state) { state.vlan = entry.second.list(); });
  }

  Lumo::Ptr<StpiStatus> const mst = stpStatus->stpiStatus(mstpInstanceName());
  if (mst) {
    if (!ocMstSm) {
      ocMstSmIs(mst, ocMstpTrigger.pointer());
    }
    prioritiesIs(*mst);
  } else {
    clear(*ocMstiStateDir.pointer());
    leavesDel();
  }

  for (auto const& state : ocMstiStateDir->state()) {
    std::uint16_t const id = state.key;
    Lumo::String const& mstiName = instanceIdToMstiName(id);
    Lumo::Ptr<StpiStatus> const present = stpStatus->stpiStatus(mstpInstanceName());
    if (vlans.find(id) == nullptr && !(present && present->mstiStatus(mstiName))) {
      ocMstiStateDir->stateDel(id);
    }
  }
}

// Writes the priority of every MST instance that runs, and keeps one leaf for each.
void OCMstpMainStateSm::prioritiesIs(StpiStatus const& mst) {
  for (auto const& instance : mst.mstiStatus()) {
    Lumo::String const mstiName = instance.key;
    Lumo::Ptr<MstiStatus> const status = instance.value;
    ocMstiStateDir->stateAmend(mstiNameToInstanceId(mstiName), [&status](OCMstiState& state) {
      state.bridgePriority = OCBridgePriority(status->bridgePriority());
    });
    if (!ocMstiStatusSm.has(mstiName)) {
      ocMstiStatusSmIs(mstiName, status, ocMstpTrigger.pointer());
    }
  }
  for (auto const& leaf : ocMstiStatusSm.members()) {
    Lumo::String const mstiName = leaf.key;
    if (!mst.mstiStatus(mstiName)) {
      ocMstiStatusSmDel(mstiName);
    }
  }
}

void OCMstpMainStateSm::leavesDel() {
  ocMstSm.activeIs(false);
  ocMstSmDel();
  ocMstiStatusSmDelAll();
}

Lumo::Ptr<OCMstpMainStateSm> oCMstpMainStateSmFactory(
    Lumo::Ptr<Config const> const& stpConfig, Lumo::Ptr<Status const> const& stpStatus,
    Lumo::Ptr<OCMstiStateDir> const& ocMstiStateDir) {
  return OCMstpMainStateSm::OCMstpMainStateSmIs(stpConfig, stpStatus, ocMstiStateDir);
}

}  // namespace Stp
