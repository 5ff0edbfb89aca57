#include "agent/program/Session.h"

#include "Stp/vlans/VlanList.h"
#include "agent/state/Departed.h"
#include "agent/state/TargetRecord.h"
#include "agent/views/document/OpenConfigView.h"
#include "agent/views/entities/EntitiesView.h"

namespace Agent {

namespace {

// Those that the configuration is to have, whether they exist or not.
Stp::VlanSet disabledVlans(Stp::OCGlobalConfigContainer const& config) {
  Stp::VlanSet vlans;
  for (Stp::VlanIdOrRange const& entry : config.disabledVlan) {
    Stp::expandVlans(
        entry, [&vlans](std::uint16_t vlan) { vlans.insert(vlan); }, __FILE__, __LINE__, __func__);
  }
  return vlans;
}

}  // namespace

Session::Session(Settings const& settings, Output& output)
    : shown_(settings.show),
      forgetsDeparted_(settings.forgetDeparted),
      output_(output),
      mirror_(database_),
      observed_(database_.targets()),
      operations_(database_, mirror_, [this] { show(); }) {
  if (settings.watch) {
    watch_.emplace(observed_, output_);
  }
  if (!settings.manualStart) {
    start();
  }
}

void Session::start() {
  mirror_.startAll();
  observed_.changeSetEnds();
}

void Session::apply(Operation const& operation) {
  operations_.apply(operation);
  observed_.changeSetEnds();
}

void Session::apply(Changes const& changes) {
  database_.apply(changes);
  if (forgetsDeparted_ && !changes.empty()) {
    database_.apply(departed(database_.sources(), database_.targets()));
  }
  observed_.changeSetEnds();
}

void Session::write(Wish wish, Written written) {
  if (!keeper_) {
    disabledVlansAre(wish);
    written(std::nullopt);
    return;
  }
  wishes_.emplace_back(std::move(wish), std::move(written));
  if (wishes_.size() == 1) {
    keepNext();
  }
}

void Session::disabledVlansAre(Wish const& wish) {
  TargetView const targets = database_.targets();
  Stp::OCGlobalConfigContainer const& present = recordOf(*targets.globalConfig);
  Stp::OCGlobalConfigContainer wished = present;
  Stp::compressDisabledVlans(wished, wish(disabledVlans(present)));
  if (wished == present) {
    return;
  }
  database_.apply(Change::set(targets.globalConfig, onlyAttribute<Stp::OCGlobalConfig>, wished));
  mirror_.syncDisabledVlans();
  observed_.changeSetEnds();
}

void Session::keepNext() {
  keeper_(wishes_.front().first, [this](std::optional<std::string> const& refusal) {
    Written const written = std::move(wishes_.front().second);
    wishes_.pop_front();
    written(refusal);
    if (!wishes_.empty()) {
      keepNext();
    }
  });
}

void Session::keeperGoes(std::string const& reason) {
  keeper_ = [reason](Wish const& /*wish*/, Written const& written) { written(reason); };
  for (auto const& [wish, written] : std::exchange(wishes_, {})) {
    written(reason);
  }
}

void Session::show() {
  switch (shown_) {
    case Show::openConfig: output_.lineAdd(openConfigView(database_.targets()).dump(2)); break;
    case Show::entities: output_.lineAdd(entitiesView(database_.targets()).dump()); break;
    case Show::none: break;
  }
}

}  // namespace Agent
