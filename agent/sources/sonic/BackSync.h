// What a client's disabled VLANs are in the databases: the one thing that is written to them.
#pragma once

#include "StpTypes/VlanTable.h"
#include "agent/sources/sonic/RowTables.h"
#include "agent/sources/sonic/SwitchState.h"
#include "agent/sources/sonic/Writes.h"

namespace Agent::Sonic {

/// What is to be written for spanning tree to be disabled on these VLANs and no others: only where
/// the rows say otherwise, and only for VLANs that are configured. It is refused for others, naming
/// the first of them, and for all where the protocol that is configured has no instance a VLAN.
Writes writesOfDisabledVlans(Stp::VlanSet const& disabled, RowTables const& rows,
                             SwitchState const& state);

}  // namespace Agent::Sonic
