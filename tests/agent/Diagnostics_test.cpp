// What standard error gets, as a terminal, as the journal, and as anything else.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "Process.h"

namespace Test {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::string const reason = "stdin:1: op: missing";

Outcome refuse(Surroundings const& around) {
  return runAgent({"run", "--show", "none"}, "{}\n", around);
}

std::vector<std::string> replayOf(std::string const& last, std::vector<std::string> options = {}) {
  options.insert(options.begin(), {"replay", "--bridge", "br0", "--show", "none",
                                   STP_CAPTURES_DIR "/01-converged", last});
  return options;
}

TEST(Diagnostics, PlainLineGoesToAPipe) {
  EXPECT_EQ(refuse({}).err, reason + "\n");
}

TEST(Diagnostics, TerminalGetsColours) {
  EXPECT_EQ(refuse({.errors = Errors::terminal}).err, "\033[31m" + reason + "\033[0m\r\n");
}

TEST(Diagnostics, TerminalThatIsNotToGetColoursGetsNone) {
  for (char const* const variable : {"NO_COLOR=1", "TERM=dumb", "TERM"}) {
    SCOPED_TRACE(variable);
    EXPECT_EQ(refuse({.errors = Errors::terminal, .environment = {variable}}).err, reason + "\r\n");
  }
}

TEST(Diagnostics, EmptyRefusalOfColoursIsNone) {
  EXPECT_EQ(refuse({.errors = Errors::terminal, .environment = {"NO_COLOR="}}).err,
            "\033[31m" + reason + "\033[0m\r\n");
}

TEST(Diagnostics, JournalGetsTheSeverity) {
  EXPECT_EQ(refuse({.errors = Errors::journal}).err, "<3>" + reason + "\n");
}

TEST(Diagnostics, StreamThatIsNotTheJournalsGetsNoSeverity) {
  EXPECT_EQ(refuse({.environment = {"JOURNAL_STREAM=1:2"}}).err, reason + "\n");
}

TEST(Diagnostics, ReplayTellsATerminalHowFarItIsAndTidiesUp) {
  Outcome const outcome =
      runAgent(replayOf(STP_CAPTURES_DIR "/02-admin-edge"), "", {.errors = Errors::terminal});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, StartsWith("\r\033[K1 of 2: "));
  EXPECT_THAT(outcome.err, EndsWith("\r\033[K"));
}

TEST(Diagnostics, SlowReplayTellsOfEachStep) {
  Outcome const outcome = runAgent(replayOf(STP_CAPTURES_DIR "/02-admin-edge", {"--pace", "100"}),
                                   "", {.errors = Errors::terminal});
  EXPECT_THAT(outcome.err, AllOf(StartsWith("\r\033[K1 of 2: "), HasSubstr("\r\033[K2 of 2: ")));
}

TEST(Diagnostics, ProgressMakesWayForARefusal) {
  Outcome const outcome = runAgent(replayOf("/nonexistent"), "", {.errors = Errors::terminal});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.err,
              EndsWith("\r\033[K\033[31m/nonexistent/showbridge.json: No such file or directory"
                       "\033[0m\r\n"))
      << "and nothing is left to tidy up";
}

TEST(Diagnostics, ProgressFitsIntoTheTerminalsLine) {
  struct Case {
    unsigned short columns;
    std::size_t shown;
  };
  for (Case const& c : {Case{60, 51}, Case{20, 11}, Case{0, 71}}) {  // that tells none has 80
    Outcome const outcome =
        runAgent({"replay", "--bridge", "br0", "--show", "none", std::string(100, 'x')}, "",
                 {.errors = Errors::terminal, .columns = c.columns});
    EXPECT_THAT(outcome.err, StartsWith("\r\033[K1 of 1: " + std::string(c.shown, 'x') + "\r"));
  }
}

TEST(Diagnostics, ProgressCannotCommandTheTerminal) {
  Outcome const outcome = runAgent({"replay", "--bridge", "br0", "--show", "none", "a\033[2J\x7F"},
                                   "", {.errors = Errors::terminal});
  EXPECT_THAT(outcome.err, StartsWith("\r\033[K1 of 1: a?[2J?\r\033[K"));
}

TEST(Diagnostics, NoProgressElsewhereOrBetweenTheLinesOfATrace) {
  EXPECT_EQ(runAgent(replayOf(STP_CAPTURES_DIR "/02-admin-edge")).err, "");
  EXPECT_THAT(runAgent(replayOf(STP_CAPTURES_DIR "/02-admin-edge", {"--trace"}), "",
                       {.errors = Errors::terminal})
                  .err,
              AllOf(HasSubstr("OCGlobalConfigSm"), Not(HasSubstr("1 of 2"))));
}

TEST(Diagnostics, NoProgressBetweenResultsOnTheSameTerminal) {
  auto const watching = replayOf(STP_CAPTURES_DIR "/02-admin-edge", {"--watch"});
  EXPECT_THAT(runAgent(watching, "", {.errors = Errors::sharedTerminal}).err,
              AllOf(HasSubstr("\"ocInterfaceConfigDir\""), Not(HasSubstr("1 of 2"))));
  Outcome const apart = runAgent(watching, "", {.errors = Errors::terminal});
  EXPECT_THAT(apart.out, HasSubstr("\"ocInterfaceConfigDir\""));
  EXPECT_THAT(apart.err, HasSubstr("1 of 2"));
}

}  // namespace
}  // namespace Test
