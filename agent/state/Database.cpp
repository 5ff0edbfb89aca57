#include "agent/state/Database.h"

#include <exception>

namespace Agent {

SourceTree::SourceTree()
    : SourceEntities{Lumo::make<Stp::Input::Config>(), Lumo::make<Stp::Config>(),
                     Lumo::make<Stp::Status>(), Lumo::make<Stp::VlanConfigDir>()} {
}

TargetTree::TargetTree()
    : TargetEntities{
          Lumo::make<Stp::OCGlobalConfig>(),       Lumo::make<Stp::OCGlobalState>(),
          Lumo::make<Stp::OCInterfaceConfigDir>(), Lumo::make<Stp::OCInterfaceStateDir>(),
          Lumo::make<Stp::OCMstiConfigDir>(),      Lumo::make<Stp::OCMstiStateDir>()} {
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
