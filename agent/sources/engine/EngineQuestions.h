// The questions that a snapshot is the answers to, as one run of the engine's control program is
// asked them.
//
// What the program prints (no version ends a JSON answer with a line feed, all end a reason with
// one) stands back to back on its standard output; an answer is told from the next by how that one
// begins, since no name of a port or bridge holds a colon.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Lumo/String.h"

namespace Agent {

/// One question to the engine.
struct EngineQuestion {
  /// The line of the batch, without its end.
  std::string command;
  /// The file of a snapshot that holds the answer.
  std::string file;
  /// How the answer begins.
  std::string opening;
};

/// A port, and an MST instance.
struct TreePortPair {
  Lumo::String port;
  std::uint16_t tree = 0;

  bool operator==(TreePortPair const&) const = default;
};

/// The questions that a snapshot of a bridge consists of, with the trees of these instances and
/// without their ports.
std::vector<EngineQuestion> engineQuestions(std::string const& bridge,
                                            std::vector<std::uint16_t> const& instances);

/// Questions about ports in MST instances; at their end that for the list of instances.
std::vector<EngineQuestion> treePortQuestions(std::string const& bridge,
                                              std::vector<TreePortPair> const& pairs);

/// Whether a text can stand as the name of a bridge or a port in a question, and be one.
bool isInterfaceName(std::string_view text);

/// The answers in what one batch printed: as many of the questions as were answered, from the
/// first on, each answer up to where the next begins. The text that follows the last answer is part
/// of it. A region name can hold anything, so the answer after it, the last one, is looked for from
/// the end.
std::vector<std::string_view> engineAnswers(std::string_view output,
                                            std::vector<EngineQuestion> const& questions);

/// A text of the program without the blanks around it.
std::string_view withoutBlanks(std::string_view text);

/// The answers as the files of a snapshot; of a question asked twice, the first. Refers to them and
/// to their questions.
class AnswerFiles {
 public:
  AnswerFiles(std::vector<EngineQuestion> const& questions,
              std::vector<std::string_view> const& answers);

  std::optional<std::string> operator()(std::string const& file) const;

 private:
  std::map<std::string_view, std::string_view> files_;
};

}  // namespace Agent
