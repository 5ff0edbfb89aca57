// The parameters of the protocol.
#include <gtest/gtest.h>

#include "StpOper/tests/OperTestSupport.h"

namespace Stp::Oper {
namespace {

class ProtocolMirrors : public OperTest {
 protected:
  void mirrored() {
    mirror =
        oCProtocolParametersSmFactory(input, bridge, rstpConfig, rstpState, mstpConfig, mstpState);
  }
  void toldAll() {
    tell<Bridge::Id::regionName>(bridge, Lumo::String("region"));
    tell<Bridge::Id::revision>(bridge, 7U);
    tell<Bridge::Id::helloTime>(bridge, std::uint8_t{2});
    tell<Bridge::Id::bridgeMaxAge>(bridge, std::uint8_t{20});
    tell<Bridge::Id::bridgeForwardDelay>(bridge, std::uint8_t{15});
    tell<Bridge::Id::maxAge>(bridge, std::uint8_t{21});
    tell<Bridge::Id::forwardDelay>(bridge, std::uint8_t{16});
    tell<Bridge::Id::txHoldCount>(bridge, std::uint8_t{6});
    tell<Bridge::Id::maxHops>(bridge, std::uint8_t{19});
  }

  OCProtocolParameters const nothing{};
  OCProtocolParameters const mstpConfigured{2, 20, 15, 6, 19, "region", 7};
  OCProtocolParameters const mstpRunning{2, 21, 16, 6, 19, "region", 7};
  OCProtocolParameters const rstpConfigured{2, 20, 15, 6, {}, {}, {}};
  OCProtocolParameters const rstpRunning{2, 21, 16, 6, {}, {}, {}};
  Lumo::Ptr<OCProtocolParametersSm> mirror;
};

TEST_F(ProtocolMirrors, MstpHasItsOwnAndTheRegion) {
  mstpRuns();
  mirrored();
  toldAll();
  EXPECT_EQ(mstpConfig->record(), mstpConfigured);
  EXPECT_EQ(mstpState->record(), mstpRunning);
  EXPECT_EQ(rstpConfig->record(), nothing);
  EXPECT_EQ(rstpState->record(), nothing);
}

TEST_F(ProtocolMirrors, StpAndRstpHaveNeitherRegionNorHops) {
  tell<Bridge::Id::running>(bridge, true);
  mirrored();
  toldAll();
  for (Mode const mode : {Mode::stp, Mode::rstp}) {
    input->modeIs(mode);
    EXPECT_EQ(rstpConfig->record(), rstpConfigured);
    EXPECT_EQ(rstpState->record(), rstpRunning);
    EXPECT_EQ(mstpConfig->record(), nothing);
    EXPECT_EQ(mstpState->record(), nothing);
  }
}

TEST_F(ProtocolMirrors, OtherProtocolsHaveNothing) {
  mstpRuns();
  toldAll();
  mirrored();
  for (Mode const mode : {Mode::rapidPvst, Mode{-1}}) {
    input->modeIs(mode);
    EXPECT_EQ(mstpConfig->record(), nothing);
    EXPECT_EQ(mstpState->record(), nothing);
    EXPECT_EQ(rstpConfig->record(), nothing);
    EXPECT_EQ(rstpState->record(), nothing);
  }
}

TEST_F(ProtocolMirrors, StateIsThereWhileTheProtocolRuns) {
  input->modeIs(Mode::mstp);
  toldAll();
  mirrored();
  EXPECT_EQ(mstpConfig->record(), mstpConfigured);
  EXPECT_EQ(mstpState->record(), nothing);
  tell<Bridge::Id::running>(bridge, true);
  EXPECT_EQ(mstpState->record(), mstpRunning);
  tell<Bridge::Id::running>(bridge, false);
  EXPECT_EQ(mstpState->record(), nothing);
  EXPECT_EQ(mstpConfig->record(), mstpConfigured);
}

TEST_F(ProtocolMirrors, RecordThatStaysAsItIsIsNotAnnounced) {
  Watch rstp(rstpConfig);
  Watch rstpRuns(rstpState);
  Watch mstp(mstpConfig);
  Watch mstpWritten(mstpState);
  mirrored();
  input->modeIs(Mode::mstp);
  tell<Bridge::Id::running>(bridge, true);
  EXPECT_EQ(mstp.changes() + mstpWritten.changes(), 0);
  tell<Bridge::Id::maxAge>(bridge, std::uint8_t{21});
  EXPECT_EQ(mstp.changes(), 0);
  EXPECT_EQ(mstpWritten.changes(), 1);
  tell<Bridge::Id::bridgeMaxAge>(bridge, std::uint8_t{20});
  EXPECT_EQ(mstp.changes(), 1);
  EXPECT_EQ(mstpWritten.changes(), 0);
  EXPECT_EQ(rstp.changes() + rstpRuns.changes(), 0);
}

TEST_F(ProtocolMirrors, AReaderMayDropThem) {
  mstpRuns();
  mirrored();
  Watch written(mstpConfig, [this](auto&&...) { mirror = nullptr; });
  toldAll();
  EXPECT_EQ(mstpConfig->record().name, "region");
  EXPECT_EQ(mstpConfig->record().revision, std::nullopt);
}

}  // namespace
}  // namespace Stp::Oper
