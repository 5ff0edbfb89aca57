#include "agent/views/status/StatusScreen.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <tuple>
#include <utility>
#include <vector>

#include "Format.h"
#include "agent/text/Identifiers.h"
#include "agent/text/TextTable.h"

namespace Agent {

namespace {

constexpr std::string_view heading = "\033[1m";
constexpr std::string_view trouble = "\033[31m";
constexpr std::string_view blocked = "\033[33m";
constexpr std::string_view unused = "\033[2m";
constexpr std::string_view plain;
constexpr std::string_view nothing = "-";

std::string shown(std::string const& text) {
  return text.empty() ? std::string(nothing) : Programs::printable(text);
}
std::string shown(std::string_view text) {
  return std::string(text.empty() ? nothing : text);
}
template <class Number>
std::string shown(std::optional<Number> const& number) {
  return number ? std::to_string(*number) : std::string(nothing);
}
std::string shown(std::optional<bool> const& is) {
  return std::string(!is ? nothing : *is ? "yes" : "no");
}

std::string joined(std::vector<std::string_view> const& words) {
  std::string text;
  for (std::string_view const word : words) {
    text.append(text.empty() ? "" : ", ").append(word);
  }
  return text;
}

// As coarse as people tell it.
std::string ago(std::uint64_t nanoseconds) {
  constexpr std::uint64_t perSecond = 1'000'000'000;
  constexpr std::array<std::pair<std::uint64_t, std::string_view>, 3> units{
      {{86400, " d"}, {3600, " h"}, {60, " min"}}};
  std::uint64_t const seconds = nanoseconds / perSecond;
  for (auto const& [length, unit] : units) {
    if (seconds >= 2 * length) {
      return std::to_string(seconds / length).append(unit).append(" ago");
    }
  }
  return std::to_string(seconds) + " s ago";
}

// Trees that stand side by side in the bridge's order, as few words as possible.
class TreeNames {
 public:
  explicit TreeNames(BridgeStatus const& status) : count_(status.trees.size()) {}

  void add(Stp::TreeId tree) {
    ++added_;
    bool const continues = !runs_.empty() && tree.kind() == Stp::TreeId::Kind::mst &&
                           runs_.back().last.kind() == Stp::TreeId::Kind::mst &&
                           tree.value() == runs_.back().last.value() + 1;
    if (continues) {
      runs_.back().last = tree;
    } else {
      runs_.push_back({tree, tree});
    }
  }

  std::string text() const {
    if (added_ == count_ && count_ > 1) {
      return "all";
    }
    std::string text;
    for (Run const& run : runs_) {
      text.append(text.empty() ? "" : ", ").append(textOf(run.first));
      if (run.first != run.last) {
        text.append("-").append(textOf(run.last));
      }
    }
    return text;
  }

 private:
  struct Run {
    Stp::TreeId first;
    Stp::TreeId last;
  };

  std::size_t count_;
  std::size_t added_ = 0;
  std::vector<Run> runs_;
};

// What a port does in some of the trees.
struct Part {
  std::string_view role;
  std::string_view state;
  bool isDisputed;
  TreeNames trees;

  bool isSame(Stp::OCTreePortState const& port) const {
    return std::tuple(role, state, isDisputed) ==
           std::tuple(roleOf(port), stateOf(port), port.disputed.value_or(false));
  }
};

class Screen {
 public:
  Screen(std::string_view bridge, BridgeStatus const& status, ScreenLook const& look)
      : status_(status), look_(look) {
    addBridge(bridge);
    if (!status.trees.empty()) {
      addTrees();
    }
    if (!status.ports.empty()) {
      addPorts();
    }
  }

  std::string take() { return std::move(text_); }

 private:
  struct Row {
    std::vector<std::string> cells;
    std::string_view colour = plain;
  };

  void addBridge(std::string_view name) {
    Stp::OCProtocolParameters const& told = status_.parameters;
    line("Bridge " + Programs::printable(name) + ": " + std::string(textOf(status_.protocol)) +
             (status_.isRunning ? "" : ", not running") + (own().empty() ? "" : ", " + own()),
         heading);
    if (auto const now = utcSecond(look_.now)) {
      line("As of " + *now);
    }
    if (!told.name.empty() || told.revision) {
      line("Region " + shown(told.name.toString()) + ", revision " + shown(told.revision));
    }
    std::string times;
    add(times, "hello ", told.helloTime, " s");
    add(times, "max age ", told.maxAge, " s");
    add(times, "forward delay ", told.forwardingDelay, " s");
    add(times, "hold count ", told.holdCount, "");
    add(times, "max hops ", told.maxHop, "");
    if (!times.empty()) {
      line("Times: " + times);
    }
  }

  // The bridge's own identifier, in its first tree.
  std::string own() const {
    bool const isTold = !status_.trees.empty() && status_.trees.front().state.bridge;
    return isTold ? bridgeText(*status_.trees.front().state.bridge) : "";
  }

  static void add(std::string& text, char const* before, std::optional<std::uint8_t> number,
                  char const* after) {
    if (number) {
      text.append(text.empty() ? "" : ", ").append(before);
      text.append(std::to_string(*number)).append(after);
    }
  }

  void addTrees() {
    std::vector<Row> rows{
        {{"Tree", "Priority", "Root", "Root port", "Cost", "Topology changes", "Last"}, heading}};
    for (TreeStatus const& tree : status_.trees) {
      Stp::OCTreeState const& state = tree.state;
      std::string const rootPort = tree.rootPort();
      rows.push_back(
          {{textOf(state.tree), shown(tree.bridgePriority), rootText(tree, state.designatedRoot),
            rootPort.empty() && state.rootPort.value_or(0) != 0
                ? "#" + std::to_string(*state.rootPort)
                : shown(rootPort),
            shown(state.rootCost), shown(state.topologyChanges), lastChange(state)}});
      if (state.regionalRoot) {
        rows.push_back(
            {{textOf(state.tree) + " in the region", "", rootText(tree, state.regionalRoot), "",
              shown(state.regionalRootCost), "", ""}});
      }
    }
    addTable(rows);
  }

  static std::string rootText(TreeStatus const& tree, std::optional<Stp::BridgeId> const& root) {
    return !root                       ? std::string(nothing)
           : root == tree.state.bridge ? "this bridge"
                                       : bridgeText(*root);
  }

  std::string lastChange(Stp::OCTreeState const& state) const {
    auto const time =
        state.lastTopologyChange ? utcSecond(*state.lastTopologyChange) : std::nullopt;
    if (!time) {
      return std::string(nothing);
    }
    bool const isPast = *state.lastTopologyChange <= look_.now;
    return *time + (isPast ? ", " + ago(look_.now - *state.lastTopologyChange) : "");
  }

  void addPorts() {
    std::vector<Row> rows{
        {{"Port", "Trees", "Role", "State", "Edge", "Guard", "Trouble"}, heading}};
    for (PortStatus const& port : status_.ports) {
      std::vector<Part> const parts = partsOf(port);
      std::string name = shown(port.name.stringValue().toString());
      std::string edge = shown(port.isEdge);
      std::string guards = shown(joined(guardsOf(port)));
      if (parts.empty()) {
        rows.push_back({{name, "-", "-", "-", edge, guards, troubleOf(port, false)},
                        port.isGuardedOff ? trouble : unused});
      }
      for (Part const& part : parts) {
        rows.push_back({{name, part.trees.text(), shown(part.role), shown(part.state), edge, guards,
                         troubleOf(port, part.isDisputed)},
                        colourOf(port, part)});
        name = edge = guards = "";
      }
    }
    addTable(rows);
  }

  std::vector<Part> partsOf(PortStatus const& port) const {
    std::vector<Part> parts;
    for (TreeStatus const& tree : status_.trees) {
      auto const told = std::ranges::find_if(
          tree.ports, [&](auto const& treePort) { return treePort.id.port == port.name; });
      if (told == tree.ports.end()) {
        continue;
      }
      auto part = std::ranges::find_if(parts, [&](Part const& one) { return one.isSame(*told); });
      if (part == parts.end()) {
        part = parts.insert(part, {roleOf(*told), stateOf(*told), told->disputed.value_or(false),
                                   TreeNames(status_)});
      }
      part->trees.add(tree.state.tree);
    }
    return parts;
  }

  static std::string troubleOf(PortStatus const& port, bool isDisputed) {
    std::vector<std::string_view> troubles;
    if (port.isGuardedOff) {
      troubles.emplace_back("BPDU guard error");
    }
    if (isDisputed) {
      troubles.emplace_back("disputed");
    }
    return joined(troubles);
  }

  static std::string_view colourOf(PortStatus const& port, Part const& part) {
    return port.isGuardedOff || part.isDisputed ? trouble
           : part.state == "disabled"           ? unused
           : part.state == "forwarding"         ? plain
                                                : blocked;
  }

  void addTable(std::vector<Row> const& rows) {
    std::vector<std::vector<std::string>> cells;
    cells.reserve(rows.size());
    for (Row const& row : rows) {
      cells.push_back(row.cells);
    }
    text_ += '\n';
    std::string const table = textTable(cells);
    std::string_view rest = table;
    for (std::size_t number = 0; !rest.empty(); ++number) {
      std::size_t const end = rest.find('\n');
      bool const isRule = number == 1;
      line(rest.substr(0, end), isRule ? plain : rows[number == 0 ? 0 : number - 1].colour);
      rest.remove_prefix(end + 1);
    }
  }

  void line(std::string_view text, std::string_view colour = plain) {
    if (look_.isColoured && !colour.empty()) {
      text_.append(colour).append(text).append("\033[0m\n");
    } else {
      text_.append(text).append("\n");
    }
  }

  BridgeStatus const& status_;
  ScreenLook const& look_;
  std::string text_;
};

}  // namespace

std::string statusScreen(std::string_view bridge, BridgeStatus const& status,
                         ScreenLook const& look) {
  return Screen(bridge, status, look).take();
}

}  // namespace Agent
