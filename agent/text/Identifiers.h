// The texts of the protocol's identifiers, in operations and wherever the agent shows them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "StpTypes/Identifiers.h"

namespace Agent {

/// "4.005.3E:7A:D2:FA:71:E9": the priority as a multiple of 4096, the system id and the address, in
/// hexadecimal digits.
std::string textOf(Stp::BridgeId id);
/// "8.001": the priority as a multiple of 16, and the number, in hexadecimal digits.
std::string textOf(Stp::PortId id);
/// "Rst", "Cist" or "MST1" to "MST4095".
std::string textOf(Stp::TreeId tree);
/// Tree and port with a slash between them: "MST5/Ethernet1". A tree's name has none, a port's may.
std::string textOf(Stp::TreePortId id);

/// What such a text says, letters among the digits of either case; absent if it is none.
std::optional<Stp::BridgeId> bridgeIdOf(std::string_view text);
std::optional<Stp::PortId> portIdOf(std::string_view text);
std::optional<Stp::TreeId> treeIdOf(std::string_view text);
std::optional<Stp::TreePortId> treePortIdOf(std::string_view text);

}  // namespace Agent
