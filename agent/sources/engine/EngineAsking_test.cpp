// How snapshots are asked for: from a script in the place of the control program, on a clock that
// runs as the test has it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

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
  EngineSource::Taken ask(std::string const& script, milliseconds perTurn,
                          milliseconds perRun = {}) {
    std::ofstream(folder_ + "/program") << "#!/bin/sh\necho x >>" << folder_ << "/runs\n"
                                        << script << "\n";
    ::chmod((folder_ + "/program").c_str(), 0700);
    std::optional<EngineSource::Taken> taken;
    std::filesystem::remove(folder_ + "/runs");
    std::ptrdiff_t seen = 0;
    asked = now;
    source.ask([&](EngineSource::Taken given) { taken = std::move(given); });
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

  // How often the program was run for the last ask.
  std::ptrdiff_t runs() const {
    std::ifstream stream(folder_ + "/runs");
    return std::count(std::istreambuf_iterator<char>(stream), {}, 'x');
  }

  Loop::Time now{std::chrono::hours(1)};
  Loop loop{[this] { return now; }};
  std::string reason;
  Loop::Time asked;  // the time of the last ask

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
  EXPECT_EQ(kindOf(ask(portLeaves, milliseconds(1), milliseconds(200))), "ports");
  EXPECT_GE(runs(), 3);
  EXPECT_GE(now - asked, EngineSource::lasting);
  EXPECT_THAT(reason, HasSubstr("showportdetail br0: failed with status 1"));
}

TEST_F(EngineAsking, EachOutageIsAskedAboutAsIfItWereTheFirst) {
  for (int outage = 0; outage < 3; ++outage) {
    SCOPED_TRACE(outage);
    EXPECT_EQ(kindOf(ask(portLeaves, milliseconds(1), milliseconds(200))), "ports");
    EXPECT_GE(runs(), 3);
    EXPECT_GE(now - asked, EngineSource::lasting);
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
  // Each run takes longer than the second.
  EXPECT_EQ(kindOf(ask(portLeaves, milliseconds(1), milliseconds(1100))), "ports");
  EXPECT_EQ(runs(), 5);
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
  EXPECT_GT(EngineSource::answerLimit, std::chrono::seconds(5));
  Loop::Time const begun = now;
  EXPECT_EQ(kindOf(ask("exec sleep 1000", milliseconds(100))), "does not answer");
  EXPECT_GE(now - begun, EngineSource::answerLimit);
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
