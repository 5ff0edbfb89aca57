#include "agent/sources/engine/EngineSource.h"

#include <algorithm>
#include <map>
#include <utility>

#include "agent/sources/engine/EngineProcess.h"
#include "agent/text/Json.h"

namespace Agent {

namespace {

using Clock = std::chrono::steady_clock;
using Questions = std::vector<EngineQuestion>;
using Answers = std::vector<std::string_view>;

// Where a line that begins with `opening` starts, from `from` on.
std::size_t lineWith(std::string_view text, std::string const& opening, std::size_t from) {
  std::size_t const at = text.find("\n" + opening, from);
  return at == std::string_view::npos ? at : at + 1;
}
std::size_t lastLineWith(std::string_view text, std::string const& opening, std::size_t from) {
  std::size_t const at = text.rfind("\n" + opening);
  return at == std::string_view::npos || at < from ? std::string_view::npos : at + 1;
}

std::string_view withoutBlanks(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\n";
  text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
  return text.substr(0, text.find_last_not_of(blanks) + 1);
}

// Why a batch was not answered to its end: which question ended it, how, and what was said last.
std::string whyUnanswered(EngineAnswer const& answer, Questions const& questions,
                          Answers const& answers) {
  std::string reason;
  std::string_view said = answer.output;
  if (!answers.empty()) {
    std::string_view const last = answers.back();
    said = last.substr(std::min(last.find('\n'), last.size()));
    if (answers.size() < questions.size()) {
      reason = questions[answers.size()].command + ": ";
    }
  }
  reason += answer.problem.empty() ? "not answered" : answer.problem;
  if (!answer.complaint.empty()) {
    reason += ": " + inQuotes(answer.complaint);
  }
  said = withoutBlanks(said);
  return said.empty() ? reason : reason + ", says " + inQuotes(said);
}

// The answers as the files of a snapshot; of a question asked twice, the first.
class AnswerFiles {
 public:
  AnswerFiles(Questions const& questions, Answers const& answers) {
    for (std::size_t at = 0; at < answers.size(); ++at) {
      files_.try_emplace(questions[at].file, answers[at]);
    }
  }

  std::optional<std::string> operator()(std::string const& file) const {
    auto const found = files_.find(file);
    return found == files_.end() ? std::nullopt : std::optional(std::string(found->second));
  }

 private:
  std::map<std::string_view, std::string_view> files_;
};

}  // namespace

std::vector<EngineQuestion> engineQuestions(std::string const& bridge,
                                            std::vector<std::uint16_t> const& instances) {
  std::string const about = R"({"bridge":")" + bridge + R"(",)";
  EngineQuestion const list{"showmstilist " + bridge, "showmstilist.json", about + R"("mstids":)"};
  Questions questions{
      list,
      {"showbridge " + bridge, "showbridge.json", R"([{"bridge":)"},
      {"showportdetail " + bridge, "showportdetail.json", "["},
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

std::vector<std::string_view> engineAnswers(std::string_view output,
                                            std::vector<EngineQuestion> const& questions) {
  if (questions.empty() || !output.starts_with(questions.front().opening)) {
    return {};
  }
  std::vector<std::size_t> begins{0};
  while (begins.size() < questions.size()) {
    bool const isLast = begins.size() + 1 == questions.size();
    auto const begin = (isLast ? &lastLineWith : &lineWith)(
        output, questions[begins.size()].opening, begins.back());
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

EngineSource::EngineSource(std::string program, std::string bridge, std::chrono::milliseconds limit)
    : program_(std::move(program)), bridge_(std::move(bridge)), limit_(limit) {
}

std::optional<EngineSnapshot> EngineSource::next() {
  constexpr int attempts = 5;  // the very first one doesn't know the instances yet
  auto const deadline = Clock::now() + limit_;
  std::optional<EngineError> error;
  for (int left = attempts; left > 0; --left) {
    auto result = attempt(deadline);
    if (!result || result->snapshot) {
      return result ? std::move(result->snapshot) : std::nullopt;
    }
    error = std::move(result->again);
  }
  throw *error;
}

std::optional<EngineSource::Attempt> EngineSource::attempt(Clock::time_point deadline) {
  Questions const questions = engineQuestions(bridge_, instances_);
  std::string batch;
  for (EngineQuestion const& question : questions) {
    batch.append(question.command).append("\n");
  }
  auto const answer = askEngine(program_, batch, deadline);
  if (!answer) {
    return std::nullopt;
  }
  Answers const answers = engineAnswers(answer->output, questions);
  AnswerFiles const files(questions, answers);
  Attempt const changed{
      {}, EngineError("changes", program_ + ": " + questions.front().command + ": keeps changing")};
  try {
    // The list is the first answer, the mode that makes it count is in the second; both are whole
    // if a third one follows.
    if (answers.size() > 2) {
      auto instances = instancesToRead(files, bridge_);
      if (instances != instances_) {
        instances_ = std::move(instances);
        return changed;
      }
    }
    if (answers.size() < questions.size() || !answer->problem.empty()) {
      EngineError error(answer->problem,
                        program_ + ": " + whyUnanswered(*answer, questions, answers));
      bool const endedAtTree = answers.size() < questions.size() &&
                               questions[answers.size()].file.starts_with("showtree-");
      if (endedAtTree && Clock::now() < deadline) {
        return Attempt{{}, std::move(error)};  // the instance may just have gone
      }
      throw error;
    }
    if (withoutBlanks(answers.front()) != withoutBlanks(answers.back())) {
      return changed;
    }
    return Attempt{parseSnapshot(files, bridge_), {}};
  } catch (SnapshotError const& error) {
    auto const question = std::ranges::find(questions, error.file(), &EngineQuestion::file);
    throw EngineError(error.file(), program_ + ": " + question->command + ": " + error.reason());
  }
}

bool EngineSource::isBridgeName(std::string_view text) {
  constexpr std::size_t longest = 15;
  return !text.empty() && text.size() <= longest && text != "." && text != ".." &&
         std::ranges::all_of(text, [](unsigned char c) {
           return c > ' ' && c != 0x7F &&
                  std::string_view(R"(/:"'\#)").find(static_cast<char>(c)) ==
                      std::string_view::npos;
         });
}

}  // namespace Agent
