// What the tests of the global mirrors share: records as plain text, and the table of modes.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "Stp/vlans/VlanTestSupport.h"
#include "StpTypes/ConfigBase.h"
#include "StpTypes/OpenConfigConfig.h"
#include "StpTypes/SharedList.h"

namespace Stp::GlobalTest {

using TestSupport::textOf;

/// A record as "PROTOCOLS | VLANS | GUARD", the protocols by their numbers.
inline std::string textOf(OCGlobalContainer const& record) {
  std::string text;
  for (OcStpEnabledProtocol const protocol : record.enabledProtocol) {
    text += std::to_string(static_cast<int>(protocol)) + " ";
  }
  return text + "| " + textOf(record.disabledVlan) + " | " + (record.bpduGuard ? "guard" : "-");
}

/// A mode of the engine, any 32-bit number, and the protocols that it means to OpenConfig.
struct ModeCase {
  std::int32_t mode;
  SharedList<OcStpEnabledProtocol> protocols;
};

inline std::vector<ModeCase> modeCases() {
  constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
  constexpr std::int32_t highest = std::numeric_limits<std::int32_t>::max();
  std::vector<ModeCase> cases{
      {0, {OcStpEnabledProtocol::rstp}},
      {2, {OcStpEnabledProtocol::rstp}},
      {3, {OcStpEnabledProtocol::mstp}},
      {101, {OcStpEnabledProtocol::rapidPvst}},
  };
  for (std::int32_t const unknown :
       {1,   4,   5,   6,    7,      8,          99,         100,          102,     103,
        255, 256, 258, 259,  357,    65536,      65538,      65539,        65637,   -1,
        -2,  -3,  -4,  -101, lowest, lowest + 2, lowest + 3, lowest + 101, highest, highest - 1}) {
    cases.push_back({unknown, {}});
  }
  return cases;
}

}  // namespace Stp::GlobalTest
