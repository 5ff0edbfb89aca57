#include "agent/views/document/OpenConfigLeaves.h"

#include <optional>
#include <set>
#include <utility>

namespace Agent {

namespace {

void leafAdd(Leaves& leaves, std::string_view name, std::optional<OrderedJson> value) {
  if (value) {
    leaves.push_back({name, std::move(*value)});
  }
}

// The entries of a leaf-list are distinct; of equal ones the first stays.
void leafListAdd(Leaves& leaves, std::string_view name, OrderedJson::array_t entries) {
  std::set<OrderedJson> seen;
  std::erase_if(entries, [&](OrderedJson const& entry) { return !seen.insert(entry).second; });
  if (!entries.empty()) {
    leaves.push_back({name, OrderedJson(std::move(entries))});
  }
}

// An identity stands in another module than the leaf that has it as its value.
std::string identity(std::string_view name) {
  return std::string("openconfig-spanning-tree-types:").append(name);
}

std::optional<OrderedJson> protocol(Stp::OcStpEnabledProtocol value) {
  switch (value) {
    case Stp::OcStpEnabledProtocol::rstp: return identity("RSTP");
    case Stp::OcStpEnabledProtocol::mstp: return identity("MSTP");
    case Stp::OcStpEnabledProtocol::rapidPvst: return identity("RAPID_PVST");
  }
  return std::nullopt;
}

std::optional<OrderedJson> edgePort(Stp::OcEdgePort value) {
  switch (value) {
    case Stp::OcEdgePort::edgeEnable: return identity("EDGE_ENABLE");
    case Stp::OcEdgePort::edgeDisable: return identity("EDGE_DISABLE");
    case Stp::OcEdgePort::edgeAuto: return identity("EDGE_AUTO");
    case Stp::OcEdgePort::notSet: break;
  }
  return std::nullopt;
}

std::optional<OrderedJson> linkType(Stp::OcLinkType value) {
  switch (value) {
    case Stp::OcLinkType::p2p: return "P2P";
    case Stp::OcLinkType::shared: return "SHARED";
    case Stp::OcLinkType::notSet: break;
  }
  return std::nullopt;
}

std::optional<OrderedJson> bpduGuard(Stp::OcBpduGuard value) {
  switch (value) {
    case Stp::OcBpduGuard::disabled: return false;
    case Stp::OcBpduGuard::enabled: return true;
    case Stp::OcBpduGuard::notSet: break;
  }
  return std::nullopt;
}

OrderedJson::array_t vlans(Stp::SharedList<Stp::VlanIdOrRange> const& list) {
  OrderedJson::array_t entries;
  for (Stp::VlanIdOrRange const& entry : list) {
    if (entry.tag() == Stp::VlanIdOrRange::Tag::vlanId) {
      entries.emplace_back(entry.vlanId().value());
    } else {
      Stp::VlanRange const range = entry.vlanRange();
      entries.emplace_back(std::to_string(range.first.value()) + ".." +
                           std::to_string(range.last.value()));
    }
  }
  return entries;
}

template <class Record>
Leaves interfaceLeaves(Record const& record) {
  Leaves leaves;
  leafAdd(leaves, "edge-port", edgePort(record.edgePort));
  leafAdd(leaves, "link-type", linkType(record.linkType));
  leafAdd(leaves, "bpdu-guard", bpduGuard(record.bpduGuard));
  return leaves;
}

}  // namespace

Leaves leavesOf(Stp::OCGlobalContainer const& record) {
  OrderedJson::array_t protocols;
  for (Stp::OcStpEnabledProtocol const value : record.enabledProtocol) {
    if (auto known = protocol(value)) {
      protocols.push_back(std::move(*known));
    }
  }
  Leaves leaves;
  leafListAdd(leaves, "enabled-protocol", std::move(protocols));
  leafAdd(leaves, "bpdu-guard", record.bpduGuard);
  leafListAdd(leaves, "stp-openconfig-disabled-vlan:disabled-vlan", vlans(record.disabledVlan));
  return leaves;
}

Leaves leavesOf(Stp::InterfaceConfig const& record) {
  return interfaceLeaves(record);
}
Leaves leavesOf(Stp::InterfaceState const& record) {
  return interfaceLeaves(record);
}

Leaves leavesOf(Stp::OCMstiRecord const& record) {
  Leaves leaves;
  leafListAdd(leaves, "vlan", vlans(record.vlan));
  leafAdd(leaves, "bridge-priority", record.bridgePriority.value());
  return leaves;
}

bool inModel(std::string_view interfaceName) {
  auto const byte = [&](std::size_t at) {
    return at < interfaceName.size() ? static_cast<unsigned char>(interfaceName[at]) : 0U;
  };
  for (std::size_t at = 0; at < interfaceName.size(); ++at) {
    unsigned const first = byte(at);
    unsigned const second = byte(at + 1);
    unsigned const third = byte(at + 2);
    bool const control = first < 0x20 && first != '\t' && first != '\n' && first != '\r';
    // In UTF-8: U+FDD0 to U+FDEF, U+FFFE and U+FFFF, and the last two of every further plane.
    bool const noncharacter =
        (first == 0xEF && second == 0xB7 && third >= 0x90 && third <= 0xAF) ||
        (first == 0xEF && second == 0xBF && third >= 0xBE) ||
        (first >= 0xF0 && (second & 0xFU) == 0xF && third == 0xBF && byte(at + 3) >= 0xBE);
    if (control || noncharacter) {
      return false;
    }
  }
  return true;
}

}  // namespace Agent
