#include "agent/sources/engine/EngineOperation.h"

#include <array>
#include <concepts>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

#include "agent/sources/engine/EngineJson.h"
#include "agent/sources/engine/SnapshotFile.h"
#include "agent/text/Identifiers.h"

namespace Agent {
namespace {

using Stp::BridgeId;
using Stp::PortId;
using Stp::Operational::BridgeTold;
using Stp::Operational::PortRole;
using Stp::Operational::PortState;
using Stp::Operational::PortTold;
using Stp::Operational::TreePortTold;
using Stp::Operational::TreeTold;
using Tree = EngineSnapshot::Tree;

[[noreturn]] void refuse(char const* const member, std::string_view const text,
                         std::string const& why) {
  throw Refusal("member " + inQuotes(member) + " is " + inQuotes(text) + ", " + why);
}

/// A decimal number of any length; absent if it is too great.
template <std::unsigned_integral Number>
std::optional<Number> numberIn(std::string_view const text, char const* const member,
                               std::string_view const shown) {
  if (text.empty() || text.find_first_not_of("0123456789") != std::string_view::npos) {
    refuse(member, shown, "no number");
  }
  return number(text, std::numeric_limits<Number>::max());
}

// How a member is read, by what it is read as.
template <std::unsigned_integral Number>
void read(std::optional<Number>& value, Json const& entry, char const* const member) {
  auto const& text = stringMember(entry, member);
  value = numberIn<Number>(text, member, text);
}

void read(std::optional<bool>& value, Json const& entry, char const* const member) {
  value = isYes(entry, member);
}

void read(std::optional<BridgeId>& value, Json const& entry, char const* const member) {
  auto const& text = stringMember(entry, member);
  value = bridgeIdOf(text);
  if (!value) {
    refuse(member, text, "no identifier of a bridge");
  }
}

void read(std::optional<PortId>& value, Json const& entry, char const* const member) {
  auto const& text = stringMember(entry, member);
  value = portIdOf(text);
  if (!value) {
    refuse(member, text, "no identifier of a port");
  }
}

void read(std::optional<PortRole>& value, Json const& entry, char const* const member) {
  constexpr std::array roles{PortRole::root,   PortRole::designated, PortRole::alternate,
                             PortRole::backup, PortRole::master,     PortRole::disabled};
  value = roles.at(choiceMember(
      entry, member, {"Root", "Designated", "Alternate", "Backup", "Master", "Disabled"}));
}

void read(std::optional<PortState>& value, Json const& entry, char const* const member) {
  constexpr std::array states{PortState::discarding, PortState::listening, PortState::learning,
                              PortState::forwarding};
  value =
      states.at(choiceMember(entry, member, {"discarding", "listening", "learning", "forwarding"}));
}

/// A port with its number, `NAME (#N)`; on the root bridge `showbridge` prints nothing and
/// `showtree` `none`.
void readRootPort(std::optional<std::uint16_t>& value, Json const& entry,
                  char const* const member) {
  std::string_view const text = stringMember(entry, member);
  if (text.empty() || text == "none") {
    value = 0;
    return;
  }
  constexpr std::string_view begin = " (#";
  auto const at = text.rfind(begin);
  if (at == std::string_view::npos || !text.ends_with(')')) {
    refuse(member, text, "no port with its number");
  }
  auto const digits = text.substr(at + begin.size());
  value = numberIn<std::uint16_t>(digits.substr(0, digits.size() - 1), member, text);
}

/// A member, what it tells, and how it is read.
template <class Record, class Value>
struct MemberRow {
  char const* member;
  std::optional<Value> Record::*value;
  void (*read)(std::optional<Value>&, Json const&, char const*);
};

template <class Record, class Value>
constexpr MemberRow<Record, Value> row(char const* member, std::optional<Value> Record::*value) {
  return {member, value, &read};
}

constexpr std::tuple bridgeRows{
    row("hello-time", &BridgeTold::helloTime),
    row("bridge-max-age", &BridgeTold::bridgeMaxAge),
    row("bridge-forward-delay", &BridgeTold::bridgeForwardDelay),
    row("max-age", &BridgeTold::maxAge),
    row("forward-delay", &BridgeTold::forwardDelay),
    row("tx-hold-count", &BridgeTold::txHoldCount),
    row("max-hops", &BridgeTold::maxHops),
};
constexpr std::tuple treeRows{
    row("bridge-id", &TreeTold::bridgeId),
    row("regional-root", &TreeTold::regionalRoot),
    row("internal-path-cost", &TreeTold::internalRootCost),
    MemberRow<TreeTold, std::uint16_t>{"root-port", &TreeTold::rootPort, &readRootPort},
    row("topology-change-count", &TreeTold::topologyChanges),
    row("time-since-topology-change", &Tree::sinceTopologyChange),
};
constexpr std::tuple cistRows{
    row("designated-root", &TreeTold::designatedRoot),
    row("path-cost", &TreeTold::externalRootCost),
};
constexpr std::tuple portRows{
    row("restricted-role", &PortTold::restrictedRole),
    row("bpdu-filter-port", &PortTold::bpduFilter),
    row("bpdu-guard-error", &PortTold::bpduGuardError),
};
constexpr std::tuple treePortRows{
    row("port-id", &TreePortTold::portId),
    row("internal-port-cost", &TreePortTold::internalCost),
    row("role", &TreePortTold::role),
    row("state", &TreePortTold::state),
    row("dsgn-regional-root", &TreePortTold::designatedRegionalRoot),
    row("dsgn-internal-cost", &TreePortTold::designatedInternalCost),
    row("designated-bridge", &TreePortTold::designatedBridge),
    row("designated-port", &TreePortTold::designatedPort),
    row("disputed", &TreePortTold::disputed),
};
constexpr std::tuple cistPortRows{
    row("external-port-cost", &TreePortTold::externalCost),
    row("designated-root", &TreePortTold::designatedRoot),
    row("dsgn-external-cost", &TreePortTold::designatedExternalCost),
    row("num-transition-fwd", &TreePortTold::forwardTransitions),
    row("num-tx-bpdu", &TreePortTold::bpduSent),
    row("num-rx-bpdu", &TreePortTold::bpduReceived),
};

template <class Record, class... Rows>
void isTold(Record& record, Json const& entry, std::tuple<Rows...> const& rows) {
  auto const one = [&](auto const& row) {
    if (entry.contains(row.member)) {
      row.read(record.*row.value, entry, row.member);
    }
  };
  std::apply([&](auto const&... row) { (one(row), ...); }, rows);
}

}  // namespace

void bridgeIsTold(EngineSnapshot& snapshot, Tree& cist, Json const& entry) {
  isTold(snapshot.bridge, entry, bridgeRows);
  isTold(cist, entry, treeRows);
  isTold(cist, entry, cistRows);
}

void treeIsTold(Tree& tree, Json const& object) {
  (void)member(object, "bridge-id");
  isTold(tree, object, treeRows);
}

void portIsTold(PortTold& port, TreePortTold& inCist, Json const& entry) {
  isTold(port, entry, portRows);
  isTold(inCist, entry, treePortRows);
  isTold(inCist, entry, cistPortRows);
}

void treePortIsTold(TreePortTold& port, Json const& entry) {
  isTold(port, entry, treePortRows);
}

}  // namespace Agent
