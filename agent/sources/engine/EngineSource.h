// Snapshots of a running engine, taken one by one.
//
// The engine answers single questions, so a snapshot is several answers. One process of its control
// program asks them all but those about ports in MST instances, which a second one asks where that
// is called for (SeldomAsked.h). Both ask for the list of instances last, and the first one first,
// too: if that changed in between, or is another than the one whose trees were asked for, the
// snapshot is taken anew.
//
// The program stops at the first question that fails.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "agent/host/Loop.h"
#include "agent/sources/engine/EngineError.h"
#include "agent/sources/engine/EngineProcess.h"
#include "agent/sources/engine/EngineQuestions.h"
#include "agent/sources/engine/EngineSnapshot.h"
#include "agent/sources/engine/SeldomAsked.h"

namespace Agent {

class EngineSource {
 public:
  /// What an ask came to: the state of the bridge, or why it is not known.
  struct Taken {
    std::variant<EngineSnapshot, EngineError> result;
    /// Beside a snapshot: which strings of the engine are shown otherwise than it prints them.
    std::vector<std::string> remarks;
  };
  using Done = std::function<void(Taken taken)>;

  /// One run of the program has so much time: more than the five seconds that the program itself
  /// waits for the answer to a question, so that its own reason is heard.
  static constexpr std::chrono::seconds answerLimit{10};
  /// A reason that comes and goes with ports and instances is no error until it has lasted so long,
  /// and for so many attempts.
  static constexpr std::chrono::seconds lasting{1};
  static constexpr int fewAttempts = 5;

  /// `program` as EngineProcess takes it; `slowInterval` as SeldomAsked does.
  EngineSource(Loop& loop, std::string program, std::string bridge,
               Loop::Clock::duration slowInterval = SeldomAsked::usualInterval);

  /// Asks for the state of the bridge now, `isAll`: also for what did not seem to change. `done` is
  /// called once, as the loop turns; never if this goes before. Not while isAsking().
  void ask(Done done, bool isAll = false);
  bool isAsking() const { return static_cast<bool>(done_); }

 private:
  using Answers = std::vector<std::string_view>;

  // The part of a snapshot that is asked for first.
  struct Begun {
    EngineSnapshot snapshot;
    std::vector<std::string> remarks;
    Loop::Time at;
    std::string list;  // of the instances, as it was printed
  };

  using Read = void (EngineSource::*)(EngineAnswer const& answer, Answers const& answers);

  void attempt();
  void run(Read read);
  void answered(Read read, EngineAnswer const& answer);
  void begun(EngineAnswer const& answer, Answers const& answers);
  void completed(EngineAnswer const& answer, Answers const& answers);
  void requireAll(EngineAnswer const& answer, Answers const& answers) const;
  void requireList(Answers const& answers) const;
  std::vector<TreePortPair> askable(std::vector<TreePortPair> pairs);
  PassingError changed() const;
  std::string const& commandOf(std::string const& file) const;
  void again(EngineError error);
  void finish();
  void tell(Taken taken);

  Loop& loop_;
  std::string program_;
  std::string bridge_;
  SeldomAsked seldom_;
  std::vector<std::uint16_t> instances_;  // those asked for: the ones there were last
  std::vector<EngineQuestion> questions_;
  bool isAll_ = false;
  Begun begun_;
  Done done_;
  std::optional<EngineProcess> process_;
  std::optional<Loop::Time> failingSince_;
  int failures_ = 0;
  Loop::Clock::duration pause_{};
  Loop::Registration next_;
};

}  // namespace Agent
