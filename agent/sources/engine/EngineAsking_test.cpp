// How snapshots are asked for: from a script in the place of the control program, on a clock that
// runs as the test has it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

#include "agent/host/Interrupt.h"
#include "agent/sources/engine/EngineSource.h"

namespace Agent {
namespace {

using std::chrono::milliseconds;
using testing::HasSubstr;

class EngineAsking : public testing::Test {
 protected:
  ~EngineAsking() override { std::filesystem::remove_all(folder_); }

  // What an ask comes to; so long goes by with each turn of the loop, and with each run of the
  // script.
  EngineSource::Taken ask(std::string const& script, milliseconds perTurn, milliseconds perRun = {},
                          bool isAll = false) {
    std::ofstream(folder_ + "/program") << "#!/bin/sh\necho x >>" << folder_ << "/runs\n"
                                        << script << "\n";
    ::chmod((folder_ + "/program").c_str(), 0700);
    std::optional<EngineSource::Taken> taken;
    std::filesystem::remove(folder_ + "/runs");
    std::ptrdiff_t seen = 0;
    begun = now;
    source.ask([&](EngineSource::Taken given) { taken = std::move(given); }, isAll);
    EXPECT_TRUE(source.isAsking());
    for (int turn = 0; !taken; ++turn) {
      if (turn == 20'000) {
        throw std::runtime_error("it does not tell");
      }
      loop.turn(milliseconds(1));
      auto const ran = runs();
      now += perTurn + (ran - seen) * perRun;
      seen = ran;
    }
    EXPECT_FALSE(source.isAsking());
    return *taken;
  }

  std::string kindOf(EngineSource::Taken const& taken) {
    auto const* const error = std::get_if<EngineError>(&taken.result);
    reason = error == nullptr ? "" : error->what();
    return error == nullptr ? "none" : error->kind();
  }

  // Has a question of the engine below answered by a script.
  void answersOf(std::string const& command, std::string const& script) const {
    std::ofstream(folder_ + "/" + command) << script << "\n";
  }

  // The questions to that engine so far.
  std::vector<std::string> asked() const {
    std::vector<std::string> questions;
    std::ifstream stream(folder_ + "/asked");
    for (std::string line; std::getline(stream, line);) {
      questions.push_back(line);
    }
    return questions;
  }

  // How often the program was run for the last ask.
  std::ptrdiff_t runs() const {
    std::ifstream stream(folder_ + "/runs");
    return std::count(std::istreambuf_iterator<char>(stream), {}, 'x');
  }

  Loop::Time now{std::chrono::hours(1)};
  Loop loop{[this] { return now; }};
  std::string reason;
  Loop::Time begun;  // the time of the last ask

 private:
  static std::string makeFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "engine-XXXXXX").string();
    return ::mkdtemp(pattern.data());
  }

  Interrupt interrupt_{loop};
  std::string folder_ = makeFolder();

 protected:
  EngineSource source{loop, folder_ + "/program", "br0"};
};

std::string const portLeaves =
    R"(printf '{"bridge":"br0","mstids":["0"]}[,{"port":"e2"}]'; )"
    R"(echo "Can't find index for port e1. Not a valid interface." >&2; exit 1)";

TEST_F(EngineAsking, PortThatLeavesIsAskedAboutAgainUntilASecondHasGoneBy) {
  EXPECT_EQ(kindOf(ask(portLeaves, milliseconds(1), milliseconds(20))), "ports");
  EXPECT_GE(now - begun, std::chrono::seconds(1));
  EXPECT_THAT(reason, HasSubstr("showportdetail br0: failed with status 1"));
}

TEST_F(EngineAsking, EachOutageIsAskedAboutAsIfItWereTheFirst) {
  for (int outage = 0; outage < 3; ++outage) {
    SCOPED_TRACE(outage);
    EXPECT_EQ(kindOf(ask(portLeaves, milliseconds(1), milliseconds(200))), "ports");
    EXPECT_GE(runs(), 3);
    EXPECT_GE(now - begun, std::chrono::seconds(1));
    // The second attempt comes at once: no time goes by.
    EXPECT_EQ(kindOf(ask("[ $(wc -l <\"${0%/*}/runs\") -lt 2 ] || exit 7\n" + portLeaves,
                         milliseconds(0))),
              "failed with status 7");
    EXPECT_EQ(runs(), 2);
    now += std::chrono::hours(1);
  }
}

TEST_F(EngineAsking, ListOfPortsThatLacksAnEntryIsAskedAboutAgainThoughNothingFailed) {
  std::string const list = R"({"bridge":"br0","mstids":["0"]})";
  std::string const bridge =
      R"([{"bridge":"br0","enabled":"yes","force-protocol-version":"rstp"}])";
  std::string const rest =
      R"({"bridge":"br0","fid2mstid":[{}}{"bridge":"br0","vid2fid":[{}})"
      R"({"bridge":"br0","format-selector":"0","configuration-name":"","revision-level":"0"})";
  EXPECT_EQ(kindOf(ask("printf '%s' '" + list + R"([,{"port":"e2","bridge":"br0","x":"y"}])" +
                           bridge + rest + list + "'",
                       milliseconds(1), milliseconds(200))),
            "showportdetail.json");
  EXPECT_GE(runs(), 3);
  EXPECT_THAT(reason, HasSubstr("showportdetail br0: not understood"));
}

TEST_F(EngineAsking, LastingReasonIsToldAfterFiveAttemptsOfASlowEngine) {
  for (int const perRun : {250, 1100}) {
    SCOPED_TRACE(perRun);
    EXPECT_EQ(kindOf(ask(portLeaves, milliseconds(1), milliseconds(perRun))), "ports");
    EXPECT_EQ(runs(), 5);
  }
}

TEST_F(EngineAsking, BridgeThatTheEngineHasNotHeardOfYetIsAskedAboutAgainToo) {
  EXPECT_EQ(kindOf(ask("printf 'CTL_get_mstilist: Got return code 0, -1\nCouldn'\\''t find bridge "
                       "with index 3\n\n'; exit 1",
                       milliseconds(1), milliseconds(200))),
            "no MSTP bridge");
  EXPECT_GE(runs(), 3);
  EXPECT_THAT(reason, HasSubstr("mstpctl addbridge br0"));
}

TEST_F(EngineAsking, WhatPassesWithAPortOrAnInstanceIsAskedAboutAgain) {
  for (auto const& [said, kind] : std::vector<std::pair<std::string, std::string>>{
           {"Error getting list of all ports", "ports"},
           {"br0 Couldn't find port with index 7", "ports"},
           {"Can't find index for port e1. Not a valid interface.", "ports"},
           {"br0:e1 Failed to get port state", "ports"},
           {"br0 Couldn't find MSTI with ID 5", "instances"},
       }) {
    SCOPED_TRACE(said);
    EXPECT_EQ(kindOf(ask("echo \"" + said + "\" >&2; exit 1", milliseconds(1), milliseconds(300))),
              kind);
    EXPECT_GE(runs(), 3);
  }
}

TEST_F(EngineAsking, NewInstancesAreAskedAboutAlthoughTheBatchEndsRightBehindTheMode) {
  std::string const untilTheMode =
      R"({"bridge":"br0","mstids":["0","5"]}[{"port":"e1","bridge":"br0"}])"
      R"([{"bridge":"br0","enabled":"yes","force-protocol-version":"mstp"}])";
  EXPECT_EQ(kindOf(ask("grep -q 'showtree br0 5' && exit 7\nprintf '%s' '" + untilTheMode +
                           R"({"bridge":"br0","fid2mstid":['; exit 1)",
                       milliseconds(1))),
            "failed with status 7");
  EXPECT_EQ(runs(), 2);
}

TEST_F(EngineAsking, OtherReasonsAreToldAtOnce) {
  EXPECT_EQ(kindOf(ask("echo \"can't setup control connection\" >&2; exit 1", milliseconds(0))),
            "no engine");
  EXPECT_EQ(runs(), 1);
  EXPECT_EQ(kindOf(ask("echo \"Can't find index for bridge br0.\" >&2; exit 1", milliseconds(0))),
            "no bridge");
  EXPECT_EQ(kindOf(ask("echo; echo 'send_ctl_message: Error getting message from server: Timeout'; "
                       "exit 1",
                       milliseconds(0))),
            "silence");
  EXPECT_EQ(kindOf(ask("exit 7", milliseconds(0))), "failed with status 7");
  EXPECT_EQ(kindOf(ask("exit 0", milliseconds(0))), "");
  EXPECT_THAT(reason, HasSubstr("not answered; it must be the mstpctl of mstpd, 0.0.8 or later"));
}

TEST_F(EngineAsking, ReasonIsToldWithWhatItWasAnAnswerTo) {
  std::string const list = R"(printf '{"bridge":"br0","mstids":["0"]}'; )";
  for (auto const& [script, expected] : std::vector<std::pair<std::string, std::string>>{
           {"echo; echo 'No such instance'; exit 1",
            R"(showportdetail br0: failed with status 1, says "No such instance")"},
           {"printf '[Nothing\n'; exit 1",
            R"(showportdetail br0: failed with status 1, says "Nothing")"},
           {R"(printf '[{"port":"e1","bridge":"br0"},Nothing\n'; exit 1)",
            R"(showportdetail br0: failed with status 1, says "Nothing")"},
           {R"(printf '[{"port":"e1","bridge":"br0"}]Nothing\n'; exit 1)",
            R"(showbridge br0: failed with status 1, says "Nothing")"},
           {R"(printf '[{"port":"e1","bridge":"br0"}]\nNothing\n'; exit 1)",
            R"(showbridge br0: failed with status 1, says "Nothing")"},
           {R"(printf '[{"port":"e1","bridge":"br0"}]\n'; exit 1)",
            "showbridge br0: failed with status 1"},
       }) {
    SCOPED_TRACE(script);
    EXPECT_EQ(kindOf(ask(list + script, milliseconds(0))), "failed with status 1");
    EXPECT_THAT(reason, testing::EndsWith("/program: " + expected));
  }
}

TEST_F(EngineAsking, WhatTheOperatorDoesAboutItIsTold) {
  for (auto const& [said, kind, advice] :
       std::vector<std::tuple<std::string, std::string, std::string>>{
           {"Couldn't connect to server", "no engine", "start mstpd"},
           {"Error sending message to server", "no engine", "mstpd has ended meanwhile"},
           {"Can't find index for bridge br0.", "no bridge", "ip link add br0 type bridge"},
           {"Couldn't find bridge with index 3", "no MSTP bridge", "mstpctl addbridge br0"},
           {"ctl_client_init: Operation not permitted", "no right", "ask as root"},
       }) {
    SCOPED_TRACE(said);
    EXPECT_EQ(kindOf(ask("echo \"" + said + "\" >&2; exit 1", milliseconds(1), milliseconds(300))),
              kind);
    EXPECT_THAT(reason, HasSubstr("; "));
    EXPECT_THAT(reason, HasSubstr(advice));
  }
}

TEST_F(EngineAsking, ProgramHasLongerThanItsOwnLimitForAQuestion) {
  EXPECT_EQ(kindOf(ask("exec sleep 1000", milliseconds(100))), "does not answer");
  EXPECT_GT(now - begun, std::chrono::seconds(5));
}

// Answers as an engine with two ports and the instances 0 and 5 does, and records the questions.
std::string const mstpEngine = R"sh(
here=${0%/*}
while read -r command bridge rest; do
  echo "$command${rest:+ $rest}" >>"$here/asked"
  [ ! -e "$here/$command" ] || { . "$here/$command"; continue; }
  about='{"bridge":"br0",'
  case $command in
    showmstilist) printf '%s' "$about"'"mstids":["0","5"]}' ;;
    showportdetail)
      separator='['
      for port in ${ports:-e1 e2}; do
        printf '%s' "$separator"'{"port":"'"$port"'","bridge":"br0","admin-point-to-point":"auto",' \
          '"point-to-point":"yes","admin-edge-port":"no","auto-edge-port":"yes",' \
          '"oper-edge-port":"no","bpdu-guard-port":"no"}'
        separator=','
      done
      printf ']' ;;
    showbridge)
      printf '%s' '[{"bridge":"br0","enabled":"yes","force-protocol-version":"mstp"}]' ;;
    showfid2mstid) printf '%s' "$about"'"fid2mstid":[}' ;;
    showvid2fid) printf '%s' "$about"'"vid2fid":[}' ;;
    showtree)
      printf '%s' "$about"'"mstid":"'"$rest"'","bridge-id":"8.00'"$rest"'.52:05:0B:AE:5C:AA"}' ;;
    showmstconfid)
      printf '%s' "$about"'"format-selector":"0","configuration-name":"","revision-level":"0"}' ;;
    showtreeport)
      printf '%s' '{"port":"'"${rest% *}"'","bridge":"br0","mstid":"'"${rest#* }"'",' \
        '"role":"Alternate"}' ;;
  esac
done
)sh";

TEST_F(EngineAsking, PortsOfInstancesAreAskedAboutByASecondRun) {
  auto const taken = ask(mstpEngine, milliseconds(1));
  EXPECT_EQ(kindOf(taken), "none") << reason;
  EXPECT_EQ(runs(), 3) << "the first one learns the instances";
  auto const& ports = std::get<EngineSnapshot>(taken.result).trees.at(1).ports;
  ASSERT_EQ(ports.size(), 2U);
  EXPECT_EQ(ports[1].name, "e2");
  EXPECT_EQ(ports[1].role, Stp::Operational::PortRole::alternate);
  auto const questions = asked();
  EXPECT_THAT(std::vector(questions.end() - 4, questions.end()),
              testing::ElementsAre("showmstilist", "showtreeport e1 5", "showtreeport e2 5",
                                   "showmstilist"));
}

TEST_F(EngineAsking, SecondRunIsLeftOutWhereNothingIsToBeAsked) {
  auto const first = ask(mstpEngine, milliseconds(1));
  auto const second = ask(mstpEngine, milliseconds(1));
  EXPECT_EQ(runs(), 1);
  EXPECT_TRUE(std::get<EngineSnapshot>(second.result) == std::get<EngineSnapshot>(first.result));
  ask(mstpEngine, milliseconds(1), {}, true);
  EXPECT_EQ(runs(), 2);
  for (int interval = 1; interval <= 3; ++interval) {
    now += std::chrono::seconds(10);
    ask(mstpEngine, milliseconds(1));
    EXPECT_EQ(runs(), interval == 3 ? 2 : 1);
  }
}

TEST_F(EngineAsking, PortThatLeavesBetweenTheRunsIsAskedAboutAgain) {
  answersOf("showtreeport",
            "echo \"Can't find index for port e1. Not a valid interface.\" >&2; exit 1");
  EXPECT_EQ(kindOf(ask(mstpEngine, milliseconds(1), milliseconds(200))), "ports");
  EXPECT_GE(runs(), 6);
  answersOf("showtreeport", R"([ "$rest" != 'e2 5' ] || {
    printf "CTL_get_msti_port_status: Got return code 0, -1\nbr0 Couldn't find port with index 3\n\n"
    exit 1
  }
  printf '{"port":"e1","bridge":"br0","mstid":"5"}')");
  EXPECT_EQ(kindOf(ask(mstpEngine, milliseconds(1), milliseconds(200))), "ports");
  EXPECT_THAT(reason, HasSubstr("showtreeport br0 e2 5: failed with status 1, says "));
}

TEST_F(EngineAsking, InstancesThatChangeBetweenTheRunsAreAskedAboutAgain) {
  ask(mstpEngine, milliseconds(1));
  answersOf("showmstilist", R"(
    [ -e "$here/left" ] || printf '{"bridge":"br0","mstids":["0","5"]}'
    [ ! -e "$here/left" ] || printf '{"bridge":"br0","mstids":["0"]}')");
  answersOf("showtreeport", R"(
    touch "$here/left"
    printf '{"port":"%s","bridge":"br0","mstid":"5"}' "${rest% *}")");
  auto const taken = ask(mstpEngine, milliseconds(1), {}, true);
  ASSERT_EQ(kindOf(taken), "none") << reason;
  EXPECT_EQ(std::get<EngineSnapshot>(taken.result).trees.size(), 1U);
}

TEST_F(EngineAsking, AnswerAboutAPortThatIsNotUnderstoodIsToldAtOnce) {
  answersOf("showtreeport", R"(printf '{"port":"%s","bridge":"br0","mstid":"5","role":"King"}' )"
                            R"("${rest% *}")");
  EXPECT_EQ(kindOf(ask(mstpEngine, milliseconds(1))), "showtreeport-e1-5.json");
  EXPECT_THAT(reason, HasSubstr(R"(showtreeport br0 e1 5: member "role" is "King", not one of )"));
}

TEST_F(EngineAsking, PortWhoseNameCannotStandInAQuestionIsNotAskedAbout) {
  std::string const engine = "ports='e1 a\"b e\xE4'\n" + mstpEngine;
  for (int time = 0; time < 2; ++time) {
    auto const taken = ask(engine, milliseconds(1));
    ASSERT_EQ(kindOf(taken), "none") << reason;
    auto const& snapshot = std::get<EngineSnapshot>(taken.result);
    EXPECT_EQ(snapshot.ports.size(), 3U);
    EXPECT_EQ(snapshot.trees.at(1).ports.size(), 1U);
    EXPECT_THAT(taken.remarks,
                testing::IsSupersetOf(
                    {testing::HasSubstr(R"(showtreeport: not asked about port "a\"b", whose name)"),
                     testing::HasSubstr("showtreeport: not asked about port \"e\xEF\xBF\xBD\"")}));
  }
}

TEST_F(EngineAsking, WhatTheSystemHasNotIsToldAndIsNoEndOfAsking) {
#ifdef __has_feature
#if __has_feature(address_sanitizer)
  GTEST_SKIP() << "the sanitizers look at objects by means of descriptors, of which there are none";
#endif
#endif
  ask(mstpEngine, milliseconds(1));
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  int const next = ::dup(0);  // all below are taken
  ::close(next);
  rlimit const full{static_cast<rlim_t>(next), before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &full), 0);
  std::optional<EngineSource::Taken> taken;
  source.ask([&](EngineSource::Taken given) { taken = std::move(given); });
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_FALSE(taken) << "told from inside";
  for (int turn = 0; turn < 1000 && !taken; ++turn) {
    loop.turn(milliseconds(1));
  }
  ASSERT_TRUE(taken);
  EXPECT_EQ(kindOf(*taken), "system");
  EXPECT_THAT(reason, testing::EndsWith("/program: pipe2: Too many open files"));
  EXPECT_EQ(kindOf(ask(mstpEngine, milliseconds(1))), "none") << reason;
}

TEST_F(EngineAsking, SourceMayGoWhileItAsks) {
  std::optional<EngineSource> gone;
  gone.emplace(loop, "cat", "br0");
  gone->ask([](EngineSource::Taken const& /*taken*/) { FAIL() << "it tells"; });
  gone.reset();
  loop.turn(milliseconds(1));
}

}  // namespace
}  // namespace Agent
