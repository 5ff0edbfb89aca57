#include "agent/program/Run.h"

#include <unistd.h>

#include <system_error>

#include "Flashlog/FlashlogHandle.h"
#include "Stp/Module.h"
#include "agent/host/Diagnostics.h"
#include "agent/host/Fatal.h"
#include "agent/host/Interrupt.h"
#include "agent/sources/engine/EngineDifference.h"

namespace Agent {

Run::Run(Settings const& settings) : settings_(settings), output_(STDOUT_FILENO) {
  Interrupt::install();
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
  }
  session_.emplace(settings_, output_);
  work(*this);
  session_->show();
  session_.reset();
  if (output_.error() && output_.error() != std::errc::broken_pipe) {
    failed("standard output: " + output_.error().message());
    return status_;
  }
  return Interrupt::requested() ? allApplied : status_;
}

bool Run::goesOn() const {
  return !Interrupt::requested() && !output_.error() && status_ != unusable;
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

}  // namespace Agent
