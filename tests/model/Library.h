// The library's side: the real entities and the real mirrors, driven by the operations that drive
// the model.
#pragma once

#include <optional>
#include <tuple>
#include <vector>

#include "Model.h"
#include "Stp/GlobalMirrors.h"
#include "Stp/InterfaceConfigMirrors.h"
#include "Stp/InterfaceStateMirrors.h"
#include "Stp/MstpConfigMirrors.h"
#include "Stp/MstpStateMirrors.h"
#include "StpTypes/Input.h"
#include "StpTypes/Status.h"
#include "WriteCount.h"
#include "tests/OpenConfigTargets.h"

namespace Harness {

/// The names that the model's numbers stand for.
Lumo::String const& portName(int port);
Lumo::String const& instanceName(int instance);
Lumo::String const& mstiName(int id);
Lanx::IntfId interfaceId(int port);

/// The entities at hand of one kind.
template <class Entity>
using Hand = std::vector<Lumo::Ptr<Entity>>;

struct Sources {
  Lumo::Ptr<Stp::Input::Config> inputConfig = Lumo::make<Stp::Input::Config>();
  Lumo::Ptr<Stp::Config> config = Lumo::make<Stp::Config>();
  Lumo::Ptr<Stp::Status> status = Lumo::make<Stp::Status>();
  Lumo::Ptr<Stp::VlanConfigDir> vlanDir = Lumo::make<Stp::VlanConfigDir>();
  std::tuple<Hand<Stp::Input::PortConfig>, Hand<Stp::PortConfig>, Hand<Stp::StpiPortStatus>,
             Hand<Stp::MstiStatus>, Hand<Stp::Input::MstiConfig>, Hand<Stp::Input::StpiConfig>,
             Hand<Stp::StpiStatus>>
      hands;

  Sources();

  template <class Entity>
  Lumo::Ptr<Entity>& at(int hand) {
    return std::get<Hand<Entity>>(hands).at(static_cast<std::size_t>(hand));
  }
};

using Targets = Stp::TestSupport::OpenConfigTargets;

/// Keeps count of what the targets announce.
class Writes {
 public:
  explicit Writes(Targets const& targets);

  Model::Writes counts() const;

 private:
  Count<Stp::OCGlobalConfig> globalConfig_;
  Count<Stp::OCGlobalState> globalState_;
  MemberCount<Stp::OCInterfaceConfigDir, Lanx::IntfId, Stp::OCInterface,
              &Stp::OCInterfaceConfigDir::interface>
      interfaces_;
  Count<Stp::OCInterfaceStateDir> interfaceStates_;
  MemberCount<Stp::OCMstiConfigDir, std::uint16_t, Stp::OCMsti, &Stp::OCMstiConfigDir::mstInstance>
      mstis_;
  Count<Stp::OCMstiStateDir> mstiStates_;
};

struct Mirrors {
  Lumo::Ptr<Stp::OCGlobalConfigSm> globalConfig;
  Lumo::Ptr<Stp::OCGlobalStateSm> globalState;
  Lumo::Ptr<Stp::OCGlobalVlanSyncher> vlanSyncher;
  Lumo::Ptr<Stp::OCInterfaceConfigDirSm> interfaceConfig;
  Lumo::Ptr<Stp::OCInterfaceStateDirSm> interfaceState;
  Lumo::Ptr<Stp::OCMstpConfigWrapperSm> mstpConfig;
  Lumo::Ptr<Stp::OCMstpMainStateSm> mstpState;
};

/// How many objects of the library's classes live in the process, by the index of the class.
std::array<std::uint64_t, 16> liveObjects();

/// The whole world of the library.
class Library {
 public:
  Library() : writes_(std::in_place, targets_) {}

  /// Does one step, and tells what its caller got of it.
  Model::Outcome apply(Model::Operation const& operation);

  /// Drops everything, in an order that depends on the number.
  void dropAll(unsigned order);

  Sources const& sources() const { return sources_; }
  Targets const& targets() const { return targets_; }
  Model::Writes writes() const { return writes_->counts(); }

  /// How many objects of the library's classes this world has, by the index of the class.
  std::array<std::uint64_t, 16> live() const;

 private:
  Sources sources_;
  Targets targets_;
  std::optional<Writes> writes_;
  Mirrors mirrors_;
  std::array<std::uint64_t, 16> liveElsewhere_ = liveObjects();
};

// What a step does to one of the parts.
void changeSource(Sources& sources, Model::Operation const& operation);
void changeTarget(Targets& targets, Model::Operation const& operation);
void changeMirrors(Mirrors& mirrors, Sources const& sources, Targets const& targets,
                   Model::Operation const& operation);

}  // namespace Harness
