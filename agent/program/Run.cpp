#include "agent/program/Run.h"

#include <sys/epoll.h>
#include <unistd.h>

#include <memory>
#include <system_error>

#include "Flashlog/FlashlogHandle.h"
#include "Stp/Module.h"
#include "StpOper/Module.h"
#include "agent/host/Diagnostics.h"
#include "agent/host/Fatal.h"
#include "agent/program/GnmiTarget.h"
#include "agent/sources/engine/EngineDifference.h"

namespace Agent {

Run::Run(Settings const& settings)
    : settings_(settings), interrupt_(loop_), output_(loop_, STDOUT_FILENO) {
}

int Run::execute(std::function<void(Run&)> const& work) {
  std::optional<Flashlog::FlashlogHandle> flashlog;
  std::optional<Flashlog::DefaultHandleScope> flashlogInstalled;
  if (settings_.flashlog) {
    try {
      flashlog.emplace(*settings_.flashlog);
    } catch (std::system_error const& error) {
      failed(std::string("--flashlog: ") + error.what());
      return status_;
    }
    flashlogInstalled.emplace(*flashlog);
  }
  if (settings_.trace) {
    Stp::_defaultTraceHandle().levelIs(8, true);
    Stp::Oper::defaultTraceHandle().levelIs(8, true);
  }
  try {
    return workAndShow(work);
  } catch (Gnmi::SettingsError const& error) {
    failed(std::string("--gnmi: ") + error.what());
    return status_;
  }
}

int Run::workAndShow(std::function<void(Run&)> const& work) {
  session_.emplace(settings_, output_);
  std::unique_ptr<GnmiTarget> target;
  if (!settings_.gnmi.server.addresses.empty()) {
    target = serveGnmi(settings_.gnmi, loop_, *session_);
  }
  work(*this);
  bool const isCutShort = interrupt_.requested();
  if (target) {
    wait();
    target.reset();
  }
  if (status_ != neverSeen) {
    session_->show();
  }
  session_.reset();
  awaitReader();
  if (output_.error() && output_.error() != std::errc::broken_pipe && status_ != unusable) {
    failed("standard output: " + output_.error().message());
  }
  return status_ == someRefused && isCutShort ? allApplied : status_;
}

bool Run::isWanted() const {
  return !isDone_ && !interrupt_.requested() && !output_.error() && status_ != unusable;
}

bool Run::goesOn() {
  loop_.turn(Loop::Clock::duration::zero());
  while (isWanted() && output_.waiting() > 0) {
    loop_.turn();
  }
  return isWanted();
}

void Run::wait() {
  while (isWanted()) {
    loop_.turn();
  }
}

void Run::waitFor(std::chrono::milliseconds duration) {
  bool isLater = false;
  auto const later = loop_.after(duration, [&isLater] { isLater = true; });
  while (isWanted() && !isLater) {
    loop_.turn();
  }
}

bool Run::waitReadable(int descriptor) {
  bool isReadable = false;
  auto const reading = loop_.whenReady(
      descriptor, EPOLLIN, [&isReadable](std::uint32_t /*events*/) { isReadable = true; });
  while (isWanted() && !isReadable) {
    loop_.turn();
  }
  return isWanted();
}

// Who sends a second signal waits no longer.
void Run::awaitReader() {
  Loop::Registration limit;
  std::size_t taken = output_.taken() + 1;
  bool isLate = false;
  while (output_.waiting() > 0 && !isLate) {
    if (interrupt_.urged()) {
      output_.giveUp(std::errc::interrupted);
      return;
    }
    if (readersPatience_ && taken != output_.taken()) {
      taken = output_.taken();
      limit = loop_.after(*readersPatience_, [&isLate] { isLate = true; });
    }
    loop_.turn();
  }
  if (isLate) {
    failed("standard output: nobody reads, " + std::to_string(output_.waiting()) +
           " bytes are lost");
    output_.giveUp(std::errc::timed_out);
  }
}

void Run::apply(EngineSnapshot const& snapshot, std::string const& name) {
  applyingIs(name, 0);
  session_->apply(differences(snapshot, session_->database().sources()));
  applyingIs("", 0);
}

void Run::refused(std::string const& message) {
  Diagnostics::error(message);
  status_ = someRefused;
}

void Run::failed(std::string const& message) {
  Diagnostics::error(message);
  status_ = unusable;
}

void Run::unseen(std::string const& message) {
  Diagnostics::error(message);
  status_ = neverSeen;
}

}  // namespace Agent
