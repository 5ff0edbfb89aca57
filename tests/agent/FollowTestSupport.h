// The agent behind an engine that a script stands in for (mstpctl, beside this file).
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "Process.h"

namespace Test {

inline std::string capture(std::string const& name) {
  return STP_CAPTURES_DIR "/" + name;
}

inline std::vector<std::string> linesOf(std::string const& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

/// A line without what is not the same whenever it is printed: the time that is worked out from the
/// clock, and in the state the counters, which following takes more seldom than replaying.
inline std::string timeless(std::string const& line) {
  static std::regex const time(R"x("lastTopologyChange":"?\d+"?)x");
  static std::regex const counters(R"x("ocTreePortCountersDir":\{("[^"]*":\{[^}]*\},?)*\})x");
  return std::regex_replace(std::regex_replace(line, time, R"("lastTopologyChange":0)"), counters,
                            R"("ocTreePortCountersDir":{})");
}
inline bool isOfCounters(std::string const& line) {
  return line.starts_with(R"({"changed":["ocTreePortCountersDir")") ||
         line.starts_with(R"({"deleted":["ocTreePortCountersDir")");
}

/// What a replay of the captures prints; the last line is the state it comes to.
inline std::vector<std::string> replayed(std::vector<std::string> const& captures,
                                         std::vector<std::string> const& options = {}) {
  std::vector<std::string> arguments{"replay", "--bridge", "br0", "--watch", "--show", "entities"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  for (std::string const& name : captures) {
    arguments.push_back(capture(name));
  }
  auto lines = linesOf(runAgent(arguments).out);
  std::erase_if(lines, isOfCounters);
  return lines;
}

/// The engine is in one snapshot, and in one mood, at a time.
class Follow : public testing::Test {
 protected:
  Follow() { plays("01-converged"); }

  // The snapshot that the engine is in from now on.
  void plays(std::string const& name) { playsFolder(capture(name)); }
  void playsFolder(std::string const& snapshot) {
    std::filesystem::create_symlink(snapshot, folder.path("link"));
    std::filesystem::rename(folder.path("link"), folder.path("now"));
  }
  void moodIs(std::string const& mood) {
    folder.file("new", mood);
    std::filesystem::rename(folder.path("new"), folder.path("mood"));
  }

  Surroundings around(Errors errors = Errors::pipe) const {
    return {.errors = errors, .environment = {"ENGINE=" + folder.path("")}};
  }
  static std::vector<std::string> following(std::string const& program = STP_MSTPCTL) {
    return {"follow",     "--bridge", "br0",     "--mstpctl", program,
            "--interval", "0.05",     "--watch", "--show",    "entities"};
  }

  // Reads the lines of one replay, without the state at its end.
  static void expectLines(Process& agent, std::vector<std::string> const& lines,
                          std::size_t from = 0) {
    for (std::size_t at = from; at + 1 < lines.size(); ++at) {
      std::string line = agent.readLine();
      while (isOfCounters(line)) {
        line = agent.readLine();
      }
      EXPECT_EQ(timeless(line), timeless(lines[at]));
    }
  }

  // Interrupts the agent; it shows that state.
  static Outcome endsAt(Process& agent, std::vector<std::string> const& lines,
                        int number = SIGTERM) {
    agent.signal(number);
    Outcome outcome = agent.finish();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.signal, 0);
    EXPECT_EQ(timeless(outcome.out), timeless(lines.back() + "\n"));
    return outcome;
  }

  // Waits until `done` says so.
  template <class Done>
  static void await(Done done) {
    for (int patience = 0; patience < 6000; ++patience) {
      if (done()) {
        return;
      }
      ::usleep(10'000);
    }
    FAIL() << "it does not come";
  }

  // The questions so far; "begin" stands before the first one of a batch.
  std::vector<std::string> asked() const {
    std::ifstream file(folder.path("asked"));
    std::ostringstream text;
    text << file.rdbuf();
    return linesOf(text.str());
  }
  // Waits until so many more batches are through.
  void awaitBatches(std::ptrdiff_t more) const {
    auto const begun = [this] {
      auto const lines = asked();
      return std::count(lines.begin(), lines.end(), "begin");
    };
    await([&, enough = begun() + more + 1] { return begun() >= enough; });
  }

  std::string const failure = STP_MSTPCTL ": ";
  std::string const again = "br0: the engine answers again";
  Folder folder;
};

/// Whether a shell could run these commands.
inline bool inShell(std::string const& commands) {
  return std::system(("{ " + commands + "; } >/dev/null 2>&1").c_str()) == 0;
}

}  // namespace Test
