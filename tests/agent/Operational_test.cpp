// What an engine tells of its operation, said by operations alone: each change of it is published,
// and nothing that nobody said.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Process.h"

namespace Test {
namespace {

using testing::HasSubstr;
using Json = nlohmann::ordered_json;

std::string line(std::string const& op, std::string const& path, std::string const& value = "") {
  return R"({"op":")" + op + R"(","path":)" + path + (value.empty() ? "" : R"(,"value":)" + value) +
         "}\n";
}

std::string const mstp = line("set", R"(["input","mode"])", "3");
std::string const rstp = line("set", R"(["input","mode"])", "2");
std::string const runs = line("set", R"(["operational","running"])", "true");
std::string const stops = line("set", R"(["operational","running"])", "false");
std::string const cist = line("create", R"(["operational","tree","Cist"])",
                              R"({"bridgeId":"8.000.02:00:00:00:00:01","rootPort":0})");
std::string const mst5 =
    line("create", R"(["operational","tree","MST5"])",
         R"({"bridgeId":"8.005.02:00:00:00:00:01","regionalRoot":"1.005.02:00:00:00:00:02",)"
         R"("internalRootCost":20000,"rootPort":1})");
std::string const mst5Port = line("create", R"(["operational","tree","MST5","port","E1"])",
                                  R"({"portId":"8.001","internalCost":20000,"role":1,"state":3})");
std::string const cistPort = line("create", R"(["operational","tree","Cist","port","E1"])",
                                  R"({"portId":"8.001","role":2,"bpduSent":7})");
std::string const port = line("create", R"(["operational","port","E1"])",
                              R"({"restrictedRole":true,"bpduGuardError":true})");

// Only what mirrors the operation is started: whatever is printed is of it.
std::string const started = R"({"op":"start","object":"OCProtocolParametersSm"}
{"op":"start","object":"OCTreeDirSm"}
{"op":"start","object":"OCProtectionDirSm"}
)";

std::string watched(std::string const& lines) {
  Outcome const outcome =
      runAgent({"run", "--manual-start", "--watch", "--show", "none"}, started + lines);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.status, 0);
  return outcome.out;
}

// What a line publishes behind others.
std::string publishedBy(std::string const& last, std::string const& before) {
  std::string const already = watched(before);
  std::string const all = watched(before + last);
  EXPECT_EQ(all.substr(0, already.size()), already);
  return all.substr(already.size());
}

Json entities(std::string const& lines) {
  Outcome const outcome = runAgent({"run", "--show", "entities"}, lines);
  EXPECT_EQ(outcome.err, "");
  return Json::parse(outcome.out);
}

std::vector<std::string> keysOf(Json const& object) {
  std::vector<std::string> keys;
  for (auto const& [key, value] : object.items()) {
    keys.push_back(key);
  }
  return keys;
}

std::string portState(std::string const& role) {
  return R"({"changed":["ocTreePortStateDir","record","MST5/E1"],)"
         R"("value":{"id":"MST5/E1","port":"8.001","cost":20000,"role":)" +
         role +
         R"(,"portState":4,"designatedRoot":null,"designatedCost":null,"designatedBridge":null,)"
         R"("designatedPort":null,"forwardTransitions":null,"disputed":null,"master":false}})"
         "\n";
}

TEST(Operational, NothingIsPublishedBeforeSomethingIsSaid) {
  EXPECT_EQ(watched(mstp + runs + stops + rstp), "");
}

TEST(Operational, WhatIsSaidOfTheBridgeIsPublishedOfTheProtocolThatIsConfigured) {
  std::string const hello = line("set", R"(["operational","helloTime"])", "2");
  std::string const record =
      R"("value":{"helloTime":2,"maxAge":null,"forwardingDelay":null,"holdCount":null,)"
      R"("maxHop":null,"name":"","revision":null}})"
      "\n";
  EXPECT_EQ(publishedBy(hello, mstp + runs), R"({"changed":["ocMstpConfig","record"],)" + record +
                                                 R"({"changed":["ocMstpState","record"],)" +
                                                 record);
  EXPECT_EQ(publishedBy(hello, rstp), R"({"changed":["ocRstpConfig","record"],)" + record);
}

TEST(Operational, WhatIsSaidOfATreeIsPublished) {
  EXPECT_EQ(publishedBy(mst5, mstp + runs),
            R"({"changed":["ocTreeStateDir","record","MST5"],)"
            R"("value":{"tree":"MST5","bridge":"8.005.02:00:00:00:00:01",)"
            R"("designatedRoot":"1.005.02:00:00:00:00:02","rootPort":1,"rootCost":20000,)"
            R"("topologyChanges":null,"lastTopologyChange":null,"regionalRoot":null,)"
            R"("regionalRootCost":null}})"
            "\n");
}

TEST(Operational, WhatIsSaidOfAPortOfATreeIsPublished) {
  EXPECT_EQ(publishedBy(mst5Port, mstp + runs + mst5),
            R"({"changed":["ocTreePortConfigDir","record","MST5/E1"],)"
            R"("value":{"id":"MST5/E1","portPriority":128}})"
            "\n" +
                portState("0"));
  std::string const path = R"(["operational","tree","MST5","port","E1","role"])";
  EXPECT_EQ(publishedBy(line("set", path, "3"), mstp + runs + mst5 + mst5Port), portState("2"));
  EXPECT_EQ(publishedBy(line("set", path, "1"), mstp + runs + mst5 + mst5Port), "");
}

TEST(Operational, WhatIsSaidOfAPortIsPublished) {
  EXPECT_EQ(publishedBy(port, runs),
            R"({"changed":["ocProtectionConfigDir","record","E1"],)"
            R"("value":{"name":"E1","guard":0,"bpduFilter":null}})"
            "\n"
            R"({"changed":["ocProtectionStateDir","record","E1"],)"
            R"("value":{"name":"E1","guard":0,"bpduFilter":null,"bpduGuardError":true}})"
            "\n");
  EXPECT_EQ(publishedBy(line("delete", R"(["operational","port","E1"])"), runs + port),
            R"({"deleted":["ocProtectionConfigDir","record","E1"]})"
            "\n"
            R"({"deleted":["ocProtectionStateDir","record","E1"]})"
            "\n");
}

TEST(Operational, StateGoesWithTheProtocolAndConfigurationStays) {
  std::string const all = mstp + runs + cist + cistPort + mst5 + mst5Port + port;
  Json const running = entities(all);
  EXPECT_EQ(keysOf(running.at("ocTreeConfigDir")), std::vector<std::string>{"Cist"});
  EXPECT_EQ(keysOf(running.at("ocTreeStateDir")), (std::vector<std::string>{"Cist", "MST5"}));
  EXPECT_EQ(keysOf(running.at("ocTreePortConfigDir")),
            (std::vector<std::string>{"Cist/E1", "MST5/E1"}));
  EXPECT_EQ(keysOf(running.at("ocTreePortCountersDir")), std::vector<std::string>{"Cist/E1"});
  Json const stopped = entities(all + stops);
  for (char const* const config :
       {"ocMstpConfig", "ocTreeConfigDir", "ocTreePortConfigDir", "ocProtectionConfigDir"}) {
    EXPECT_EQ(stopped.at(config), running.at(config));
  }
  for (char const* const state :
       {"ocTreeStateDir", "ocTreePortStateDir", "ocTreePortCountersDir", "ocProtectionStateDir"}) {
    EXPECT_EQ(stopped.at(state), Json::object());
  }
  EXPECT_EQ(entities(all + stops + runs), running);
}

TEST(Operational, TreesMoveWithTheConfiguredProtocol) {
  Json const shown = entities(mstp + runs + cist + cistPort + mst5 + mst5Port + rstp);
  EXPECT_EQ(keysOf(shown.at("ocTreeStateDir")), std::vector<std::string>{"Rst"});
  EXPECT_EQ(keysOf(shown.at("ocTreePortStateDir")), std::vector<std::string>{"Rst/E1"});
  Json const none =
      entities(rstp + runs + cist + cistPort + line("set", R"(["input","mode"])", "1"));
  EXPECT_EQ(none.at("ocTreeStateDir"), Json::object());
  EXPECT_EQ(none.at("ocTreePortConfigDir"), Json::object());
}

// Without a word of it, nothing is claimed: these are the leaves that there are without an engine.
TEST(Operational, DocumentShowsNoLeafOfWhatWasNeverSaid) {
  std::string const lines =
      mstp + line("create", R"(["input","portConfig","E1"])", R"({"edgePortEnable":true})") +
      line("set", R"(["status","activeProtocol"])", "3") +
      line("create", R"(["status","stpiStatus","Mst"])") +
      line("create", R"(["status","stpiStatus","Mst","stpiPortStatus","E1"])");
  Outcome const outcome = runAgent({"run"}, lines);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(Json::parse(outcome.out), Json::parse(R"({"openconfig-spanning-tree:stp":{
      "global":{
        "config":{"enabled-protocol":["openconfig-spanning-tree-types:MSTP"],"bpdu-guard":false},
        "state":{"enabled-protocol":["openconfig-spanning-tree-types:MSTP"],"bpdu-guard":false}},
      "interfaces":{"interface":[{"name":"E1",
        "config":{"name":"E1","edge-port":"openconfig-spanning-tree-types:EDGE_ENABLE"},
        "state":{"name":"E1","edge-port":"openconfig-spanning-tree-types:EDGE_DISABLE",
                 "link-type":"SHARED"}}]}}})"));
}

TEST(Operational, InspectNamesTheObjectsByTreeAndPort) {
  Outcome const outcome = runAgent({"inspect"}, mstp + runs + mst5 + mst5Port + port);
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(outcome.out, HasSubstr("OCTreeSm [MST5]: active\n"));
  EXPECT_THAT(outcome.out, HasSubstr(R"( tree watches ["operational","tree","MST5"])"));
  EXPECT_THAT(outcome.out, HasSubstr("OCTreePortSm [E1]: active\n"));
  EXPECT_THAT(outcome.out, HasSubstr(R"( port watches ["operational","tree","MST5","port","E1"])"));
  EXPECT_THAT(outcome.out, HasSubstr("OCProtectionSm [E1]: active\n"));
  EXPECT_THAT(outcome.out, HasSubstr(R"( writes ["ocTreeStateDir"])"));
}

}  // namespace
}  // namespace Test
