// The entities that an attempt works on, and what can be seen of them.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Lumo/Ptr.h"
#include "Stp/tests/TestSupport.h"
#include "StpTypes/Input.h"
#include "StpTypes/Status.h"
#include "tests/OpenConfigTargets.h"

namespace Shortage {

/// What a reader of a target throws when it has had enough.
struct Refused {};

/// Reads what is written into targets and into the members of directories, those that come later
/// included.
class Readers {
 public:
  template <class Entity>
  void watch(Lumo::Ptr<Entity> const& entity);

  /// How many changes they were told of.
  unsigned changes() const { return changes_; }

  /// Lets `allowed` more changes pass and throws at the next one.
  void refuseAfter(unsigned allowed);
  void refuseNothing() { refuse_ = false; }

 private:
  template <class Entity>
  void changed(Entity const& entity, void const* key);

  std::vector<std::shared_ptr<void>> watches_;
  unsigned changes_ = 0;
  unsigned left_ = 0;
  bool refuse_ = false;
};

/// A bridge that runs MSTP on a few ports, and the targets of all mirrors, read by readers.
class World : public Stp::TestSupport::OpenConfigTargets {
 public:
  World();

  /// Changes plain values, and adds ports and MST instances whose names end in the number of the
  /// round. Rounds count from 1.
  void change(unsigned round);

  /// What the sources hold, and what the targets hold, as text.
  std::string sources() const;
  std::string targets() const;

  /// How often each entity is referred to and whether it is watched: all sources, and the targets
  /// but for the members of directories.
  std::string footprint() const;

  Lumo::Ptr<Stp::Input::Config> input = Lumo::make<Stp::Input::Config>();
  Lumo::Ptr<Stp::Config> config = Lumo::make<Stp::Config>();
  Lumo::Ptr<Stp::Status> status = Lumo::make<Stp::Status>();
  Lumo::Ptr<Stp::VlanConfigDir> vlans = Lumo::make<Stp::VlanConfigDir>();

  /// The instance that runs MSTP: as configured, and as it runs.
  Lumo::Ptr<Stp::Input::StpiConfig> mstInput = Lumo::make<Stp::Input::StpiConfig>();
  Lumo::Ptr<Stp::StpiStatus> mst = Lumo::make<Stp::StpiStatus>();

  Readers readers;

  /// What the attempt made, kept so that it goes on living.
  Lumo::Ptr<Lumo::Node> made;

  /// What the attempt works on beside the entities, as text; part of the targets.
  std::function<std::string()> beside = [] { return std::string(); };

  /// Runs before `change` once the attempt has succeeded.
  std::function<void()> wakeUp = [] {};
};

}  // namespace Shortage
