#include "agent/sources/engine/EngineSource.h"

#include <algorithm>
#include <set>
#include <system_error>
#include <utility>

#include "agent/text/Json.h"

namespace Agent {

using std::chrono::milliseconds;

EngineSource::EngineSource(Loop& loop, std::string program, std::string bridge,
                           Loop::Clock::duration slowInterval)
    : loop_(loop), program_(std::move(program)), bridge_(std::move(bridge)), seldom_(slowInterval) {
}

void EngineSource::ask(Done done, bool isAll) {
  done_ = std::move(done);
  isAll_ = isAll;
  failingSince_.reset();
  attempt();
}

void EngineSource::attempt() {
  begun_.at = loop_.now();
  questions_ = engineQuestions(bridge_, instances_);
  run(&EngineSource::begun);
}

// Asks the questions, and hands on the answers.
void EngineSource::run(Read read) {
  std::string batch;
  for (EngineQuestion const& question : questions_) {
    batch.append(question.command).append("\n");
  }
  try {
    process_.emplace(loop_, program_, std::move(batch), loop_.now() + answerLimit,
                     [this, read](EngineAnswer const& answer) { answered(read, answer); });
  } catch (std::system_error const& error) {
    // From inside ask() nobody is told.
    next_ = loop_.at(loop_.now(), [this, text = program_ + ": " + error.what()] {
      tell({EngineError("system", text), {}});
    });
  }
}

void EngineSource::answered(Read read, EngineAnswer const& answer) {
  try {
    (this->*read)(answer, engineAnswers(answer.output, questions_));
  } catch (SnapshotError const& error) {
    EngineError reason(error.file(),
                       program_ + ": " + commandOf(error.file()) + ": " + error.reason());
    if (error.file() == "showportdetail.json") {  // a port may just have come or gone
      again(std::move(reason));
    } else {
      tell({std::move(reason), {}});
    }
  } catch (PassingError const& passing) {
    again(passing);
  } catch (EngineError const& error) {
    tell({error, {}});
  }
}

void EngineSource::begun(EngineAnswer const& answer, Answers const& answers) {
  AnswerFiles const files(questions_, answers);
  // The list is the first answer, the mode that makes it count is in the third; both are whole if a
  // fourth one follows.
  if (answers.size() > 3) {
    auto instances = instancesToRead(files, bridge_);
    if (instances != instances_) {
      instances_ = std::move(instances);
      throw changed();
    }
  }
  requireAll(answer, answers);
  begun_.list = withoutBlanks(answers.front());
  requireList(answers);
  std::vector<SnapshotRemark> remarks;
  begun_.snapshot = parseSnapshotButTreePorts(files, bridge_, &remarks);
  begun_.remarks.clear();
  for (SnapshotRemark const& remark : remarks) {
    begun_.remarks.push_back(program_ + ": " + commandOf(remark.file) + ": " + remark.text);
  }
  auto const pairs = askable(seldom_.due(begun_.snapshot, begun_.at, isAll_));
  if (pairs.empty()) {
    finish();
    return;
  }
  questions_ = treePortQuestions(bridge_, pairs);
  run(&EngineSource::completed);
}

void EngineSource::completed(EngineAnswer const& answer, Answers const& answers) {
  requireAll(answer, answers);
  requireList(answers);
  readTreePorts(AnswerFiles(questions_, answers), bridge_, begun_.snapshot);
  finish();
}

void EngineSource::requireAll(EngineAnswer const& answer, Answers const& answers) const {
  if (answers.size() < questions_.size() || !answer.problem.empty()) {
    throwUnanswered(program_, bridge_, answer, questions_, answers);
  }
}

// At its end a batch has the list of instances that there was at the beginning.
void EngineSource::requireList(Answers const& answers) const {
  if (withoutBlanks(answers.back()) != begun_.list) {
    throw changed();
  }
}

// Without those about a port whose name, as it is known here, is not what the engine knows it by,
// or would end the question.
std::vector<TreePortPair> EngineSource::askable(std::vector<TreePortPair> pairs) {
  std::set<std::string> left;
  std::erase_if(pairs, [&left](TreePortPair const& pair) {
    constexpr std::string_view replacement = "\xEF\xBF\xBD";
    bool const isAskable = isInterfaceName(pair.port.view()) &&
                           pair.port.view().find(replacement) == std::string_view::npos;
    if (!isAskable) {
      left.insert(pair.port.toString());
    }
    return !isAskable;
  });
  for (std::string const& port : left) {
    begun_.remarks.push_back(program_ + ": showtreeport: not asked about port " + inQuotes(port) +
                             ", whose name can't stand in a question");
  }
  return pairs;
}

PassingError EngineSource::changed() const {
  return {"changes", program_ + ": " + questions_.back().command + ": keeps changing"};
}

std::string const& EngineSource::commandOf(std::string const& file) const {
  return std::ranges::find(questions_, file, &EngineQuestion::file)->command;
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

void EngineSource::finish() {
  seldom_.complete(begun_.snapshot, begun_.at);
  tell({std::move(begun_.snapshot), std::move(begun_.remarks)});
}

// The last thing: whoever is told may ask again, or end this.
void EngineSource::tell(Taken taken) {
  process_.reset();
  std::exchange(done_, nullptr)(std::move(taken));
}

}  // namespace Agent
