// A database with its mirror, and what is shown of it: what every run of the agent has.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "StpTypes/VlanTable.h"
#include "agent/host/Output.h"
#include "agent/program/GnmiSettings.h"
#include "agent/sources/operations/Operations.h"
#include "agent/state/Database.h"
#include "agent/state/Mirror.h"
#include "agent/state/TargetObserver.h"
#include "agent/views/lines/Watch.h"

namespace Agent {

/// What is printed of the targets.
enum class Show : std::uint8_t { openConfig, entities, none };

/// How a run was asked to be.
struct Settings {
  Show show = Show::openConfig;
  bool watch = false;
  bool manualStart = false;
  bool trace = false;
  /// Whether the state of ports that every source has lost is deleted.
  bool forgetDeparted = false;
  /// Where the fast trace goes, if anywhere.
  std::optional<std::string> flashlog;
  /// Whether and how clients are served.
  GnmiSettings gnmi;
};

class Session {
 public:
  /// Starts the mirror, unless that is left to the operations. `output` must outlive this.
  Session(Settings const& settings, Output& output);

  Database const& database() const { return database_; }

  Mirror const& mirror() const { return mirror_; }

  /// For further observers, which must leave before this goes.
  ObservedTargets& observed() { return observed_; }

  /// Starts the mirror, as far as it has not started. This, and each of the next three, is one
  /// change set for the observers.
  void start();

  /// Applies one operation; throws a Refusal, and has changed nothing then.
  void apply(Operation const& operation);

  /// Applies what a source found to have changed, all of it one moment of that source.
  void apply(Changes const& changes);

  /// Is told why what was written did not become the switch's; nothing if it did.
  using Written = std::function<void(std::optional<std::string> const& refusal)>;
  /// Takes the VLANs that are to be disabled to where the switch has its configuration.
  using Keeper = std::function<void(Stp::VlanSet const& disabled, Written written)>;

  /// Applies what a client wrote into targets, carries it back into the engine's configuration,
  /// and has the keeper keep it, if there is one.
  void write(
      Changes const& changes,
      Written const& written = [](std::optional<std::string> const& /*refusal*/) {});

  void keeperIs(Keeper keeper) { keeper_ = std::move(keeper); }

  /// Prints the targets.
  void show();

 private:
  Show shown_;
  bool forgetsDeparted_;
  Output& output_;
  Database database_;
  Mirror mirror_;
  ObservedTargets observed_;
  std::optional<Watch> watch_;
  Operations operations_;
  Keeper keeper_;
};

}  // namespace Agent
