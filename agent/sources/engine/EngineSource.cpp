#include "agent/sources/engine/EngineSource.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <map>
#include <system_error>
#include <utility>

#include "agent/text/Json.h"

namespace Agent {

namespace {

using Questions = std::vector<EngineQuestion>;
using Answers = std::vector<std::string_view>;
using std::chrono::milliseconds;

// Taken out of the engine's answer: it is worth another attempt.
class Passing : public EngineError {
 public:
  using EngineError::EngineError;
};

// What the control program says of a failure, what reasons of that sort have in common, and what
// the operator does about it.
struct KnownReason {
  std::string_view said;
  char const* kind;
  bool passes;  // with what comes or goes, and is not yet known everywhere
  char const* advice;
};
constexpr std::array knownReasons{
    KnownReason{"Couldn't connect to server", "no engine", false,
                "start mstpd, in the network namespace of the agent"},
    KnownReason{"can't setup control connection", "no engine", false,
                "start mstpd, in the network namespace of the agent"},
    KnownReason{"message from server: Timeout", "silence", false,
                "mstpd runs and does not answer: it may be stopped, or too busy"},
    KnownReason{"Error sending message to server", "no engine", false, "mstpd has ended meanwhile"},
    KnownReason{"Can't find index for bridge", "no bridge", false,
                "there is no bridge of that name; ip link add NAME type bridge makes one"},
    KnownReason{"Couldn't find bridge with index", "no MSTP bridge", true,
                "mstpd does not know it as a bridge; mstpctl addbridge NAME tells it"},
    KnownReason{"Operation not permitted", "no right", false, "ask as root"},
    KnownReason{"Error getting list of all ports", "ports", true, ""},
    KnownReason{"Couldn't find port with index", "ports", true, ""},
    KnownReason{"Can't find index for port", "ports", true, ""},
    KnownReason{"Failed to get port state", "ports", true, ""},
    KnownReason{"Couldn't find MSTI with ID", "instances", true, ""},
};

std::string_view withoutBlanks(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\n";
  text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
  return text.substr(0, text.find_last_not_of(blanks) + 1);
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

// Where the program's reason stands in an answer: behind a bracket or an entry, as no JSON does.
std::size_t reasonIn(std::string_view answer) {
  for (std::size_t at = 1; at < answer.size(); ++at) {
    bool const isBehind = std::string_view("[]},\n").find(answer[at - 1]) != std::string_view::npos;
    if (isBehind && std::isalpha(static_cast<unsigned char>(answer[at])) != 0) {
      return at;
    }
  }
  return std::string_view::npos;
}

// Why a batch was not answered to its end: which question ended it, how, what was said last, and
// what to do.
class Unanswered {
 public:
  Unanswered(EngineAnswer const& answer, Questions const& questions, Answers const& answers)
      : kind_(answer.problem) {
    std::string_view said = withoutBlanks(answer.output);
    bool isInList = false;
    if (!answers.empty()) {
      std::size_t const at = reasonIn(answers.back());
      said = at == std::string_view::npos ? "" : withoutBlanks(answers.back().substr(at));
      isInList = !said.empty() && (at == 1 || answers.back()[at - 1] == ',');
    }
    known_ = std::ranges::find_if(knownReasons, [&](KnownReason const& known) {
      return contains(said, known.said) || contains(answer.complaint, known.said);
    });
    reason_ = whichFailed(questions, answers, isInList);
    reason_ += answer.problem.empty() ? "not answered" : answer.problem;
    if (!answer.complaint.empty()) {
      reason_ += ": " + inQuotes(answer.complaint);
    }
    if (!said.empty()) {
      reason_ += ", says " + inQuotes(said);
    }
    if (!isKnown() && answer.problem.empty()) {
      reason_ += "; it must be the mstpctl of mstpd, 0.0.8 or later";
    }
  }

  bool passes() const { return isKnown() && known_->passes; }

  template <class Error>
  Error error(std::string const& program, std::string const& bridge) const {
    std::string reason = program + ": " + reason_;
    if (isKnown() && *known_->advice != '\0') {
      std::string advice = known_->advice;
      if (std::size_t const at = advice.find("NAME"); at != std::string::npos) {
        advice.replace(at, 4, bridge);
      }
      reason += "; " + advice;
    }
    return Error(isKnown() ? known_->kind : kind_, reason);
  }

 private:
  bool isKnown() const { return known_ != knownReasons.end(); }

  // A question that is answered with a list has an answer though it failed: with the reason in it,
  // or without an entry.
  std::string whichFailed(Questions const& questions, Answers const& answers, bool isInList) const {
    bool const lacksEntry = isKnown() && std::string_view(known_->kind) == "ports";
    std::size_t const failed = answers.size() - (isInList || lacksEntry ? 1 : 0);
    return answers.empty() || failed >= questions.size() ? "" : questions[failed].command + ": ";
  }

  static bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
  }

  std::string kind_;
  std::string reason_;
  decltype(knownReasons.begin()) known_;
};

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

std::string const& commandOf(Questions const& questions, std::string const& file) {
  return std::ranges::find(questions, file, &EngineQuestion::file)->command;
}

}  // namespace

std::vector<EngineQuestion> engineQuestions(std::string const& bridge,
                                            std::vector<std::uint16_t> const& instances) {
  std::string const about = R"({"bridge":")" + bridge + R"(",)";
  EngineQuestion const list{"showmstilist " + bridge, "showmstilist.json", about + R"("mstids":)"};
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

EngineSource::EngineSource(Loop& loop, std::string program, std::string bridge)
    : loop_(loop), program_(std::move(program)), bridge_(std::move(bridge)) {
}

void EngineSource::ask(Done done) {
  done_ = std::move(done);
  failingSince_.reset();
  attempt();
}

void EngineSource::attempt() {
  questions_ = engineQuestions(bridge_, instances_);
  std::string batch;
  for (EngineQuestion const& question : questions_) {
    batch.append(question.command).append("\n");
  }
  try {
    process_.emplace(loop_, program_, std::move(batch), loop_.now() + answerLimit,
                     [this](EngineAnswer const& answer) { answered(answer); });
  } catch (std::system_error const& error) {
    // From inside ask() nobody is told.
    next_ = loop_.at(loop_.now(), [this, text = program_ + ": " + error.what()] {
      tell({EngineError("system", text), {}});
    });
  }
}

void EngineSource::answered(EngineAnswer const& answer) {
  try {
    tell(read(answer));
  } catch (Passing const& passing) {
    again(passing);
  } catch (EngineError const& error) {
    tell({error, {}});
  }
}

EngineSource::Taken EngineSource::read(EngineAnswer const& answer) {
  Answers const answers = engineAnswers(answer.output, questions_);
  AnswerFiles const files(questions_, answers);
  Passing const changed("changes",
                        program_ + ": " + questions_.front().command + ": keeps changing");
  try {
    // The list is the first answer, the mode that makes it count is in the third; both are whole
    // if a fourth one follows.
    if (answers.size() > 3) {
      auto instances = instancesToRead(files, bridge_);
      if (instances != instances_) {
        instances_ = std::move(instances);
        throw changed;
      }
    }
    if (answers.size() < questions_.size() || !answer.problem.empty()) {
      Unanswered const why(answer, questions_, answers);
      if (why.passes()) {
        throw why.error<Passing>(program_, bridge_);
      }
      throw why.error<EngineError>(program_, bridge_);
    }
    if (withoutBlanks(answers.front()) != withoutBlanks(answers.back())) {
      throw changed;
    }
    std::vector<SnapshotRemark> remarks;
    Taken taken{parseSnapshot(files, bridge_, &remarks), {}};
    for (SnapshotRemark const& remark : remarks) {
      taken.remarks.push_back(program_ + ": " + commandOf(questions_, remark.file) + ": " +
                              remark.text);
    }
    return taken;
  } catch (SnapshotError const& error) {
    std::string const reason =
        program_ + ": " + commandOf(questions_, error.file()) + ": " + error.reason();
    if (error.file() == "showportdetail.json") {
      throw Passing(error.file(), reason);  // a port may just have come or gone
    }
    throw EngineError(error.file(), reason);
  }
}

// Once more, at first at once and then after longer and longer pauses; until it lasts.
void EngineSource::again(EngineError error) {
  constexpr milliseconds shortest{10};
  constexpr milliseconds longest{200};
  if (!failingSince_) {
    failingSince_ = loop_.now();
    failures_ = 1;
    pause_ = {};
  } else if (++failures_ >= fewAttempts && loop_.now() - *failingSince_ >= lasting) {
    tell({std::move(error), {}});
    return;
  } else {
    pause_ = std::clamp<Loop::Clock::duration>(pause_ * 2, shortest, longest);
  }
  next_ = loop_.after(pause_, [this] { attempt(); });
}

// The last thing: whoever is told may ask again, or end this.
void EngineSource::tell(Taken taken) {
  process_.reset();
  std::exchange(done_, nullptr)(std::move(taken));
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
