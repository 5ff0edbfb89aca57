// The options that several commands of the agent have.
#pragma once

#include <CLI/CLI.hpp>
#include <array>
#include <chrono>
#include <optional>
#include <string>

#include "agent/program/Follow.h"
#include "agent/program/Run.h"
#include "agent/sources/sonic/RedisSource.h"

namespace Agent {

inline constexpr char const* versionText = "stp-openconfig-agent " AGENT_VERSION;

/// What is wrong with a number of milliseconds, which is above 0; empty if nothing is.
std::string wrongMilliseconds(std::string const& text);

/// The same of a decimal number of seconds, which is above 0 and fits a clock.
std::string wrongInterval(std::string const& text);
/// What such a text says; it must not be wrong.
std::chrono::nanoseconds interval(std::string const& text);

void addManualStart(CLI::App& command, Settings& settings);
/// What every command has: traces and the version.
void addRunSettings(CLI::App& command, Settings& settings);
/// Those, and what is shown.
void addSettings(CLI::App& command, Settings& settings);
/// None where the agent is built without gNMI.
void addGnmi(CLI::App& command, Settings& settings);
void addForgetDeparted(CLI::App& command, Settings& settings);

/// The options that say which engine is asked.
struct EngineOptions {
  CLI::Option* bridge;
  CLI::Option* interval;
  CLI::Option* program;
};
/// The interval is given in `seconds`.
EngineOptions addEngine(CLI::App& command, Following& following, std::string& seconds);

/// What says where the databases of SONiC are, as it is given.
struct SonicWords {
  std::optional<std::string> address;
  std::optional<std::string> file;
};
/// The options for it: the server first.
std::array<CLI::Option*, 2> addSonic(CLI::App& command, SonicWords& words);
/// What was given says; tells what of the file counts for nothing. Throws a Refusal of the file.
Sonic::RedisSettings redisSettings(SonicWords const& words);

}  // namespace Agent
