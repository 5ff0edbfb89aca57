#include "Operations.h"

#include <functional>

#include "agent/text/Json.h"

namespace Harness {

namespace {

using Agent::Json;

std::string port(Dice& dice) {
  static std::vector<std::string> const names{
      "Ethernet1", "Ethernet2", "Ethernet3", "Ethernet10", "a]/b c\\\xC3\xA9", "*", "...", "x"};
  return dice.of(names);
}
std::string instance(Dice& dice) {
  static std::vector<std::string> const names{"Cist",  "MST1",    "MST5",
                                              "MST20", "MST4094", "MST4095"};
  return dice.of(names);
}
std::uint16_t instanceId(Dice& dice) {
  static std::vector<std::uint16_t> const ids{0, 1, 5, 20, 4094, 4095};
  return dice.of(ids);
}
std::uint64_t vlan(Dice& dice) {
  return dice.oneIn(10) ? 4'094 : 1 + dice.below(12);
}
std::uint64_t priority(Dice& dice) {
  return 4'096 * dice.below(4);
}

Json vlanList(Dice& dice) {
  Json list = Json::array();
  for (std::uint64_t count = dice.below(4); count > 0; --count) {
    std::uint64_t const first = vlan(dice);
    list.push_back(dice.oneIn(2) ? Json(first) : Json::array({first, vlan(dice)}));
  }
  return list;
}

Json line(char const* op, Json const& path) {
  return {{"op", op}, {"path", path}};
}
Json set(Json const& path, Json const& value) {
  return {{"op", "set"}, {"path", path}, {"value", value}};
}
// Sometimes it comes, sometimes it goes.
Json comeOrGo(Dice& dice, Json const& path, Json const& value) {
  return dice.oneIn(3) ? line("delete", path)
                       : Json{{"op", "create"}, {"path", path}, {"value", value}};
}

Json targetRecord(Dice& dice) {
  Json record = Json::object();
  for (char const* const member : {"linkType", "edgePort", "bpduGuard"}) {
    if (dice.oneIn(2)) {
      record[member] = dice.oneIn(5) ? 255 : dice.below(3);
    }
  }
  return record;
}
Json instanceRecord(Dice& dice) {
  return {{"bridgePriority", priority(dice)}, {"vlan", vlanList(dice)}};
}

// A member that is there, or null, or not said; of a few values, so that it often stays as it is.
void sometimes(Dice& dice, Json& record, char const* name, std::vector<Json> const& values) {
  if (!dice.oneIn(3)) {
    record[name] = dice.oneIn(4) ? Json() : dice.of(values);
  }
}
std::vector<Json> const& bridgeIds() {
  static std::vector<Json> const ids{"0.000.02:00:00:00:00:01", "8.005.3E:7A:D2:FA:71:E9",
                                     "8.005.3E:7A:D2:FA:71:EA"};
  return ids;
}
std::vector<Json> const& portIds() {
  static std::vector<Json> const ids{"0.001", "8.001", "8.00A", "F.FFF"};
  return ids;
}
Json treeRecord(Dice& dice) {
  Json record = Json::object();
  sometimes(dice, record, "bridge", bridgeIds());
  sometimes(dice, record, "rootPort", {0, 1});
  sometimes(dice, record, "topologyChanges", {0, 1, 18'446'744'073'709'551'615U});
  sometimes(dice, record, "regionalRoot", bridgeIds());
  return record;
}
Json treePortRecord(Dice& dice) {
  Json record = Json::object();
  sometimes(dice, record, "port", portIds());
  sometimes(dice, record, "cost", {0, 20'000});
  sometimes(dice, record, "role", {0, 1, 3});
  sometimes(dice, record, "designatedBridge", bridgeIds());
  sometimes(dice, record, "forwardTransitions", {0, 1});
  sometimes(dice, record, "disputed", {true, false});
  sometimes(dice, record, "master", {true, false});
  return record;
}
std::string tree(Dice& dice) {
  static std::vector<std::string> const names{"Rst",   "Cist",    "MST1",   "MST5",
                                              "MST20", "MST4094", "MST4095"};
  return dice.of(names);
}
std::string treePort(Dice& dice) {
  return tree(dice) + "/" + port(dice);
}

using Make = std::function<Json(Dice&)>;

std::vector<Make> const& sources() {
  static std::vector<Make> const all{
      [](Dice& d) {
        return set({"input", "mode"}, d.of<int>({0, 2, 3, 101, 7}));
      },
      [](Dice& d) {
        return set({"input", "portfastBpduguard"}, d.oneIn(2));
      },
      [](Dice& d) {
        return set({"input", "disabledVlan", vlan(d)}, d.oneIn(2));
      },
      [](Dice& d) {
        return line("delete", {"input", "disabledVlan", vlan(d)});
      },
      [](Dice& d) {
        return comeOrGo(d, {"input", "portConfig", port(d)},
                        {{"linkType", d.below(3)}, {"bpduguard", d.below(3)}});
      },
      [](Dice& d) {
        return set({"input", "portConfig", port(d),
                    d.of<std::string>({"edgePortEnable", "edgePortAuto", "edgePortDisable"})},
                   d.oneIn(2));
      },
      [](Dice& d) {
        return set({"input", "portConfig", port(d), d.of<std::string>({"linkType", "bpduguard"})},
                   d.below(3));
      },
      [](Dice& d) {
        return comeOrGo(d, {"input", "stpiConfig", "Mst"}, Json::object());
      },
      [](Dice& d) {
        return comeOrGo(d, {"input", "stpiConfig", "Mst", "mstiConfig", instance(d)},
                        {{"bridgePriority", priority(d)}});
      },
      [](Dice& d) {
        Json map = Json::array();
        for (std::uint64_t id = 1; id < 8; ++id) {
          if (d.oneIn(2)) {
            map.push_back({id, d.of<int>({1, 5, 20})});
          }
        }
        return set({d.of<std::string>({"input", "config"}), "mstConfig"},
                   {{"regionName", "r"}, {"vidToMsti", map}});
      },
      [](Dice& d) {
        return set({"config", "portfastBpduguard"}, d.oneIn(2));
      },
      [](Dice& d) {
        return set({"config", "disabledVlan", vlan(d)}, d.oneIn(2));
      },
      [](Dice& d) {
        return comeOrGo(d, {"config", "portConfig", port(d)},
                        {{"adminEdgePort", d.oneIn(2)}, {"bpduguard", d.below(3)}});
      },
      [](Dice& d) {
        return set({"status", "activeProtocol"}, d.of<int>({0, 2, 3, 101}));
      },
      [](Dice& d) {
        return comeOrGo(d, {"status", "stpiStatus", "Mst"}, Json::object());
      },
      [](Dice& d) {
        return comeOrGo(d, {"status", "stpiStatus", "Mst", "stpiPortStatus", port(d)},
                        {{"operEdgePort", d.oneIn(2)}, {"operPointToPointMac", d.oneIn(2)}});
      },
      [](Dice& d) {
        return set({"status", "stpiStatus", "Mst", "stpiPortStatus", port(d),
                    d.of<std::string>({"operEdgePort", "operPointToPointMac"})},
                   d.oneIn(2));
      },
      [](Dice& d) {
        return comeOrGo(d, {"status", "stpiStatus", "Mst", "mstiStatus", instance(d)},
                        {{"bridgePriority", priority(d)}});
      },
      [](Dice& d) {
        return comeOrGo(d, {"vlanConfigDir", "vlanConfig", vlan(d)}, Json::object());
      },
  };
  return all;
}

std::vector<Make> const& targets() {
  static std::vector<Make> const all{
      [](Dice& d) {
        return set({d.of<std::string>({"ocGlobalConfig"}), "config"},
                   {{"disabledVlan", vlanList(d)}, {"bpduGuard", d.oneIn(2)}});
      },
      [](Dice& d) {
        return comeOrGo(d, {"ocInterfaceConfigDir", "interface", port(d)}, targetRecord(d));
      },
      [](Dice& d) {
        return set({"ocInterfaceConfigDir", "interface", port(d)}, targetRecord(d));
      },
      [](Dice& d) {
        return set({"ocInterfaceStateDir", "state", port(d)}, targetRecord(d));
      },
      [](Dice& d) {
        return line("delete", {"ocInterfaceStateDir", "state", port(d)});
      },
      [](Dice& d) {
        return comeOrGo(d, {"ocMstiConfigDir", "mstInstance", instanceId(d)}, instanceRecord(d));
      },
      [](Dice& d) {
        return set({"ocMstiStateDir", "state", instanceId(d)}, instanceRecord(d));
      },
      [](Dice& d) {
        return line("delete", {"ocMstiStateDir", "state", instanceId(d)});
      },
      [](Dice& d) {
        return line("clear", {d.of<std::string>({"ocInterfaceStateDir"}), "state"});
      },
      [](Dice& d) {
        Json record = Json::object();
        sometimes(d, record, "helloTime", {0, 1, 2});
        sometimes(d, record, "maxHop", {0, 20});
        sometimes(d, record, "name", {"r", std::string(33, 'r')});
        return set(
            {d.of<std::string>({"ocRstpConfig", "ocRstpState", "ocMstpConfig", "ocMstpState"}),
             "record"},
            record);
      },
      [](Dice& d) {
        Json record = Json::object();
        sometimes(d, record, "bridgePriority", {0, 4'096});
        return set({"ocTreeConfigDir", "record", tree(d)}, record);
      },
      [](Dice& d) {
        return set({"ocTreeStateDir", "record", tree(d)}, treeRecord(d));
      },
      [](Dice& d) {
        return set({"ocTreePortStateDir", "record", treePort(d)}, treePortRecord(d));
      },
      [](Dice& d) {
        Json record = Json::object();
        sometimes(d, record, "portPriority", {0, 16, 240});
        return set({"ocTreePortConfigDir", "record", treePort(d)}, record);
      },
      [](Dice& d) {
        Json record = Json::object();
        sometimes(d, record, "bpduSent", {0, 1, 2});
        sometimes(d, record, "bpduReceived", {0, 18'446'744'073'709'551'615U});
        return set({"ocTreePortCountersDir", "record", treePort(d)}, record);
      },
      [](Dice& d) {
        Json record = Json::object();
        sometimes(d, record, "guard", {0, 2});
        sometimes(d, record, "bpduFilter", {true, false});
        return set({d.of<std::string>({"ocProtectionConfigDir", "ocProtectionStateDir"}), "record",
                    port(d)},
                   record);
      },
      [](Dice& d) {
        return line("delete",
                    {d.of<std::string>({"ocTreeConfigDir", "ocTreeStateDir"}), "record", tree(d)});
      },
      [](Dice& d) {
        return line("delete", {d.of<std::string>({"ocTreePortConfigDir", "ocTreePortStateDir",
                                                  "ocTreePortCountersDir"}),
                               "record", treePort(d)});
      },
      [](Dice& d) {
        return line("delete", {d.of<std::string>({"ocProtectionConfigDir", "ocProtectionStateDir"}),
                               "record", port(d)});
      },
      [](Dice& d) {
        return line("clear", {d.of<std::string>({"ocTreeStateDir", "ocTreePortConfigDir",
                                                 "ocTreePortStateDir", "ocTreePortCountersDir"}),
                              "record"});
      },
  };
  return all;
}

}  // namespace

std::string randomOperation(Dice& dice) {
  if (dice.oneIn(60)) {
    return dice.oneIn(2) ? R"({"op":"stop"})" : R"({"op":"start"})";
  }
  auto const& makers = dice.oneIn(3) ? targets() : sources();
  return dice.of(makers)(dice).dump();
}

}  // namespace Harness
