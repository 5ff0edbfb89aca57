// A look at a bridge, for people and for programs.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "agent/program/Follow.h"
#include "agent/program/Session.h"
#include "agent/sources/sonic/RedisSource.h"

namespace Agent {

/// How the status is told.
enum class StatusForm : std::uint8_t { screen, json, graph };

/// Of what the status is told, and how.
struct StatusRequest {
  /// The bridge, and how its engine is asked.
  Following engine;
  /// The databases of a switch, in the place of both.
  std::optional<Sonic::RedisSettings> redis;
  /// The folder of a snapshot, in the place of the engine.
  std::optional<std::string> folder;
  StatusForm form = StatusForm::screen;
  /// Whether it is told again whenever it changes, until the run is interrupted.
  bool watch = false;
};

/// Prints the status. Returns the exit status: 0; 1 when the snapshot was refused; 2 when a file
/// can't be written; 3 when the engine or the databases gave no answer.
int showStatus(Settings settings, StatusRequest request);

}  // namespace Agent
