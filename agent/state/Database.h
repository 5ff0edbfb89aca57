// The state database: what the engine and the operator write, what the mirror writes, and the
// mirror itself.
//
// Sources and targets are apart, because whoever feeds the one needs nothing of the other: a
// reader of the targets gets by with `Targets`.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>
#include <tuple>

#include "Lumo/Node.h"
#include "Lumo/Ptr.h"
#include "StpTypes/Input.h"
#include "StpTypes/OpenConfigConfig.h"
#include "StpTypes/OpenConfigState.h"
#include "StpTypes/Status.h"

namespace Agent {

/// An entity at the root of the tree, by the name with which paths to it begin.
template <class Entities, class Entity>
struct Root {
  std::string_view name;
  Lumo::Ptr<Entity> Entities::*entity;
};
template <class Entities, class Entity>
Root(std::string_view, Lumo::Ptr<Entity> Entities::*) -> Root<Entities, Entity>;

/// The entities that are mirrored; never absent.
struct Sources {
  Lumo::Ptr<Stp::Input::Config> input = Lumo::make<Stp::Input::Config>();
  Lumo::Ptr<Stp::Config> config = Lumo::make<Stp::Config>();
  Lumo::Ptr<Stp::Status> status = Lumo::make<Stp::Status>();
  Lumo::Ptr<Stp::VlanConfigDir> vlanConfigDir = Lumo::make<Stp::VlanConfigDir>();

  /// By name, in the order in which they are shown.
  static constexpr auto roots() {
    return std::tuple{Root{"input", &Sources::input}, Root{"config", &Sources::config},
                      Root{"status", &Sources::status},
                      Root{"vlanConfigDir", &Sources::vlanConfigDir}};
  }
};

/// The entities that the mirror writes; never absent.
struct Targets {
  Lumo::Ptr<Stp::OCGlobalConfig> globalConfig = Lumo::make<Stp::OCGlobalConfig>();
  Lumo::Ptr<Stp::OCGlobalState> globalState = Lumo::make<Stp::OCGlobalState>();
  Lumo::Ptr<Stp::OCInterfaceConfigDir> interfaceConfigDir = Lumo::make<Stp::OCInterfaceConfigDir>();
  Lumo::Ptr<Stp::OCInterfaceStateDir> interfaceStateDir = Lumo::make<Stp::OCInterfaceStateDir>();
  Lumo::Ptr<Stp::OCMstiConfigDir> mstiConfigDir = Lumo::make<Stp::OCMstiConfigDir>();
  Lumo::Ptr<Stp::OCMstiStateDir> mstiStateDir = Lumo::make<Stp::OCMstiStateDir>();

  /// By name, in the order in which they are shown.
  static constexpr auto roots() {
    return std::tuple{Root{"ocGlobalConfig", &Targets::globalConfig},
                      Root{"ocGlobalState", &Targets::globalState},
                      Root{"ocInterfaceConfigDir", &Targets::interfaceConfigDir},
                      Root{"ocInterfaceStateDir", &Targets::interfaceStateDir},
                      Root{"ocMstiConfigDir", &Targets::mstiConfigDir},
                      Root{"ocMstiStateDir", &Targets::mstiStateDir}};
  }
};

/// A class of which the mirror has at most one object.
struct TopLevelClass {
  std::string_view name;
  Lumo::Ptr<Lumo::Node> (*create)(Sources const& sources, Targets const& targets);
};

/// All of them, in the order in which they are started.
inline constexpr std::size_t topLevelClassCount = 7;
extern std::array<TopLevelClass, topLevelClassCount> const topLevelClasses;

/// The class of this name, or null.
TopLevelClass const* topLevelClass(std::string_view name);

/// Entities and mirror. The mirror goes first when it is destroyed.
class Database {
 public:
  Database() = default;
  Database(Database const&) = delete;
  Database& operator=(Database const&) = delete;
  ~Database() { stopAll(); }

  Sources const& sources() const { return sources_; }
  Targets const& targets() const { return targets_; }

  /// Creates the object of a class, which brings its targets up to date; the one that exists
  /// stays.
  void start(TopLevelClass const& topLevel);
  void startAll();

  /// Drops the object of a class, if it exists. What it wrote stays.
  void stop(TopLevelClass const& topLevel);
  void stopAll();

  /// The object of a class, or absent.
  Lumo::Ptr<Lumo::Node> object(TopLevelClass const& topLevel) const;

 private:
  static std::size_t indexOf(TopLevelClass const& topLevel);

  Sources sources_;
  Targets targets_;
  std::array<Lumo::Ptr<Lumo::Node>, topLevelClassCount> objects_;
};

}  // namespace Agent
