#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "Process.h"

namespace Test {
namespace {

using testing::HasSubstr;

std::string setMode(int mode) {
  return R"({"op":"set","path":["input","mode"],"value":)" + std::to_string(mode) + "}\n";
}

std::string modeChanged(std::string const& protocols) {
  return R"({"changed":["ocGlobalConfig","config"],"value":{"enabledProtocol":)" + protocols +
         R"(,"bpduGuard":false,"disabledVlan":[]}})" + "\n";
}

std::vector<std::string> const watching{"run", "--manual-start", "--watch", "--show", "none"};
std::string const startConfig = R"({"op":"start","object":"OCGlobalConfigSm"})"
                                "\n";
std::string const started = modeChanged("[0]") + modeChanged("[0]");

std::vector<std::string> with(std::vector<std::string> arguments,
                              std::vector<std::string> const& more) {
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

TEST(Run, LinesAreSkippedOrCounted) {
  std::string const lines = "# a comment\n\n" + startConfig + "   \n#{\n" + setMode(3) + "\r\n" +
                            R"({"op":"nothing"})" + "\n" + setMode(101);
  Outcome const outcome = runAgent(watching, lines.substr(0, lines.size() - 1));
  EXPECT_EQ(outcome.out, started + modeChanged("[1]") + modeChanged("[2]"));
  EXPECT_EQ(outcome.err, "stdin:8: op: \"nothing\" is no operation\n");
  EXPECT_EQ(outcome.status, 1);
}

TEST(Run, FilesAreAppliedInOrderAndNamedInRefusals) {
  Folder const folder;
  std::string const first = folder.file("first.jsonl", startConfig + "x\n" + setMode(3));
  std::string const second = folder.file("second.jsonl", setMode(101) + "\n{}\n");
  Outcome const outcome = runAgent(with(watching, {first, "-", second}), setMode(2) + "[\n");
  EXPECT_EQ(outcome.out, started + modeChanged("[1]") + modeChanged("[0]") + modeChanged("[2]"));
  EXPECT_EQ(outcome.err, first + ":2: not JSON: a syntax error at byte 1\n" +
                             "stdin:2: not JSON: a syntax error at byte 2\n" + second +
                             ":3: op: missing\n");
  EXPECT_EQ(outcome.status, 1);
}

TEST(Run, UnreadableFileIsFoundBeforeAnythingIsApplied) {
  Folder const folder;
  std::string const good = folder.file("good.jsonl", startConfig);
  for (auto const& [file, reason] : {std::pair{folder.path("missing"), "No such file or directory"},
                                     std::pair{folder.path(""), "Is a directory"},
                                     std::pair{std::string(), "No such file or directory"}}) {
    Outcome const outcome = runAgent({"run", "--watch", good, file});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, file + ": " + reason + "\n");
  }
}

TEST(Run, FileThatFailsLaterEndsTheRun) {
  Folder const folder;
  std::string const good = folder.file("good.jsonl", startConfig);
  // It can be opened, but its first page can't be read.
  Outcome const outcome = runAgent(with(watching, {good, "/proc/self/mem", good}));
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.out, started);
  EXPECT_EQ(outcome.err, "/proc/self/mem: Input/output error\n");
}

TEST(Run, EachLineIsAppliedAsSoonAsItIsRead) {
  Process agent(watching);
  agent.write(startConfig);
  EXPECT_EQ(agent.readLine() + "\n", modeChanged("[0]"));
  EXPECT_EQ(agent.readLine() + "\n", modeChanged("[0]"));
  agent.write(setMode(3));
  EXPECT_EQ(agent.readLine() + "\n", modeChanged("[1]"));
  agent.write(setMode(101).substr(0, 10));
  agent.write(setMode(101).substr(10));
  EXPECT_EQ(agent.readLine() + "\n", modeChanged("[2]"));
  EXPECT_EQ(agent.finish().status, 0);
}

TEST(Run, NamedPipeIsReadAsItIsWritten) {
  Folder const folder;
  std::string const pipe = folder.path("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  Process agent(with(watching, {pipe}));
  FILE* const writer = std::fopen(pipe.c_str(), "w");
  ASSERT_NE(writer, nullptr);
  std::fputs((startConfig + setMode(3)).c_str(), writer);
  std::fflush(writer);
  EXPECT_EQ(agent.readLine() + "\n", modeChanged("[0]"));
  EXPECT_EQ(agent.readLine() + "\n", modeChanged("[0]"));
  EXPECT_EQ(agent.readLine() + "\n", modeChanged("[1]"));
  std::fclose(writer);
  EXPECT_EQ(agent.finish().status, 0);
}

TEST(Run, InterruptedRunShowsWhatItHas) {
  for (int const number : {SIGINT, SIGTERM}) {
    Process agent({"run", "--manual-start", "--watch", "--show", "entities"});
    agent.write("refused\n" + startConfig + setMode(3) + setMode(101).substr(0, 20));
    for (int line = 0; line < 3; ++line) {
      agent.readLine();
    }
    agent.signal(number);
    EXPECT_THAT(
        agent.readLine(),
        testing::StartsWith(
            R"({"ocGlobalConfig":{"enabledProtocol":[1],"bpduGuard":false,"disabledVlan":[]},)"
            R"("ocGlobalState":{"enabledProtocol":[],"bpduGuard":false,"disabledVlan":[]},)"
            R"("ocInterfaceConfigDir":{},"ocInterfaceStateDir":{},)"
            R"("ocMstiConfigDir":{},"ocMstiStateDir":{},"ocRstpConfig":{)"));
    Outcome const outcome = agent.finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "stdin:1: not JSON: a syntax error at byte 1\n");
  }
}

TEST(Run, SecondSignalGivesUpOutputThatNobodyReads) {
  Folder const folder;
  std::string lines;
  for (int port = 0; port < 3000; ++port) {  // more than a pipe holds
    lines += R"({"op":"create","path":["input","portConfig","Ethernet)" + std::to_string(port) +
             "\"]}\n";
  }
  std::string const file = folder.file("many.jsonl", lines + "done\n");
  for (int const number : {SIGINT, SIGTERM}) {
    Process agent({"run", "--show", "entities", file});
    agent.readErrorLine();
    agent.signalUntilItEnds(number);
    Outcome const outcome = agent.finish();
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.err, "standard output: Interrupted system call\n");
  }
}

TEST(Run, NameInBracketsIsTheNameOfOneFile) {
  Folder const folder;
  WorkingFolder const inside(folder);
  for (char const* const name : {"[ops]", "[a,b]", "[]", "[", "\x01[ops]"}) {
    SCOPED_TRACE(name);
    folder.file("ops", setMode(101));
    folder.file(name, startConfig + setMode(3));
    Outcome const outcome = runAgent(with(watching, {name}));
    EXPECT_EQ(outcome.out, started + modeChanged("[1]"));
    EXPECT_EQ(outcome.err, "");
  }
  EXPECT_EQ(runAgent({"run", "[absent]"}).err, "[absent]: No such file or directory\n");
  EXPECT_EQ(runAgent({"replay", "--bridge", "br0", "[absent]"}).err,
            "[absent]/showbridge.json: No such file or directory\n");
  EXPECT_THAT(runAgent({"run", "--show", "[none]"}).err, HasSubstr("--show: [none] not in"));
}

TEST(Run, BusyRunIsInterruptedBetweenTwoLines) {
  Folder const folder;
  std::string lines = startConfig;
  for (int count = 0; count < 200'000; ++count) {
    lines += setMode(count % 2 == 0 ? 3 : 2);
  }
  Process agent(with(watching, {folder.file("many.jsonl", lines)}));
  for (int line = 0; line < 10; ++line) {
    agent.readLine();
  }
  agent.signal(SIGTERM);
  Outcome const outcome = agent.finish();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_LT(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 199'000);
}

TEST(Run, ClosedPipeEndsTheRunQuietly) {
  Folder const folder;
  std::string lines = startConfig;
  for (int count = 0; count < 200'000; ++count) {
    lines += setMode(count % 2 == 0 ? 3 : 2);
  }
  Process agent({"run", "--watch", folder.file("many.jsonl", lines)});
  agent.readLine();
  agent.closeOutput();
  Outcome const outcome = agent.finish();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.signal, 0);
  EXPECT_EQ(outcome.err, "");
}

TEST(Run, ClosedPipeIsNoticedWithoutWaitingForMoreInput) {
  Process agent(watching);
  agent.write(startConfig);
  agent.readLine();
  agent.readLine();
  agent.closeOutput();
  agent.write("x\n" + setMode(3) + "never looked at\n");
  Outcome const outcome = agent.finish();
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.signal, 0);
  EXPECT_EQ(outcome.err, "stdin:2: not JSON: a syntax error at byte 1\n");
}

TEST(Run, BrokenInvariantEndsTheProcessWithItsCulprit) {
  std::string const lines = R"({"op":"create","path":["status","stpiStatus","Mst"]})"
                            "\n"
                            R"({"op":"start"})"
                            "\n"
                            R"({"op":"replace","path":["status","stpiStatus","Mst"]})"
                            "\n"
                            R"({"op":"show"})";
  Process agent({"run", "--manual-start", "--watch", "--show", "entities"});
  agent.write(lines);
  Outcome const outcome = agent.finish();
  EXPECT_EQ(outcome.signal, SIGABRT);
  EXPECT_THAT(outcome.err, testing::MatchesRegex("stp-openconfig-agent: fatal: stdin:3: "
                                                 "Stp::OCStpiStatusConfigSm.*stpiStatus.*\n"));
  // All that starting printed is there, and nothing after it.
  EXPECT_THAT(outcome.out, testing::EndsWith("\n"));
  EXPECT_THAT(outcome.out, HasSubstr(R"({"changed":["ocMstiConfigDir","mstInstance",0],)"
                                     R"("value":{"mstId":0,"bridgePriority":32768,)"
                                     R"("vlan":[[1,4094]]}})"
                                     "\n"));
  EXPECT_THAT(outcome.out, testing::Not(HasSubstr("ocMstiStateDir")));
}

// Lines of which the last prints more than a pipe holds, and then breaks an invariant; `breaks`
// starts the object whose invariant it is.
std::string breaking(std::string const& breaks) {
  std::string pairs;
  for (int vlan = 1; vlan <= 2000; ++vlan) {
    pairs += (vlan == 1 ? "[" : ",[") + std::to_string(vlan) + "," + std::to_string(vlan) + "]";
  }
  return R"({"op":"create","path":["status","stpiStatus","Mst"]})"
         "\n"
         R"({"op":"set","path":["status","activeProtocol"],"value":3})"
         "\n"
         R"({"op":"start","object":"OCMstpMainStateSm"})"
         "\n"
         R"({"op":"set","path":["config","mstConfig"],"value":{"vidToMsti":[)" +
         pairs + "]}}\n" + breaks + R"({"op":"replace","path":["status","stpiStatus","Mst"]})" +
         "\n";
}
std::string const startsBreaker = R"({"op":"start","object":"OCInterfaceStateDirSm"})"
                                  "\n";

TEST(Run, SlowReaderGetsAllThatWasPrintedBeforeABrokenInvariant) {
  std::string const all = runAgent(watching, breaking("")).out;
  EXPECT_GT(all.size(), 200'000U);
  Process agent(watching);
  agent.write(breaking(startsBreaker));
  ::usleep(100'000);
  Outcome const outcome = agent.finish();
  EXPECT_EQ(outcome.signal, SIGABRT);
  EXPECT_TRUE(outcome.out == all);
}

TEST(Run, SignalEndsABrokenRunWhoseOutputNobodyReads) {
  Folder const folder;
  Process agent(with(watching, {folder.file("breaking.jsonl", breaking(startsBreaker))}));
  // Up to the last line, somebody reads.
  std::size_t const before =
      runAgent(watching, breaking("").substr(0, breaking("").rfind("{\"op"))).out.size();
  for (std::size_t left = before; left > 0;) {
    left -= agent.readPiece(std::min<std::size_t>(left, 10'000));
  }
  EXPECT_THAT(agent.readErrorLine(), HasSubstr("fatal: "));
  agent.signalUntilItEnds(SIGTERM);
  EXPECT_EQ(agent.finish().signal, SIGTERM);
}

TEST(Run, ReadsNoFurtherThanTheReaderOfItsOutput) {
  Folder const folder;
  std::string const pipe = folder.path("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  Process agent(with(watching, {pipe}));
  int const writer = ::open(pipe.c_str(), O_WRONLY);
  ::fcntl(writer, F_SETFL, O_NONBLOCK);
  std::string lines = startConfig;
  for (int count = 0; count < 1000; ++count) {
    lines += setMode(count % 2 == 0 ? 3 : 2);
  }
  constexpr std::size_t enough = 20'000'000;  // it prints more than it reads
  std::size_t taken = 0;
  pollfd writable{writer, POLLOUT, 0};
  while (taken < enough && ::poll(&writable, 1, 1000) == 1) {
    taken +=
        static_cast<std::size_t>(std::max<ssize_t>(::write(writer, lines.data(), lines.size()), 0));
  }
  EXPECT_LT(taken, enough);
  ::close(writer);
  agent.signal(SIGTERM);
  EXPECT_EQ(agent.finish().status, 0);
}

TEST(Run, FileDoesNotTakeThePlaceOfAStreamThatIsClosed) {
  Folder const folder;
  std::string const file = folder.file("ops.jsonl", startConfig);
  std::string const errors = folder.path("errors");
  int const status =
      std::system((STP_AGENT " run --watch " + file + " <&- >&- 2>" + errors).c_str());
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_EQ(std::filesystem::file_size(errors), 0U);
}

TEST(Run, OverlongLineIsRefused) {
  std::size_t const longest = std::size_t{16} << 20U;
  auto const padded = [](std::string line, std::size_t size) {
    line.insert(line.size() - 1, size + 1 - line.size(), ' ');
    return line;
  };
  Process agent(watching);
  agent.write(padded(startConfig, longest));
  agent.write(padded(setMode(2), longest + 1) + padded(setMode(3), longest - 1));
  agent.write(std::string(longest, ' ') + "x" + std::string(longest, ' ') + "\n" + setMode(101));
  Outcome const outcome = agent.finish();
  EXPECT_EQ(outcome.err,
            "stdin:2: longer than 16777216 bytes\nstdin:4: longer than 16777216 bytes\n");
  EXPECT_EQ(outcome.out, started + modeChanged("[1]") + modeChanged("[2]"));
  EXPECT_EQ(outcome.status, 1);
}

TEST(Run, NamedPipeThatNobodyWritesToIsNotWaitedForAfterASignal) {
  Folder const folder;
  std::string const pipe = folder.path("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  std::string const first = folder.file("first.jsonl", startConfig);
  Process agent(with(watching, {first, pipe}));
  agent.readLine();
  agent.readLine();
  agent.signal(SIGTERM);
  Outcome const outcome = agent.finish();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
}

TEST(Run, SlowReaderGetsAll) {
  std::string lines = startConfig;
  std::string expected = started;
  for (int count = 0; count < 20'000; ++count) {  // several times what a pipe holds
    lines += setMode(count % 2 == 0 ? 3 : 101);
    expected += modeChanged(count % 2 == 0 ? "[1]" : "[2]");
  }
  Folder const folder;
  Process agent(with(watching, {folder.file("many.jsonl", lines)}));
  ::usleep(100'000);  // by now it waits, or will
  Outcome const outcome = agent.finish();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_TRUE(outcome.out == expected);
}

TEST(Run, FullDeviceIsAnError) {
  Outcome const outcome = runAgent({"run", "--flashlog", "/dev/full"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("/dev/full"));
}

}  // namespace
}  // namespace Test
