// What other software sees of the second module: names, indices, what runs what, and the traces.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Lumo/HideMe.h"
#include "StpOper/tests/OperTestSupport.h"

namespace Stp::Oper {
namespace {

using testing::ElementsAre;

Lumo::ModuleInspectData const& module() {
  return stpOperationalSmModule;
}

class OperationalModule : public OperTest {};

TEST_F(OperationalModule, IsKnownBesideTheFirst) {
  auto const modules = Lumo::ModuleInspectData::modules();
  EXPECT_EQ(std::count(modules.begin(), modules.end(), &module()), 1);
  EXPECT_EQ(
      std::count(modules.begin(), modules.end(), &_StpOpenConfigSm_a888b7c7e663556e_velModule), 1);
  EXPECT_EQ(module().name, "StpOperationalSm");
  EXPECT_EQ(module().sourcePath, "/src/StpOper/StpOperationalSm");
}

TEST_F(OperationalModule, HasTheClassesAtTheirIndices) {
  std::vector<std::string_view> names;
  for (Lumo::ClassInspectData const& each : module().classes) {
    names.push_back(each.name);
  }
  EXPECT_THAT(names, ElementsAre("Stp::Oper::OCProtocolParametersSm", "Stp::Oper::OCTreePortSm",
                                 "Stp::Oper::OCTreeSm", "Stp::Oper::OCTreeDirSm",
                                 "Stp::Oper::OCProtectionSm", "Stp::Oper::OCProtectionDirSm"));
  EXPECT_TRUE(std::is_sorted(module().strings.begin(), module().strings.end()));
}

TEST_F(OperationalModule, ObjectsNameTheirClassInIt) {
  mstpRuns();
  auto const tree = treeIs("Cist");
  portIs(tree, "E1");
  treesMirrored();
  EXPECT_EQ(trees->typeData(), (Lumo::VelTypeBase{&module(), 3}));
  auto const ofTree = trees->ocTreeSmDel("Cist");
  EXPECT_EQ(ofTree->typeData(), (Lumo::VelTypeBase{&module(), 2}));
  EXPECT_EQ(ofTree->keyInfo(), "[Cist]");
}

// "CLASS::OPERATION <- ENTITY ID ATTRIBUTE"
std::vector<std::string> triggers(std::string_view ofClass) {
  std::vector<std::string> lines;
  for (Lumo::ClassInspectData const& each : module().classes) {
    for (Lumo::FieldDescriptor const& field : each.fields) {
      for (Lumo::Trigger const& trigger : field.triggers) {
        if (each.name == std::string("Stp::Oper::").append(ofClass)) {
          lines.push_back(std::string(field.name)
                              .append(" <- ")
                              .append(trigger.entity.substr(5))
                              .append(" ")
                              .append(std::to_string(trigger.id))
                              .append(" ")
                              .append(trigger.attribute));
        }
      }
    }
  }
  return lines;
}

TEST_F(OperationalModule, WhatRunsTheHandlersOfParameters) {
  EXPECT_THAT(triggers("OCProtocolParametersSm"),
              ElementsAre("handleConfig <- Input::Config 267 mode",
                          "handleConfig <- Operational::Bridge 259 regionName",
                          "handleConfig <- Operational::Bridge 260 revision",
                          "handleConfig <- Operational::Bridge 261 helloTime",
                          "handleConfig <- Operational::Bridge 262 bridgeMaxAge",
                          "handleConfig <- Operational::Bridge 263 bridgeForwardDelay",
                          "handleConfig <- Operational::Bridge 266 txHoldCount",
                          "handleConfig <- Operational::Bridge 267 maxHops",
                          "handleState <- Input::Config 267 mode",
                          "handleState <- Operational::Bridge 258 running",
                          "handleState <- Operational::Bridge 259 regionName",
                          "handleState <- Operational::Bridge 260 revision",
                          "handleState <- Operational::Bridge 261 helloTime",
                          "handleState <- Operational::Bridge 264 maxAge",
                          "handleState <- Operational::Bridge 265 forwardDelay",
                          "handleState <- Operational::Bridge 266 txHoldCount",
                          "handleState <- Operational::Bridge 267 maxHops"));
}

TEST_F(OperationalModule, WhatRunsTheHandlersOfTrees) {
  EXPECT_THAT(triggers("OCTreeDirSm"), ElementsAre("handleMode <- Input::Config 267 mode",
                                                   "handleTree <- Operational::Bridge 268 tree"));
  EXPECT_THAT(triggers("OCTreeSm"),
              ElementsAre("handleConfig <- Operational::Tree 258 bridgeId",
                          "handleState <- Operational::Bridge 258 running",
                          "handleState <- Operational::Tree 258 bridgeId",
                          "handleState <- Operational::Tree 259 designatedRoot",
                          "handleState <- Operational::Tree 260 externalRootCost",
                          "handleState <- Operational::Tree 261 regionalRoot",
                          "handleState <- Operational::Tree 262 internalRootCost",
                          "handleState <- Operational::Tree 263 rootPort",
                          "handleState <- Operational::Tree 264 topologyChanges",
                          "handleState <- Operational::Tree 265 lastTopologyChange",
                          "handleRunning <- Operational::Bridge 258 running",
                          "handlePort <- Operational::Tree 266 port"));
}

TEST_F(OperationalModule, WhatRunsTheHandlersOfAPortOfATree) {
  EXPECT_THAT(triggers("OCTreePortSm"),
              ElementsAre("handleConfig <- Operational::TreePort 258 portId",
                          "handleState <- Oper::TreeScope 259 running",
                          "handlePortId <- Operational::TreePort 258 portId",
                          "handleCost <- Operational::TreePort 259 externalCost",
                          "handleCost <- Operational::TreePort 260 internalCost",
                          "handleRole <- Operational::TreePort 261 role",
                          "handlePortState <- Operational::TreePort 262 state",
                          "handleDesignatedRoot <- Operational::TreePort 263 designatedRoot",
                          "handleDesignatedRoot <- Operational::TreePort 265 "
                          "designatedRegionalRoot",
                          "handleDesignatedCost <- Operational::TreePort 264 "
                          "designatedExternalCost",
                          "handleDesignatedCost <- Operational::TreePort 266 "
                          "designatedInternalCost",
                          "handleDesignatedBridge <- Operational::TreePort 267 designatedBridge",
                          "handleDesignatedPort <- Operational::TreePort 268 designatedPort",
                          "handleForwardTransitions <- Operational::TreePort 269 "
                          "forwardTransitions",
                          "handleDisputed <- Operational::TreePort 270 disputed",
                          "handleCounters <- Oper::TreeScope 259 running",
                          "handleCounters <- Operational::TreePort 271 bpduSent",
                          "handleCounters <- Operational::TreePort 272 bpduReceived"));
}

TEST_F(OperationalModule, WhatRunsTheHandlersOfProtections) {
  EXPECT_THAT(triggers("OCProtectionDirSm"),
              ElementsAre("handlePort <- Operational::Bridge 269 port"));
  EXPECT_THAT(triggers("OCProtectionSm"),
              ElementsAre("handleConfig <- Operational::Port 258 restrictedRole",
                          "handleConfig <- Operational::Port 259 bpduFilter",
                          "handleState <- Operational::Bridge 258 running",
                          "handleState <- Operational::Port 258 restrictedRole",
                          "handleState <- Operational::Port 259 bpduFilter",
                          "handleState <- Operational::Port 260 bpduGuardError"));
}

// The text trace of this module while it lives: "LINE HANDLER TEXT".
class Lines {
 public:
  Lines()
      : before_(Vel::traceSinkIs([this](Vel::TraceLine const& line) {
          EXPECT_EQ(line.handle, "StpOperSm");
          EXPECT_EQ(line.level, 8U);
          EXPECT_EQ(line.sourcePath, std::string_view("/src/StpOper/StpOperationalSm"));
          lines_.push_back(std::to_string(line.sourceLine) + " " + std::string(line.function) +
                           " " + std::string(line.text));
        })) {
    defaultTraceHandle().levelIs(8, true);
  }
  Lines(Lines const&) = delete;
  Lines& operator=(Lines const&) = delete;
  ~Lines() {
    defaultTraceHandle().levelIs(8, false);
    Vel::traceSinkIs(std::move(before_));
  }
  std::vector<std::string> take() { return std::exchange(lines_, {}); }

 private:
  std::vector<std::string> lines_;
  Vel::TraceSink before_;
};

TEST_F(OperationalModule, HandlersOfTreesTrace) {
  Lines lines;
  auto const tree = treeIs("Cist");
  portIs(tree, "E1");
  treesMirrored();
  EXPECT_THAT(lines.take(),
              ElementsAre("152 handleMode OCTreeDirSm::handleMode() mode: 0",
                          "164 handleTree OCTreeDirSm::handleTree() Cist",
                          "66 handleConfig OCTreeSm[Cist]::handleConfig() ",
                          "78 handleState OCTreeSm[Cist]::handleState() running: 0",
                          "58 handleInitialized OCTreeSm[Cist]::handleInitialized() ",
                          "94 handlePort OCTreeSm[Cist]::handlePort() E1",
                          "101 handleConfig OCTreePortSm[E1]::handleConfig() ",
                          "109 handleState OCTreePortSm[E1]::handleState() running: 0",
                          "169 handleCounters OCTreePortSm[E1]::handleCounters() "));
  tell<Bridge::Id::running>(bridge, true);
  EXPECT_THAT(lines.take(),
              ElementsAre("78 handleState OCTreeSm[Cist]::handleState() running: 1",
                          "89 handleRunning OCTreeSm[Cist]::handleRunning() running: 1",
                          "109 handleState OCTreePortSm[E1]::handleState() running: 1",
                          "169 handleCounters OCTreePortSm[E1]::handleCounters() "));
  bridge->tree.del("Cist");
  EXPECT_THAT(lines.take(), ElementsAre("164 handleTree OCTreeDirSm::handleTree() Cist",
                                        "106 withdraw OCTreeSm[Cist]::withdraw() "));
}

TEST_F(OperationalModule, HandlersOfAPortOfATreeTrace) {
  auto const tree = treeIs("Cist");
  auto const port = portIs(tree, "E1");
  treesMirrored();
  Lines lines;
  tell<TreePort::Id::portId>(port, PortId(16, 1));
  tell<TreePort::Id::externalCost>(port, 1U);
  tell<TreePort::Id::role>(port, PortRole::root);
  tell<TreePort::Id::state>(port, PortState::learning);
  tell<TreePort::Id::designatedRoot>(port, rootBridge);
  tell<TreePort::Id::designatedInternalCost>(port, 1U);
  tell<TreePort::Id::designatedBridge>(port, rootBridge);
  tell<TreePort::Id::designatedPort>(port, PortId(16, 1));
  tell<TreePort::Id::forwardTransitions>(port, std::uint64_t{1});
  tell<TreePort::Id::disputed>(port, true);
  tell<TreePort::Id::bpduSent>(port, std::uint64_t{1});
  EXPECT_THAT(
      lines.take(),
      ElementsAre("101 handleConfig OCTreePortSm[E1]::handleConfig() ",
                  "119 handlePortId OCTreePortSm[E1]::handlePortId() ",
                  "124 handleCost OCTreePortSm[E1]::handleCost() ",
                  "129 handleRole OCTreePortSm[E1]::handleRole() ",
                  "134 handlePortState OCTreePortSm[E1]::handlePortState() ",
                  "139 handleDesignatedRoot OCTreePortSm[E1]::handleDesignatedRoot() ",
                  "144 handleDesignatedCost OCTreePortSm[E1]::handleDesignatedCost() ",
                  "149 handleDesignatedBridge OCTreePortSm[E1]::handleDesignatedBridge() ",
                  "154 handleDesignatedPort OCTreePortSm[E1]::handleDesignatedPort() ",
                  "159 handleForwardTransitions OCTreePortSm[E1]::handleForwardTransitions() ",
                  "164 handleDisputed OCTreePortSm[E1]::handleDisputed() ",
                  "169 handleCounters OCTreePortSm[E1]::handleCounters() "));
}

TEST_F(OperationalModule, HandlersOfTheRestTrace) {
  Lines lines;
  auto const parameters =
      oCProtocolParametersSmFactory(input, bridge, rstpConfig, rstpState, mstpConfig, mstpState);
  bridge->port.is("E1", Lumo::make<Port>());
  auto const protections = oCProtectionDirSmFactory(bridge, protectionConfig, protectionState);
  bridge->port.del("E1");
  EXPECT_THAT(lines.take(),
              ElementsAre("59 handleConfig OCProtocolParametersSm::handleConfig() ",
                          "66 handleState OCProtocolParametersSm::handleState() running: 0",
                          "69 handleInitialized OCProtectionDirSm::handleInitialized() ",
                          "77 handlePort OCProtectionDirSm::handlePort() E1",
                          "31 handleConfig OCProtectionSm[E1]::handleConfig() ",
                          "39 handleState OCProtectionSm[E1]::handleState() running: 0",
                          "77 handlePort OCProtectionDirSm::handlePort() E1"));
}

}  // namespace
}  // namespace Stp::Oper
