// Snapshots that are refused, and what is said of them.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "agent/sources/engine/EngineSnapshot.h"
#include "agent/sources/engine/SnapshotTestSupport.h"

namespace Agent {
namespace {

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
     R"(member "bridge-id" is "g.001.52:05:0B:AE:5C:AA", no identifier of a bridge)"},
    {"showtree-1.json", R"("8.001.52:05:0B:AE:5C:AA")", R"("8000")",
     R"(member "bridge-id" is "8000", no identifier of a bridge)"},
    {"showtree-1.json", R"("8.001.52:05:0B:AE:5C:AA")", R"("80.01")",
     R"(member "bridge-id" is "80.01", no identifier of a bridge)"},
    {"showtree-1.json", R"("8.001.52:05:0B:AE:5C:AA")", R"("-.")",
     R"(member "bridge-id" is "-.", no identifier of a bridge)"},
    {"showtree-1.json", R"("8.001.52:05:0B:AE:5C:AA")", R"("8.001.52:05:0B:AE:5C:AA:0")",
     R"(member "bridge-id" is "8.001.52:05:0B:AE:5C:AA:0", no identifier of a bridge)"},
    {"showtree-1.json", R"("bridge-id":)", R"("id":)", R"(member "bridge-id" is missing)"},
    {"showtree-5.json", "Ethernet1 (#1)", "Ethernet1",
     R"(member "root-port" is "Ethernet1", no port with its number)"},
    {"showtree-5.json", "Ethernet1 (#1)", "Ethernet1 (#)",
     R"|(member "root-port" is "Ethernet1 (#)", no number)|"},
    {"showtree-5.json", "Ethernet1 (#1)", "Ethernet1 (#1",
     R"(member "root-port" is "Ethernet1 (#1", no port with its number)"},
    {"showbridge.json", R"("max-age":"20")", R"("max-age":"-1")",
     R"(bridge "br0": member "max-age" is "-1", no number)"},
    {"showbridge.json", R"("path-cost":"0")", R"("path-cost":"")",
     R"(bridge "br0": member "path-cost" is "", no number)"},
    {"showportdetail.json", R"("role":"Designated")", R"("role":"root")",
     R"(port "Ethernet1": member "role" is "root", not one of "Root", "Designated", "Alternate", "Backup", "Master", "Disabled")"},
    {"showportdetail.json", R"("state":"forwarding")", R"("state":"")",
     R"(port "Ethernet1": member "state" is "", not one of "discarding", "listening", "learning", "forwarding")"},
    {"showportdetail.json", R"("port-id":"8.001")", R"("port-id":"8.01")",
     R"(port "Ethernet1": member "port-id" is "8.01", no identifier of a port)"},
    {"showportdetail.json", R"("bpdu-guard-error":"no")", R"("bpdu-guard-error":"maybe")",
     R"(port "Ethernet1": member "bpdu-guard-error" is "maybe", not one of "yes", "no")"},
    {"showtreeport-Ethernet1-5.json", R"("mstid":"5")", R"("mstid":"1")",
     R"(member "mstid" is "1", not "5")"},
    {"showtreeport-Ethernet1-5.json", "Ethernet1", "Ethernet2",
     R"(member "port" is "Ethernet2", not "Ethernet1")"},
    {"showtreeport-Ethernet1-5.json", "br0", "br1", R"(member "bridge" is "br1", not "br0")"},
    {"showtreeport-Ethernet1-5.json", "{", "[{", "ends too early, after 316 bytes"},
    {"showtreeport-Ethernet1-5.json", R"("disputed":"no")", R"("disputed":false)",
     R"(member "disputed" is no string)"},
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

TEST(SnapshotRefusal, RefusalNamesWhatIsAtFault) {
  for (auto const& [file, from, to, reason] : refusedEdits) {
    SCOPED_TRACE(std::string(file) + ": " + from + " -> " + to);
    EXPECT_EQ(refusalOf(edited(file, from, to)), std::string(file) + ": " + reason);
  }
}

TEST(SnapshotRefusal, EachFileIsRequired) {
  auto const files = filesOf(captures / "01-converged");
  for (auto const& [file, content] : files) {
    SCOPED_TRACE(file);
    bool const isIgnored = file == "showtreeport-Ethernet1-0.json";
    bool const isNeeded = !file.starts_with("showtreeport");
    auto without = files;
    without.erase(file);
    EXPECT_EQ(refusalOf(without), isNeeded ? file + ": No such file or directory" : "");
    without[file] = "";
    EXPECT_EQ(refusalOf(without), isIgnored ? "" : file + ": ends too early, after 0 bytes");
  }
}

TEST(SnapshotRefusal, ReadErrorsNameTheFolderAsGiven) {
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
  std::erase_if(files, [](auto const& file) {
    return file.first.starts_with("showtreeport") && file.first != "showtreeport-Ethernet1-5.json";
  });
  auto& ports = files.at("showportdetail.json");
  ports.replace(ports.find(R"(,{"port":"Ethernet3")"), std::string::npos, "]\n");
  return files;
}

TEST(SnapshotRefusal, CutFileIsRefused) {
  auto const files = smallCapture();
  for (auto const& [file, content] : files) {
    auto cut = files;
    for (auto size = content.size() - 1; size-- > 0;) {
      cut[file].resize(size);
      ASSERT_TRUE(refusalOf(cut).starts_with(file + ": ")) << file << " after " << size;
    }
  }
}

TEST(SnapshotRefusal, ChangedByteGivesASoundSnapshotOrARefusal) {
  auto const files = smallCapture();
  for (auto const& [file, content] : files) {
    auto changed = files;
    for (std::size_t position = 0; position < content.size(); ++position) {
      SCOPED_TRACE(file + " at " + std::to_string(position));
      std::array const bytes{'"', '}', '\xFF', static_cast<char>(content[position] ^ 1)};
      changed[file][position] = bytes.at(position % bytes.size());
      try {
        auto const snapshot = parsed(changed);
        auto const map = mapOf(snapshot);
        ASSERT_TRUE(std::is_sorted(map.begin(), map.end()));
        ASSERT_EQ(snapshot.ports.size(), 2U);
      } catch (SnapshotError const& error) {
        ASSERT_NE(error.reason(), "");
      }
      changed[file][position] = content[position];
    }
  }
}

TEST(SnapshotRefusal, HostileFilesAreRefused) {
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
