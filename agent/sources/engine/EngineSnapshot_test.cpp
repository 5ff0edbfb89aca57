#include "agent/sources/engine/EngineSnapshot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string_view>

#include "agent/text/Values.h"

namespace Agent {
namespace {

using Files = std::map<std::string, std::string>;
using Port = EngineSnapshot::Port;

std::filesystem::path const captures = STP_CAPTURES_DIR;

Files filesOf(std::filesystem::path const& dir) {
  Files files;
  for (auto const& entry : std::filesystem::directory_iterator(dir)) {
    std::ifstream stream(entry.path(), std::ios::binary);
    files[entry.path().filename().string()] =
        std::string(std::istreambuf_iterator<char>(stream), {});
  }
  return files;
}

EngineSnapshot parsed(Files const& files, std::string const& bridge = "br0") {
  return parseSnapshot(
      [&files](std::string const& file) {
        auto const found = files.find(file);
        return found == files.end() ? std::nullopt : std::optional(found->second);
      },
      bridge);
}

/// What a snapshot is refused with; empty if it isn't.
std::string refusalOf(Files const& files, std::string const& bridge = "br0") {
  try {
    parsed(files, bridge);
  } catch (SnapshotError const& error) {
    return error.what();
  }
  return {};
}

/// The files of the first capture, `from` in `file` replaced by `to`; `from` must be there.
Files edited(std::string const& file, std::string_view from, std::string_view to) {
  auto files = filesOf(captures / "01-converged");
  auto const position = files.at(file).find(from);
  if (position == std::string::npos) {
    throw std::invalid_argument(std::string(from) + " is not in " + file);
  }
  files.at(file).replace(position, from.size(), to);
  return files;
}

Port port(std::string const& name, bool operEdge) {
  Port result;
  result.name = name;
  result.edgePortAuto = true;
  result.operEdgePort = operEdge;
  result.operPointToPointMac = true;
  return result;
}

void mapVlans(EngineSnapshot& snapshot, std::uint16_t first, std::uint16_t last,
              std::uint16_t instance) {
  for (auto vlan = first; vlan <= last; ++vlan) {
    vlanMapPush(snapshot.mstConfig.vidToMsti, vlan, instance);
  }
}

using Pairs = std::vector<std::pair<std::uint16_t, std::uint16_t>>;

/// The VLANs and their instances.
Pairs mapOf(EngineSnapshot const& snapshot) {
  auto const& bytes = snapshot.mstConfig.vidToMsti;
  auto const number = [&](std::size_t at) {
    return static_cast<std::uint16_t>(bytes[at] << 8U | bytes[at + 1]);
  };
  Pairs pairs;
  for (std::size_t at = 0; at < bytes.size(); at += 4) {
    pairs.emplace_back(number(at), number(at + 2));
  }
  return pairs;
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
    EXPECT_TRUE(snapshot == expected);
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
  EXPECT_EQ(
      asked("01-converged"),
      (std::vector<std::string>{"showbridge.json", "showportdetail.json", "showmstilist.json",
                                "showtree-0.json", "showtree-1.json", "showtree-5.json",
                                "showmstconfid.json", "showfid2mstid.json", "showvid2fid.json"}));
  EXPECT_EQ(asked("11-rstp"), (std::vector<std::string>{"showbridge.json", "showportdetail.json",
                                                        "showmstconfid.json", "showfid2mstid.json",
                                                        "showvid2fid.json"}));
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
  auto const snapshot = parseSnapshot(
      [&files](std::string const& file) {
        auto const found = files.find(file);
        return found == files.end() ? std::nullopt : std::optional(found->second);
      },
      "br0", &remarks);
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
  auto const snapshot = parsed(files);
  std::vector<std::string> names;
  for (Port const& port : snapshot.ports) {
    names.push_back(port.name.toString());
  }
  EXPECT_EQ(names,
            (std::vector<std::string>{"Ethernet1", "e\xEF\xBF\xBD", "Ethernet4", "Ethernet5"}));
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

TEST(EngineSnapshot, OddNamesInMembersThatAreNotReadDontMatter) {
  auto const expected = parsed(filesOf(captures / "01-converged"));
  for (std::string const name : {"\"", "a\"b", "\\", R"(a","b)", R"("])", R"("}x)"}) {
    SCOPED_TRACE(name);
    EXPECT_TRUE(parsed(edited("showbridge.json", "Ethernet2\"}", name + "\"}")) == expected);
    EXPECT_TRUE(parsed(edited("showtree-5.json", "Ethernet1 (#1)", name)) == expected);
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
  files["showtree-4095.json"] = R"({"bridge":"br0","mstid":"4095","bridge-id":"c.fff.x"})";
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

struct Refused {
  char const* file;
  char const* from;
  char const* to;
  /// Behind the file's name and a colon.
  char const* reason;
};

constexpr Refused refusedEdits[] = {
    {"showbridge.json", R"("mstp")", R"("pvst")",
     R"(bridge "br0": member "force-protocol-version" is "pvst", not one of "stp", "rstp", "mstp")"},
    {"showbridge.json", R"("enabled":"yes")", R"("enabled":"YES")",
     R"(bridge "br0": member "enabled" is "YES", not one of "yes", "no")"},
    {"showbridge.json", R"(,"enabled":"yes")", R"(,"enabled":true)",
     R"(bridge "br0": member "enabled" is no string)"},
    {"showbridge.json", R"([{"bridge":"br0",)", "[{", R"(entry 1: member "bridge" is missing)"},
    {"showbridge.json", "}]", R"(},{"bridge":"br0","x":""}])", R"(bridge "br0": listed twice)"},
    {"showbridge.json", "[{", R"(["br0",{)", "entry 1: an object is expected"},
    {"showbridge.json", "[{", R"({"bridge":[{)", "ends too early, after 596 bytes"},
    {"showbridge.json", R"("mstp",)", R"("mstp")",
     R"(not understood as JSON near "sion\":\"mstp\"\"time-since-topology-change\":\"33\",\"topology-chan"...)"},
    {"showbridge.json", "[{", "{{", R"("]" is out of place after 584 bytes)"},
    {"showbridge.json", "}]", "}] trailing", R"(other text than JSON after 586 bytes: "trailing")"},
    {"showportdetail.json", R"(},{"port":"Ethernet3")",
     "},Couldn't find port with \"index\" 3\n,{\"port\":\"Ethernet3\"",
     R"(other text than JSON after 2102 bytes: "Couldn't find port with \"index\" 3")"},
    {"showportdetail.json", R"({"port":"Ethernet1")", "Failed \xFF\n",
     R"(other text than JSON after 1 bytes: "Failed �")"},
    {"showportdetail.json", R"("port":"Ethernet1",)", "\"port\":\"Ethernet1\",Failed\n",
     R"(member "port" is no name: "Ethernet1\",Failed\n\"bridge\":\"br0")"},
    {"showportdetail.json", "Ethernet3", "Ethernet2", R"(port "Ethernet2": listed twice)"},
    {"showportdetail.json", "Ethernet3", "", R"(entry 3: member "port" is empty)"},
    {"showportdetail.json", R"("port":"Ethernet3",)", "", R"(entry 3: member "port" is missing)"},
    {"showportdetail.json", R"(Ethernet4","bridge":"br0")", R"(Ethernet4","bridge":"br1")",
     R"(port "Ethernet4": member "bridge" is "br1", not "br0")"},
    {"showportdetail.json", R"("admin-point-to-point":"auto")", R"("admin-point-to-point":"maybe")",
     R"(port "Ethernet1": member "admin-point-to-point" is "maybe", not one of "auto", "yes", "no")"},
    {"showportdetail.json", R"(,"point-to-point":"yes")", "",
     R"(port "Ethernet1": member "point-to-point" is missing)"},
    {"showportdetail.json", R"("admin-edge-port":"no")", R"("admin-edge-port":"")",
     R"(port "Ethernet1": member "admin-edge-port" is "", not one of "yes", "no")"},
    {"showportdetail.json", R"("bpdu-guard-port":"no")", R"("bpdu-guard-port":"n"o")",
     R"(other text than JSON after 684 bytes: "o\",\"bpdu-guard-error\":\"no\",\"bpdu-filter-port\":\"no\",\"network-"...)"},
    {"showmstilist.json", "br0", "br1", R"(member "bridge" is "br1", not "br0")"},
    {"showmstilist.json", R"("5")", R"("1")", "instance 1 is listed twice"},
    {"showmstilist.json", R"("5")", R"("4096")",
     R"(member "mstids" holds "4096", no number from 0 to 4095)"},
    {"showmstilist.json", R"("5")", "5", R"(member "mstids" holds something else than strings)"},
    {"showmstilist.json", R"(["0","1","5"])", R"("0")", R"(member "mstids" is no list)"},
    {"showbridge.json", R"("bridge":"br0")", R"("bridge":"")", R"(bridge "br0" is missing)"},
    {"showmstilist.json", R"("5"]})", R"("5"})", R"("}" is out of place after 37 bytes)"},
    {"showtree-1.json", R"("mstid":"1")", R"("mstid":"5")", R"(member "mstid" is "5", not "1")"},
    {"showtree-1.json", "br0", "br", R"(member "bridge" is "br", not "br0")"},
    {"showtree-1.json", R"("8.001.52)", R"("g.001.52)",
     R"(member "bridge-id" is "g.001.52:05:0B:AE:5C:AA", doesn't start with a hexadecimal digit and a dot)"},
    {"showtree-1.json", R"("8.001.52:05:0B:AE:5C:AA")", R"("8000")",
     R"(member "bridge-id" is "8000", doesn't start with a hexadecimal digit and a dot)"},
    {"showtree-1.json", R"("8.001.52:05:0B:AE:5C:AA")", R"("-.")",
     R"(member "bridge-id" is "-.", doesn't start with a hexadecimal digit and a dot)"},
    {"showmstconfid.json", "br0", "br0 ", R"(member "bridge" is "br0 ", not "br0")"},
    {"showmstconfid.json", R"("7")", R"("18446744073709551616")",
     R"(member "revision-level" is "18446744073709551616", no number from 0 to 18446744073709551615)"},
    {"showfid2mstid.json", "br0", "br1", R"(member "bridge" is "br1", not "br0")"},
    {"showfid2mstid.json", R"("mstid":"5")", R"("mstid":"7")",
     "instance 7: not in showmstilist.json"},
    {"showfid2mstid.json", R"("mstid":"5")", R"("mstid":"5000")",
     R"(entry 2: member "mstid" is "5000", no number from 0 to 4095)"},
    {"showfid2mstid.json", R"("1"])", R"("1","2-3"])",
     "instance 5: FID 2 is listed already, in instance 0"},
    {"showfid2mstid.json", "4095", "0x",
     R"(instance 0: member "fid" holds "2-0x", no id and no range of ids from 0 to 4095)"},
    {"showfid2mstid.json", "4095", "4096",
     R"(instance 0: member "fid" holds "2-4096", no id and no range of ids from 0 to 4095)"},
    {"showfid2mstid.json", "]}}", "]}", "ends too early, after 92 bytes"},
    {"showvid2fid.json", "br0", "br1", R"(member "bridge" is "br1", not "br0")"},
    {"showvid2fid.json", "10-20", "20-10",
     R"(FID 1: member "vid" holds "20-10", no id and no range of ids from 0 to 4095)"},
    {"showvid2fid.json", "10-20", "9-20", "FID 1: VLAN 9 is listed already, in FID 0"},
    {"showvid2fid.json", R"("10-20")", R"("10-20","15")",
     "FID 1: VLAN 15 is listed already, in FID 1"},
    {"showvid2fid.json", R"("fid":"1")", R"("fid":"4096")",
     R"(entry 2: member "fid" is "4096", no number from 0 to 4095)"},
    {"showvid2fid.json", R"([ "10-20"])", R"("10-20")", R"(FID 1: member "vid" is no list)"},
    {"showvid2fid.json", R"([ "10-20"])", "[[]]",
     R"(FID 1: member "vid" holds something else than strings)"},
    {"showvid2fid.json", R"({"fid":"1")", R"({"fid":"1","":[[[[[[)", "nested deeper than 8 levels"},
};

TEST(EngineSnapshot, RefusalNamesWhatIsAtFault) {
  for (auto const& [file, from, to, reason] : refusedEdits) {
    SCOPED_TRACE(std::string(file) + ": " + from + " -> " + to);
    EXPECT_EQ(refusalOf(edited(file, from, to)), std::string(file) + ": " + reason);
  }
}

TEST(EngineSnapshot, EachFileIsRequired) {
  auto const files = filesOf(captures / "01-converged");
  for (auto const& [file, content] : files) {
    SCOPED_TRACE(file);
    bool const isIgnored = file.starts_with("showtreeport");
    auto without = files;
    without.erase(file);
    EXPECT_EQ(refusalOf(without), isIgnored ? "" : file + ": No such file or directory");
    without[file] = "";
    EXPECT_EQ(refusalOf(without), isIgnored ? "" : file + ": ends too early, after 0 bytes");
  }
}

TEST(EngineSnapshot, ReadErrorsNameTheFolderAsGiven) {
  auto const refusal = [](std::filesystem::path const& dir) {
    try {
      readSnapshot(dir, "br0");
    } catch (SnapshotError const& error) {
      EXPECT_EQ((dir / error.file()).string() + ": " + error.reason(), error.what());
      return std::string(error.what());
    }
    return std::string();
  };
  EXPECT_EQ(refusal("no/such/dir"), "no/such/dir/showbridge.json: No such file or directory");
  EXPECT_EQ(refusal("./no/../dir/"), "./no/../dir/showbridge.json: No such file or directory");
  auto const dir = std::filesystem::path(testing::TempDir()) / "SnapshotReadErrors";
  std::filesystem::remove_all(dir);
  std::filesystem::copy(captures / "01-converged", dir);
  EXPECT_EQ(refusal(dir), "");
  EXPECT_EQ(refusal(dir / "showbridge.json"),
            (dir / "showbridge.json/showbridge.json: Not a directory").string());
  std::filesystem::remove(dir / "showtree-5.json");
  std::filesystem::create_directory(dir / "showtree-5.json");
  EXPECT_EQ(refusal(dir), (dir / "showtree-5.json: Is a directory").string());
  std::ofstream(dir / "showmstilist.json") << "{";
  EXPECT_EQ(refusal(dir), (dir / "showmstilist.json: ends too early, after 1 bytes").string());
  std::ofstream(dir / "showmstilist.json") << std::string(maxSnapshotFile + 1, ' ');
  EXPECT_EQ(refusal(dir), (dir / "showmstilist.json: longer than 8388608 bytes").string());
  std::filesystem::remove_all(dir);
}

/// The first capture with nothing but what is read, and with two ports.
Files smallCapture() {
  auto files = filesOf(captures / "01-converged");
  files.erase("showtreeport-Ethernet1-0.json");
  auto& ports = files.at("showportdetail.json");
  ports.replace(ports.find(R"(,{"port":"Ethernet3")"), std::string::npos, "]\n");
  return files;
}

TEST(EngineSnapshot, CutFileIsRefused) {
  auto const files = smallCapture();
  for (auto const& [file, content] : files) {
    auto cut = files;
    for (auto size = content.size() - 1; size-- > 0;) {
      cut[file].resize(size);
      ASSERT_TRUE(refusalOf(cut).starts_with(file + ": ")) << file << " after " << size;
    }
  }
}

TEST(EngineSnapshot, ChangedByteGivesASoundSnapshotOrARefusal) {
  auto const files = smallCapture();
  for (auto const& [file, content] : files) {
    auto changed = files;
    for (std::size_t position = 0; position < content.size(); ++position) {
      SCOPED_TRACE(file + " at " + std::to_string(position));
      for (char const byte : {'"', '}', '\xFF', static_cast<char>(content[position] ^ 1)}) {
        changed[file][position] = byte;
        try {
          auto const snapshot = parsed(changed);
          auto const map = mapOf(snapshot);
          ASSERT_TRUE(std::is_sorted(map.begin(), map.end()));
          ASSERT_EQ(snapshot.ports.size(), 2U);
        } catch (SnapshotError const& error) {
          ASSERT_NE(error.reason(), "");
        }
      }
      changed[file][position] = content[position];
    }
  }
}

TEST(EngineSnapshot, HostileFilesAreRefused) {
  auto const repeated = [](std::string_view text) {
    std::string all;
    while (all.size() + text.size() < maxSnapshotFile) {
      all += text;
    }
    return all;
  };
  auto files = filesOf(captures / "01-converged");
  for (std::string_view const text :
       {"[", R"({"a":)", R"("port":")", R"({"configuration-name":")", R"("port":" ,"a)", R"("\)",
        R"([],)", "1", R"("port":"}   )"}) {
    SCOPED_TRACE(text);
    files["showbridge.json"] = repeated(text);
    EXPECT_TRUE(refusalOf(files).starts_with("showbridge.json: "));
  }
  files = filesOf(captures / "01-converged");
  files["showvid2fid.json"] = R"({"bridge":"br0","vid2fid":[{"fid":"0","vid":["1")" +
                              repeated(R"(,"0-4095")").substr(0, maxSnapshotFile - 99) + "]}}";
  EXPECT_TRUE(refusalOf(files).starts_with("showvid2fid.json: "));
}

}  // namespace
}  // namespace Agent
