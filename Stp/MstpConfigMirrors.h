// The MSTP configuration mirrors: the configured MST instances, their bridge priorities and their
// VLANs, as /stp/mstp/mst-instances config.
//
//   OCMstpConfigWrapperSm   the VLAN lists, from the VLAN-to-instance map
//    +- OCMstpConfigSm      for the instance "Mst": which MST instances are configured
//        +- OCMstiConfigSm  by MST instance: its bridge priority
//
// An instance is in the directory while it carries VLANs or is configured.
#pragma once

#include <cstdint>
#include <tuple>

#include "Base/Api.h"
#include "Stp/Module.h"
#include "Stp/frame/Reactor.h"
#include "StpTypes/Input.h"
#include "StpTypes/OpenConfigConfig.h"

namespace Stp {

struct STP_API OCMstiConfigSmAttributes {
  Key name;
  Source<"mstiConfig", Input::MstiConfig const> mstiConfig;
  Target<"externalMsti", OCMsti> externalMsti;
};

/// Keeps the bridge priority of one MST instance equal to its input configuration.
class STP_API OCMstiConfigSm final
    : public Reactor<OCMstiConfigSm, OCMstiConfigSmAttributes, Module> {
 public:
  /// Throws Lumo::RangeException for a priority above 61440.
  OCMstiConfigSm(Lumo::String const& name, Lumo::Ptr<Input::MstiConfig const> const& mstiConfig,
                 Lumo::Ptr<OCMsti> const& externalMsti);

  static constexpr auto OCMstiConfigSmIs = &create;
  static constexpr auto mstiConfigDispatch = &dispatch<Input::MstiConfig>;

  /// Throws Lumo::RangeException, and writes nothing, for a priority above 61440.
  void handleBridgePriority();

  static constexpr auto operations = std::tuple{
      Op{"handleBridgePriority", &Self::handleBridgePriority,
         Input::MstiConfig::Id::bridgePriority},
  };
};

/// A new, active mirror of one MST instance's priority.
STP_API Lumo::Ptr<OCMstiConfigSm> oCMstiConfigSmFactory(
    Lumo::String const& name, Lumo::Ptr<Input::MstiConfig const> const& mstiConfig,
    Lumo::Ptr<OCMsti> const& externalMsti);

struct STP_API OCMstpConfigSmAttributes {
  Key name;
  Source<"mst", Input::StpiConfig const> mst;
  Held<"stpInputConfig", Input::Config const> stpInputConfig;
  Target<"ocMstiConfigDir", OCMstiConfigDir> ocMstiConfigDir;
  Children<"ocMstiConfigSm", OCMstiConfigSm> ocMstiConfigSm;
};

/// Keeps an MST instance in the directory for every one that is configured.
class STP_API OCMstpConfigSm final
    : public Reactor<OCMstpConfigSm, OCMstpConfigSmAttributes, Module> {
 public:
  /// All three entities must be present.
  OCMstpConfigSm(Lumo::String const& name, Lumo::Ptr<Input::StpiConfig const> const& mst,
                 Lumo::Ptr<Input::Config const> const& stpInputConfig,
                 Lumo::Ptr<OCMstiConfigDir> const& ocMstiConfigDir);

  static constexpr auto OCMstpConfigSmIs = &create;
  static constexpr auto mstDispatch = &dispatch<Input::StpiConfig>;

  /// Deletes the instances that are neither configured nor named by the VLAN-to-instance map, then
  /// brings in every configured one. Throws Lumo::RangeException for an instance id above 4095 in
  /// the directory.
  void handleInitialized();

  /// Adds an instance that is configured, with its mirror, or removes both. Throws
  /// Lumo::RangeException for a name that is no MST instance name. A reader of the directory that
  /// is told of the instance here must not remove it from inside: its mirror, which comes next,
  /// needs it.
  void handleMstiConfig(Lumo::String const& mstiName);

  /// The child of an MST instance: the present one, which must be made from the same entities, or
  /// else Vel::ReinstantiationException is thrown; a new, active one where there is none.
  Lumo::Ptr<OCMstiConfigSm> ocMstiConfigSmIs(Lumo::String const& mstiName,
                                             Lumo::Ptr<Input::MstiConfig const> const& mstiConfig,
                                             Lumo::Ptr<OCMsti> const& externalMsti) {
    return ocMstiConfigSm.is(mstiName, mstiConfig, externalMsti);
  }
  /// Takes a child out of the set and returns it, as active as it was; null where there is none.
  Lumo::Ptr<OCMstiConfigSm> ocMstiConfigSmDel(Lumo::String const& mstiName) {
    return ocMstiConfigSm.del(mstiName);
  }
  void ocMstiConfigSmDelAll() { ocMstiConfigSm.delAll(); }

  static constexpr auto operations = std::tuple{
      Op{"handleInitialized", &Self::handleInitialized},
      Op{"handleMstiConfig", &Self::handleMstiConfig, Input::StpiConfig::Id::mstiConfig},
  };
};

/// A new, active mirror of the MST instances that one spanning-tree instance configures.
STP_API Lumo::Ptr<OCMstpConfigSm> oCMstpConfigSmFactory(
    Lumo::String const& name, Lumo::Ptr<Input::StpiConfig const> const& mst,
    Lumo::Ptr<Input::Config const> const& stpInputConfig,
    Lumo::Ptr<OCMstiConfigDir> const& ocMstiConfigDir);

struct STP_API OCMstpConfigWrapperSmAttributes {
  Source<"stpInputConfig", Input::Config const> stpInputConfig;
  Target<"ocMstiConfigDir", OCMstiConfigDir> ocMstiConfigDir;
  Children<"ocMstpConfigSm", OCMstpConfigSm> ocMstpConfigSm;
};

/// Keeps the VLAN list of every MST instance equal to the VLAN-to-instance map, and the mirror of
/// the instance "Mst" while that is configured. Other spanning-tree instances do not matter.
class STP_API OCMstpConfigWrapperSm final
    : public Reactor<OCMstpConfigWrapperSm, OCMstpConfigWrapperSmAttributes, Module> {
 public:
  /// The input configuration must be present.
  OCMstpConfigWrapperSm(Lumo::Ptr<Input::Config const> const& stpInputConfig,
                        Lumo::Ptr<OCMstiConfigDir> const& ocMstiConfigDir);

  static constexpr auto OCMstpConfigWrapperSmIs = &create;
  static constexpr auto stpInputConfigDispatch = &dispatch<Input::Config>;

  /// Brings in the instance "Mst"; without one it empties the directory.
  void handleInitialized();

  /// Writes the VLAN list of every instance, and removes those that have neither VLANs nor a
  /// configuration. Throws Lumo::RangeException for an instance id above 4095 in the directory; the
  /// instances before it keep what was written.
  void handleMstVlanMapping();

  /// Adds or drops the mirror of "Mst", and then does the same as handleMstVlanMapping.
  void handleMstpConfigSm(Lumo::String const& stpiName);

  /// The child for "Mst": the present one, which must be made from the same entities, or else
  /// Vel::ReinstantiationException is thrown; a new, active one where there is none.
  Lumo::Ptr<OCMstpConfigSm> ocMstpConfigSmIs(Lumo::String const& stpiName,
                                             Lumo::Ptr<Input::StpiConfig const> const& mst,
                                             Lumo::Ptr<Input::Config const> const& inputConfig,
                                             Lumo::Ptr<OCMstiConfigDir> const& mstiConfigDir) {
    return ocMstpConfigSm.is(stpiName, mst, inputConfig, mstiConfigDir);
  }
  /// Takes a child out of the set and returns it, as active as it was; null where there is none.
  Lumo::Ptr<OCMstpConfigSm> ocMstpConfigSmDel(Lumo::String const& stpiName) {
    return ocMstpConfigSm.del(stpiName);
  }
  void ocMstpConfigSmDelAll() { ocMstpConfigSm.delAll(); }

  static constexpr auto operations = std::tuple{
      Op{"handleInitialized", &Self::handleInitialized},
      Op{"handleMstVlanMapping", &Self::handleMstVlanMapping, Input::Config::Id::mstConfig},
      Op{"handleMstpConfigSm", &Self::handleMstpConfigSm, Input::Config::Id::stpiConfig},
  };
};

/// A new, active mirror of the MSTP configuration.
STP_API Lumo::Ptr<OCMstpConfigWrapperSm> oCMstpConfigWrapperSmFactory(
    Lumo::Ptr<Input::Config const> const& stpInputConfig,
    Lumo::Ptr<OCMstiConfigDir> const& ocMstiConfigDir);

}  // namespace Stp
