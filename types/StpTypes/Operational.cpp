#include "StpTypes/Operational.h"

#include "StpTypes/OpenConfigOperational.h"

namespace Stp {

// Each entity type has its destructor here, and with it the one copy of its virtual table.
namespace Operational {

Port::~Port() = default;
TreePort::~TreePort() = default;
Tree::~Tree() = default;
Bridge::~Bridge() = default;

}  // namespace Operational

OCRstpConfig::~OCRstpConfig() = default;
OCRstpState::~OCRstpState() = default;
OCMstpConfig::~OCMstpConfig() = default;
OCMstpState::~OCMstpState() = default;
OCTreeConfigDir::~OCTreeConfigDir() = default;
OCTreeStateDir::~OCTreeStateDir() = default;
OCTreePortConfigDir::~OCTreePortConfigDir() = default;
OCTreePortStateDir::~OCTreePortStateDir() = default;
OCTreePortCountersDir::~OCTreePortCountersDir() = default;
OCProtectionConfigDir::~OCProtectionConfigDir() = default;
OCProtectionStateDir::~OCProtectionStateDir() = default;

}  // namespace Stp
