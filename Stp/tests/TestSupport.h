// What the tests of the mirrors share: announced changes, traced handlers, and what a test leaves
// behind.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Lumo/Ptr.h"
#include "Lumo/Publisher.h"
#include "Stp/Module.h"
#include "Vel/AllocTrack.h"
#include "Vel/Reinstantiation.h"
#include "Vel/TraceHandle.h"

namespace Stp::TestSupport {

/// The number of live objects of every counted class that has any.
inline std::map<std::string, std::uint64_t> liveObjects() {
  std::map<std::string, std::uint64_t> live;
  for (auto const* tracker = Vel::AllocTrackTypeInfo::first(); tracker != nullptr;
       tracker = tracker->next()) {
    if (tracker->live() != 0) {
      live[std::string(tracker->className())] += tracker->live();
    }
  }
  return live;
}

/// A fixture whose tests must leave no counted object, once all that they hold is gone.
class LeavesNothing : public testing::Test {
 protected:
  ~LeavesNothing() override { EXPECT_EQ(liveObjects(), (std::map<std::string, std::uint64_t>())); }
};

/// Expects `ask` to be refused, since a child of the class at `classIndex` holds `stored` in
/// `field` where `given` was asked for.
template <class Ask>
void expectReinstantiationRefused(std::uint16_t classIndex, Lumo::FieldId field,
                                  Lumo::Node const* stored, Lumo::Node const* given, Ask ask) {
  try {
    ask();
    ADD_FAILURE() << "another field " << field << " was accepted";
  } catch (Vel::ReinstantiationException const& refused) {
    EXPECT_EQ(refused.type(),
              (Lumo::VelTypeBase{&_StpOpenConfigSm_a888b7c7e663556e_velModule, classIndex}));
    EXPECT_EQ(refused.field(), field);
    EXPECT_EQ(refused.stored(), stored);
    EXPECT_EQ(refused.given(), given);
  }
}

/// Subscribes to an entity, counts its changes and lets a test react to each.
template <class Entity>
class Watch {
 public:
  /// Gets the attribute, and the two values that the entity announces with it.
  using Reaction = std::function<void(Lumo::FieldId, void const*, void const*)>;

  explicit Watch(Lumo::Ptr<Entity> entity, Reaction reaction = {})
      : entity_(std::move(entity)), reaction_(std::move(reaction)) {
    slot_.routineIs(&changed, this);
    entity_->publisher().subscriberAdd(slot_, false);
  }
  Watch(Watch const&) = delete;
  Watch& operator=(Watch const&) = delete;
  ~Watch() { slot_.unsubscribeFrom(entity_->publisher()); }

  /// How many changes there were since this was last asked.
  int changes() { return std::exchange(changes_, 0); }

 private:
  static void changed(Lumo::Publisher* /*publisher*/, Lumo::Subscriber* slot, Lumo::FieldId field,
                      void const* oldValueOrKey, void const* newValue) {
    auto& watch = *static_cast<Watch*>(slot->owner());
    ++watch.changes_;
    if (watch.reaction_) {
      watch.reaction_(field, oldValueOrKey, newValue);
    }
  }

  Lumo::Ptr<Entity> entity_;
  Reaction reaction_;
  Lumo::Subscriber slot_;
  int changes_ = 0;
};

/// Something that a test does, and how its messages call it.
struct Deed {
  std::string name;
  std::function<void()> act;
};

/// A reader that acts once, at the change of the given number: at once, or from inside so many
/// further changes that it causes first.
class ActsOnce {
 public:
  ActsOnce(Deed const& deed, int atChange, int nested, std::function<void()> causeFurtherChange)
      : deed_(deed),
        atChange_(atChange),
        nested_(nested),
        causeFurtherChange_(std::move(causeFurtherChange)) {}

  void changed() {
    ++seen_;
    if (seen_ < atChange_ || acted_) {
      return;
    }
    if (nested_ > 0) {
      --nested_;
      causeFurtherChange_();
    } else {
      acted_ = true;
      deed_.act();
    }
  }

  /// Whether it came to that.
  bool acted() const { return acted_; }

 private:
  Deed const& deed_;
  int atChange_;
  int nested_;
  std::function<void()> causeFurtherChange_;
  int seen_ = 0;
  bool acted_ = false;
};

/// Lets every reader react to every cause: at each of the first changes that a cause makes, at once
/// or from inside up to three more. `run(cause, reaction, atChange, nested)` tells whether the
/// reader came to act, which it must at least `least` times for each pair.
template <class Run>
void everyReaction(std::vector<Deed> const& causes, std::vector<Deed> const& reactions, int changes,
                   int least, Run run) {
  for (Deed const& cause : causes) {
    for (Deed const& reaction : reactions) {
      SCOPED_TRACE(cause.name + "; the reader " + reaction.name);
      int acted = 0;
      for (int atChange = 1; atChange <= changes; ++atChange) {
        for (int nested = 0; nested <= 3; ++nested) {
          SCOPED_TRACE(std::to_string(atChange) + ", nested " + std::to_string(nested));
          acted += run(cause, reaction, atChange, nested) ? 1 : 0;
          ASSERT_FALSE(testing::Test::HasFailure());
        }
      }
      EXPECT_GE(acted, least);
    }
  }
}

/// A reader that does not hold what it reads, and is gone with it: at the first change it drops
/// what `drop` names, and throws 1.
class DropsAndThrows {
 public:
  template <class Entity>
  DropsAndThrows(Entity const& entity, std::function<void()> drop) : drop_(std::move(drop)) {
    slot_.routineIs(&changed, this);
    entity.publisher().subscriberAdd(slot_, false);
  }

 private:
  static void changed(Lumo::Publisher* /*publisher*/, Lumo::Subscriber* slot,
                      Lumo::FieldId /*field*/, void const* /*key*/, void const* /*value*/) {
    auto& reader = *static_cast<DropsAndThrows*>(slot->owner());
    reader.drop_();
    throw 1;
  }

  std::function<void()> drop_;
  Lumo::Subscriber slot_;
};

/// Takes the lines of the module's text trace at the level of the handlers while it lives.
class HandlerLines {
 public:
  HandlerLines()
      : before_(Vel::traceSinkIs([this](Vel::TraceLine const& line) {
          lines_.push_back(std::string(line.handle) + " " + std::to_string(line.level) + " " +
                           std::string(line.sourcePath) + ":" + std::to_string(line.sourceLine) +
                           " " + std::string(line.function) + " " + std::string(line.text));
          handlers_.emplace_back(line.function);
        })) {
    _defaultTraceHandle().levelIs(8, true);
  }
  HandlerLines(HandlerLines const&) = delete;
  HandlerLines& operator=(HandlerLines const&) = delete;
  ~HandlerLines() {
    _defaultTraceHandle().levelIs(8, false);
    Vel::traceSinkIs(std::move(before_));
  }

  /// The lines since this was last asked, as "HANDLE LEVEL PATH:LINE FUNCTION TEXT".
  std::vector<std::string> lines() {
    handlers_.clear();
    return std::exchange(lines_, {});
  }

  /// The handlers that ran since this was last asked.
  std::vector<std::string> handlers() {
    lines_.clear();
    return std::exchange(handlers_, {});
  }

 private:
  std::vector<std::string> lines_;
  std::vector<std::string> handlers_;
  Vel::TraceSink before_;
};

}  // namespace Stp::TestSupport
