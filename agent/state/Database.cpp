#include "agent/state/Database.h"

#include <exception>

namespace Agent {

SourceTree::SourceTree()
    : SourceEntities{Lumo::make<Stp::Input::Config>(), Lumo::make<Stp::Config>(),
                     Lumo::make<Stp::Status>(), Lumo::make<Stp::VlanConfigDir>(),
                     Lumo::make<Stp::Operational::Bridge>()} {
}

TargetTree::TargetTree()
    : TargetEntities{
          Lumo::make<Stp::OCGlobalConfig>(),        Lumo::make<Stp::OCGlobalState>(),
          Lumo::make<Stp::OCInterfaceConfigDir>(),  Lumo::make<Stp::OCInterfaceStateDir>(),
          Lumo::make<Stp::OCMstiConfigDir>(),       Lumo::make<Stp::OCMstiStateDir>(),
          Lumo::make<Stp::OCRstpConfig>(),          Lumo::make<Stp::OCRstpState>(),
          Lumo::make<Stp::OCMstpConfig>(),          Lumo::make<Stp::OCMstpState>(),
          Lumo::make<Stp::OCTreeConfigDir>(),       Lumo::make<Stp::OCTreeStateDir>(),
          Lumo::make<Stp::OCTreePortConfigDir>(),   Lumo::make<Stp::OCTreePortStateDir>(),
          Lumo::make<Stp::OCTreePortCountersDir>(), Lumo::make<Stp::OCProtectionConfigDir>(),
          Lumo::make<Stp::OCProtectionStateDir>()} {
}

void Database::apply(Change const& change) {
  try {
    change.apply();
  } catch (...) {
    std::terminate();  // said here, so that the terminate handler finds the exception
  }
}

void Database::apply(std::span<Change const> changes) {
  for (Change const& change : changes) {
    apply(change);
  }
}

}  // namespace Agent
