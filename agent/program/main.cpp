// The command line of the host agent.
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "CommandLine.h"
#include "agent/host/Diagnostics.h"
#include "agent/host/Fatal.h"
#include "agent/program/Follow.h"
#include "agent/program/Inspect.h"
#include "agent/program/OperationFiles.h"
#include "agent/program/Options.h"
#include "agent/program/SnapshotFolders.h"
#include "agent/program/Sonic.h"
#include "agent/program/Status.h"
#include "agent/text/Refusal.h"

namespace {

using Words = std::vector<std::string>;

constexpr int wrongCommandLine = 2;

// A file opened later must not come to stand for a standard stream that the caller closed.
void occupyStandardStreams() {
  int descriptor = ::open("/dev/null", O_RDWR);
  while (descriptor >= 0 && descriptor <= STDERR_FILENO) {
    descriptor = ::open("/dev/null", O_RDWR);
  }
  if (descriptor >= 0) {
    (void)::close(descriptor);
  }
}

// Says what the parser has to say, and returns the exit status.
int ended(CLI::App& app, CLI::ParseError const& error) {
  std::ostringstream complaint;
  int const status = app.exit(error, std::cout, complaint);
  std::cerr << Programs::CommandLine::readable(complaint.str());
  if (!std::cout.flush()) {
    std::cerr << "standard output: " << std::generic_category().message(errno) << "\n";
    return wrongCommandLine;
  }
  return status == 0 ? 0 : wrongCommandLine;
}

// Returns the exit status if the command line asks for no more, or is wrong.
std::optional<int> parseCommand(CLI::App& command, Words const& words) {
  try {
    Programs::CommandLine(command).parse(words);
    return std::nullopt;
  } catch (CLI::ParseError const& error) {
    return ended(command, error);
  }
}

int run(Words const& words) {
  Agent::Settings settings;
  Words files;
  CLI::App command("Applies operations, one JSON object a line.", "stp-openconfig-agent run");
  command
      .add_option("FILE", files, "Files of operations, in order; - is standard input, the default")
      ->type_name("");
  Agent::addManualStart(command, settings);
  Agent::addSettings(command, settings);
  Agent::addGnmi(command, settings);
  auto const status = parseCommand(command, words);
  return status ? *status : Agent::runOperations(settings, files);
}

int replay(Words const& words) {
  Agent::Settings settings;
  std::string bridge;
  Words folders;
  CLI::App command("Applies what changes from each snapshot of an engine to the next.",
                   "stp-openconfig-agent replay");
  command.add_option("--bridge", bridge, "The bridge that the snapshots are of")
      ->required()
      ->type_name("NAME");
  command.add_option("DIR", folders, "Folders with one snapshot each, in order")
      ->required()
      ->type_name("");
  std::string pace;
  command.add_option("--pace", pace, "How long to wait between one snapshot and the next")
      ->check(Agent::wrongMilliseconds)
      ->type_name("MS");
  Agent::addForgetDeparted(command, settings);
  Agent::addManualStart(command, settings);
  Agent::addSettings(command, settings);
  Agent::addGnmi(command, settings);
  if (auto const status = parseCommand(command, words)) {
    return *status;
  }
  std::chrono::milliseconds const between(pace.empty() ? 0 : std::stoul(pace));
  return Agent::replaySnapshots(settings, bridge, folders, between);
}

int follow(Words const& words) {
  Agent::Settings settings;
  Agent::Following following;
  std::string seconds = "1";
  std::string slowSeconds = "10";
  CLI::App command("Applies what changes in a running engine, until it is interrupted.",
                   "stp-openconfig-agent follow");
  Agent::addEngine(command, following, seconds);
  command.add_option("--slow-interval", slowSeconds, "The same for counters")
      ->check(Agent::wrongInterval)
      ->type_name("SECONDS")
      ->capture_default_str();
  Agent::addForgetDeparted(command, settings);
  Agent::addSettings(command, settings);
  Agent::addGnmi(command, settings);
  if (auto const status = parseCommand(command, words)) {
    return *status;
  }
  following.interval = Agent::interval(seconds);
  following.slowInterval = Agent::interval(slowSeconds);
  return Agent::followEngine(settings, following);
}

// The status that the databases of SONiC come to, where they are said in `words`.
template <class Use>
int withSonic(Agent::SonicWords const& words, Use const& use) {
  try {
    return use(Agent::redisSettings(words));
  } catch (Agent::Refusal const& refusal) {
    Agent::Diagnostics::error(refusal.what());
    return wrongCommandLine;
  }
}

int sonic(Words const& words) {
  Agent::Settings settings;
  Agent::SonicWords where;
  std::string seconds = "60";
  CLI::App command("Applies what changes in the databases of SONiC, until it is interrupted.",
                   "stp-openconfig-agent sonic");
  Agent::addSonic(command, where)
      .front()
      ->default_str(std::string(Agent::Sonic::usualRedisAddress));
  command
      .add_option("--resync", seconds,
                  "The time from one reading of all rows to the next; 0: never")
      ->check([](std::string const& text) {
        std::string const wrong = text == "0" ? "" : Agent::wrongInterval(text);
        return wrong.empty() ? wrong : wrong + ", nor 0";
      })
      ->type_name("SECONDS")
      ->capture_default_str();
  Agent::addForgetDeparted(command, settings);
  Agent::addSettings(command, settings);
  Agent::addGnmi(command, settings);
  if (auto const status = parseCommand(command, words)) {
    return *status;
  }
  return withSonic(where, [&](Agent::Sonic::RedisSettings redis) {
    redis.resync = seconds == "0" ? std::chrono::nanoseconds::zero() : Agent::interval(seconds);
    return Agent::followSonic(settings, {redis});
  });
}

int status(Words const& words) {
  Agent::Settings settings;
  Agent::StatusRequest request;
  std::string seconds = "1";
  bool json = false;
  bool dot = false;
  CLI::App command("Prints the roots, the trees and the ports of a bridge, each with its role.",
                   "stp-openconfig-agent status");
  auto* const folder =
      command
          .add_option_function<std::string>(
              "DIR", [&request](std::string const& name) { request.folder = name; },
              "The folder of a snapshot, in the place of the running engine")
          ->type_name("");
  auto const engine = Agent::addEngine(command, request.engine, seconds);
  engine.program->excludes(folder);
  Agent::SonicWords where;
  for (auto* const redis : Agent::addSonic(command, where)) {
    redis->excludes(folder)->excludes(engine.program)->excludes(engine.interval);
    engine.bridge->required(false)->excludes(redis);
  }
  auto* const watch =
      command.add_flag("--watch", request.watch, "Print it anew whenever it changes");
  watch->excludes(folder);
  engine.interval->needs(watch);
  auto* const jsonOption = command.add_flag("--json", json, "Print it as JSON, on one line");
  command.add_flag("--dot", dot, "Print the active topology as a graph for Graphviz")
      ->excludes(jsonOption);
  Agent::addRunSettings(command, settings);
  if (auto const ended = parseCommand(command, words)) {
    return *ended;
  }
  bool const isOfSonic = where.address || where.file;
  if (!isOfSonic && request.engine.bridge.empty()) {
    return ended(command, CLI::RequiredError("--bridge or --redis"));
  }
  request.engine.interval = Agent::interval(seconds);
  request.form = json  ? Agent::StatusForm::json
                 : dot ? Agent::StatusForm::graph
                       : Agent::StatusForm::screen;
  if (!isOfSonic) {
    return Agent::showStatus(settings, request);
  }
  return withSonic(where, [&](Agent::Sonic::RedisSettings const& databases) {
    request.redis = databases;
    return Agent::showStatus(settings, request);
  });
}

int inspect(Words const& words) {
  Agent::Settings settings;
  settings.show = Agent::Show::none;
  std::optional<std::string> bridge;
  Words inputs;
  bool wiring = false;
  bool dot = false;
  CLI::App command("Prints the objects of the mirror as they live, and what runs what.",
                   "stp-openconfig-agent inspect");
  auto* const input = command.add_option("FILE", inputs,
                                         "Operations to apply before, as run does; with --bridge "
                                         "folders of snapshots, as replay does");
  input->type_name("");
  auto* const bridgeOption =
      command.add_option("--bridge", bridge, "The bridge that the snapshots are of");
  bridgeOption->type_name("NAME")->needs(input);
  auto* const wiringOption =
      command.add_flag("--wiring", wiring, "Apply nothing, and print only what runs what");
  wiringOption->excludes(input)->excludes(bridgeOption);
  Agent::SonicWords where;
  for (auto* const redis : Agent::addSonic(command, where)) {
    redis->excludes(input)->excludes(bridgeOption)->excludes(wiringOption);
  }
  command.add_flag("--dot", dot, "Print it as a graph for Graphviz")->needs(wiringOption);
  Agent::addManualStart(command, settings);
  Agent::addRunSettings(command, settings);
  if (auto const status = parseCommand(command, words)) {
    return *status;
  }
  if (wiring) {
    return Agent::printWiring(dot ? Agent::WiringForm::graph : Agent::WiringForm::page);
  }
  if (where.address || where.file) {
    return withSonic(where, [&](Agent::Sonic::RedisSettings const& databases) {
      return Agent::inspectSonic(settings, databases);
    });
  }
  return Agent::inspectMirror(settings, bridge, inputs);
}

struct Command {
  char const* name;
  char const* summary;
  int (*run)(Words const& words);
};

constexpr std::array commands{
    Command{"run", "apply operations, one JSON object a line", &run},
    Command{"replay", "apply what changes from each snapshot of an engine to the next", &replay},
    Command{"follow", "apply what changes in a running engine, until it is interrupted", &follow},
    Command{"sonic", "apply what changes in the databases of SONiC, until it is interrupted",
            &sonic},
    Command{"status", "print the roots, the trees and the ports of a bridge", &status},
    Command{"inspect", "print the objects of the mirror as they live, and what runs what",
            &inspect},
};

std::string commandList() {
  std::string list = "Commands (each has a --help of its own):";
  for (Command const& command : commands) {
    list.append("\n  ").append(command.name).append(": ").append(command.summary);
  }
  return list;
}

}  // namespace

int main(int argc, char** argv) {
  occupyStandardStreams();
  Agent::installFatalHandler();

  CLI::App app("Mirrors spanning-tree state into OpenConfig entities, and shows them.",
               "stp-openconfig-agent COMMAND");
  app.set_version_flag("--version", Agent::versionText);
  app.footer(commandList());
  app.prefix_command();  // what follows the command is its own affair
  try {
    app.parse(argc, argv);
  } catch (CLI::ParseError const& error) {
    return ended(app, error);
  }
  Words words = app.remaining();
  if (words.empty()) {
    std::cerr << "A command is missing\n" << commandList() << "\n";
    return wrongCommandLine;
  }
  auto const* const command = std::ranges::find(commands, words.front(), &Command::name);
  if (command == commands.end()) {
    std::cerr << words.front() << ": no such command\n" << commandList() << "\n";
    return wrongCommandLine;
  }
  words.erase(words.begin());
  return command->run(words);
}
