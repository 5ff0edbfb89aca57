// The files of a snapshot that tell of ports in MST instances.
#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "agent/sources/engine/EngineJson.h"
#include "agent/sources/engine/EngineOperation.h"
#include "agent/sources/engine/EngineSnapshot.h"
#include "agent/sources/engine/SnapshotFile.h"

namespace Agent {
namespace {

using Tree = EngineSnapshot::Tree;
using TreePort = EngineSnapshot::TreePort;

TreePort readTreePort(Json const& entry, std::string const& bridge, std::string const& id) {
  memberIs(entry, "bridge", bridge);
  memberIs(entry, "mstid", id);
  TreePort port;
  port.name = stringMember(entry, "port");
  treePortIsTold(port, entry);
  return port;
}

/// Of ports that are shown alike the first counts, as in the bridge's own list.
std::vector<TreePort> readList(Json const& list, std::string const& bridge, std::string const& id) {
  constexpr std::string_view replacement = "\xEF\xBF\xBD";
  std::vector<TreePort> ports;
  std::unordered_set<Lumo::String> names;
  eachEntry(list, [&](Json const& entry, std::string& name) {
    auto const& text = stringMember(entry, "port");
    name = "port " + inQuotes(text);
    TreePort port = readTreePort(entry, bridge, id);
    if (names.insert(port.name).second) {
      ports.push_back(std::move(port));
    } else if (text.find(replacement) == std::string::npos) {
      throw Refusal("listed twice");
    }
  });
  return ports;
}

/// A name with a slash would lead out of the folder.
bool isFileName(std::string_view const port) {
  return port.find('/') == std::string_view::npos;
}

class TreePortFiles {
 public:
  TreePortFiles(SnapshotFiles const& source, std::string bridge, std::uint16_t const id)
      : source_(source), bridge_(std::move(bridge)), id_(std::to_string(id)) {}

  std::optional<TreePort> find(Lumo::String const& port) {
    std::optional<TreePort> found;
    if (isFileName(port.view())) {
      inFileIfThere(source_, "showtreeport-" + port.toString() + "-" + id_ + ".json", nullptr,
                    [&](Json const& json) {
                      memberIs(json, "port", port.toString());
                      found = readTreePort(json, bridge_, id_);
                    });
    }
    return found ? found : findInList(port);
  }

 private:
  std::optional<TreePort> findInList(Lumo::String const& port) {
    if (!list_) {
      list_.emplace();
      inFileIfThere(source_, "showtreeport-" + id_ + ".json", nullptr,
                    [this](Json const& json) { list_ = readList(json, bridge_, id_); });
    }
    auto const found = std::ranges::find(*list_, port, &TreePort::name);
    return found == list_->end() ? std::nullopt : std::optional(*found);
  }

  SnapshotFiles const& source_;
  std::string bridge_;
  std::string id_;
  std::optional<std::vector<TreePort>> list_;  // read when a port has no file of its own
};

}  // namespace

void readTreePorts(SnapshotFiles const& source, std::string const& name, EngineSnapshot& snapshot) {
  auto const bridge = readableText(name);
  for (Tree& tree : snapshot.trees) {
    if (tree.id == 0) {
      continue;
    }
    TreePortFiles files(source, bridge, tree.id);
    for (EngineSnapshot::Port const& port : snapshot.ports) {
      if (auto told = files.find(port.name)) {
        tree.ports.push_back(std::move(*told));
      }
    }
  }
}

}  // namespace Agent
