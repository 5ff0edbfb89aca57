// The MSTP state mirrors: the running MST instances, their bridge priorities and their VLANs, as
// /stp/mstp/mst-instances state.
//
//   OCMstpMainStateSm     rebuilds the whole directory when the trigger's counter changes
//    +- OCMstpTrigger     the counter
//    +- OCMstSm           bumps it when the MST instances of "Mst" come and go
//    +- OCMstiStatusSm    by MST instance: bumps it when the bridge priority changes
//
// A bump is delivered at once: the rebuild has run when `triggerInc` returns, and may have dropped
// the very leaf that bumped.
#pragma once

#include <cstdint>
#include <tuple>

#include "Base/Api.h"
#include "Lumo/Publisher.h"
#include "Stp/Module.h"
#include "Stp/frame/Reactor.h"
#include "StpTypes/OpenConfigState.h"
#include "StpTypes/Status.h"

namespace Stp {

struct STP_API OCMstpTriggerAttributes {
  Value<"counter", std::uint8_t> counter_;
};

/// A change counter that can be watched. Only that it changed matters, not its value.
class STP_API OCMstpTrigger final : public Reactor<OCMstpTrigger, OCMstpTriggerAttributes, Module> {
 public:
  enum class Id : Lumo::FieldId { counter = 130 };

  OCMstpTrigger();

  std::uint8_t counter() const noexcept { return counter_.value; }

  /// Announces a change, with the old counter, unless the counter has the value already.
  void counterIs(std::uint8_t value);

  /// Adds modulo 256.
  void counterInc(std::uint8_t delta);

  Lumo::Publisher& publisher() noexcept { return publisher_; }

  static constexpr std::tuple<> operations{};

 private:
  Lumo::Publisher publisher_;
};

struct STP_API OCMstSmAttributes {
  Source<"stpiStatus", StpiStatus const> stpiStatus;
  Held<"ocMstpTrigger", OCMstpTrigger> ocMstpTrigger;
};

/// Bumps the trigger when the MST instances of one spanning-tree instance change.
class STP_API OCMstSm final : public Reactor<OCMstSm, OCMstSmAttributes, Module> {
 public:
  /// Bumps nothing yet. The trigger must be present.
  OCMstSm(Lumo::Ptr<StpiStatus const> const& stpiStatus,
          Lumo::Ptr<OCMstpTrigger> const& ocMstpTrigger);

  static constexpr auto OCMstSmIs = &create;
  static constexpr auto stpiStatusDispatch = &dispatch<StpiStatus>;

  /// Counts the trigger up, which rebuilds the directory before this returns, and may drop the very
  /// object that is called.
  void triggerInc();

  static constexpr auto operations = std::tuple{
      Op{"triggerInc", &Self::triggerInc, StpiStatus::Id::mstiStatus},
  };
};

/// A new, active watcher of one spanning-tree instance.
STP_API Lumo::Ptr<OCMstSm> oCMstSmFactory(Lumo::Ptr<StpiStatus const> const& stpiStatus,
                                          Lumo::Ptr<OCMstpTrigger> const& ocMstpTrigger);

struct STP_API OCMstiStatusSmAttributes {
  Key name;
  Source<"mstiStatus", MstiStatus const> mstiStatus;
  Held<"ocMstpTrigger", OCMstpTrigger> ocMstpTrigger;
};

/// Bumps the trigger when the bridge priority of one MST instance changes.
class STP_API OCMstiStatusSm final
    : public Reactor<OCMstiStatusSm, OCMstiStatusSmAttributes, Module> {
 public:
  /// Bumps nothing yet. The trigger must be present.
  OCMstiStatusSm(Lumo::String const& name, Lumo::Ptr<MstiStatus const> const& mstiStatus,
                 Lumo::Ptr<OCMstpTrigger> const& ocMstpTrigger);

  static constexpr auto OCMstiStatusSmIs = &create;
  static constexpr auto mstiStatusDispatch = &dispatch<MstiStatus>;

  /// Counts the trigger up, which rebuilds the directory before this returns, and may drop the very
  /// object that is called.
  void triggerInc();

  static constexpr auto operations = std::tuple{
      Op{"triggerInc", &Self::triggerInc, MstiStatus::Id::bridgePriority},
  };
};

/// A new, active watcher of one MST instance.
STP_API Lumo::Ptr<OCMstiStatusSm> oCMstiStatusSmFactory(
    Lumo::String const& name, Lumo::Ptr<MstiStatus const> const& mstiStatus,
    Lumo::Ptr<OCMstpTrigger> const& ocMstpTrigger);

struct STP_API OCMstpMainStateSmAttributes {
  Source<"stpConfig", Config const> stpConfig;
  Source<"stpStatus", Status const> stpStatus;
  Target<"ocMstiStateDir", OCMstiStateDir> ocMstiStateDir;
  WatchedChild<"ocMstpTrigger", OCMstpTrigger> ocMstpTrigger;
  Child<"ocMstSm", OCMstSm> ocMstSm;
  Children<"ocMstiStatusSm", OCMstiStatusSm> ocMstiStatusSm;
};

/// Keeps the MST instance state: VLAN lists from the running configuration, bridge priorities from
/// the status, each written without touching the other.
///
/// An entity that is replaced under its name, "Mst" or an MST instance, stays watched until its
/// name goes: changes of the new one are seen with the next rebuild that something else causes.
class STP_API OCMstpMainStateSm final
    : public Reactor<OCMstpMainStateSm, OCMstpMainStateSmAttributes, Module> {
 public:
  /// Configuration and status must be present.
  OCMstpMainStateSm(Lumo::Ptr<Config const> const& stpConfig,
                    Lumo::Ptr<Status const> const& stpStatus,
                    Lumo::Ptr<OCMstiStateDir> const& ocMstiStateDir);

  static constexpr auto OCMstpMainStateSmIs = &create;
  static constexpr auto stpConfigDispatch = &dispatch<Config>;
  static constexpr auto stpStatusDispatch = &dispatch<Status>;
  static constexpr auto ocMstpTriggerDispatch = &dispatch<OCMstpTrigger>;

  /// Makes the trigger.
  void handleInitialized();

  /// Rebuilds the directory in one pass. Throws Lumo::RangeException for a bridge priority above
  /// 61440 or an instance id above 4095 in the directory; what was stored before stays.
  void update();

  /// Counts the trigger up, which must be there: `update` has run when this returns.
  void triggerInc();

  /// A fresh trigger in the place of any other, watched.
  Lumo::Ptr<OCMstpTrigger> ocMstpTriggerIs();

  /// Takes the trigger out, no longer watched, and returns it; null where there is none.
  Lumo::Ptr<OCMstpTrigger> ocMstpTriggerDel() { return ocMstpTrigger.replace(nullptr); }

  /// The child that watches "Mst": the present one if it was made from just these entities,
  /// otherwise a new, active one in its place.
  Lumo::Ptr<OCMstSm> ocMstSmIs(Lumo::Ptr<StpiStatus const> const& stpiStatus,
                               Lumo::Ptr<OCMstpTrigger> const& trigger) {
    return ocMstSm.is(stpiStatus, trigger);
  }
  Lumo::Ptr<OCMstSm> ocMstSmDel() { return ocMstSm.del(); }

  /// The child of an MST instance: the present one, which must be made from the same entities, or
  /// else Vel::ReinstantiationException is thrown; a new, active one where there is none.
  Lumo::Ptr<OCMstiStatusSm> ocMstiStatusSmIs(Lumo::String const& mstiName,
                                             Lumo::Ptr<MstiStatus const> const& mstiStatus,
                                             Lumo::Ptr<OCMstpTrigger> const& trigger) {
    return ocMstiStatusSm.is(mstiName, mstiStatus, trigger);
  }
  Lumo::Ptr<OCMstiStatusSm> ocMstiStatusSmDel(Lumo::String const& mstiName) {
    return ocMstiStatusSm.del(mstiName);
  }
  void ocMstiStatusSmDelAll() { ocMstiStatusSm.delAll(); }

  static constexpr auto operations = std::tuple{
      Op{"handleInitialized", &Self::handleInitialized},
      Op{"update", &Self::update, OCMstpTrigger::Id::counter},
      Op{"triggerInc", &Self::triggerInc, Config::Id::mstConfig, Status::Id::activeProtocol,
         Status::Id::stpiStatus},
  };

 private:
  [[gnu::visibility("hidden")]] void leavesDel();
  [[gnu::visibility("hidden")]] void prioritiesIs(StpiStatus const& mst);
};

/// A new, active mirror of the MSTP state.
STP_API Lumo::Ptr<OCMstpMainStateSm> oCMstpMainStateSmFactory(
    Lumo::Ptr<Config const> const& stpConfig, Lumo::Ptr<Status const> const& stpStatus,
    Lumo::Ptr<OCMstiStateDir> const& ocMstiStateDir);

}  // namespace Stp
