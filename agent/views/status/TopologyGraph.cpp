#include "agent/views/status/TopologyGraph.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <set>
#include <utility>

#include "Format.h"
#include "agent/text/Identifiers.h"

namespace Agent {

namespace {

constexpr std::string_view opening = R"(graph topology {
  graph [fontname="Helvetica,sans-serif", fontsize=12, nodesep=0.5, ranksep=0.8];
  node [shape=box, style=rounded, fontname="Helvetica,sans-serif", fontsize=11];
  edge [fontname="Helvetica,sans-serif", fontsize=9];
)";

// As Graphviz takes it, whatever is in it; a line feed begins a new line.
std::string dotText(std::string_view text) {
  std::string result = "\"";
  for (char const c : text) {
    if (c == '"' || c == '\\') {
      result += '\\';
    }
    if (c == '\n') {
      result += "\\n";
    } else {
      result += c;
    }
  }
  return result + '"';
}

// The nodes and links of one tree.
class TreeGraph {
 public:
  TreeGraph(std::string_view bridge, BridgeStatus const& status, TreeStatus const& tree)
      : status_(status), tree_(tree), name_(textOf(tree.state.tree)) {
    text_.append("  subgraph ").append(dotText("cluster " + name_)).append(" {\n");
    text_.append("    label=").append(dotText(name_)).append(";\n");
    addSelf(bridge);
    for (Stp::OCTreePortState const& port : tree_.ports) {
      addPort(port);
    }
    text_ += "  }\n";
  }

  std::string take() { return std::move(text_); }

 private:
  // The name of a node: nodes of two trees are two.
  std::string node(std::string const& what) const { return dotText(name_ + " " + what); }
  std::string self() const { return node("bridge"); }

  // The root has a double border.
  std::string_view border(std::optional<Stp::BridgeId> const& bridge) const {
    bool const isRoot =
        bridge && (bridge == tree_.state.designatedRoot || bridge == tree_.state.regionalRoot);
    return isRoot ? ", peripheries=2" : "";
  }

  void addSelf(std::string_view name) {
    std::optional<Stp::BridgeId> const& own = tree_.state.bridge;
    std::string label = Programs::printable(name);
    if (own) {
      label.append("\n").append(bridgeText(*own));
    }
    text_.append("    ").append(self()).append(" [label=").append(dotText(label));
    text_.append(R"(, style="rounded,filled", fillcolor="#cfe2f3")").append(border(own));
    text_ += "];\n";
  }

  // Another bridge, once.
  std::string bridgeNode(Stp::BridgeId bridge) {
    std::string name = node(textOf(bridge));
    if (added_.insert(name).second) {
      text_.append("    ").append(name).append(" [label=").append(dotText(bridgeText(bridge)));
      text_.append(border(bridge)).append("];\n");
    }
    return name;
  }

  // A segment of which this bridge is the designated one, with the port named by its id: who else
  // is on it is not known.
  std::string segmentNode(Stp::OCTreePortState const& port) {
    bool const isAnothers = roleOf(port) == "backup" && port.designatedPort;
    std::optional<Stp::PortId> const& id = isAnothers ? port.designatedPort : port.port;
    std::string name =
        node(id ? "segment " + textOf(*id) : "port " + port.id.port.stringValue().toString());
    if (added_.insert(name).second) {
      text_.append("    ").append(name).append(" [shape=point];\n");
    }
    return name;
  }

  void addPort(Stp::OCTreePortState const& port) {
    bool const isElsewhere = roleOf(port) != "disabled" && port.designatedBridge &&
                             port.designatedBridge != tree_.state.bridge;
    std::string const end = isElsewhere ? bridgeNode(*port.designatedBridge) : segmentNode(port);
    text_.append("    ").append(self()).append(" -- ").append(end);
    text_.append(" [label=").append(dotText(labelOf(port)));
    if (isElsewhere && port.designatedPort) {
      text_.append(", headlabel=").append(dotText(textOf(*port.designatedPort)));
    }
    text_.append(styleOf(port)).append("];\n");
    if (isElsewhere && port.designatedRoot) {
      addWayToRoot(*port.designatedBridge, *port.designatedRoot);
    }
  }

  std::string labelOf(Stp::OCTreePortState const& port) const {
    std::string label = Programs::printable(port.id.port.stringValue().view());
    for (std::string_view const word :
         {roleOf(port), stateOf(port) == roleOf(port) ? "" : stateOf(port),
          std::string_view(isGuardedOff(port) ? "BPDU guard error" : ""),
          std::string_view(port.disputed.value_or(false) ? "disputed" : "")}) {
      if (!word.empty()) {
        label.append("\n").append(word);
      }
    }
    return label;
  }

  std::string styleOf(Stp::OCTreePortState const& port) const {
    bool const isInTrouble = isGuardedOff(port) || port.disputed.value_or(false);
    std::string style = port.portState == Stp::OcPortState::forwarding ? "" : ", style=dashed";
    return style + (isInTrouble ? ", color=red" : roleOf(port) == "disabled" ? ", color=gray" : "");
  }

  bool isGuardedOff(Stp::OCTreePortState const& treePort) const {
    return std::ranges::any_of(status_.ports, [&](PortStatus const& port) {
      return port.name == treePort.id.port && port.isGuardedOff;
    });
  }

  // What lies between is not known.
  void addWayToRoot(Stp::BridgeId from, Stp::BridgeId root) {
    if (from != root && root != tree_.state.bridge &&
        ways_.emplace(from.value(), root.value()).second) {
      std::string const fromName = bridgeNode(from);
      std::string const rootName = bridgeNode(root);
      text_.append("    ").append(fromName).append(" -- ").append(rootName);
      text_ += " [style=dotted];\n";
    }
  }

  BridgeStatus const& status_;
  TreeStatus const& tree_;
  std::string name_;
  std::string text_;
  std::set<std::string> added_;
  std::set<std::pair<std::uint64_t, std::uint64_t>> ways_;
};

}  // namespace

std::string topologyGraph(std::string_view bridge, BridgeStatus const& status) {
  std::string text(opening);
  for (TreeStatus const& tree : status.trees) {
    text += TreeGraph(bridge, status, tree).take();
  }
  return text + "}\n";
}

}  // namespace Agent
