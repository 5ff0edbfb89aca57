#include "agent/views/status/StatusJson.h"

#include <optional>
#include <string>
#include <utility>

#include "agent/text/Identifiers.h"

namespace Agent {

namespace {

std::string jsonOf(Lanx::IntfId name) {
  return name.stringValue().toString();
}
OrderedJson jsonOf(Stp::BridgeId bridge) {
  OrderedJson object = OrderedJson::object();
  memberAdd(object, "priority", bridge.priority());
  memberAdd(object, "address", addressOf(bridge));
  return object;
}
OrderedJson jsonOf(Stp::PortId port) {
  OrderedJson object = OrderedJson::object();
  memberAdd(object, "priority", port.priority());
  memberAdd(object, "number", port.number());
  return object;
}
template <class Number>
Number jsonOf(Number number) {
  return number;
}

template <class Value>
void knownAdd(OrderedJson& object, std::string_view name, std::optional<Value> const& value) {
  if (value) {
    memberAdd(object, name, jsonOf(*value));
  }
}
void knownAdd(OrderedJson& object, std::string_view name, std::string_view text) {
  if (!text.empty()) {
    memberAdd(object, name, std::string(text));
  }
}

OrderedJson jsonOf(Stp::OCTreePortState const& port) {
  OrderedJson object = OrderedJson::object();
  memberAdd(object, "port", jsonOf(port.id.port));
  knownAdd(object, "id", port.port);
  knownAdd(object, "role", roleOf(port));
  knownAdd(object, "state", stateOf(port));
  knownAdd(object, "cost", port.cost);
  knownAdd(object, "designatedRoot", port.designatedRoot);
  knownAdd(object, "designatedCost", port.designatedCost);
  knownAdd(object, "designatedBridge", port.designatedBridge);
  knownAdd(object, "designatedPort", port.designatedPort);
  knownAdd(object, "disputed", port.disputed);
  return object;
}

OrderedJson jsonOf(TreeStatus const& tree) {
  Stp::OCTreeState const& state = tree.state;
  OrderedJson object = OrderedJson::object();
  memberAdd(object, "tree", textOf(state.tree));
  knownAdd(object, "bridgePriority", tree.bridgePriority);
  knownAdd(object, "root", state.designatedRoot);
  if (state.designatedRoot && state.bridge) {
    memberAdd(object, "isRoot", tree.isRoot());
  }
  knownAdd(object, "rootPort", tree.rootPort());
  knownAdd(object, "rootPortNumber", state.rootPort);
  knownAdd(object, "rootCost", state.rootCost);
  knownAdd(object, "regionalRoot", state.regionalRoot);
  knownAdd(object, "regionalRootCost", state.regionalRootCost);
  knownAdd(object, "topologyChanges", state.topologyChanges);
  if (state.lastTopologyChange) {
    knownAdd(object, "lastTopologyChange", utcSecond(*state.lastTopologyChange));
  }
  OrderedJson ports = OrderedJson::array();
  for (Stp::OCTreePortState const& port : tree.ports) {
    ports.push_back(jsonOf(port));
  }
  memberAdd(object, "ports", std::move(ports));
  return object;
}

OrderedJson jsonOf(PortStatus const& port) {
  OrderedJson object = OrderedJson::object();
  memberAdd(object, "port", jsonOf(port.name));
  knownAdd(object, "edge", port.isEdge);
  knownAdd(object, "pointToPoint", port.isPointToPoint);
  memberAdd(object, "bpduGuard", port.hasBpduGuard);
  memberAdd(object, "rootGuard", port.hasRootGuard);
  memberAdd(object, "bpduFilter", port.hasBpduFilter);
  memberAdd(object, "bpduGuardError", port.isGuardedOff);
  return object;
}

}  // namespace

OrderedJson statusJson(std::string_view bridge, BridgeStatus const& status) {
  Stp::OCProtocolParameters const& told = status.parameters;
  OrderedJson object = OrderedJson::object();
  memberAdd(object, "bridge", std::string(bridge));
  if (status.protocol) {
    memberAdd(object, "protocol", std::string(textOf(status.protocol)));
  }
  memberAdd(object, "running", status.isRunning);
  if (!status.trees.empty() && status.trees.front().state.bridge) {
    memberAdd(object, "address", addressOf(*status.trees.front().state.bridge));
  }
  knownAdd(object, "region", told.name.view());
  knownAdd(object, "revision", told.revision);
  knownAdd(object, "helloTime", told.helloTime);
  knownAdd(object, "maxAge", told.maxAge);
  knownAdd(object, "forwardDelay", told.forwardingDelay);
  knownAdd(object, "holdCount", told.holdCount);
  knownAdd(object, "maxHops", told.maxHop);
  OrderedJson trees = OrderedJson::array();
  for (TreeStatus const& tree : status.trees) {
    trees.push_back(jsonOf(tree));
  }
  memberAdd(object, "trees", std::move(trees));
  OrderedJson ports = OrderedJson::array();
  for (PortStatus const& port : status.ports) {
    ports.push_back(jsonOf(port));
  }
  memberAdd(object, "ports", std::move(ports));
  return object;
}

}  // namespace Agent
