#include "agent/sources/engine/EngineSnapshot.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/sources/engine/SnapshotTestSupport.h"
#include "agent/text/Values.h"

namespace Agent {
namespace {

using Port = EngineSnapshot::Port;

Port port(std::string const& name, bool operEdge) {
  Port result;
  result.name = name;
  result.edgePortAuto = true;
  result.operEdgePort = operEdge;
  result.operPointToPointMac = true;
  result.restrictedRole = false;
  result.bpduFilter = false;
  result.bpduGuardError = false;
  return result;
}

void mapVlans(EngineSnapshot& snapshot, std::uint16_t first, std::uint16_t last,
              std::uint16_t instance) {
  for (auto vlan = first; vlan <= last; ++vlan) {
    vlanMapPush(snapshot.mstConfig.vidToMsti, vlan, instance);
  }
}

/// The captures by folder, each as its name says it differs from the one before.
std::vector<std::pair<std::string, EngineSnapshot>> expectedCaptures() {
  std::vector<std::pair<std::string, EngineSnapshot>> all;
  EngineSnapshot now;
  now.mode = Stp::Mode::mstp;
  now.activeProtocol = Stp::Mode::mstp;
  now.instanceName = "Mst";
  now.mstConfig.regionName = "campus-west";
  now.mstConfig.revision = 7;
  mapVlans(now, 10, 20, 5);
  now.mstis = {{0, 16384}, {1, 32768}, {5, 32768}};
  now.ports = {port("Ethernet1", false), port("Ethernet2", false), port("Ethernet3", true),
               port("Ethernet4", true), port("Ethernet5", true)};
  all.emplace_back("01-converged", now);
  now.ports[2].edgePortEnable = true;
  now.ports[2].edgePortAuto = false;
  now.ports[2].adminEdgePort = true;
  now.ports[3].edgePortAuto = false;
  now.ports[3].edgePortDisable = true;
  now.ports[3].operEdgePort = false;
  all.emplace_back("02-admin-edge", now);
  now.ports[2].bpduguard = EngineSnapshot::Guard::bpduguardEnabled;
  all.emplace_back("03-bpdu-guard", now);
  // The priority that changes is another bridge's.
  all.emplace_back("04-msti5-root-moves", now);
  mapVlans(now, 30, 30, 1);
  mapVlans(now, 40, 45, 1);
  all.emplace_back("05-vlans-to-msti1", now);
  // A port's link is no part of a snapshot.
  all.emplace_back("06-link-down", now);
  all.emplace_back("07-link-up", now);
  now.ports.pop_back();
  all.emplace_back("08-port-removed", now);
  now.ports.push_back(port("Ethernet5", true));
  now.ports[1].linkType = Stp::Input::PortConfig::LinkType::shared;
  now.ports[1].operPointToPointMac = false;
  all.emplace_back("09-port-back-shared-link", now);
  now.mstConfig.vidToMsti = {};
  mapVlans(now, 30, 30, 1);
  mapVlans(now, 40, 45, 1);
  now.mstis.pop_back();
  all.emplace_back("10-msti5-deleted", now);
  now.mode = Stp::Mode::rstp;
  now.activeProtocol = Stp::Mode::rstp;
  now.instanceName = "Rst";
  now.mstis.clear();
  all.emplace_back("11-rstp", now);
  return all;
}

TEST(EngineSnapshot, CapturesSayWhatTheirBridgeDid) {
  auto const all = expectedCaptures();
  EXPECT_EQ(all.size(), 11U);
  for (auto const& [name, expected] : all) {
    SCOPED_TRACE(name);
    auto const snapshot = readSnapshot(captures / name, "br0");
    EXPECT_EQ(snapshot.mode, expected.mode);
    EXPECT_EQ(snapshot.activeProtocol, expected.activeProtocol);
    EXPECT_EQ(snapshot.mstConfig.regionName, expected.mstConfig.regionName);
    EXPECT_EQ(snapshot.mstConfig.revision, expected.mstConfig.revision);
    EXPECT_EQ(mapOf(snapshot), mapOf(expected));
    EXPECT_EQ(snapshot.instanceName, expected.instanceName);
    EXPECT_TRUE(snapshot.mstis == expected.mstis);
    EXPECT_TRUE(snapshot.ports == expected.ports);
    EXPECT_TRUE(snapshot.running());
  }
}

TEST(EngineSnapshot, AsksForEachFileOnceAndForInstancesOnlyInMstp) {
  auto const asked = [](std::string const& capture) {
    std::vector<std::string> names;
    auto const files = filesOf(captures / capture);
    parseSnapshot(
        [&](std::string const& file) {
          names.push_back(file);
          return std::optional(files.at(file));
        },
        "br0");
    return names;
  };
  std::vector<std::string> all{"showbridge.json",    "showportdetail.json", "showmstilist.json",
                               "showtree-0.json",    "showtree-1.json",     "showtree-5.json",
                               "showmstconfid.json", "showfid2mstid.json",  "showvid2fid.json"};
  for (char const* const id : {"1", "5"}) {
    for (char const* const port : {"1", "2", "3", "4", "5"}) {
      all.push_back(std::string("showtreeport-Ethernet") + port + "-" + id + ".json");
    }
  }
  EXPECT_EQ(asked("01-converged"), all);
  EXPECT_EQ(asked("11-rstp"), (std::vector<std::string>{"showbridge.json", "showportdetail.json",
                                                        "showmstconfid.json", "showfid2mstid.json",
                                                        "showvid2fid.json"}));
}

TEST(EngineSnapshot, InstancesToReadAreThoseOfMstpAlone) {
  auto const toRead = [](std::string const& capture) {
    auto const files = filesOf(captures / capture);
    return instancesToRead(
        [&files](std::string const& file) { return std::optional(files.at(file)); }, "br0");
  };
  EXPECT_EQ(toRead("01-converged"), (std::vector<std::uint16_t>{0, 1, 5}));
  EXPECT_EQ(toRead("11-rstp"), std::vector<std::uint16_t>());
}

TEST(EngineSnapshot, FileOfTheGreatestLengthIsRead) {
  auto files = filesOf(captures / "01-converged");
  auto const expected = parsed(files);
  std::string& ports = files.at("showportdetail.json");
  ports.append(maxSnapshotFile - ports.size(), ' ');
  EXPECT_TRUE(parsed(files) == expected);
  ports += ' ';
  EXPECT_EQ(refusalOf(files), "showportdetail.json: longer than 8388608 bytes");
}

TEST(EngineSnapshot, EngineThatIsOffKeepsItsConfiguration) {
  auto const on = parsed(filesOf(captures / "01-converged"));
  for (auto const* const member : {R"("stp-enabled":)", R"("enabled":)"}) {
    SCOPED_TRACE(member);
    auto const off = parsed(edited("showbridge.json", member + std::string(R"("yes")"),
                                   member + std::string(R"("no")")));
    EXPECT_FALSE(off.running());
    EXPECT_EQ(off.activeProtocol, Stp::Mode(-1));
    EXPECT_EQ(off.mode, Stp::Mode::mstp);
    EXPECT_EQ(off.instanceName, "Mst");
    EXPECT_TRUE(off.mstis == on.mstis);
    EXPECT_TRUE(off.ports == on.ports);
    EXPECT_EQ(mapOf(off), mapOf(on));
  }
}

TEST(EngineSnapshot, EngineBeforeTheOneThatPrintsStpEnabledRuns) {
  auto const old = parsed(edited("showbridge.json", R"("stp-enabled":"yes",)", ""));
  EXPECT_TRUE(old == parsed(filesOf(captures / "01-converged")));
  EXPECT_TRUE(old.running());
}

TEST(EngineSnapshot, AdminEdgeOutranksAutoEdgeWhateverThatIs) {
  auto const port = [](std::string const& admin, std::string const& automatic) {
    auto const ports = R"("admin-edge-port":"no","auto-edge-port":"yes")";
    return parsed(edited("showportdetail.json", ports,
                         R"("admin-edge-port":")" + admin + R"(","auto-edge-port":")" + automatic +
                             "\""))
        .ports.at(0);
  };
  struct Case {
    char const* admin;
    char const* automatic;
    bool enable, isAuto, disable;
  };
  for (auto const& [admin, automatic, enable, isAuto, disable] :
       {Case{"yes", "yes", true, false, false}, Case{"yes", "no", true, false, false},
        Case{"no", "yes", false, true, false}, Case{"no", "no", false, false, true}}) {
    SCOPED_TRACE(std::string(admin) + " " + automatic);
    Port const given = port(admin, automatic);
    EXPECT_EQ(given.edgePortEnable, enable);
    EXPECT_EQ(given.edgePortAuto, isAuto);
    EXPECT_EQ(given.edgePortDisable, disable);
  }
}

TEST(EngineSnapshot, VlanOfNoFidIsOfNoInstanceWhateverTheFirstFidsIs) {
  auto files = filesOf(captures / "01-converged");
  files["showfid2mstid.json"] = R"({"bridge":"br0","fid2mstid":[{"mstid":"5","fid":[ "0","7-7"]}})";
  files["showvid2fid.json"] = R"({"bridge":"br0","vid2fid":[{"fid":"7","vid":[ "30-30"]}})";
  EXPECT_EQ(mapOf(parsed(files)), (Pairs{{30, 5}}));
}

TEST(EngineSnapshot, WrongUtf8IsReplacedAndToldOncePerString) {
  auto files = edited("showmstconfid.json", "campus-west", "campus-w\xE4st");
  files["showportdetail.json"] =
      edited("showportdetail.json", R"("port":"Ethernet2")", "\"port\":\"e\xE4\"")
          .at("showportdetail.json");
  std::vector<SnapshotRemark> remarks;
  auto const snapshot = parsed(files, "br0", &remarks);
  EXPECT_EQ(snapshot.mstConfig.regionName, "campus-w\xEF\xBF\xBDst");
  EXPECT_EQ(snapshot.ports.at(1).name, "e\xEF\xBF\xBD");
  EXPECT_EQ(
      remarks,
      (std::vector<SnapshotRemark>{
          {"showportdetail.json", "member \"port\" is not UTF-8, shown as \"e\xEF\xBF\xBD\""},
          {"showmstconfid.json",
           "member \"configuration-name\" is not UTF-8, shown as \"campus-w\xEF\xBF\xBDst\""}}));
}

TEST(EngineSnapshot, OfPortsThatWouldBeShownAlikeTheFirstIsTaken) {
  auto files = filesOf(captures / "01-converged");
  std::string& ports = files.at("showportdetail.json");
  ports.replace(ports.find("\"Ethernet2\""), 11, "\"e\xE4\"");
  ports.replace(ports.find("\"Ethernet3\""), 11, "\"e\xF6\"");
  std::vector<SnapshotRemark> remarks;
  auto const snapshot = parsed(files, "br0", &remarks);
  std::vector<std::string> names;
  for (Port const& port : snapshot.ports) {
    names.push_back(port.name.toString());
  }
  EXPECT_EQ(names,
            (std::vector<std::string>{"Ethernet1", "e\xEF\xBF\xBD", "Ethernet4", "Ethernet5"}));
  EXPECT_THAT(remarks, testing::Contains(SnapshotRemark{
                           "showportdetail.json",
                           "port \"e\xEF\xBF\xBD\" is left out: another is shown so"}));
}

TEST(EngineSnapshot, BridgeThatIsNotUtf8IsFoundByItsBytes) {
  auto files = filesOf(captures / "01-converged");
  for (auto& [file, content] : files) {
    for (std::size_t at = 0; (at = content.find("\"br0\"", at)) != std::string::npos;) {
      content.replace(at, 5, "\"b\xE4\"");
    }
  }
  EXPECT_EQ(parsed(files, "b\xE4").ports.size(), 5U);
  EXPECT_NE(refusalOf(files, "b\xE4x"), "");
}

TEST(EngineSnapshot, PlainStpRunsTheRapidInstance) {
  auto const snapshot =
      parsed(edited("showbridge.json", R"(version":"mstp")", R"(version":"stp")"));
  EXPECT_EQ(snapshot.mode, Stp::Mode::stp);
  EXPECT_EQ(snapshot.activeProtocol, Stp::Mode::stp);
  EXPECT_TRUE(snapshot.running());
  EXPECT_EQ(snapshot.instanceName, "Rst");
  EXPECT_TRUE(snapshot.mstis.empty());
  EXPECT_EQ(mapOf(snapshot).size(), 11U);
}

TEST(EngineSnapshot, PriorityIsTheFirstHexadecimalDigit) {
  for (auto const& [digit, priority] : std::vector<std::pair<std::string, std::uint16_t>>{
           {"0", 0}, {"1", 4096}, {"9", 36864}, {"a", 40960}, {"f", 61440}, {"F", 61440}}) {
    SCOPED_TRACE(digit);
    auto const snapshot =
        parsed(edited("showtree-1.json", R"("bridge-id":"8.)", R"("bridge-id":")" + digit + "."));
    EXPECT_EQ(snapshot.mstis.at(1).bridgePriority, priority);
  }
}

TEST(EngineSnapshot, BridgeIsFoundAmongOthers) {
  auto files = edited("showbridge.json", "[{",
                      R"([{"bridge":"br7","stp-enabled":"?"},{"bridge":"b"r","stp-enabled":0},{)");
  EXPECT_TRUE(parsed(files) == parsed(filesOf(captures / "01-converged")));
  EXPECT_EQ(refusalOf(files, "br1"), R"(showbridge.json: bridge "br1" is missing)");
}

TEST(EngineSnapshot, RegionNameIsRecoveredWhateverItHolds) {
  for (std::string const name : {"", "\"", "\\", "a\"b", R"(a\"b)", "a\\", "a\nb", "},{", R"("})",
                                 R"("}])", R"(a","bridge":"b)", R"(x","revision-level":"9)",
                                 "\xC3\xA9t\xC3\xA9", R"(","revision-level":)"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(parsed(edited("showmstconfid.json", "campus-west", name)).mstConfig.regionName, name);
  }
}

TEST(EngineSnapshot, PortNameIsRecoveredWhateverItHolds) {
  for (std::string const name : {"\"", "\"\"", "\\", "a\"b", R"(a\"b)", "a\\", "},{", R"("})",
                                 R"("},{")", R"("}])", R"(a","b)", R"(a","bridge)", "\xC3\xA9"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(parsed(edited("showportdetail.json", "Ethernet2", name)).ports.at(1).name, name);
  }
}

TEST(EngineSnapshot, BridgeNameIsRecoveredWhateverItHolds) {
  auto const expected = parsed(filesOf(captures / "01-converged"));
  for (std::string const name : {"\"", "a\"b", "\\", R"("})", R"(a","b)"}) {
    SCOPED_TRACE(name);
    auto files = filesOf(captures / "01-converged");
    for (auto& [file, content] : files) {
      for (auto at = content.find("br0"); at != std::string::npos;
           at = content.find("br0", at + name.size())) {
        content.replace(at, 3, name);
      }
    }
    EXPECT_TRUE(parsed(files, name) == expected);
  }
}

TEST(EngineSnapshot, OddNamesOfOtherPortsDontMatter) {
  auto const expected = parsed(filesOf(captures / "01-converged"));
  for (std::string const name : {"\"", "a\"b", "\\", R"(a","b)", R"("])", R"("}x)"}) {
    SCOPED_TRACE(name);
    EXPECT_TRUE(parsed(edited("showbridge.json", "Ethernet2\"}", name + "\"}")) == expected);
    EXPECT_TRUE(parsed(edited("showtree-5.json", "Ethernet1 (#1)", name + " (#1)")) == expected);
    EXPECT_TRUE(parsed(edited("showtree-5.json", "Ethernet1\"}", name + "\"}")) == expected);
  }
}

TEST(EngineSnapshot, OuterListOfTheMapsMayBeClosedOrOpen) {
  auto const expected = parsed(filesOf(captures / "01-converged"));
  EXPECT_TRUE(parsed(edited("showvid2fid.json", "]}}", "]}]}")) == expected);
  EXPECT_TRUE(parsed(edited("showfid2mstid.json", "]}}", "]} ] }")) == expected);
  auto files = filesOf(captures / "01-converged");
  files["showvid2fid.json"] = R"({"bridge":"br0","vid2fid":[})";
  EXPECT_TRUE(mapOf(parsed(files)).empty());
}

TEST(EngineSnapshot, WhatIsNotAllocatedBelongsToTheCist) {
  auto files = filesOf(captures / "01-converged");
  files["showfid2mstid.json"] = R"({"bridge":"br0","fid2mstid":[{"mstid":"5","fid":[ "7"]}})";
  files["showvid2fid.json"] =
      R"({"bridge":"br0","vid2fid":[{"fid":"7","vid":[ "4094","1"]},{"fid":"8","vid":[ "2-3"]}})";
  EXPECT_EQ(mapOf(parsed(files)), (Pairs{{1, 5}, {4094, 5}}));
}

TEST(EngineSnapshot, ReservedVlansAreIgnoredInTheCistOnly) {
  auto files = edited("showvid2fid.json", R"("1-9","21-4094")", R"("0-9","21-4095")");
  EXPECT_EQ(mapOf(parsed(files)), mapOf(parsed(filesOf(captures / "01-converged"))));
  files = edited("showvid2fid.json", R"("10-20")", R"("10-20","4095")");
  EXPECT_EQ(refusalOf(files),
            "showvid2fid.json: VLAN 4095 is mapped to instance 5, only VLANs 1 to 4094 can be");
  files = edited("showvid2fid.json", R"("10-20")", R"("10-20","0")");
  EXPECT_EQ(refusalOf(files),
            "showvid2fid.json: VLAN 0 is mapped to instance 5, only VLANs 1 to 4094 can be");
}

TEST(EngineSnapshot, InstancesUpToTheHighestIdAreTaken) {
  auto files = edited("showmstilist.json", R"("5")", R"("4095")");
  files["showtree-4095.json"] =
      R"({"bridge":"br0","mstid":"4095","bridge-id":"c.FFF.52:05:0B:AE:5C:AA"})";
  files["showfid2mstid.json"] = R"({"bridge":"br0","fid2mstid":[{"mstid":"4095","fid":[ "1"]}})";
  auto const snapshot = parsed(files);
  EXPECT_TRUE(snapshot.mstis.at(2) == (EngineSnapshot::Msti{4095, 49152}));
  EXPECT_EQ(mapOf(snapshot).at(0), (Pairs::value_type{10, 4095}));
}

TEST(EngineSnapshot, OutsideMstpInstancesNeedNoList) {
  auto files = filesOf(captures / "11-rstp");
  files["showfid2mstid.json"] = R"({"bridge":"br0","fid2mstid":[{"mstid":"9","fid":[ "2"]}})";
  EXPECT_EQ(mapOf(parsed(files)).size(), 7U);
  EXPECT_EQ(mapOf(parsed(files)).at(0).second, 9);
}

}  // namespace
}  // namespace Agent
