// What the handlers of the MSTP mirrors trace, word by word.

#include <gtest/gtest.h>

#include "TraceExpectation.h"

namespace Stp {
namespace {

using ContractTest::expectTraced;
using FrameTest::World;

TEST(HandlerTraces, OfTheMstInstanceConfigurationMirror) {
  World w;
  expectTraced(
      [&] {
        auto const mirror = oCMstiConfigSmFactory("MST1", w.inputMsti, w.ocMsti);
        w.inputMsti->bridgePriorityIs(0);
      },
      {
          {"Stp::OCMstiConfigSm::handleBridgePriority():706",
           "OCMstiConfigSm[MST1]::handleBridgePriority() "},
          {"Stp::OCMstiConfigSm::handleBridgePriority():706",
           "OCMstiConfigSm[MST1]::handleBridgePriority() "},
      });
}

TEST(HandlerTraces, OfTheMstpConfigurationMirror) {
  World w;
  expectTraced(
      [&] {
        auto const mirror =
            oCMstpConfigSmFactory("Mst", w.inputMst, w.inputConfig, w.ocMstiConfigDir);
        w.inputMst->mstiConfig.del("MST1");
      },
      {
          {"Stp::OCMstpConfigSm::handleInitialized():741",
           "OCMstpConfigSm[Mst]::handleInitialized() "},
          {"Stp::OCMstpConfigSm::handleMstiConfig(const String&):715",
           "OCMstpConfigSm[Mst]::handleMstiConfig() "},
          {"Stp::OCMstiConfigSm::handleBridgePriority():706",
           "OCMstiConfigSm[MST1]::handleBridgePriority() "},
          {"Stp::OCMstpConfigSm::handleMstiConfig(const String&):715",
           "OCMstpConfigSm[Mst]::handleMstiConfig() "},
      });
}

TEST(HandlerTraces, OfTheMstpConfigurationWrapper) {
  World w;
  w.inputMst->mstiConfig.delAll();
  expectTraced(
      [&] {
        auto const mirror = oCMstpConfigWrapperSmFactory(w.inputConfig, w.ocMstiConfigDir);
        w.inputConfig->stpiConfig.is("Other", Lumo::make<Input::StpiConfig>());  // not even traced
        w.inputConfig->stpiConfig.del("Mst");
        w.inputConfig->mstConfigIs({});
      },
      {
          {"Stp::OCMstpConfigWrapperSm::handleInitialized():836",
           "OCMstpConfigWrapperSm::handleInitialized() "},
          {"Stp::OCMstpConfigWrapperSm::handleMstpConfigSm(const String&):822",
           "OCMstpConfigWrapperSm::handleMstpConfigSm() "},
          {"Stp::OCMstpConfigSm::handleInitialized():741",
           "OCMstpConfigSm[Mst]::handleInitialized() "},
          {"Stp::OCMstpConfigWrapperSm::handleMstVlanMapping():764",
           "OCMstpConfigWrapperSm::handleMstVlanMapping() "},
          {"Stp::OCMstpConfigWrapperSm::handleMstVlanMapping():764",
           "OCMstpConfigWrapperSm::handleMstVlanMapping() "},
          // "Mst" goes,
          {"Stp::OCMstpConfigWrapperSm::handleMstpConfigSm(const String&):822",
           "OCMstpConfigWrapperSm::handleMstpConfigSm() "},
          {"Stp::OCMstpConfigWrapperSm::handleMstVlanMapping():764",
           "OCMstpConfigWrapperSm::handleMstVlanMapping() "},
          // and then the VLAN map.
          {"Stp::OCMstpConfigWrapperSm::handleMstVlanMapping():764",
           "OCMstpConfigWrapperSm::handleMstVlanMapping() "},
      });
}

TEST(HandlerTraces, OfTheMstWatcher) {
  World w;
  expectTraced(
      [&] {
        auto const watcher = oCMstSmFactory(w.mst, w.trigger);
        w.mst->mstiStatus.is("MST2", Lumo::make<MstiStatus>());
      },
      {{"Stp::OCMstSm::triggerInc():851", "OCMstSm::triggerInc() "}});
}

TEST(HandlerTraces, OfTheMstInstanceWatcher) {
  World w;
  expectTraced(
      [&] {
        auto const watcher = oCMstiStatusSmFactory("MST1", w.msti, w.trigger);
        w.msti->bridgePriorityIs(0);
      },
      {{"Stp::OCMstiStatusSm::triggerInc():858", "OCMstiStatusSm[MST1]::triggerInc() "}});
}

TEST(HandlerTraces, OfTheMstpMainState) {
  World w;
  expectTraced(
      [&] {
        auto const mirror = oCMstpMainStateSmFactory(w.config, w.status, w.ocMstiStateDir);
        w.msti->bridgePriorityIs(0);
        w.status->activeProtocolIs(Mode::stp);
      },
      {
          {"Stp::OCMstpMainStateSm::handleInitialized():869",
           "OCMstpMainStateSm::handleInitialized() "},
          {"Stp::OCMstpMainStateSm::update():874", "OCMstpMainStateSm::update() "},
          {"Stp::OCMstiStatusSm::triggerInc():858", "OCMstiStatusSm[MST1]::triggerInc() "},
          {"Stp::OCMstpMainStateSm::update():874", "OCMstpMainStateSm::update() "},
          {"Stp::OCMstpMainStateSm::triggerInc():865", "OCMstpMainStateSm::triggerInc() "},
          {"Stp::OCMstpMainStateSm::update():874", "OCMstpMainStateSm::update() "},
      });
}

}  // namespace
}  // namespace Stp
