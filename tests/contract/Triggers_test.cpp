// Which changes run which operation, as the type registry tells inspection tools.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Stp/Module.h"

namespace {

using Lines = std::vector<std::string>;

Lines triggers() {
  Lines lines;
  for (Lumo::ClassInspectData const& each : _StpOpenConfigSm_a888b7c7e663556e_velModule.classes) {
    for (Lumo::FieldDescriptor const& field : each.fields) {
      for (Lumo::Trigger const& trigger : field.triggers) {
        std::string line(each.name.substr(5));
        line.append("::").append(field.name).append(" <- ").append(trigger.entity.substr(5));
        line.append(" ").append(std::to_string(trigger.id)).append(" ").append(trigger.attribute);
        lines.push_back(line);
      }
    }
  }
  return lines;
}

TEST(Triggers, AreThoseOfTheHandlers) {
  EXPECT_EQ(triggers(),
            (Lines{
                "OCGlobalConfigSm::handleEnabledProtocol <- Input::Config 267 mode",
                "OCGlobalConfigSm::handleBpduguard <- Input::Config 294 portfastBpduguard",
                "OCGlobalConfigSm::handleDisabledVlan <- Input::Config 303 disabledVlan",
                "OCGlobalStateSm::handleEnabledProtocol <- Status 258 activeProtocol",
                "OCGlobalStateSm::handleBpduguard <- Config 294 portfastBpduguard",
                "OCGlobalStateSm::handleDisabledVlan <- Config 303 disabledVlan",
                "OCGlobalStateSm::handleDisabledVlan <- VlanConfigDir 258 vlanConfig",
                "OCPortConfigSm::handleEdgePort <- Input::PortConfig 261 edgePortEnable",
                "OCPortConfigSm::handleEdgePort <- Input::PortConfig 263 edgePortAuto",
                "OCPortConfigSm::handleEdgePort <- Input::PortConfig 265 edgePortDisable",
                "OCPortConfigSm::handleBpduguard <- Input::PortConfig 270 bpduguard",
                "OCPortConfigSm::handleLinkType <- Input::PortConfig 260 linkType",
                "OCStpiStatusConfigSm::handleStpiPortStatusConfig <- StpiStatus 261 stpiPortStatus",
                "OCInterfaceConfigDirSm::handleInterface <- Input::Config 386 portConfig",
                "OCInterfaceConfigDirSm::handleStpiStatusConfig <- Status 259 stpiStatus",
                "OCStpiPortStatusSm::handleEdgePort <- StpiPortStatus 260 operEdgePort",
                "OCStpiPortStatusSm::handleBpduguard <- StpiPortStatus 260 operEdgePort",
                "OCStpiPortStatusSm::handleBpduguard <- PortConfig 261 adminEdgePort",
                "OCStpiPortStatusSm::handleBpduguard <- PortConfig 270 bpduguard",
                "OCStpiPortStatusSm::handleBpduguard <- Config 294 portfastBpduguard",
                "OCStpiPortStatusSm::handleLinkType <- StpiPortStatus 262 operPointToPointMac",
                "OCStpiStatusSm::handleStpiPortStatus <- StpiStatus 261 stpiPortStatus",
                "OCInterfaceStateDirSm::handleStpiStatus <- Status 259 stpiStatus",
                "OCMstiConfigSm::handleBridgePriority <- Input::MstiConfig 259 bridgePriority",
                "OCMstpConfigSm::handleMstiConfig <- Input::StpiConfig 259 mstiConfig",
                "OCMstpConfigWrapperSm::handleMstVlanMapping <- Input::Config 298 mstConfig",
                "OCMstpConfigWrapperSm::handleMstpConfigSm <- Input::Config 387 stpiConfig",
                "OCMstSm::triggerInc <- StpiStatus 262 mstiStatus",
                "OCMstiStatusSm::triggerInc <- MstiStatus 259 bridgePriority",
                "OCMstpMainStateSm::update <- OCMstpTrigger 130 counter",
                "OCMstpMainStateSm::triggerInc <- Config 298 mstConfig",
                "OCMstpMainStateSm::triggerInc <- Status 258 activeProtocol",
                "OCMstpMainStateSm::triggerInc <- Status 259 stpiStatus",
            }));
}

TEST(Triggers, OnlyOperationsHaveThem) {
  for (Lumo::ClassInspectData const& each : _StpOpenConfigSm_a888b7c7e663556e_velModule.classes) {
    for (Lumo::FieldDescriptor const& field : each.fields) {
      EXPECT_TRUE(field.kind == Lumo::FieldKind::operation || field.triggers.empty());
    }
  }
}

}  // namespace
