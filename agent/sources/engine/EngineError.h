// Why there is no snapshot.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "agent/sources/engine/EngineProcess.h"
#include "agent/sources/engine/EngineQuestions.h"

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

/// A reason that is worth another attempt.
class PassingError : public EngineError {
 public:
  using EngineError::EngineError;
};

/// Throws why a batch of questions about a bridge was not answered to its end, with so many
/// `answers`: a PassingError where the reason may be that something comes or goes.
[[noreturn]] void throwUnanswered(std::string const& program, std::string const& bridge,
                                  EngineAnswer const& answer,
                                  std::vector<EngineQuestion> const& questions,
                                  std::vector<std::string_view> const& answers);

}  // namespace Agent
