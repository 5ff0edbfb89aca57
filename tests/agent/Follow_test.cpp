// Behind an engine that runs, fails, and runs again.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <regex>
#include <string>
#include <vector>

#include "FollowTestSupport.h"

namespace Test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;

TEST_F(Follow, EveryChangeOfTheEngineIsApplied) {
  Process agent(following(), around());
  std::vector<std::string> captures;
  std::size_t read = 0;
  std::vector<std::string> expected;
  for (char const* const name :
       {"01-converged", "02-admin-edge", "03-bpdu-guard", "04-msti5-root-moves",
        "05-vlans-to-msti1", "06-link-down", "07-link-up", "08-port-removed",
        "09-port-back-shared-link", "10-msti5-deleted", "11-rstp"}) {
    SCOPED_TRACE(name);
    plays(name);
    captures.emplace_back(name);
    expected = replayed(captures);
    expectLines(agent, expected, read);
    read = expected.size() - 1;
  }
  EXPECT_EQ(endsAt(agent, expected).err, "");
}

TEST_F(Follow, DepartedPortIsForgottenIfAskedFor) {
  plays("07-link-up");
  std::string const forget = "--forget-departed";
  std::vector<std::string> arguments = following();
  arguments.push_back(forget);
  Process agent(arguments, around());
  auto const before = replayed({"07-link-up"});
  expectLines(agent, before);
  plays("08-port-removed");
  auto const after = replayed({"07-link-up", "08-port-removed"}, {forget});
  EXPECT_THAT(after, Contains(R"({"deleted":["ocInterfaceStateDir","state","Ethernet5"]})"));
  expectLines(agent, after, before.size() - 1);
  EXPECT_EQ(endsAt(agent, after).err, "");
}

TEST_F(Follow, OneProcessIsAskedAllQuestionsButThoseAboutPortsOfInstances) {
  Process agent(following(), around());
  auto const expected = replayed({"01-converged"});
  expectLines(agent, expected);
  awaitBatches(2);
  EXPECT_EQ(endsAt(agent, expected).err, "");
  std::vector<std::string> const before{"begin",          "showmstilist br0",  "showportdetail br0",
                                        "showbridge br0", "showfid2mstid br0", "showvid2fid br0"};
  std::vector<std::string> const trees{"showtree br0 0", "showtree br0 1", "showtree br0 5"};
  std::vector<std::string> const after{"showmstconfid br0", "showmstilist br0"};
  std::vector<std::string> ports{"begin"};
  for (char const* const instance : {" 1", " 5"}) {
    for (char const* const port : {"1", "2", "3", "4", "5"}) {
      ports.push_back(std::string("showtreeport br0 Ethernet") + port + instance);
    }
  }
  ports.emplace_back("showmstilist br0");
  // The first attempt does not know the instances yet.
  std::vector<std::string> batches;
  for (std::vector<std::string> const* const part : std::initializer_list<decltype(&before)>{
           &before, &after, &before, &trees, &after, &ports, &before, &trees, &after, &before}) {
    batches.insert(batches.end(), part->begin(), part->end());
  }
  auto const lines = asked();
  ASSERT_GE(lines.size(), batches.size());
  EXPECT_EQ(std::vector(lines.begin(), lines.begin() + std::ssize(batches)), batches);
}

TEST_F(Follow, LineFeedsBetweenTheAnswersDoNotMatter) {
  moodIs("spacious");
  Process agent(following(), around());
  auto const expected = replayed({"01-converged"});
  expectLines(agent, expected);
  EXPECT_EQ(endsAt(agent, expected).err, "");
}

TEST_F(Follow, EngineBeforeTheOneThatPrintsStpEnabledIsFollowed) {
  moodIs("old");
  Process agent(following(), around());
  auto const expected = replayed({"01-converged"});
  expectLines(agent, expected);
  EXPECT_EQ(endsAt(agent, expected).err, "");
}

std::string const notRunning =
    R"(failed with status 1: "can't setup control connection", says )"
    R"("ctl_client_init: Couldn't connect to server"; start mstpd, in the network namespace of the agent)";
std::string const noBridge =
    R"(failed with status 1: "Can't find index for bridge br0. Not a valid interface."; )"
    "there is no bridge of that name; ip link add br0 type bridge makes one";
std::string const notKnown =
    R"(failed with status 1, says "CTL_get_mstilist: Got return code 0, -1\nCouldn't find bridge)"
    R"("...; mstpd does not know it as a bridge; mstpctl addbridge br0 tells it)";

TEST_F(Follow, EachReasonIsReportedOnceAndToldApartThoughTheStatusIsTheSame) {
  moodIs("down");
  Process agent(following(), around());
  EXPECT_EQ(agent.readErrorLine(), failure + notRunning);
  moodIs("absent");
  EXPECT_EQ(agent.readErrorLine(), failure + noBridge);
  moodIs("foreign");
  EXPECT_EQ(agent.readErrorLine(), failure + notKnown);
  for (char const* const known : {"absent", "down", "foreign"}) {
    moodIs(known);
    awaitBatches(1);
  }
  moodIs("");
  auto const expected = replayed({"01-converged"});
  expectLines(agent, expected);
  EXPECT_EQ(endsAt(agent, expected, SIGINT).err, again + "\n");
}

TEST_F(Follow, ReasonThatReturnsAfterAGoodAnswerIsReportedAgain) {
  Process agent(following(), around());
  for (int outage = 0; outage < 2; ++outage) {
    moodIs("down");
    EXPECT_EQ(agent.readErrorLine(), failure + notRunning);
    moodIs("");
    EXPECT_EQ(agent.readErrorLine(), again);
  }
}

TEST_F(Follow, NoMoreThanEightReasonsOfOneOutageAreReported) {
  moodIs("status10");
  Process agent(following(), around());
  for (int status = 10; status < 18; ++status) {
    moodIs("status" + std::to_string(status));
    EXPECT_EQ(agent.readErrorLine(), failure + "failed with status " + std::to_string(status));
  }
  moodIs("status18");
  awaitBatches(1);
  moodIs("");
  EXPECT_EQ(agent.readErrorLine(), again);
}

TEST_F(Follow, PortThatLeavesDuringAPollIsNoOutage) {
  Process agent(following(), around());
  auto const expected = replayed({"01-converged"});
  expectLines(agent, expected);
  for (char const* const mood : {"once leaving", "once gone"}) {
    moodIs(mood);
    awaitBatches(2);
  }
  EXPECT_EQ(endsAt(agent, expected).err, "");
}

TEST_F(Follow, StringThatIsNotUtf8IsReportedOnceAndTheRestIsFollowed) {
  moodIs("latin");
  std::string const readable = "campus-w\xEF\xBF\xBDst";
  auto const replayed = [&readable](std::vector<std::string> const& captures) {
    auto lines = ::Test::replayed(captures);
    for (std::string& line : lines) {
      line = std::regex_replace(line, std::regex("campus-west"), readable);
    }
    return lines;
  };
  Process agent(following(), around());
  auto const expected = replayed({"01-converged"});
  expectLines(agent, expected);
  plays("03-bpdu-guard");
  auto const later = replayed({"01-converged", "03-bpdu-guard"});
  expectLines(agent, later, expected.size() - 1);
  EXPECT_EQ(endsAt(agent, later).err,
            failure + R"(showmstconfid br0: member "configuration-name" is not UTF-8, shown as )" +
                "\"" + readable + "\"\n");
}

TEST_F(Follow, RemarkThatReturnsIsReportedAgain) {
  std::string const latin = failure + R"(showmstconfid br0: member "configuration-name" is not )" +
                            "UTF-8, shown as \"campus-w\xEF\xBF\xBDst\"";
  Process agent(following(), around());
  for (int time = 0; time < 3; ++time) {
    moodIs("latin");
    EXPECT_EQ(agent.readErrorLine(), latin);
    moodIs("");
    awaitBatches(1);
  }
  agent.signal(SIGTERM);
  EXPECT_EQ(agent.finish().err, "");
}

TEST_F(Follow, NothingIsClaimedBeforeTheFirstAnswer) {
  for (int const number : {SIGINT, SIGTERM}) {
    moodIs("down");
    Process agent(following(), around());
    agent.readErrorLine();
    awaitBatches(1);
    agent.signal(number);
    Outcome const outcome = agent.finish();
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "br0: the engine gave no answer, nothing is mirrored\n");
  }
}

TEST_F(Follow, OutageIsReportedOnceThoughTheEngineSaysSomethingElseEachTime) {
  moodIs("nagging");
  Process agent(following(), around());
  awaitBatches(3);
  moodIs("");
  auto const expected = replayed({"01-converged"});
  expectLines(agent, expected);
  EXPECT_THAT(linesOf(endsAt(agent, expected).err),
              ElementsAre(StartsWith(failure + "failed with status 1: \"complaint "), again));
}

TEST_F(Follow, ProgramThatIsNotInstalledYetIsReportedOnce) {
  std::string const program = folder.path("absent");
  Process agent(following(program), around());
  EXPECT_EQ(agent.readErrorLine(), program + ": can't be started: No such file or directory");
  std::filesystem::create_symlink(STP_MSTPCTL, program);
  auto const expected = replayed({"01-converged"});
  expectLines(agent, expected);
  EXPECT_EQ(endsAt(agent, expected).err, again + "\n");
}

// What can happen to an engine that was followed, and how that is reported.
struct Trouble {
  char const* mood;
  std::string reported;

  friend std::ostream& operator<<(std::ostream& out, Trouble const& trouble) {
    return out << trouble.reported;
  }
};

class FollowThroughTrouble : public Follow, public testing::WithParamInterface<Trouble> {};

TEST_P(FollowThroughTrouble, LastStateStaysAndItGoesOn) {
  Process agent(following(), around());
  expectLines(agent, replayed({"01-converged"}));
  moodIs(GetParam().mood);
  EXPECT_THAT(agent.readErrorLine(), StartsWith(failure + GetParam().reported));
  if (std::string(GetParam().mood) != "hang") {  // each batch of it takes its ten seconds
    awaitBatches(1);
  }
  plays("03-bpdu-guard");
  moodIs("");
  auto const expected = replayed({"01-converged", "03-bpdu-guard"});
  expectLines(agent, expected, replayed({"01-converged"}).size() - 1);
  EXPECT_EQ(endsAt(agent, expected).err, again + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    Each, FollowThroughTrouble,
    testing::Values(
        Trouble{"down", notRunning}, Trouble{"absent", noBridge}, Trouble{"foreign", notKnown},
        Trouble{"silent",
                R"(showfid2mstid br0: failed with status 1, says "send_ctl_message: Error getting )"
                R"(message from server: Timeout)"},
        Trouble{"hang", "showfid2mstid br0: does not answer"},
        Trouble{"die", "showfid2mstid br0: was ended by signal 9"},
        Trouble{"early",
                "showfid2mstid br0: not answered; it must be the mstpctl of mstpd, 0.0.8 or later"},
        Trouble{"half", "showfid2mstid br0: not answered; "},
        Trouble{"sour", "failed with status 3"},
        Trouble{"leaving",
                R"(showportdetail br0: failed with status 1: "br0:Ethernet2 Failed to get port )"
                R"(state", says "CTL_get_cist_port_status: )"},
        Trouble{
            "gone",
            R"(showportdetail br0: failed with status 1: "Can't find index for port Ethernet2.)"},
        Trouble{"restless", "showmstilist br0: keeps changing"}),
    [](auto const& info) { return std::string(info.param.mood); });

TEST_F(Follow, SnapshotThatChangesUnderneathIsTakenAnew) {
  Process agent(following(), around());
  expectLines(agent, replayed({"01-converged"}));
  std::filesystem::create_symlink(capture("10-msti5-deleted"), folder.path("next"));
  moodIs("change");  // the trees are those of the next snapshot; instance 5 has none
  auto const expected = replayed({"01-converged", "10-msti5-deleted"});
  expectLines(agent, expected, replayed({"01-converged"}).size() - 1);
  EXPECT_EQ(endsAt(agent, expected).err, "");
}

TEST_F(Follow, SnapshotWhoseInstancesAreOthersByItsEndIsTakenAnew) {
  std::filesystem::create_symlink(capture("10-msti5-deleted"), folder.path("next"));
  moodIs("late");  // only the list asked for at the end is that of the next snapshot
  Process agent(following(), around());
  auto const expected = replayed({"10-msti5-deleted"});
  expectLines(agent, expected);
  EXPECT_EQ(endsAt(agent, expected).err, "");
}

TEST_F(Follow, HangingEngineIsEndedWithTheAgent) {
  moodIs("hang");
  Process agent(following(), around());
  pid_t engine = 0;
  await([&] { return static_cast<bool>(std::ifstream(folder.path("hanging")) >> engine); });
  agent.signal(SIGTERM);
  EXPECT_EQ(agent.finish().status, 3);
  EXPECT_NE(::kill(engine, 0), 0);
}

TEST_F(Follow, JournalGetsSeverities) {
  moodIs("down");
  Process agent(following(), around(Errors::journal));
  EXPECT_THAT(agent.readErrorLine(), StartsWith("<3>" + failure));
  moodIs("");
  EXPECT_EQ(agent.readErrorLine(), "<5>" + again);
}

}  // namespace
}  // namespace Test
