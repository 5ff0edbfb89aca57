// The bridge whose MSTP state is mirrored, for the tests of the main state.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "Lumo/Ptr.h"
#include "Stp/MstpStateMirrors.h"
#include "Stp/tests/MstTestSupport.h"
#include "Stp/tests/TestSupport.h"
#include "StpTypes/Status.h"

namespace Stp::TestSupport {

/// A bridge that runs no MSTP yet, and the directory of its MST instances.
class MstpStateFixture : public LeavesNothing {
 protected:
  void mirror() { mirror_ = oCMstpMainStateSmFactory(config_, status_, directory_); }

  void protocolIs(std::int32_t protocol) { status_->activeProtocolIs(static_cast<Mode>(protocol)); }

  /// The protocol is MSTP, and its instance is there, a new one without MST instances.
  Lumo::Ptr<StpiStatus> runMstp() {
    mst_ = Lumo::make<StpiStatus>();
    status_->stpiStatus.is("Mst", mst_);
    protocolIs(3);
    return mst_;
  }

  /// An MST instance of the running "Mst", a new one in the place of any other.
  Lumo::Ptr<MstiStatus> run(Lumo::String const& name, std::uint16_t priority = 32768) {
    auto instance = Lumo::make<MstiStatus>();
    instance->bridgePriorityIs(priority);
    mst_->mstiStatus.is(name, instance);
    return instance;
  }
  void stop(Lumo::String const& name) { mst_->mstiStatus.del(name); }

  void mapBytesAre(Lumo::Bytes const& bytes) {
    MstConfig config;
    config.vidToMsti = bytes;
    config_->mstConfigIs(config);
  }
  void mapIs(std::vector<MapEntry> const& entries) { mapBytesAre(byteMap(entries)); }

  /// A record that an earlier run left in the directory.
  void directoryHas(std::uint16_t id) {
    OCMstiState record(id);
    record.bridgePriority = OCBridgePriority(12288);
    record.vlanPush(Bridging::VlanId(10));
    directory_->stateIs(record);
    written_.changes();
  }
  MstiRecords directory() const { return recordsOf(*directory_); }

  /// How often the directory changed since this was last asked.
  int changes() { return written_.changes(); }

  static std::uint64_t watchers() { return OCMstSm::memAllocationTracker_.live(); }
  static std::uint64_t leaves() { return OCMstiStatusSm::memAllocationTracker_.live(); }

  /// No trace of any mirror in its sources.
  void expectNoSubscriptions() {
    EXPECT_TRUE(config_->publisher().empty());
    EXPECT_TRUE(status_->publisher().empty());
    EXPECT_EQ(config_->references(), 1U);
    EXPECT_EQ(status_->references(), 1U);
    for (auto const& instance : status_->stpiStatus()) {
      EXPECT_TRUE(instance.value->publisher().empty()) << instance.key;
      for (auto const& msti : instance.value->mstiStatus()) {
        EXPECT_TRUE(msti.value->publisher().empty()) << msti.key;
      }
    }
    EXPECT_THAT(liveObjects(), testing::IsEmpty());
  }

  Lumo::Ptr<Config> config_ = Lumo::make<Config>();
  Lumo::Ptr<Status> status_ = Lumo::make<Status>();
  Lumo::Ptr<StpiStatus> mst_;
  Lumo::Ptr<OCMstiStateDir> directory_ = Lumo::make<OCMstiStateDir>();
  Watch<OCMstiStateDir> written_{directory_};
  Lumo::Ptr<OCMstpMainStateSm> mirror_;
};

}  // namespace Stp::TestSupport
