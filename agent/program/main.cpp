// The command line of the host agent.
#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cmath>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "CommandLine.h"
#include "agent/host/Fatal.h"
#include "agent/program/Follow.h"
#include "agent/program/GnmiTarget.h"
#include "agent/program/Inspect.h"
#include "agent/program/OperationFiles.h"
#include "agent/program/SnapshotFolders.h"
#include "agent/program/Status.h"
#include "agent/sources/engine/EngineQuestions.h"

namespace {

using Words = std::vector<std::string>;

constexpr int wrongCommandLine = 2;
constexpr char const* versionText = "stp-openconfig-agent " AGENT_VERSION;

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

void addManualStart(CLI::App& command, Agent::Settings& settings) {
  command.add_flag("--manual-start", settings.manualStart,
                   "Create no top-level object until a start operation");
}

void addRunSettings(CLI::App& command, Agent::Settings& settings) {
  command.add_flag("--trace", settings.trace,
                   "Write the text trace of the mirror to standard error");
  command
      .add_option_function<std::string>(
          "--flashlog", [&settings](std::string const& file) { settings.flashlog = file; },
          "Record the fast trace into a file")
      ->type_name("FILE");
  command.set_version_flag("--version", versionText);
}

void addSettings(CLI::App& command, Agent::Settings& settings) {
  auto const setShow = [&settings](std::string const& what) {
    settings.show = what == "entities" ? Agent::Show::entities
                    : what == "none"   ? Agent::Show::none
                                       : Agent::Show::openConfig;
  };
  command
      .add_option_function<std::string>("--show", setShow,
                                        "What to print at the end, and when asked to")
      ->check(CLI::IsMember({"openconfig", "entities", "none"}))
      ->type_name("WHAT")
      ->default_str("openconfig");
  command.add_flag("--watch", settings.watch,
                   "Print every change of a target entity as it is published");
  addRunSettings(command, settings);
}

std::string wrongMilliseconds(std::string const& text) {
  std::uint32_t number = 0;
  auto const* const end = text.data() + text.size();
  auto const [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end && number > 0
             ? ""
             : text + " is no number of milliseconds above 0";
}

void addGnmi(CLI::App& command, Agent::Settings& settings) {
  if (!Agent::hasGnmi) {
    return;
  }
  auto& server = settings.gnmi.server;
  auto* const gnmi = command.add_option(
      "--gnmi", server.addresses,
      "Serve gNMI on HOST:PORT, [V6]:PORT or unix:PATH, until interrupted; may be given several "
      "times");
  gnmi->take_all()->allow_extra_args(false)->type_name("ADDRESS");
  auto const addFile = [&command, gnmi](char const* option, std::optional<std::string>& file,
                                        char const* text) {
    command
        .add_option_function<std::string>(
            option, [&file](std::string const& name) { file = name; }, text)
        ->needs(gnmi)
        ->type_name("FILE");
  };
  addFile("--gnmi-cert", server.certificate, "The chain of certificates to show, in PEM");
  addFile("--gnmi-key", server.key, "Its key, in PEM");
  addFile("--gnmi-client-ca", server.clientAuthority,
          "The authority of which clients must show a certificate, in PEM");
  addFile("--gnmi-users", server.users, "Who may do what: lines NAME:HASH:ROLE");
  command
      .add_flag("--gnmi-insecure", server.isInsecure,
                "Plaintext and no users on loopback and unix: addresses")
      ->needs(gnmi);
  command
      .add_option("--gnmi-max-clients", settings.gnmi.mostClients,
                  "How many subscriptions there may be at a time")
      ->needs(gnmi)
      ->check(CLI::Range(std::size_t{1}, std::size_t{1} << 20U))
      ->type_name("N")
      ->capture_default_str();
  command
      .add_option_function<std::string>(
          "--gnmi-min-sample-interval",
          [&settings](std::string const& text) {
            settings.gnmi.leastSampleInterval = std::chrono::milliseconds(std::stoul(text));
          },
          "The shortest interval at which a client may sample")
      ->needs(gnmi)
      ->check(wrongMilliseconds)
      ->type_name("MS")
      ->default_str("1000");
}

void addForgetDeparted(CLI::App& command, Agent::Settings& settings) {
  command.add_flag("--forget-departed", settings.forgetDeparted,
                   "Delete the state of ports that have left the engine and the configuration");
}

int run(Words const& words) {
  Agent::Settings settings;
  Words files;
  CLI::App command("Applies operations, one JSON object a line.", "stp-openconfig-agent run");
  command
      .add_option("FILE", files, "Files of operations, in order; - is standard input, the default")
      ->type_name("");
  addManualStart(command, settings);
  addSettings(command, settings);
  addGnmi(command, settings);
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
      ->check(wrongMilliseconds)
      ->type_name("MS");
  addForgetDeparted(command, settings);
  addManualStart(command, settings);
  addSettings(command, settings);
  addGnmi(command, settings);
  if (auto const status = parseCommand(command, words)) {
    return *status;
  }
  std::chrono::milliseconds const between(pace.empty() ? 0 : std::stoul(pace));
  return Agent::replaySnapshots(settings, bridge, folders, between);
}

// The number of seconds that a text is, if it is a decimal one above 0 and not too small or large
// for a clock.
std::optional<std::chrono::nanoseconds> interval(std::string const& text) {
  constexpr double perSecond = 1e9;
  constexpr double longest = 1e9;
  double seconds = 0;
  auto const* const end = text.data() + text.size();
  bool const isDecimal = text.find_first_not_of("0123456789.") == std::string::npos &&
                         std::from_chars(text.data(), end, seconds).ptr == end;
  if (!isDecimal || seconds * perSecond < 1 || seconds > longest) {
    return std::nullopt;
  }
  return std::chrono::nanoseconds(std::llround(seconds * perSecond));
}

std::string wrongInterval(std::string const& text) {
  return interval(text) ? "" : text + " is no decimal number of seconds above 0";
}

std::string wrongBridge(std::string const& text) {
  return Agent::isInterfaceName(text) ? "" : text + " is no name of a bridge";
}

// The interval is given in `seconds`.
struct EngineOptions {
  CLI::Option* interval;
  CLI::Option* program;
};
EngineOptions addEngine(CLI::App& command, Agent::Following& following, std::string& seconds) {
  command.add_option("--bridge", following.bridge, "The bridge that the engine runs")
      ->required()
      ->check(wrongBridge)
      ->type_name("NAME");
  return {
      command.add_option("--interval", seconds, "The time from one look at the engine to the next")
          ->check(wrongInterval)
          ->type_name("SECONDS")
          ->capture_default_str(),
      command.add_option("--mstpctl", following.program, "The engine's control program")
          ->type_name("PROGRAM")
          ->capture_default_str()};
}

int follow(Words const& words) {
  Agent::Settings settings;
  Agent::Following following;
  std::string seconds = "1";
  std::string slowSeconds = "10";
  CLI::App command("Applies what changes in a running engine, until it is interrupted.",
                   "stp-openconfig-agent follow");
  addEngine(command, following, seconds);
  command.add_option("--slow-interval", slowSeconds, "The same for counters")
      ->check(wrongInterval)
      ->type_name("SECONDS")
      ->capture_default_str();
  addForgetDeparted(command, settings);
  addSettings(command, settings);
  addGnmi(command, settings);
  if (auto const status = parseCommand(command, words)) {
    return *status;
  }
  following.interval = *interval(seconds);
  following.slowInterval = *interval(slowSeconds);
  return Agent::followEngine(settings, following);
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
  auto const engine = addEngine(command, request.engine, seconds);
  engine.program->excludes(folder);
  auto* const watch =
      command.add_flag("--watch", request.watch, "Print it anew whenever it changes");
  watch->excludes(folder);
  engine.interval->needs(watch);
  auto* const jsonOption = command.add_flag("--json", json, "Print it as JSON, on one line");
  command.add_flag("--dot", dot, "Print the active topology as a graph for Graphviz")
      ->excludes(jsonOption);
  addRunSettings(command, settings);
  if (auto const ended = parseCommand(command, words)) {
    return *ended;
  }
  request.engine.interval = *interval(seconds);
  request.form = json  ? Agent::StatusForm::json
                 : dot ? Agent::StatusForm::graph
                       : Agent::StatusForm::screen;
  return Agent::showStatus(settings, request);
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
  command.add_flag("--dot", dot, "Print it as a graph for Graphviz")->needs(wiringOption);
  addManualStart(command, settings);
  addRunSettings(command, settings);
  if (auto const status = parseCommand(command, words)) {
    return *status;
  }
  if (wiring) {
    return Agent::printWiring(dot ? Agent::WiringForm::graph : Agent::WiringForm::page);
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
  app.set_version_flag("--version", versionText);
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
