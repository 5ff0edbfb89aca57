// The targets of all mirrors, for tests that run the library as a whole.
#pragma once

#include "Lumo/Ptr.h"
#include "StpTypes/OpenConfigConfig.h"
#include "StpTypes/OpenConfigState.h"

namespace Stp::TestSupport {

/// Empty targets, one of each kind.
struct OpenConfigTargets {
  Lumo::Ptr<OCGlobalConfig> globalConfig = Lumo::make<OCGlobalConfig>();
  Lumo::Ptr<OCGlobalState> globalState = Lumo::make<OCGlobalState>();
  Lumo::Ptr<OCInterfaceConfigDir> interfaces = Lumo::make<OCInterfaceConfigDir>();
  Lumo::Ptr<OCInterfaceStateDir> interfaceStates = Lumo::make<OCInterfaceStateDir>();
  Lumo::Ptr<OCMstiConfigDir> mstis = Lumo::make<OCMstiConfigDir>();
  Lumo::Ptr<OCMstiStateDir> mstiStates = Lumo::make<OCMstiStateDir>();
};

}  // namespace Stp::TestSupport
