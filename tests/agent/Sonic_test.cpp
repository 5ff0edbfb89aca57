// Behind a switch's databases, in a real server.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Process.h"
#include "agent/sources/sonic/RedisServerTestSupport.h"

namespace Test {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class SonicCommand : public testing::Test {
 protected:
  SonicCommand() {
    write({"HSET", "STP|GLOBAL", "mode", "mst"});
    write({"HSET", "STP_PORT|Ethernet0", "enabled", "true", "edge_port", "true"});
  }

  void write(std::vector<std::string> const& words) { server.command(4, words); }

  std::vector<std::string> following(std::vector<std::string> const& options = {}) const {
    std::vector<std::string> arguments{"sonic",   "--redis", "unix:" + server.socket(),
                                       "--watch", "--show",  "entities"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return arguments;
  }

  // Reads lines until one has it.
  static std::string lineWith(Process& agent, std::string const& text) {
    std::string line;
    do {
      line = agent.readLine();
    } while (line.find(text) == std::string::npos && !line.empty());
    return line;
  }

  static Outcome ended(Process& agent) {
    agent.signal(SIGTERM);
    return agent.finish();
  }

  Agent::Sonic::RedisServer server;
};

TEST_F(SonicCommand, PrintsWhatTheRowsSayAndEachChange) {
  Process agent(following());
  EXPECT_THAT(lineWith(agent, R"("edgePort":0)"),
              HasSubstr(R"(["ocInterfaceConfigDir","interface","Ethernet0"])"));
  write({"HSET", "STP_PORT|Ethernet0", "bpdu_guard", "true"});
  EXPECT_THAT(lineWith(agent, R"("bpduGuard":1)"),
              HasSubstr(R"(["ocInterfaceConfigDir","interface","Ethernet0"])"));
  write({"DEL", "STP_PORT|Ethernet0"});
  EXPECT_THAT(lineWith(agent, R"({"deleted":)"),
              HasSubstr(R"(["ocInterfaceConfigDir","interface","Ethernet0"])"));
  Outcome const end = ended(agent);
  EXPECT_EQ(end.status, 0);
  EXPECT_EQ(end.err, "");
  EXPECT_THAT(end.out, HasSubstr(R"("ocInterfaceConfigDir":{})"));
}

TEST_F(SonicCommand, WithoutAServerNothingIsShown) {
  server.kill();
  Process agent(following());
  EXPECT_THAT(agent.readErrorLine(), HasSubstr("Connection refused"));
  Outcome const end = ended(agent);
  EXPECT_EQ(end.status, 3);
  EXPECT_EQ(end.out, "");
  EXPECT_THAT(end.err, HasSubstr("the databases were not read, nothing is mirrored"));
}

TEST_F(SonicCommand, OutageIsToldOnceAndWhenItIsOver) {
  Process agent(following());
  lineWith(agent, R"("edgePort":0)");
  server.kill();
  EXPECT_THAT(agent.readErrorLine(), StartsWith("unix:" + server.socket()));
  server.start();
  EXPECT_THAT(agent.readErrorLine(), HasSubstr("the databases are read again"));
  EXPECT_THAT(lineWith(agent, R"({"deleted":)"), HasSubstr("Ethernet0"));  // the server lost it
  Outcome const end = ended(agent);
  EXPECT_EQ(end.status, 0);
  EXPECT_EQ(end.err, "");
}

TEST_F(SonicCommand, ServerThatComesBackWithItsRowsChangesNothing) {
  Process agent(following());
  lineWith(agent, R"("edgePort":0)");
  write({"HSET", "STP_PORT|Ethernet0", "bpdu_guard", "true"});
  lineWith(agent, R"("bpduGuard":1)");
  write({"SAVE"});
  server.kill();
  EXPECT_THAT(agent.readErrorLine(), StartsWith("unix:" + server.socket()));
  server.start();
  EXPECT_THAT(agent.readErrorLine(), HasSubstr("the databases are read again"));
  write({"HSET", "STP_PORT|Ethernet0", "bpdu_guard", "false"});
  EXPECT_THAT(agent.readLine(), HasSubstr(R"("bpduGuard":0)"));  // and nothing before
  EXPECT_EQ(ended(agent).err, "");
}

TEST_F(SonicCommand, EmptiedDatabasesTakeAllAway) {
  Process agent(following());
  lineWith(agent, R"("edgePort":0)");
  write({"FLUSHALL"});
  EXPECT_THAT(lineWith(agent, R"({"deleted":)"), HasSubstr("Ethernet0"));
  EXPECT_EQ(ended(agent).err, "");
}

TEST_F(SonicCommand, SomethingElseThanARowIsToldAndTakesItAway) {
  Process agent(following());
  lineWith(agent, R"("edgePort":0)");
  write({"SET", "STP_PORT|Ethernet0", "no row"});
  EXPECT_THAT(agent.readErrorLine(),
              HasSubstr("\"STP_PORT|Ethernet0\": this is no hash, and is left out"));
  EXPECT_THAT(lineWith(agent, R"({"deleted":)"), HasSubstr("Ethernet0"));
  EXPECT_EQ(ended(agent).err, "");
}

TEST_F(SonicCommand, PortsThatWentAreForgottenWhereThatIsAsked) {
  constexpr char const* port = "_STP_MST_PORT_TABLE:0:Ethernet0";
  server.command(0, {"HSET", "_STP_MST_INST_TABLE:0", "NULL", "NULL"});
  for (bool const isAsked : {false, true}) {
    server.command(0, {"HSET", port, "NULL", "NULL"});
    write({"HSET", "STP_PORT|Ethernet0", "edge_port", "true"});
    Process agent(following(isAsked ? std::vector<std::string>{"--forget-departed"}
                                    : std::vector<std::string>{}));
    lineWith(agent, R"(["ocInterfaceStateDir","state","Ethernet0"])");
    server.command(0, {"DEL", port});
    write({"DEL", "STP_PORT|Ethernet0"});
    lineWith(agent, R"({"deleted":["ocInterfaceConfigDir","interface","Ethernet0"]})");
    EXPECT_THAT(ended(agent).out, HasSubstr(isAsked ? R"("ocInterfaceStateDir":{},)"
                                                    : R"("ocInterfaceStateDir":{"Ethernet0":)"));
  }
}

TEST_F(SonicCommand, PasswordOfTheFileIsToldToBeLeftOut) {
  Folder const folder;
  std::string const file = folder.file("database_config.json", R"({
    "INSTANCES": {"redis": {"unix_socket_path": ")" + server.socket() +
                                                                   R"(", "password_path": "/p"}},
    "DATABASES": {"CONFIG_DB": {"id": 4, "separator": "|", "instance": "redis"}}})");
  Process agent({"sonic", "--database-config", file, "--watch", "--show", "none"});
  EXPECT_THAT(agent.readErrorLine(), HasSubstr("password_path"));
  EXPECT_THAT(lineWith(agent, R"("edgePort":)"), HasSubstr("Ethernet0"));
  EXPECT_EQ(ended(agent).err, "");
}

TEST_F(SonicCommand, RowThatCanNotBeReadIsToldAndStopsNothing) {
  write({"HSET", "STP_PORT|Ethernet0", "bpdu_guard", "perhaps"});
  Process agent(following());
  std::string const complaint = agent.readErrorLine();
  EXPECT_THAT(complaint, HasSubstr("STP_PORT|Ethernet0"));
  EXPECT_THAT(complaint, HasSubstr("bpdu_guard"));
  EXPECT_THAT(lineWith(agent, R"("edgePort":0)"), HasSubstr("Ethernet0"));
  Outcome const end = ended(agent);
  EXPECT_EQ(end.status, 0);
  EXPECT_EQ(end.err, "");
}

TEST_F(SonicCommand, ReadsWhereTheFileOfTheDatabasesSays) {
  Folder const folder;
  server.command(9, {"HSET", "STP_PORT!Ethernet8", "edge_port", "true"});
  std::string const file = folder.file("database_config.json", R"({
    "INSTANCES": {"redis": {"hostname": "127.0.0.1", "port": 1, "unix_socket_path": ")" +
                                                                   server.socket() + R"("}},
    "DATABASES": {"CONFIG_DB": {"id": 9, "separator": "!", "instance": "redis"}}})");
  Process agent({"sonic", "--database-config", file, "--watch", "--show", "none"});
  EXPECT_THAT(lineWith(agent, R"("edgePort":)"), HasSubstr("Ethernet8"));
  EXPECT_EQ(ended(agent).status, 0);
  // The address that is given counts, and what else the file says.
  std::string const elsewhere = folder.file("elsewhere.json", R"({
    "INSTANCES": {"redis": {"unix_socket_path": "/nowhere"}},
    "DATABASES": {"CONFIG_DB": {"id": 9, "separator": "!", "instance": "redis"}}})");
  Process other(following({"--database-config", elsewhere}));
  EXPECT_THAT(lineWith(other, R"("edgePort":)"), HasSubstr("Ethernet8"));
  EXPECT_EQ(ended(other).status, 0);
}

TEST_F(SonicCommand, StatusIsThatOfTheRowsAsTheyAre) {
  server.command(0, {"HSET", "_STP_MST_INST_TABLE:0", "bridge_priority", "4096"});
  server.command(0, {"HSET", "_STP_MST_PORT_TABLE:0:Ethernet0", "role", "ROOT"});
  std::string const redis = "unix:" + server.socket();
  Outcome const end = runAgent({"status", "--json", "--redis", redis});
  EXPECT_EQ(end.err, "");
  ASSERT_EQ(end.status, 0);
  auto const status = nlohmann::json::parse(end.out);
  EXPECT_EQ(status.at("bridge"), redis);
  EXPECT_EQ(status.at("/trees/0/ports/0/port"_json_pointer), "Ethernet0");
  EXPECT_EQ(status.at("/trees/0/ports/0/role"_json_pointer), "root");
  server.kill();
  Outcome const without = runAgent({"status", "--redis", redis});
  EXPECT_EQ(without.status, 3);
  EXPECT_THAT(without.err, HasSubstr("Connection refused"));
  EXPECT_EQ(without.out, "");
}

TEST_F(SonicCommand, WatchedStatusIsToldAnewWhenARowChanges) {
  server.command(0, {"HSET", "_STP_MST_INST_TABLE:0", "bridge_priority", "4096"});
  Process agent({"status", "--json", "--watch", "--redis", "unix:" + server.socket()});
  EXPECT_THAT(agent.readLine(), Not(HasSubstr("Ethernet0")));
  server.command(0, {"HSET", "_STP_MST_PORT_TABLE:0:Ethernet0", "role", "ROOT"});
  EXPECT_THAT(agent.readLine(), HasSubstr("Ethernet0"));
  EXPECT_EQ(ended(agent).status, 0);
}

TEST_F(SonicCommand, InspectShowsTheMirrorOfTheRows) {
  Outcome const end = runAgent({"inspect", "--redis", "unix:" + server.socket()});
  EXPECT_EQ(end.status, 0);
  EXPECT_EQ(end.err, "");
  EXPECT_THAT(end.out, HasSubstr("Ethernet0"));
  EXPECT_THAT(end.out, HasSubstr("# Allocations"));
}

TEST_F(SonicCommand, WhatIsLookedAtIsSaidInOneWay) {
  std::string const redis = "unix:" + server.socket();
  for (auto const& arguments : std::vector<std::vector<std::string>>{
           {"status"},
           {"status", "--bridge", "br0", "--redis", redis},
           {"status", "--bridge", "br0", "--database-config", "file"},
           {"status", "--redis", redis, "folder"},
           {"status", "--redis", redis, "--mstpctl", "true"},
           {"inspect", "--redis", redis, "--wiring"},
           {"inspect", "--redis", redis, "file"},
       }) {
    Outcome const end = runAgent(arguments);
    EXPECT_EQ(end.status, 2) << testing::PrintToString(arguments);
    EXPECT_THAT(end.err, HasSubstr("--"));
    EXPECT_EQ(end.out, "");
  }
}

TEST_F(SonicCommand, WrongCommandLinesAreRefused) {
  struct Case {
    std::vector<std::string> options;
    std::string reason;
  };
  for (auto const& [options, reason] : {
           Case{{"--redis", "nowhere"}, "is neither unix:PATH nor HOST:PORT"},
           Case{{"--database-config", "/no/such/file"}, "/no/such/file: can't be read"},
           Case{{"--resync", "-1"}, "--resync: -1 is no decimal number of seconds above 0, nor 0"},
           Case{{"--resync", "often"}, "--resync"},
           Case{{"--manual-start"}, "--manual-start"},
           Case{{"--bridge", "br0"}, "--bridge"},
           Case{{"--interval", "1"}, "--interval"},
           Case{{"--mstpctl", "true"}, "--mstpctl"},
           Case{{"file"}, "file"},
       }) {
    std::vector<std::string> arguments{"sonic"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    Outcome const end = runAgent(arguments);
    EXPECT_EQ(end.status, 2) << reason;
    EXPECT_THAT(end.err, HasSubstr(reason));
    EXPECT_EQ(end.out, "");
  }
}

}  // namespace
}  // namespace Test
