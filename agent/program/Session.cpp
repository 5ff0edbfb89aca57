#include "agent/program/Session.h"

#include "Stp/vlans/VlanList.h"
#include "agent/state/Departed.h"
#include "agent/state/TargetRecord.h"
#include "agent/views/document/OpenConfigView.h"
#include "agent/views/entities/EntitiesView.h"

namespace Agent {

namespace {

// Those that the configuration is to have, whether they exist or not.
Stp::VlanSet disabledVlans(TargetView const& targets) {
  Stp::VlanSet vlans;
  for (Stp::VlanIdOrRange const& entry : recordOf(*targets.globalConfig).disabledVlan) {
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

void Session::write(Changes const& changes, Written const& written) {
  if (changes.empty()) {
    written(std::nullopt);
    return;
  }
  database_.apply(changes);
  auto const disabled = disabledVlans(database_.targets());
  mirror_.syncDisabledVlans();
  observed_.changeSetEnds();
  if (keeper_) {
    keeper_(disabled, written);
  } else {
    written(std::nullopt);
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
