#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "FollowTestSupport.h"
#include "Process.h"

namespace Test {
namespace {

std::vector<std::string> replayOf(std::vector<std::string> const& folders) {
  std::vector<std::string> arguments{"replay", "--bridge", "br0", "--show", "entities"};
  arguments.insert(arguments.end(), folders.begin(), folders.end());
  return arguments;
}

// The instances with an entry in the state, by id.
std::string instanceStates(Outcome const& outcome) {
  std::string ids;
  auto const shown = nlohmann::json::parse(outcome.out);
  for (auto const& [id, record] : shown.at("ocMstiStateDir").items()) {
    ids += id + " ";
  }
  return ids;
}

TEST(Replay, SnapshotsAreAppliedInTheirOrder) {
  Outcome const forth = runAgent(replayOf({capture("01-converged"), capture("10-msti5-deleted")}));
  EXPECT_EQ(forth.status, 0);
  EXPECT_EQ(forth.err, "");
  EXPECT_EQ(instanceStates(forth), "0 1 ");
  Outcome const back = runAgent(replayOf({capture("10-msti5-deleted"), capture("01-converged")}));
  EXPECT_EQ(back.status, 0);
  EXPECT_EQ(instanceStates(back), "0 1 5 ");
}

TEST(Replay, IsInterruptedBetweenTwoSnapshots) {
  std::vector<std::string> arguments{"replay", "--bridge", "br0", "--watch", "--show", "none"};
  for (int count = 0; count < 4000; ++count) {
    arguments.push_back(capture("01-converged"));
    arguments.push_back(capture("11-rstp"));
  }
  Process agent(arguments);
  agent.readLine();
  agent.signal(SIGTERM);
  Outcome const outcome = agent.finish();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_LT(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 8000);
}

TEST(Replay, PaceIsWaitedForBetweenSnapshotsAndNotBeforeTheFirst) {
  std::vector<std::string> arguments{"replay",  "--bridge", "br0",
                                     "--watch", "--show",   "none",
                                     "--pace",  "3600000",  capture("01-converged")};
  std::string const first = runAgent(arguments).out;
  arguments.push_back(capture("11-rstp"));
  Process agent(arguments);
  std::string shown;
  for (std::ptrdiff_t left = std::count(first.begin(), first.end(), '\n'); left > 0; --left) {
    shown += agent.readLine() + "\n";
  }
  EXPECT_EQ(timeless(shown), timeless(first));
  agent.signal(SIGTERM);
  Outcome const outcome = agent.finish();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "");
}

TEST(Replay, RefusedSnapshotLeavesWhatWasThere) {
  Folder const folder;
  std::filesystem::copy(capture("11-rstp"), folder.path("cut"));
  folder.file("cut/showportdetail.json", R"([{"port":"Ethernet1","bridge":"br0")");
  std::string const missing = folder.path("missing");
  Outcome const outcome = runAgent(
      replayOf({capture("01-converged"), folder.path("cut"), missing, capture("02-admin-edge")}));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err,
              testing::MatchesRegex(folder.path("cut") + "/showportdetail.json: [^\n]+\n" +
                                    missing + "/showbridge.json: [^\n]+\n"));
  EXPECT_EQ(timeless(outcome.out),
            timeless(runAgent(replayOf({capture("01-converged"), capture("02-admin-edge")})).out));
}

TEST(Replay, StringThatIsNotUtf8IsReportedWithItsFile) {
  Folder const folder;
  std::string const latin = folder.path("latin");
  std::filesystem::copy(capture("01-converged"), latin);
  std::ifstream stream(latin + "/showmstconfid.json");
  std::string text(std::istreambuf_iterator<char>(stream), {});
  text.replace(text.find("campus-west"), 11, "campus-w\xE4st");
  folder.file("latin/showmstconfid.json", text);
  std::string const readable = "campus-w\xEF\xBF\xBDst";
  Outcome const outcome = runAgent(replayOf({latin}));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, latin +
                             "/showmstconfid.json: member \"configuration-name\" is not UTF-8, "
                             "shown as \"" +
                             readable + "\"\n");
  std::string const plain = runAgent(replayOf({capture("01-converged")})).out;
  EXPECT_EQ(timeless(outcome.out),
            timeless(std::regex_replace(plain, std::regex("campus-west"), readable)));
}

TEST(Replay, AnotherBridgeIsRefused) {
  Outcome const outcome =
      runAgent({"replay", "--bridge", "br1", "--show", "none", capture("01-converged")});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err, testing::StartsWith(capture("01-converged") + "/showbridge.json: "));
}

TEST(Replay, WatchShowsTheChangesOfEachSnapshot) {
  std::vector<std::string> arguments =
      replayOf({capture("07-link-up"), capture("08-port-removed")});
  arguments.insert(arguments.end(), {"--watch", "--show", "none"});
  arguments.erase(arguments.begin() + 3, arguments.begin() + 5);
  Outcome const outcome = runAgent(arguments);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out,
              testing::EndsWith("\n{\"deleted\":[\"ocInterfaceConfigDir\",\"interface\","
                                "\"Ethernet5\"]}\n"));
}

TEST(Replay, DepartedPortsAreForgottenIfAskedFor) {
  std::vector<std::string> arguments =
      replayOf({capture("07-link-up"), capture("08-port-removed")});
  std::string const state = R"("ocInterfaceStateDir":{"Ethernet1":)";
  std::string const port = R"("Ethernet5":)";
  EXPECT_THAT(runAgent(arguments).out, testing::HasSubstr(port));
  arguments.emplace_back("--forget-departed");
  Outcome const outcome = runAgent(arguments);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, testing::HasSubstr(state));
  EXPECT_THAT(outcome.out, testing::Not(testing::HasSubstr(port)));
}

TEST(Replay, MirrorThatWasNotStartedShowsNothing) {
  std::vector<std::string> arguments = replayOf({capture("01-converged")});
  arguments.insert(arguments.end(), {"--manual-start", "--watch"});
  Outcome const outcome = runAgent(arguments);
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(instanceStates(outcome), "");
}

}  // namespace
}  // namespace Test
