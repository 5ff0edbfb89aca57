// Snapshots of a running engine, taken one by one.
//
// The engine answers single questions, so a snapshot is several answers. One process of its control
// program asks them all. It asks for the list of instances twice, first and last: if that changed
// in between, or is another than the one whose trees were asked for, the snapshot is taken anew.
//
// The program stops at the first question that fails and prints the reason, so an answer is either
// complete or the last. (It could be told to go on; the reason would then stand between the
// answers.)
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/sources/engine/EngineSnapshot.h"

namespace Agent {

/// No snapshot could be taken. The message is the reason, on one line, and names the program and
/// the question at fault.
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
  /// How the line begins with which the answer begins.
  std::string opening;
};

/// The questions that a snapshot of a bridge consists of, with the trees of these instances.
std::vector<EngineQuestion> engineQuestions(std::string const& bridge,
                                            std::vector<std::uint16_t> const& instances);

/// The answers in what one batch printed: as many of the questions as were answered, from the
/// first on, each answer up to where the next begins. An answer is known by its opening, since a
/// region name can hold anything, ends of lines included; the last one is looked for from the end,
/// so that no region name can pass for it. The text that follows the last answer is part of it.
std::vector<std::string_view> engineAnswers(std::string_view output,
                                            std::vector<EngineQuestion> const& questions);

class EngineSource {
 public:
  /// `program` as askEngine (EngineProcess.h) takes it. Each snapshot has `limit` to be taken.
  EngineSource(std::string program, std::string bridge, std::chrono::milliseconds limit);

  /// The state of the bridge now, or nothing when a signal to end came meanwhile. Throws
  /// EngineError when the program can't be run, fails or does not answer, and when its answers
  /// aren't understood.
  std::optional<EngineSnapshot> next();

  /// Whether a text can stand as a bridge's name in a batch of commands, and be the name of one.
  static bool isBridgeName(std::string_view text);

 private:
  // What one batch came to: a snapshot, or why there is none though it is worth another attempt.
  struct Attempt {
    std::optional<EngineSnapshot> snapshot;
    std::optional<EngineError> again;
  };

  std::optional<Attempt> attempt(std::chrono::steady_clock::time_point deadline);

  std::string program_;
  std::string bridge_;
  std::chrono::milliseconds limit_;
  std::vector<std::uint16_t> instances_;  // those asked for: the ones there were last
};

}  // namespace Agent
