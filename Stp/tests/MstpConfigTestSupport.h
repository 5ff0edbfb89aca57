// The bridge whose MSTP configuration is mirrored, for the tests of its two parents.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "Lumo/Ptr.h"
#include "Lumo/RangeException.h"
#include "Stp/MstpConfigMirrors.h"
#include "Stp/tests/MstTestSupport.h"
#include "Stp/tests/TestSupport.h"
#include "StpTypes/Input.h"

namespace Stp::TestSupport {

/// What an id above 4095 in the directory raises.
inline constexpr char const* instanceIdError =
    "Stp::InstanceId::value < Stp::InstanceId::minInstanceId or > "
    "Stp::InstanceId::maxInternalInstanceId not allowed";

/// An input configuration, an instance "Mst" that may become part of it, and the directory of its
/// MST instances.
class MstpConfigFixture : public LeavesNothing {
 protected:
  /// "Mst" becomes part of the configuration, a new one without MST instances.
  Lumo::Ptr<Input::StpiConfig> runMstp() {
    mst_ = Lumo::make<Input::StpiConfig>();
    input_->stpiConfig.is("Mst", mst_);
    return mst_;
  }
  void stopMstp() { input_->stpiConfig.del("Mst"); }

  Lumo::Ptr<Input::MstiConfig> configure(Lumo::String const& name, std::uint16_t mstId,
                                         std::uint16_t priority = 32768) {
    auto config = Lumo::make<Input::MstiConfig>();
    config->mstiIdIs(mstId);
    config->bridgePriorityIs(priority);
    mst_->mstiConfig.is(name, config);
    return config;
  }
  void unconfigure(Lumo::String const& name) { mst_->mstiConfig.del(name); }

  void mapBytesAre(Lumo::Bytes const& bytes) {
    MstConfig config;
    config.vidToMsti = bytes;
    input_->mstConfigIs(config);
  }
  void mapIs(std::vector<MapEntry> const& entries) { mapBytesAre(byteMap(entries)); }

  /// An instance that an earlier run left in the directory.
  void directoryHas(std::uint16_t id) {
    OCMstiConfig record;
    record.mstId = id;
    record.bridgePriority = OCBridgePriority(12288);
    record.vlanPush(Bridging::VlanId(10));
    directory_->mstInstanceIs(id)->configIs(record);
  }
  static MstiRecord asLeft(std::uint16_t id) { return {id, 12288, "10"}; }

  void startTheCounts() { writes_.emplace(directory_); }
  void expectWrites(int members, int records) {
    EXPECT_EQ(writes_->members(), members);
    EXPECT_EQ(writes_->records(), records);
  }
  MstiRecords directory() const { return recordsOf(*directory_); }

  static std::uint64_t configMirrors() { return OCMstpConfigSm::memAllocationTracker_.live(); }
  static std::uint64_t leaves() { return OCMstiConfigSm::memAllocationTracker_.live(); }

  /// No trace of any mirror in its sources.
  void expectNoSubscriptions() {
    EXPECT_TRUE(input_->publisher().empty());
    EXPECT_EQ(input_->references(), 1U);
    if (mst_) {
      EXPECT_TRUE(mst_->publisher().empty());
      bool const isConfigured = input_->stpiConfig("Mst") == mst_;
      EXPECT_EQ(mst_->references(), isConfigured ? 2U : 1U);
      for (auto const& config : mst_->mstiConfig()) {
        EXPECT_TRUE(config.value->publisher().empty()) << config.key;
      }
    }
    EXPECT_THAT(liveObjects(), testing::IsEmpty());
  }

  /// What `make` makes is refused with this text, and leaves nothing.
  template <class Make>
  void expectBirthRaises(char const* text, Make make) {
    EXPECT_THAT(make, testing::ThrowsMessage<Lumo::RangeException>(testing::HasSubstr(text)));
    expectNoSubscriptions();
  }

  Lumo::Ptr<Input::Config> input_ = Lumo::make<Input::Config>();
  Lumo::Ptr<Input::StpiConfig> mst_;
  Lumo::Ptr<OCMstiConfigDir> directory_ = Lumo::make<OCMstiConfigDir>();
  std::optional<ConfigWrites> writes_;
};

}  // namespace Stp::TestSupport
