#include "agent/sources/engine/EngineError.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>

#include "agent/text/Json.h"

namespace Agent {

namespace {

using Questions = std::vector<EngineQuestion>;
using Answers = std::vector<std::string_view>;

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
    if (answers.empty()) {
      return "";
    }
    bool const lacksEntry = isKnown() && std::string_view(known_->kind) == "ports" &&
                            questions[answers.size() - 1].opening == "[";
    std::size_t const failed = answers.size() - (isInList || lacksEntry ? 1 : 0);
    return failed >= questions.size() ? "" : questions[failed].command + ": ";
  }

  static bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
  }

  std::string kind_;
  std::string reason_;
  decltype(knownReasons.begin()) known_;
};

}  // namespace

void throwUnanswered(std::string const& program, std::string const& bridge,
                     EngineAnswer const& answer, Questions const& questions,
                     Answers const& answers) {
  Unanswered const why(answer, questions, answers);
  if (why.passes()) {
    throw why.error<PassingError>(program, bridge);
  }
  throw why.error<EngineError>(program, bridge);
}

}  // namespace Agent
