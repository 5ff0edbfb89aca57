// The table of what is attempted while memory is short, or while readers refuse.
#pragma once

#include <functional>
#include <ostream>
#include <string_view>
#include <vector>

#include "World.h"

namespace Shortage {

/// What a failure leaves as it was; each row includes those above it.
enum class Keeps {
  nothing,  ///< what was done before the failure stays
  sources,  ///< the content of the sources
  users,    ///< who refers to and watches the entities, and the objects that live
  all,      ///< the targets, too, where memory was short; what a reader refuses is stored already
};

struct Attempt {
  std::string_view name;
  Keeps keeps;
  bool allocates;  ///< whether it can run out of memory
  bool writes;     ///< whether a reader can refuse it

  /// Prepares a world and gives the operation to attempt in it. What that makes belongs to
  /// `World::made`, or to the world's entities.
  std::function<std::function<void()>(World&)> setUp;

  /// Runs before the operation is attempted again.
  std::function<void(World&)> beforeRepeating = [](World&) {};

  friend std::ostream& operator<<(std::ostream& out, Attempt const& attempt) {
    return out << attempt.name;
  }
};

/// All attempts.
std::vector<Attempt> attempts();

// Its parts: what records, decoding and the trace do, what entities do by themselves, what makes a
// reactor, and handlers called directly.
std::vector<Attempt> dataAttempts();
std::vector<Attempt> entityAttempts();
std::vector<Attempt> creationAttempts();
std::vector<Attempt> handlerAttempts();

/// A listed port that nobody configured loses an interface that is there already: the second
/// attempt has to find the directory that the first one found.
inline void forgetInterfaces(World& world) {
  world.interfaces->interfaceDelAll();
}

/// An MST instance that was added, but whose record a reader kept from being written, is no longer
/// new to the second attempt, which would leave its number as it is.
inline void forgetUnfinishedInstances(World& world) {
  for (auto const& member : world.mstis->mstInstance()) {
    if (member.value->config() == Stp::OCMstiConfig()) {
      world.mstis->mstInstanceDel(std::uint16_t{member.key});
    }
  }
}

}  // namespace Shortage
