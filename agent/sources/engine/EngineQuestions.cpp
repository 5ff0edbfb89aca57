#include "agent/sources/engine/EngineQuestions.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace Agent {

namespace {

using Questions = std::vector<EngineQuestion>;
using Answers = std::vector<std::string_view>;

// How most answers begin.
std::string aboutBridge(std::string const& bridge) {
  return R"({"bridge":")" + bridge + R"(",)";
}

EngineQuestion listQuestion(std::string const& bridge) {
  return {"showmstilist " + bridge, "showmstilist.json", aboutBridge(bridge) + R"("mstids":)"};
}

// Where the answer to a question begins, from `from` on.
std::size_t beginOf(EngineQuestion const& question, std::string_view output, std::size_t from,
                    bool isLast) {
  if (isLast) {
    std::size_t const at = output.rfind(question.opening);
    return at == std::string_view::npos || at <= from ? std::string_view::npos : at;
  }
  if (question.opening != "[") {
    return output.find(question.opening, from + 1);
  }
  // Anything may follow the bracket; but the answer before holds nothing but numbers.
  std::size_t const end = output.find('}', from);
  std::size_t const at =
      end == std::string_view::npos ? end : output.find_first_not_of(" \t\r\n", end + 1);
  return at != std::string_view::npos && output[at] == '[' ? at : std::string_view::npos;
}

}  // namespace

std::string_view withoutBlanks(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\n";
  text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
  return text.substr(0, text.find_last_not_of(blanks) + 1);
}

std::vector<EngineQuestion> engineQuestions(std::string const& bridge,
                                            std::vector<std::uint16_t> const& instances) {
  std::string const about = aboutBridge(bridge);
  EngineQuestion const list = listQuestion(bridge);
  Questions questions{
      list,
      {"showportdetail " + bridge, "showportdetail.json", "["},
      {"showbridge " + bridge, "showbridge.json", R"([{"bridge":)"},
      {"showfid2mstid " + bridge, "showfid2mstid.json", about + R"("fid2mstid":)"},
      {"showvid2fid " + bridge, "showvid2fid.json", about + R"("vid2fid":)"},
  };
  for (std::uint16_t const instance : instances) {
    std::string const id = std::to_string(instance);
    questions.push_back({std::string("showtree ").append(bridge).append(" ").append(id),
                         "showtree-" + id + ".json",
                         std::string(about).append(R"("mstid":")").append(id).append("\"")});
  }
  questions.push_back(
      {"showmstconfid " + bridge, "showmstconfid.json", about + R"("format-selector":)"});
  questions.push_back(list);
  return questions;
}

std::vector<EngineQuestion> treePortQuestions(std::string const& bridge,
                                              std::vector<TreePortPair> const& pairs) {
  Questions questions;
  questions.reserve(pairs.size() + 1);
  for (TreePortPair const& pair : pairs) {
    std::string const port = pair.port.toString();
    std::string const id = std::to_string(pair.tree);
    std::string command = "showtreeport ";
    command.append(bridge).append(" ").append(port).append(" ").append(id);
    std::string file = "showtreeport-";
    file.append(port).append("-").append(id).append(".json");
    std::string opening = R"({"port":")";
    opening.append(port).append(R"(","bridge":")").append(bridge);
    opening.append(R"(","mstid":")").append(id).append("\"");
    questions.push_back({std::move(command), std::move(file), std::move(opening)});
  }
  questions.push_back(listQuestion(bridge));
  return questions;
}

bool isInterfaceName(std::string_view text) {
  constexpr std::size_t longest = 15;
  return !text.empty() && text.size() <= longest && text != "." && text != ".." &&
         std::ranges::all_of(text, [](unsigned char c) {
           return c > ' ' && c != 0x7F &&
                  std::string_view(R"(/:"'\#)").find(static_cast<char>(c)) ==
                      std::string_view::npos;
         });
}

std::vector<std::string_view> engineAnswers(std::string_view output,
                                            std::vector<EngineQuestion> const& questions) {
  if (questions.empty() || !output.starts_with(questions.front().opening)) {
    return {};
  }
  std::vector<std::size_t> begins{0};
  while (begins.size() < questions.size()) {
    bool const isLast = begins.size() + 1 == questions.size();
    auto const begin = beginOf(questions[begins.size()], output, begins.back(), isLast);
    if (begin == std::string_view::npos) {
      break;
    }
    begins.push_back(begin);
  }
  begins.push_back(output.size());
  Answers answers;
  for (std::size_t at = 0; at + 1 < begins.size(); ++at) {
    answers.push_back(output.substr(begins[at], begins[at + 1] - begins[at]));
  }
  return answers;
}

AnswerFiles::AnswerFiles(Questions const& questions, Answers const& answers) {
  for (std::size_t at = 0; at < answers.size(); ++at) {
    files_.try_emplace(questions[at].file, answers[at]);
  }
}

std::optional<std::string> AnswerFiles::operator()(std::string const& file) const {
  auto const found = files_.find(file);
  return found == files_.end() ? std::nullopt : std::optional(std::string(found->second));
}

}  // namespace Agent
