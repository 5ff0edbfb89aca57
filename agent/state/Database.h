// The state database: what the engine and the operator write, and what the mirror writes.
//
// Sources and targets are apart, because whoever feeds the one needs nothing of the other. Who may
// write is said by what is handed out: a tree of entities to the mirror, a view of it to all who
// only read, and the database itself to those who apply changes.
#pragma once

#include <span>
#include <string_view>
#include <tuple>

#include "Lumo/Ptr.h"
#include "StpTypes/Input.h"
#include "StpTypes/OpenConfigConfig.h"
#include "StpTypes/OpenConfigOperational.h"
#include "StpTypes/OpenConfigState.h"
#include "StpTypes/Operational.h"
#include "StpTypes/Status.h"
#include "agent/state/Change.h"

namespace Agent {

/// An entity at the root of the tree, by the name with which paths to it begin.
template <class Entities, class Entity>
struct Root {
  std::string_view name;
  Lumo::Ptr<Entity> Entities::*entity;
};
template <class Entities, class Entity>
Root(std::string_view, Lumo::Ptr<Entity> Entities::*) -> Root<Entities, Entity>;

/// How the entities of a tree are held: to write, or to read.
template <class Entity>
using ToWrite = Lumo::Ptr<Entity>;
template <class Entity>
using ToRead = Lumo::Ptr<Entity const>;

/// The entities that are mirrored; never absent.
template <template <class> class Held>
struct SourceEntities {
  Held<Stp::Input::Config> input;
  Held<Stp::Config> config;
  Held<Stp::Status> status;
  Held<Stp::VlanConfigDir> vlanConfigDir;
  Held<Stp::Operational::Bridge> operational;

  /// By name, in the order in which they are shown.
  static constexpr auto roots() {
    return std::tuple{Root{"input", &SourceEntities::input},
                      Root{"config", &SourceEntities::config},
                      Root{"status", &SourceEntities::status},
                      Root{"vlanConfigDir", &SourceEntities::vlanConfigDir},
                      Root{"operational", &SourceEntities::operational}};
  }
};
using SourceView = SourceEntities<ToRead>;

/// New ones, to write. They can be viewed.
struct SourceTree : SourceEntities<ToWrite> {
  SourceTree();
  operator SourceView() const {  // NOLINT(google-explicit-constructor): as T* to T const*
    return {input, config, status, vlanConfigDir, operational};
  }
};

/// The entities that the mirror writes; never absent.
template <template <class> class Held>
struct TargetEntities {
  Held<Stp::OCGlobalConfig> globalConfig;
  Held<Stp::OCGlobalState> globalState;
  Held<Stp::OCInterfaceConfigDir> interfaceConfigDir;
  Held<Stp::OCInterfaceStateDir> interfaceStateDir;
  Held<Stp::OCMstiConfigDir> mstiConfigDir;
  Held<Stp::OCMstiStateDir> mstiStateDir;
  Held<Stp::OCRstpConfig> rstpConfig;
  Held<Stp::OCRstpState> rstpState;
  Held<Stp::OCMstpConfig> mstpConfig;
  Held<Stp::OCMstpState> mstpState;
  Held<Stp::OCTreeConfigDir> treeConfigDir;
  Held<Stp::OCTreeStateDir> treeStateDir;
  Held<Stp::OCTreePortConfigDir> treePortConfigDir;
  Held<Stp::OCTreePortStateDir> treePortStateDir;
  Held<Stp::OCTreePortCountersDir> treePortCountersDir;
  Held<Stp::OCProtectionConfigDir> protectionConfigDir;
  Held<Stp::OCProtectionStateDir> protectionStateDir;

  /// By name, in the order in which they are shown.
  static constexpr auto roots() {
    return std::tuple{Root{"ocGlobalConfig", &TargetEntities::globalConfig},
                      Root{"ocGlobalState", &TargetEntities::globalState},
                      Root{"ocInterfaceConfigDir", &TargetEntities::interfaceConfigDir},
                      Root{"ocInterfaceStateDir", &TargetEntities::interfaceStateDir},
                      Root{"ocMstiConfigDir", &TargetEntities::mstiConfigDir},
                      Root{"ocMstiStateDir", &TargetEntities::mstiStateDir},
                      Root{"ocRstpConfig", &TargetEntities::rstpConfig},
                      Root{"ocRstpState", &TargetEntities::rstpState},
                      Root{"ocMstpConfig", &TargetEntities::mstpConfig},
                      Root{"ocMstpState", &TargetEntities::mstpState},
                      Root{"ocTreeConfigDir", &TargetEntities::treeConfigDir},
                      Root{"ocTreeStateDir", &TargetEntities::treeStateDir},
                      Root{"ocTreePortConfigDir", &TargetEntities::treePortConfigDir},
                      Root{"ocTreePortStateDir", &TargetEntities::treePortStateDir},
                      Root{"ocTreePortCountersDir", &TargetEntities::treePortCountersDir},
                      Root{"ocProtectionConfigDir", &TargetEntities::protectionConfigDir},
                      Root{"ocProtectionStateDir", &TargetEntities::protectionStateDir}};
  }
};
using TargetView = TargetEntities<ToRead>;

/// New ones, to write. They can be viewed.
struct TargetTree : TargetEntities<ToWrite> {
  TargetTree();
  operator TargetView() const {  // NOLINT(google-explicit-constructor): as T* to T const*
    return {globalConfig,      globalState,      interfaceConfigDir,  interfaceStateDir,
            mstiConfigDir,     mstiStateDir,     rstpConfig,          rstpState,
            mstpConfig,        mstpState,        treeConfigDir,       treeStateDir,
            treePortConfigDir, treePortStateDir, treePortCountersDir, protectionConfigDir,
            protectionStateDir};
  }
};

/// The entities, and nothing else.
class Database {
 public:
  Database() = default;
  Database(Database const&) = delete;
  Database& operator=(Database const&) = delete;
  ~Database() = default;

  SourceView sources() const { return sources_; }
  TargetView targets() const { return targets_; }

  /// For the mirror, which writes as it likes.
  SourceTree const& sourceTree() { return sources_; }
  TargetTree const& targetTree() { return targets_; }

  /// Applies changes that are bound to entities of this database, in order. An exception from the
  /// library ends the process: a change that was begun can't be taken back.
  void apply(Change const& change);
  void apply(std::span<Change const> changes);

 private:
  SourceTree sources_;
  TargetTree targets_;
};

}  // namespace Agent
