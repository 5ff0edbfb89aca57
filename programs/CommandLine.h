// What the command lines of the project's programs share.
#pragma once

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace Programs {

/// Parses the words after a program's or a command's name, and throws what the parser throws. By
/// itself that takes a word in brackets for a list of words: such a word is marked before it gets
/// there, and the mark taken from what comes out.
class CommandLine {
 public:
  explicit CommandLine(CLI::App& app) : app_(app) {
    for (CLI::Option* const option : app.get_options()) {
      option->transform(&unmarked, "");
    }
  }

  void parse(std::vector<std::string> words) {
    for (std::string& word : words) {
      if (word.starts_with('[') || word.starts_with(mark)) {
        word.insert(word.begin(), mark);
      }
    }
    std::ranges::reverse(words);
    app_.parse(std::move(words));
  }

  /// A message of the parser as the user may see it.
  static std::string readable(std::string message) {
    std::erase(message, mark);
    return message;
  }

 private:
  static constexpr char mark = '\x01';

  static std::string unmarked(std::string const& word) {
    return word.starts_with(mark) ? word.substr(1) : word;
  }

  CLI::App& app_;
};

}  // namespace Programs
