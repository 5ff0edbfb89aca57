#include "agent/program/Options.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <system_error>

#include "agent/host/Diagnostics.h"
#include "agent/program/GnmiTarget.h"
#include "agent/sources/engine/EngineQuestions.h"
#include "agent/text/Refusal.h"

namespace Agent {

namespace {

std::string wrongBridge(std::string const& text) {
  return isInterfaceName(text) ? "" : text + " is no name of a bridge";
}

std::string wrongRedisAddress(std::string const& text) {
  try {
    (void)Sonic::parseRedisAddress(text);
    return "";
  } catch (Refusal const& refusal) {
    return refusal.what();
  }
}

// The number of seconds that a text is, if it is a decimal one above 0 and not too small or large
// for a clock.
std::optional<std::chrono::nanoseconds> nanoseconds(std::string const& text) {
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

}  // namespace

std::string wrongMilliseconds(std::string const& text) {
  std::uint32_t number = 0;
  auto const* const end = text.data() + text.size();
  auto const [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end && number > 0
             ? ""
             : text + " is no number of milliseconds above 0";
}

std::string wrongInterval(std::string const& text) {
  return nanoseconds(text) ? "" : text + " is no decimal number of seconds above 0";
}

std::chrono::nanoseconds interval(std::string const& text) {
  return nanoseconds(text).value();
}

void addManualStart(CLI::App& command, Settings& settings) {
  command.add_flag("--manual-start", settings.manualStart,
                   "Create no top-level object until a start operation");
}

void addRunSettings(CLI::App& command, Settings& settings) {
  command.add_flag("--trace", settings.trace,
                   "Write the text trace of the mirror to standard error");
  command
      .add_option_function<std::string>(
          "--flashlog", [&settings](std::string const& file) { settings.flashlog = file; },
          "Record the fast trace into a file")
      ->type_name("FILE");
  command.set_version_flag("--version", versionText);
}

void addSettings(CLI::App& command, Settings& settings) {
  auto const setShow = [&settings](std::string const& what) {
    settings.show = what == "entities" ? Show::entities
                    : what == "none"   ? Show::none
                                       : Show::openConfig;
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

void addGnmi(CLI::App& command, Settings& settings) {
  if (!hasGnmi) {
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

void addForgetDeparted(CLI::App& command, Settings& settings) {
  command.add_flag("--forget-departed", settings.forgetDeparted,
                   "Delete the state of ports that have left the engine and the configuration");
}

EngineOptions addEngine(CLI::App& command, Following& following, std::string& seconds) {
  return {
      command.add_option("--bridge", following.bridge, "The bridge that the engine runs")
          ->required()
          ->check(wrongBridge)
          ->type_name("NAME"),
      command.add_option("--interval", seconds, "The time from one look at the engine to the next")
          ->check(wrongInterval)
          ->type_name("SECONDS")
          ->capture_default_str(),
      command.add_option("--mstpctl", following.program, "The engine's control program")
          ->type_name("PROGRAM")
          ->capture_default_str()};
}

std::array<CLI::Option*, 2> addSonic(CLI::App& command, SonicWords& words) {
  return {command
              .add_option("--redis", words.address,
                          "Where the databases of SONiC are: unix:PATH or HOST:PORT")
              ->check(wrongRedisAddress)
              ->type_name("ADDRESS"),
          command
              .add_option("--database-config", words.file,
                          "The database_config.json of the switch that runs SONiC")
              ->type_name("FILE")};
}

Sonic::RedisSettings redisSettings(SonicWords const& words) {
  Sonic::RedisSettings redis;
  if (words.file) {
    redis.databases = Sonic::readDatabaseConfig(*words.file);
    for (std::string const& remark : redis.databases.remarks) {
      Diagnostics::error(*words.file + ": " + remark);
    }
  }
  std::string const usual(Sonic::usualRedisAddress);
  redis.address = !words.address && redis.databases.address
                      ? *redis.databases.address
                      : Sonic::parseRedisAddress(words.address.value_or(usual));
  return redis;
}

}  // namespace Agent
