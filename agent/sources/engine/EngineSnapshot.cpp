#include "agent/sources/engine/EngineSnapshot.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <memory>
#include <string_view>
#include <system_error>
#include <unordered_set>
#include <utility>

#include "Stp/vlans/InstanceName.h"
#include "agent/sources/engine/EngineJson.h"
#include "agent/sources/engine/EngineOperation.h"
#include "agent/sources/engine/SnapshotFile.h"
#include "agent/text/Values.h"

namespace Agent {
namespace {

/// The ids of VLANs, FIDs and instances are 0 to 4095.
constexpr std::uint16_t maxId = 4095;
/// Stands for "nowhere" in a table of FIDs or instances.
constexpr std::uint16_t nowhere = 0xFFFF;
using IdTable = std::array<std::uint16_t, maxId + 1>;

using Remarks = std::vector<SnapshotRemark>;

/// The decimal number up to `limit` of the text that `what` names.
template <typename Number>
Number numberOf(std::string_view const text, Number const limit, std::string const& what) {
  auto const value = number(text, limit);
  if (!value) {
    throw Refusal(what + " " + inQuotes(text) + ", no number from 0 to " + std::to_string(limit));
  }
  return *value;
}

[[noreturn]] void refuseListed(std::string const& idKind, std::uint16_t const id,
                               std::string const& ownerKind, std::uint16_t const owner) {
  throw Refusal(idKind + std::to_string(id) + " is listed already, in " + ownerKind +
                std::to_string(owner));
}

/// Reads the list of ids and ranges of ids that belong to `owner`. An id may stand in one list
/// only, and once, which also bounds the time that ranges can take.
void idsAre(IdTable& owners, Json const& object, char const* const list, std::uint16_t const owner,
            std::string const& idKind, std::string const& ownerKind) {
  for (auto const& entry : listMember(object, list, true)) {
    std::string_view const range = entry.get_ref<std::string const&>();
    auto const dash = range.find('-');
    auto const first = number(range.substr(0, dash), maxId);
    auto const last =
        dash == std::string_view::npos ? first : number(range.substr(dash + 1), maxId);
    if (!first || !last || *first > *last) {
      throw Refusal("member " + inQuotes(list) + " holds " + inQuotes(range) +
                    ", no id and no range of ids from 0 to " + std::to_string(maxId));
    }
    for (std::uint16_t id = *first; id <= *last; ++id) {
      if (owners.at(id) != nowhere) {
        refuseListed(idKind, id, ownerKind, owners.at(id));
      }
      owners.at(id) = owner;
    }
  }
}

void readBridge(EngineSnapshot& snapshot, Json const& list, std::string const& bridge) {
  bool found = false;
  eachEntry(list, [&](Json const& entry, std::string& name) {
    if (stringMember(entry, "bridge") != bridge) {
      return;
    }
    name = "bridge " + inQuotes(bridge);
    if (found) {
      throw Refusal("listed twice");
    }
    found = true;
    constexpr std::array modes{Stp::Mode::stp, Stp::Mode::rstp, Stp::Mode::mstp};
    snapshot.mode =
        modes.at(choiceMember(entry, "force-protocol-version", {"stp", "rstp", "mstp"}));
    // Engines before 0.2.0 don't print it.
    bool const stpEnabled = !entry.contains("stp-enabled") || isYes(entry, "stp-enabled");
    bool const enabled = isYes(entry, "enabled");
    snapshot.activeProtocol = stpEnabled && enabled ? snapshot.mode : EngineSnapshot::notRunning;
    snapshot.instanceName = snapshot.mode == Stp::Mode::mstp ? Stp::mstpInstanceName() : "Rst";
    snapshot.bridge.running = snapshot.running();
    bridgeIsTold(snapshot, snapshot.trees.emplace_back(), entry);
  });
  if (!found) {
    throw Refusal("bridge " + inQuotes(bridge) + " is missing");
  }
}

void readPorts(EngineSnapshot& snapshot, Json const& list, std::string const& bridge,
               Remarks* const remarks) {
  std::unordered_set<Lumo::String> names;
  eachEntry(list, [&](Json const& entry, std::string& name) {
    EngineSnapshot::Port port;
    auto const& text = stringMember(entry, "port");
    if (text.empty()) {
      throw Refusal("member \"port\" is empty");
    }
    name = "port " + inQuotes(text);
    port.name = text;
    if (!names.insert(port.name).second) {
      constexpr std::string_view replacement = "\xEF\xBF\xBD";
      if (text.find(replacement) == std::string::npos) {
        throw Refusal("listed twice");
      }
      if (remarks != nullptr) {
        remarks->push_back({"showportdetail.json", name + " is left out: another is shown so"});
      }
      return;
    }
    memberIs(entry, "bridge", bridge);
    using LinkType = Stp::Input::PortConfig::LinkType;
    constexpr std::array links{LinkType::automatic, LinkType::pointToPoint, LinkType::shared};
    port.linkType = links.at(choiceMember(entry, "admin-point-to-point", {"auto", "yes", "no"}));
    port.operPointToPointMac = isYes(entry, "point-to-point");
    port.adminEdgePort = isYes(entry, "admin-edge-port");
    bool const autoEdge = isYes(entry, "auto-edge-port");
    port.edgePortEnable = port.adminEdgePort;
    port.edgePortAuto = !port.adminEdgePort && autoEdge;
    port.edgePortDisable = !port.adminEdgePort && !autoEdge;
    port.operEdgePort = isYes(entry, "oper-edge-port");
    port.bpduguard = isYes(entry, "bpdu-guard-port") ? EngineSnapshot::Guard::bpduguardEnabled
                                                     : EngineSnapshot::Guard::bpduguardDefault;
    EngineSnapshot::TreePort inCist;
    inCist.name = port.name;
    portIsTold(port, inCist, entry);
    snapshot.trees.front().ports.push_back(std::move(inCist));
    snapshot.ports.push_back(std::move(port));
  });
}

void readMstis(EngineSnapshot& snapshot, Json const& object, std::string const& bridge) {
  memberIs(object, "bridge", bridge);
  std::bitset<maxId + 1> seen;
  for (auto const& entry : listMember(object, "mstids", true)) {
    auto const id =
        numberOf(entry.get_ref<std::string const&>(), maxId, R"(member "mstids" holds)");
    if (seen.test(id)) {
      throw Refusal("instance " + std::to_string(id) + " is listed twice");
    }
    seen.set(id);
    snapshot.mstis.push_back({.id = id});
  }
}

void readTree(EngineSnapshot& snapshot, EngineSnapshot::Msti& msti, Json const& object,
              std::string const& bridge) {
  memberIs(object, "bridge", bridge);
  memberIs(object, "mstid", std::to_string(msti.id));
  EngineSnapshot::Tree tree;
  tree.id = msti.id;
  treeIsTold(tree, object);
  msti.bridgePriority = tree.bridgeId.value().priority();
  if (tree.id != 0) {  // of the CIST, another answer says more
    snapshot.trees.push_back(std::move(tree));
  }
}

/// The instance of every FID.
IdTable instancesOfFids(EngineSnapshot const& snapshot, Json const& object,
                        std::string const& bridge) {
  memberIs(object, "bridge", bridge);
  IdTable instances{};
  instances.fill(nowhere);
  eachEntry(listMember(object, "fid2mstid", false), [&](Json const& entry, std::string& name) {
    auto const id = numberOf(stringMember(entry, "mstid"), maxId, R"(member "mstid" is)");
    name = "instance " + std::to_string(id);
    if (snapshot.mode == Stp::Mode::mstp &&
        std::none_of(snapshot.mstis.begin(), snapshot.mstis.end(),
                     [id](auto const& msti) { return msti.id == id; })) {
      throw Refusal("not in showmstilist.json");
    }
    idsAre(instances, entry, "fid", id, "FID ", "instance ");
  });
  return instances;
}

void readVlans(EngineSnapshot& snapshot, Json const& object, IdTable const& instances,
               std::string const& bridge) {
  memberIs(object, "bridge", bridge);
  IdTable fids{};
  fids.fill(nowhere);
  eachEntry(listMember(object, "vid2fid", false), [&](Json const& entry, std::string& name) {
    auto const fid = numberOf(stringMember(entry, "fid"), maxId, R"(member "fid" is)");
    name = "FID " + std::to_string(fid);
    idsAre(fids, entry, "vid", fid, "VLAN ", "FID ");
  });
  for (std::uint16_t vlan = 0; vlan <= maxId; ++vlan) {
    auto const fid = fids.at(vlan);
    auto const instance = fid == nowhere ? nowhere : instances.at(fid);
    if (instance == nowhere || instance == 0) {
      continue;
    }
    if (vlan == 0 || vlan == maxId) {
      throw Refusal("VLAN " + std::to_string(vlan) + " is mapped to instance " +
                    std::to_string(instance) + ", only VLANs 1 to 4094 can be");
    }
    vlanMapPush(snapshot.mstConfig.vidToMsti, vlan, instance);
  }
}

void bridgeFrom(SnapshotFiles const& source, EngineSnapshot& snapshot, std::string const& bridge) {
  inFile(source, "showbridge.json", nullptr,
         [&](Json const& json) { readBridge(snapshot, json, bridge); });
}

void mstisFrom(SnapshotFiles const& source, EngineSnapshot& snapshot, std::string const& bridge) {
  inFile(source, "showmstilist.json", nullptr,
         [&](Json const& json) { readMstis(snapshot, json, bridge); });
}

/// The content of a file, or its first `maxSnapshotFile` + 1 bytes; nothing if there is none.
std::optional<std::string> contentOf(std::filesystem::path const& dir, std::string const& file) {
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> const stream(
      std::fopen((dir / file).c_str(), "rb"), &std::fclose);
  if (!stream && (errno == ENOENT || errno == ENAMETOOLONG)) {
    return std::nullopt;
  }
  std::string content;
  std::array<char, 65536> block{};
  while (stream && content.size() <= maxSnapshotFile) {
    auto const size = std::fread(block.data(), 1, block.size(), stream.get());
    content.append(block.data(), size);
    if (size < block.size()) {
      break;
    }
  }
  if (!stream || std::ferror(stream.get()) != 0) {
    throw SnapshotError({}, file, std::generic_category().message(errno));
  }
  return content;
}

}  // namespace

EngineSnapshot parseSnapshotButTreePorts(SnapshotFiles const& source, std::string const& name,
                                         Remarks* const remarks) {
  auto const bridge = readableText(name);
  EngineSnapshot snapshot;
  bridgeFrom(source, snapshot, bridge);
  inFile(source, "showportdetail.json", remarks,
         [&](Json const& json) { readPorts(snapshot, json, bridge, remarks); });
  if (snapshot.mode == Stp::Mode::mstp) {
    mstisFrom(source, snapshot, bridge);
    for (auto& msti : snapshot.mstis) {
      inFile(source, "showtree-" + std::to_string(msti.id) + ".json", nullptr,
             [&](Json const& json) { readTree(snapshot, msti, json, bridge); });
    }
  }
  inFile(source, "showmstconfid.json", remarks, [&](Json const& json) {
    memberIs(json, "bridge", bridge);
    snapshot.mstConfig.regionName = stringMember(json, "configuration-name");
    snapshot.mstConfig.revision =
        numberOf(stringMember(json, "revision-level"), std::numeric_limits<std::uint64_t>::max(),
                 R"(member "revision-level" is)");
    snapshot.bridge.regionName = snapshot.mstConfig.regionName;
    if (std::in_range<std::uint32_t>(snapshot.mstConfig.revision)) {
      snapshot.bridge.revision = static_cast<std::uint32_t>(snapshot.mstConfig.revision);
    }
  });
  IdTable instances{};
  inFile(source, "showfid2mstid.json", nullptr,
         [&](Json const& json) { instances = instancesOfFids(snapshot, json, bridge); });
  inFile(source, "showvid2fid.json", nullptr,
         [&](Json const& json) { readVlans(snapshot, json, instances, bridge); });
  return snapshot;
}

EngineSnapshot parseSnapshot(SnapshotFiles const& source, std::string const& name,
                             Remarks* const remarks) {
  EngineSnapshot snapshot = parseSnapshotButTreePorts(source, name, remarks);
  readTreePorts(source, name, snapshot);
  return snapshot;
}

std::vector<std::uint16_t> instancesToRead(SnapshotFiles const& source, std::string const& name) {
  auto const bridge = readableText(name);
  EngineSnapshot snapshot;
  bridgeFrom(source, snapshot, bridge);
  if (snapshot.mode == Stp::Mode::mstp) {
    mstisFrom(source, snapshot, bridge);
  }
  std::vector<std::uint16_t> ids;
  for (EngineSnapshot::Msti const& msti : snapshot.mstis) {
    ids.push_back(msti.id);
  }
  return ids;
}

EngineSnapshot readSnapshot(std::filesystem::path const& dir, std::string const& bridge,
                            Remarks* const remarks) {
  try {
    return parseSnapshot([&dir](std::string const& file) { return contentOf(dir, file); }, bridge,
                         remarks);
  } catch (SnapshotError const& error) {
    throw SnapshotError(dir, error.file(), error.reason());
  }
}

}  // namespace Agent
