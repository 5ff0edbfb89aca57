// The libraries' top-level objects: the mirror of a database's sources in its targets.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "Lumo/Node.h"
#include "Lumo/Ptr.h"
#include "agent/state/Database.h"

namespace Agent {

/// A class of which the mirror has at most one object.
struct TopLevelClass {
  std::string_view name;
  Lumo::Ptr<Lumo::Node> (*create)(SourceTree const& sources, TargetTree const& targets);
};

/// All of them, in the order in which they are started.
inline constexpr std::size_t topLevelClassCount = 10;
extern std::array<TopLevelClass, topLevelClassCount> const topLevelClasses;

/// The class of this name, or null.
TopLevelClass const* topLevelClass(std::string_view name);

class Mirror {
 public:
  /// Nothing is mirrored yet. The database must outlive this.
  explicit Mirror(Database& database) : database_(database) {}
  Mirror(Mirror const&) = delete;
  Mirror& operator=(Mirror const&) = delete;
  ~Mirror() { stopAll(); }

  /// Creates the object of a class, which brings its targets up to date; the one that exists
  /// stays.
  void start(TopLevelClass const& topLevel);
  void startAll();

  /// Drops the object of a class, if it exists. What it wrote stays.
  void stop(TopLevelClass const& topLevel);
  void stopAll();

  /// Carries the disabled VLANs of the target, which clients may write, back into the source.
  /// Without the object that does it, nothing is done.
  void syncDisabledVlans() const;

  /// The object of a class, or absent.
  Lumo::Ptr<Lumo::Node> object(TopLevelClass const& topLevel) const;

 private:
  static std::size_t indexOf(TopLevelClass const& topLevel);

  Database& database_;
  std::array<Lumo::Ptr<Lumo::Node>, topLevelClassCount> objects_;
};

}  // namespace Agent
