// A bridge, what an engine tells of it, and the targets of the operation.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <tuple>
#include <utility>
#include <vector>

#include "Lumo/Ptr.h"
#include "Stp/tests/TestSupport.h"
#include "StpOper/ProtectionMirrors.h"
#include "StpOper/ProtocolMirrors.h"
#include "StpOper/TreeMirrors.h"
#include "StpTypes/Input.h"
#include "StpTypes/OpenConfigOperational.h"
#include "StpTypes/Operational.h"

namespace Stp::Oper {

using Operational::Bridge;
using Operational::Port;
using Operational::PortRole;
using Operational::PortState;
using Operational::Tree;
using Operational::TreePort;
using TestSupport::Watch;

/// Sets the attribute of this number.
template <auto id, class Entity, class Value>
void tell(Lumo::Ptr<Entity> const& entity, Value const& value) {
  auto const set = [&](auto const& row) {
    if constexpr (requires { ((*entity).*row.set)(value); }) {
      if (row.id == id) {
        ((*entity).*row.set)(value);
      }
    }
  };
  std::apply([&](auto const&... row) { (set(row), ...); }, Entity::attributes);
}

constexpr BridgeId rootBridge(4096, 5, 0x0A947F3A7294);
constexpr BridgeId otherBridge(32768, 0, 0x3E7AD2FA71E9);

class OperTest : public TestSupport::LeavesNothing {
 protected:
  Lumo::Ptr<Tree> treeIs(char const* name) {
    auto const tree = Lumo::make<Tree>();
    bridge->tree.is(name, tree);
    return tree;
  }
  static Lumo::Ptr<TreePort> portIs(Lumo::Ptr<Tree> const& tree, char const* name) {
    auto const port = Lumo::make<TreePort>();
    tree->port.is(name, port);
    return port;
  }
  static TreePortId at(TreeId tree, char const* port) { return {tree, Lanx::IntfId::of(port)}; }

  void mstpRuns() {
    input->modeIs(Mode::mstp);
    tell<Bridge::Id::running>(bridge, true);
  }
  void treesMirrored() {
    trees = oCTreeDirSmFactory(input, bridge, treeConfig, treeState, portConfig, portState,
                               portCounters);
  }

  Lumo::Ptr<Input::Config> input = Lumo::make<Input::Config>();
  Lumo::Ptr<Bridge> bridge = Lumo::make<Bridge>();
  Lumo::Ptr<OCRstpConfig> rstpConfig = Lumo::make<OCRstpConfig>();
  Lumo::Ptr<OCRstpState> rstpState = Lumo::make<OCRstpState>();
  Lumo::Ptr<OCMstpConfig> mstpConfig = Lumo::make<OCMstpConfig>();
  Lumo::Ptr<OCMstpState> mstpState = Lumo::make<OCMstpState>();
  Lumo::Ptr<OCTreeConfigDir> treeConfig = Lumo::make<OCTreeConfigDir>();
  Lumo::Ptr<OCTreeStateDir> treeState = Lumo::make<OCTreeStateDir>();
  Lumo::Ptr<OCTreePortConfigDir> portConfig = Lumo::make<OCTreePortConfigDir>();
  Lumo::Ptr<OCTreePortStateDir> portState = Lumo::make<OCTreePortStateDir>();
  Lumo::Ptr<OCTreePortCountersDir> portCounters = Lumo::make<OCTreePortCountersDir>();
  Lumo::Ptr<OCProtectionConfigDir> protectionConfig = Lumo::make<OCProtectionConfigDir>();
  Lumo::Ptr<OCProtectionStateDir> protectionState = Lumo::make<OCProtectionStateDir>();
  Lumo::Ptr<OCTreeDirSm> trees;
};

}  // namespace Stp::Oper
