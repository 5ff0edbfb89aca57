// From rows of SONiC's databases to changes of the sources.
//
// What is read is said in FieldTable.h, what rows come to in SwitchState.h. Here it is kept what
// changed since the sources were compared last, so that a change costs what it is itself, but for
// one of the protocol, after which the same rows say something else.
//
// Everything in the sources that are mirrored belongs to SONiC, but what it has no word for: of
// the operation, only the trees of MST are its own.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "agent/sources/sonic/BackSync.h"
#include "agent/sources/sonic/Complaints.h"
#include "agent/sources/sonic/Dirty.h"
#include "agent/sources/sonic/RowTables.h"
#include "agent/sources/sonic/Rows.h"
#include "agent/sources/sonic/SwitchState.h"
#include "agent/state/Change.h"
#include "agent/state/Database.h"
#include "agent/state/Ownership.h"

namespace Agent::Sonic {

using SonicOwnership =
    Ownership<Owned<Stp::Input::Config, Stp::Input::Config::Id::mode,
                    Stp::Input::Config::Id::portfastBpduguard, Stp::Input::Config::Id::mstConfig,
                    Stp::Input::Config::Id::disabledVlan, Stp::Input::Config::Id::portConfig,
                    Stp::Input::Config::Id::stpiConfig>,
              Owned<Stp::Config, Stp::Config::Id::portfastBpduguard, Stp::Config::Id::mstConfig,
                    Stp::Config::Id::disabledVlan, Stp::Config::Id::portConfig>,
              Owned<Stp::Status, Stp::Status::Id::activeProtocol, Stp::Status::Id::stpiStatus>,
              Owned<Stp::VlanConfigDir, Stp::VlanConfigDir::Id::vlanConfig>,
              Owned<Stp::Operational::Bridge, Stp::Operational::Bridge::Id::running,
                    Stp::Operational::Bridge::Id::tree>>;

class Mapping {
 public:
  explicit Mapping(Separators const& separators = {}) : rows_(separators), state_(rows_) {}
  Mapping(Mapping const&) = delete;
  Mapping& operator=(Mapping const&) = delete;
  ~Mapping() = default;

  /// Whether anything is read of the row under this key, and a pattern of all such keys of a
  /// database, as SCAN has it.
  bool isMapped(Store store, std::string_view key) const { return rows_.isMapped(store, key); }
  std::string pattern(Store store) const { return rows_.pattern(store); }

  /// These are the rows, and there are no others; of one given twice the last counts. The sources
  /// are then compared as a whole, whatever was written to them meanwhile.
  void scanned(std::span<RowRead const> all);

  /// These rows are as they are given, and the others as they were.
  void changed(std::span<RowRead const> rows);

  /// The single changes that lead from the sources to what the rows say, in the order in which they
  /// are to be applied; they must be, before the next call. Configuration comes before status, an
  /// instance before its members, and what disappears goes in the reverse order.
  ///
  /// The mirror of a port's status looks for the port's running configuration only at its start: a
  /// status that was there before the configuration is made anew after it.
  Changes differences(SourceView const& sources);

  /// What can't be read, since the last call, a line each; Complaints.h says how often.
  std::vector<std::string> takeComplaints();

  /// The VLANs on which spanning tree is disabled.
  Stp::VlanSet disabledVlans() const;

  /// What is to be written for spanning tree to be disabled on these VLANs, and no others.
  Writes writesOfDisabledVlans(Stp::VlanSet const& disabled) const {
    return Sonic::writesOfDisabledVlans(disabled, rows_, state_);
  }

 private:
  void settle();
  void everythingAdd(Dirty& dirty, SourceView const& sources) const;

  RowTables rows_;
  SwitchState state_;
  Dirty dirty_;
  Complaints complaints_;
  Complaints conflicts_;
};

}  // namespace Agent::Sonic
