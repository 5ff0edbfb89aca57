#include "agent/sources/engine/SnapshotDiff.h"

#include <iterator>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_set>
#include <utility>

#include "Lumo/Ptr.h"
#include "Stp/vlans/InstanceName.h"
#include "StpTypes/Collection.h"
#include "agent/text/Values.h"

namespace Agent {

namespace {

Path operator/(Path path, std::string_view step) {
  path.emplace_back(step);
  return path;
}

// Members that a collection is to have, with their attributes, in order.
using Wanted = std::vector<std::pair<std::string, Json>>;

class Differences {
 public:
  // The attributes of an entity that is there to stay.
  template <class Entity>
  void attributes(Path const& path, Entity const& entity, Json const& wanted) {
    auto const compare = [&](auto const& row) {
      if constexpr (requires { row.get; }) {
        auto const found = wanted.find(row.name);
        if (found == wanted.end()) {
          return;
        }
        auto const present = (entity.*row.get)();
        auto value = present;
        readValue(value, row.name, *found, Where(row.name));
        if (!(value == present)) {
          appearing_.push_back({.op = "set", .path = path / row.name, .value = *found});
        }
      }
    };
    std::apply([&](auto const&... row) { (compare(row), ...); }, Entity::attributes);
  }

  // The members of a collection; `present` is null while its owner is still to be created. What is
  // below a member is left to `below`: its path, the member or null, and whether it is to be there.
  template <class Member, class Below>
  void members(Path const& path, Stp::Collection<Lumo::String, Member> const* present,
               Wanted const& wanted, Below const& below) {
    std::unordered_set<std::string_view> names;
    for (auto const& [name, wantedAttributes] : wanted) {
      names.insert(name);
      Lumo::Ptr<Member> member;
      if (present != nullptr) {
        member = Stp::memberFind(*present, Lumo::String(name));
      }
      if (member) {
        attributes(path / name, *member, wantedAttributes);
      } else {
        appearing_.push_back({.op = "create", .path = path / name, .value = wantedAttributes});
      }
      below(path / name, member.get(), true);
    }
    if (present == nullptr) {
      return;
    }
    for (auto const& member : *present) {
      if (!names.contains(member.key.view())) {
        disappearing_.push_back({.op = "delete", .path = path / member.key.view()});
        below(path / member.key.view(), member.value.get(), false);
      }
    }
  }

  // Members with nothing below them.
  template <class Member>
  void members(Path const& path, Stp::Collection<Lumo::String, Member> const* present,
               Wanted const& wanted) {
    members(path, present, wanted, [](Path const&, Member const*, bool) {});
  }

  std::vector<Operation> take() {
    std::move(disappearing_.rbegin(), disappearing_.rend(), std::back_inserter(appearing_));
    return std::move(appearing_);
  }

 private:
  std::vector<Operation> appearing_;
  std::vector<Operation> disappearing_;
};

Json mstConfig(Snapshot const& snapshot) {
  return {{"regionName", snapshot.regionName},
          {"vidToMsti", snapshot.vidToMsti},
          {"revision", snapshot.revision}};
}

Wanted inputPorts(Snapshot const& snapshot) {
  Wanted ports;
  for (Snapshot::Port const& port : snapshot.ports) {
    ports.emplace_back(port.name, Json{{"linkType", port.linkType},
                                       {"edgePortEnable", port.edgePortEnable},
                                       {"edgePortAuto", port.edgePortAuto},
                                       {"edgePortDisable", port.edgePortDisable},
                                       {"bpduguard", port.bpduguard}});
  }
  return ports;
}

Wanted runningPorts(Snapshot const& snapshot) {
  Wanted ports;
  for (Snapshot::Port const& port : snapshot.ports) {
    ports.emplace_back(port.name,
                       Json{{"adminEdgePort", port.adminEdgePort}, {"bpduguard", port.bpduguard}});
  }
  return ports;
}

Wanted portStatuses(Snapshot const& snapshot) {
  Wanted ports;
  for (Snapshot::Port const& port : snapshot.ports) {
    ports.emplace_back(port.name, Json{{"operEdgePort", port.operEdgePort},
                                       {"operPointToPointMac", port.operPointToPointMac}});
  }
  return ports;
}

Wanted mstis(Snapshot const& snapshot) {
  Wanted instances;
  for (Snapshot::Msti const& msti : snapshot.mstis) {
    instances.emplace_back(Stp::instanceIdToMstiName(msti.id).toString(),
                           Json{{"bridgePriority", msti.bridgePriority}});
  }
  return instances;
}

// The collection of an entity that may still be to come.
template <class Entity, class Members>
Members const* below(Entity const* entity, Members const& (Entity::*members)() const) {
  return entity == nullptr ? nullptr : &(entity->*members)();
}

}  // namespace

std::vector<Operation> differences(Snapshot const& snapshot, Sources const& sources) {
  Wanted const none;
  Wanted const configured = mstis(snapshot);
  Wanted const instance{{snapshot.instanceName, Json::object()}};
  Differences changes;

  Path const input{"input"};
  changes.members(input / "portConfig", &sources.input->portConfig(), inputPorts(snapshot));
  changes.members(input / "stpiConfig", &sources.input->stpiConfig(), instance,
                  [&](Path const& path, Stp::Input::StpiConfig const* present, bool wanted) {
                    changes.members(path / "mstiConfig",
                                    below(present, &Stp::Input::StpiConfig::mstiConfig),
                                    wanted ? configured : none);
                  });
  changes.attributes(input, *sources.input,
                     {{"mode", snapshot.mode}, {"mstConfig", mstConfig(snapshot)}});

  Path const config{"config"};
  changes.members(config / "portConfig", &sources.config->portConfig(), runningPorts(snapshot));
  changes.attributes(config, *sources.config, {{"mstConfig", mstConfig(snapshot)}});

  Path const status{"status"};
  changes.members(
      status / "stpiStatus", &sources.status->stpiStatus(), instance,
      [&](Path const& path, Stp::StpiStatus const* present, bool wanted) {
        bool const runs = wanted && snapshot.running();
        changes.members(path / "stpiPortStatus", below(present, &Stp::StpiStatus::stpiPortStatus),
                        runs ? portStatuses(snapshot) : none);
        changes.members(path / "mstiStatus", below(present, &Stp::StpiStatus::mstiStatus),
                        runs ? configured : none);
      });
  changes.attributes(status, *sources.status, {{"activeProtocol", snapshot.activeProtocol}});
  return changes.take();
}

}  // namespace Agent
