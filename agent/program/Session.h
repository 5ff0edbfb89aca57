// A database with its mirror, and what is shown of it: what every run of the agent has.
#pragma once

#include <cstdint>
#include <deque>
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

  /// What a client wishes of the VLANs that are disabled: which they are to be, where these are.
  using Wish = std::function<Stp::VlanSet(Stp::VlanSet present)>;
  /// Is told why what was wished did not become the switch's; nothing if it did.
  using Written = std::function<void(std::optional<std::string> const& refusal)>;
  /// Takes a wish to where the switch has its configuration, and tells of it later, when whatever
  /// became of it is applied.
  using Keeper = std::function<void(Wish const& wish, Written written)>;

  /// Without a keeper, does to the targets what a client wishes, and carries it back into the
  /// engine's configuration. With one it changes nothing: it has the keeper keep it, one wish
  /// after the other.
  void write(
      Wish wish, Written written = [](std::optional<std::string> const& /*refusal*/) {});

  void keeperIs(Keeper keeper) { keeper_ = std::move(keeper); }

  /// The keeper goes: it is asked nothing more, and tells of nothing. Wishes that wait, and all
  /// that come, are refused.
  void keeperGoes(std::string const& reason);

  /// Prints the targets.
  void show();

 private:
  void disabledVlansAre(Wish const& wish);
  void keepNext();

  Show shown_;
  bool forgetsDeparted_;
  Output& output_;
  Database database_;
  Mirror mirror_;
  ObservedTargets observed_;
  std::optional<Watch> watch_;
  Operations operations_;
  Keeper keeper_;
  // For the keeper; the first is with it.
  std::deque<std::pair<Wish, Written>> wishes_;
};

}  // namespace Agent
