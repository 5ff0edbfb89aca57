// Snapshots of a running engine, taken one by one.
//
// The engine answers single questions, so a snapshot is several answers. One process of its control
// program asks them all. It asks for the list of instances twice, first and last: if that changed
// in between, or is another than the one whose trees were asked for, the snapshot is taken anew.
//
// The program stops at the first question that fails. What it prints (no version ends a JSON answer
// with a line feed, all end a reason with one) stands back to back on its standard output; an
// answer is told from the next by how that one begins, since no name of a port or bridge holds a
// colon.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "agent/host/Loop.h"
#include "agent/sources/engine/EngineProcess.h"
#include "agent/sources/engine/EngineSnapshot.h"

namespace Agent {

/// No snapshot could be taken. The message is the reason, on one line, and names the program, the
/// question at fault, and what to do where that is known.
class EngineError : public std::runtime_error {
 public:
  /// `kind` is what reasons have in common that differ in details alone.
  EngineError(std::string kind, std::string const& reason)
      : std::runtime_error(reason), kind_(std::move(kind)) {}

  std::string const& kind() const { return kind_; }

 private:
  std::string kind_;
};

/// One question to the engine.
struct EngineQuestion {
  /// The line of the batch, without its end.
  std::string command;
  /// The file of a snapshot that holds the answer.
  std::string file;
  /// How the answer begins.
  std::string opening;
};

/// The questions that a snapshot of a bridge consists of, with the trees of these instances.
std::vector<EngineQuestion> engineQuestions(std::string const& bridge,
                                            std::vector<std::uint16_t> const& instances);

/// The answers in what one batch printed: as many of the questions as were answered, from the
/// first on, each answer up to where the next begins. The text that follows the last answer is part
/// of it. A region name can hold anything, so the answer after it, the last one, is looked for from
/// the end.
std::vector<std::string_view> engineAnswers(std::string_view output,
                                            std::vector<EngineQuestion> const& questions);

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

  /// `program` as EngineProcess takes it.
  EngineSource(Loop& loop, std::string program, std::string bridge);

  /// Asks for the state of the bridge now. `done` is called once, as the loop turns; never if this
  /// goes before. Not while isAsking().
  void ask(Done done);
  bool isAsking() const { return static_cast<bool>(done_); }

  /// Whether a text can stand as a bridge's name in a batch of commands, and be the name of one.
  static bool isBridgeName(std::string_view text);

 private:
  void attempt();
  void answered(EngineAnswer const& answer);
  Taken read(EngineAnswer const& answer);
  void again(EngineError error);
  void tell(Taken taken);

  Loop& loop_;
  std::string program_;
  std::string bridge_;
  std::vector<std::uint16_t> instances_;  // those asked for: the ones there were last
  std::vector<EngineQuestion> questions_;
  Done done_;
  std::optional<EngineProcess> process_;
  std::optional<Loop::Time> failingSince_;
  int failures_ = 0;
  Loop::Clock::duration pause_{};
  Loop::Registration next_;
};

}  // namespace Agent
