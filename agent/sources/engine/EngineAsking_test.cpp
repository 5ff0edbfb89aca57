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
#include <string>
#include <utility>
#include <variant>

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
    EngineSource source(loop, folder_ + "/program", "br0");
    std::optional<EngineSource::Taken> taken;
    std::filesystem::remove(folder_ + "/runs");
    std::ptrdiff_t seen = 0;
    source.ask([&](EngineSource::Taken given) { taken = std::move(given); });
    EXPECT_TRUE(source.isAsking());
    while (!taken) {
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

 private:
  static std::string makeFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "engine-XXXXXX").string();
    return ::mkdtemp(pattern.data());
  }

  Interrupt interrupt_{loop};
  std::string folder_ = makeFolder();
};

std::string const portLeaves =
    R"(printf '{"bridge":"br0","mstids":["0"]}[,{"port":"e2"}]'; )"
    R"(echo "Can't find index for port e1. Not a valid interface." >&2; exit 1)";

TEST_F(EngineAsking, PortThatLeavesIsAskedAboutAgainUntilASecondHasGoneBy) {
  EXPECT_EQ(kindOf(ask(portLeaves, milliseconds(5))), "ports");
  EXPECT_GE(runs(), 3);
  EXPECT_THAT(reason, HasSubstr("showportdetail br0: failed with status 1"));
}

TEST_F(EngineAsking, LastingReasonIsToldAfterFiveAttemptsOfASlowEngine) {
  // Each run takes longer than the second.
  EXPECT_EQ(kindOf(ask(portLeaves, milliseconds(1), milliseconds(1100))), "ports");
  EXPECT_EQ(runs(), 5);
}

TEST_F(EngineAsking, BridgeThatTheEngineHasNotHeardOfYetIsAskedAboutAgainToo) {
  EXPECT_EQ(kindOf(ask("printf 'CTL_get_mstilist: Got return code 0, -1\nCouldn'\\''t find bridge "
                       "with index 3\n\n'; exit 1",
                       milliseconds(5))),
            "no MSTP bridge");
  EXPECT_GE(runs(), 3);
  EXPECT_THAT(reason, HasSubstr("mstpctl addbridge br0"));
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
