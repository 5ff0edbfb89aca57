#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "Process.h"

namespace Test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

std::string const freshEntities =
    R"({"ocGlobalConfig":{"enabledProtocol":[],"bpduGuard":false,"disabledVlan":[]},)"
    R"("ocGlobalState":{"enabledProtocol":[],"bpduGuard":false,"disabledVlan":[]},)"
    R"("ocInterfaceConfigDir":{},"ocInterfaceStateDir":{},)"
    R"("ocMstiConfigDir":{},"ocMstiStateDir":{},)"
    R"("ocRstpConfig":{"helloTime":null,"maxAge":null,"forwardingDelay":null,"holdCount":null,)"
    R"("maxHop":null,"name":"","revision":null},)"
    R"("ocRstpState":{"helloTime":null,"maxAge":null,"forwardingDelay":null,"holdCount":null,)"
    R"("maxHop":null,"name":"","revision":null},)"
    R"("ocMstpConfig":{"helloTime":null,"maxAge":null,"forwardingDelay":null,"holdCount":null,)"
    R"("maxHop":null,"name":"","revision":null},)"
    R"("ocMstpState":{"helloTime":null,"maxAge":null,"forwardingDelay":null,"holdCount":null,)"
    R"("maxHop":null,"name":"","revision":null},)"
    R"("ocTreeConfigDir":{},"ocTreeStateDir":{},"ocTreePortConfigDir":{},"ocTreePortStateDir":{},)"
    R"("ocTreePortCountersDir":{},"ocProtectionConfigDir":{},"ocProtectionStateDir":{}})"
    "\n";

TEST(CommandLine, HelpListsTheCommandsAndOptions) {
  for (std::vector<std::string> const& arguments : {std::vector<std::string>{"--help"},
                                                    {"-h"},
                                                    {"run", "--help"},
                                                    {"replay", "--help"},
                                                    {"status", "--help"},
                                                    {"follow", "--help"}}) {
    Outcome const outcome = runAgent(arguments);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_THAT(outcome.out, HasSubstr("stp-openconfig-agent"));
  }
  EXPECT_THAT(runAgent({"--help"}).out,
              AllOf(HasSubstr("run"), HasSubstr("replay"), HasSubstr("follow")));
  for (char const* const option :
       {"--show", "--watch", "--trace", "--flashlog", "--help", "--version"}) {
    EXPECT_THAT(runAgent({"run", "--help"}).out, HasSubstr(option));
    EXPECT_THAT(runAgent({"replay", "--help"}).out, HasSubstr(option));
    EXPECT_THAT(runAgent({"follow", "--help"}).out, HasSubstr(option));
  }
  EXPECT_THAT(runAgent({"run", "--help"}).out, HasSubstr("--manual-start"));
  EXPECT_THAT(runAgent({"replay", "--help"}).out, HasSubstr("--manual-start"));
  for (char const* const option : {"--bridge", "--interval", "--mstpctl"}) {
    EXPECT_THAT(runAgent({"follow", "--help"}).out, HasSubstr(option));
  }
  EXPECT_THAT(runAgent({"replay", "--help"}).out, HasSubstr("--bridge"));
}

TEST(CommandLine, HelpThatCannotBeWrittenIsAnError) {
  for (char const* const command : {"", " run"}) {
    int const status =
        std::system((STP_AGENT + std::string(command) + " --help >/dev/full 2>&1").c_str());
    EXPECT_EQ(WEXITSTATUS(status), 2);
  }
}

TEST(CommandLine, VersionIsThatOfTheProject) {
  for (std::vector<std::string> const& arguments :
       {std::vector<std::string>{"--version"}, {"run", "--version"}, {"replay", "--version"}}) {
    Outcome const outcome = runAgent(arguments);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "stp-openconfig-agent " STP_AGENT_VERSION "\n");
    EXPECT_EQ(outcome.err, "");
  }
}

TEST(CommandLine, WhatIsWrongIsNamedAndEndsWithTwo) {
  struct Wrong {
    std::vector<std::string> arguments;
    char const* named;
  };
  for (auto const& [arguments, named] : std::vector<Wrong>{
           {{}, "command is missing"},
           {{"walk"}, "walk"},
           {{"run", "--shw", "none"}, "--shw"},
           {{"run", "--show"}, "--show"},
           {{"run", "--show", "all"}, "all"},
           {{"run", "--show", "0"}, "0"},
           {{"run", "--show", "none", "--show", "none"}, "--show"},
           {{"run", "--flashlog"}, "--flashlog"},
           {{"run", "--bridge", "br0"}, "--bridge"},
           {{"replay", "."}, "--bridge"},
           {{"replay", "--bridge", "br0"}, "DIR"},
           {{"replay", "--bridge"}, "--bridge"},
           {{"follow"}, "--bridge"},
           {{"follow", "--bridge", "br0", "--interval"}, "--interval"},
           {{"follow", "--bridge", "br0", "--interval", ""}, "--interval"},
           {{"follow", "--bridge", "br0", "--interval", "0"}, "0 is no decimal number of seconds"},
           {{"follow", "--bridge", "br0", "--interval", "0.0000000001"}, "is no decimal number"},
           {{"follow", "--bridge", "br0", "--interval", "10000000000"}, "is no decimal number"},
           {{"follow", "--bridge", "br0", "--interval", "nan"}, "nan is no decimal number"},
           {{"follow", "--bridge", "br0", "--interval", "inf"}, "inf is no decimal number"},
           {{"follow", "--bridge", "br0", "--interval", "0x10"}, "0x10 is no decimal number"},
           {{"follow", "--bridge", "br0", "--interval", "1e3"}, "1e3 is no decimal number"},
           {{"follow", "--bridge", "br0", "--interval", "-1"}, "-1 is no decimal number"},
           {{"follow", "--bridge", "br0", "--interval", "+1"}, "+1 is no decimal number"},
           {{"follow", "--bridge", "br0", "--interval", " 1"}, " 1 is no decimal number"},
           {{"follow", "--bridge", "br0", "--interval", "1.2.3"}, "1.2.3 is no decimal number"},
           {{"follow", "--bridge", "br0", "--interval", "."}, ". is no decimal number"},
           {{"follow", "--bridge", "br0", "--interval", "1s"}, "1s is no decimal number"},
           {{"follow", "--bridge", "br0", "--manual-start"}, "--manual-start"},
           {{"follow", "--bridge", "br 0"}, "br 0 is no name of a bridge"},
           {{"follow", "--bridge", "br0", "."}, "."},
           {{"status", "."}, "--bridge"},
           {{"status", "--bridge", "br 0", "."}, "br 0 is no name of a bridge"},
           {{"status", "--bridge", "br0", ".", "."}, "."},
           {{"status", "--bridge", "br0", "--watch", "."}, "--watch"},
           {{"status", "--bridge", "br0", "--mstpctl", "mstpctl", "."}, "--mstpctl"},
           {{"status", "--bridge", "br0", "--interval", "2"}, "--watch"},
           {{"status", "--bridge", "br0", "--json", "--dot"}, "--dot"},
           {{"run", "--flashlog", "/nonexistent/trace"}, "/nonexistent/trace"},
           {{"run", "--flashlog", ""}, "--flashlog"},
       }) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    Outcome const outcome = runAgent(arguments);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, HasSubstr(named));
  }
}

TEST(CommandLine, OptionsStandBeforeOrAfterTheFiles) {
  Folder const folder;
  std::string const file = folder.file("empty.jsonl", "");
  for (std::vector<std::string> const& arguments :
       {std::vector<std::string>{"run", "--manual-start", "--show", "entities", file},
        {"run", file, "--manual-start", "--show", "entities"},
        {"run", file, "--show=entities", file, "--manual-start", file},
        {"run", "--manual-start", file, "--show", "entities", "--", file}}) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    Outcome const outcome = runAgent(arguments);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, freshEntities);
    EXPECT_EQ(outcome.err, "");
  }
}

TEST(CommandLine, FilesMayBeNamedLikeCommands) {
  Folder const folder;
  std::string const lines = R"({"op":"show"})";
  WorkingFolder const inside(folder);
  folder.file("replay", lines);
  folder.file("run", lines);
  Outcome const outcome =
      runAgent({"run", "--manual-start", "--show", "entities", "run", "replay"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, freshEntities + freshEntities + freshEntities);
}

TEST(CommandLine, ShowChoosesWhatIsPrinted) {
  std::string const line = R"({"op":"show"})";
  EXPECT_EQ(runAgent({"run", "--show", "none"}, line).out, "");
  EXPECT_EQ(runAgent({"run", "--manual-start", "--show", "entities"}, line).out,
            freshEntities + freshEntities);
  std::string const document =
      "{\n"
      "  \"openconfig-spanning-tree:stp\": {\n"
      "    \"global\": {\n"
      "      \"config\": {\n"
      "        \"bpdu-guard\": false\n"
      "      },\n"
      "      \"state\": {\n"
      "        \"bpdu-guard\": false\n"
      "      }\n"
      "    }\n"
      "  }\n"
      "}\n";
  EXPECT_EQ(runAgent({"run", "--manual-start"}, line).out, document + document);
  EXPECT_EQ(runAgent({"run", "--manual-start", "--show", "openconfig"}).out, document);
}

TEST(CommandLine, TraceGoesToStandardError) {
  Outcome const outcome = runAgent({"run", "--show", "none", "--trace"},
                                   R"({"op":"set","path":["input","mode"],"value":3})");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "");
  EXPECT_THAT(outcome.err, HasSubstr(" StpOCSm 8 /src/Stp/StpOpenConfigSm:156 "
                                     "OCGlobalConfigSm::handleEnabledProtocol() \n"));
  EXPECT_EQ(runAgent({"run", "--show", "none"}).err, "");
}

TEST(CommandLine, FlashlogRecordsTheRun) {
  Folder const folder;
  std::string const trace = folder.path("trace");
  Outcome const outcome = runAgent({"run", "--show", "none", "--flashlog", trace});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_GT(std::filesystem::file_size(trace), 0U);
}

}  // namespace
}  // namespace Test
