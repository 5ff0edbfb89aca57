// The OpenConfig side of the state.
//
// Records are stored whole: a setter publishes one change at every call, also for an equal record.
// The two directories hold their records themselves; a record carries its key.
#pragma once

#include <cstdint>
#include <type_traits>

#include "Base/Api.h"
#include "Lanx/IntfId.h"
#include "Lumo/Entity.h"
#include "StpTypes/AttributeTable.h"
#include "StpTypes/Collection.h"
#include "StpTypes/OpenConfigConfig.h"

namespace Stp {

/// /stp/global/state
struct OCGlobalStateContainer : OCGlobalContainer {};

/// The bridge-wide state.
class STP_API OCGlobalState final : public TypedEntity<OCGlobalState> {
 public:
  enum class Id : Lumo::FieldId { state = 130 };

  ~OCGlobalState() override;

  OCGlobalStateContainer const& state() const { return state_; }
  void stateIs(OCGlobalStateContainer const& value) { recordIs(Id::state, state_, value); }

  static constexpr auto attributes = std::tuple{
      Attribute{"state", Id::state, &OCGlobalState::state, &OCGlobalState::stateIs},
  };

 private:
  OCGlobalStateContainer state_;
};

/// /stp/interfaces/interface/state. It fills eight bytes for the same reason as InterfaceConfig.
struct InterfaceState {
  Lanx::IntfId name;
  OcLinkType linkType = OcLinkType::p2p;
  OcEdgePort edgePort = OcEdgePort::edgeAuto;
  OcBpduGuard bpduGuard = OcBpduGuard::notSet;
  std::uint8_t filler = 0;  // always 0

  bool isEq(InterfaceState const& other) const { return *this == other; }
  Lanx::IntfId key() const { return name; }

  friend bool operator==(InterfaceState const&, InterfaceState const&) = default;
};
static_assert(sizeof(InterfaceState) == 8 && std::is_trivially_copyable_v<InterfaceState>);

/// The state of every interface that was ever reported.
class STP_API OCInterfaceStateDir final : public TypedEntity<OCInterfaceStateDir> {
 public:
  enum class Id : Lumo::FieldId { state = 130 };

  ~OCInterfaceStateDir() override;

  RecordCollection<Lanx::IntfId, InterfaceState> const& state() const { return state_; }

  /// The record of an interface, or null; valid until the directory changes.
  InterfaceState const* state(Lanx::IntfId id) const { return recordFind(state_, id); }
  void stateIs(InterfaceState const& record) {
    recordMemberIs(*this, Id::state, state_, record.name, record);
  }

  /// Reads the record of an interface, a fresh one where there is none, lets `edit` change it, and
  /// stores it whole, in one step. `edit` must leave the name.
  template <class Edit>
  void stateAmend(Lanx::IntfId id, Edit edit) {
    recordMemberAmend(*this, Id::state, state_, id, InterfaceState{id}, edit);
  }
  bool stateDel(Lanx::IntfId id) { return memberDel(*this, Id::state, state_, id); }
  void stateDelAll() { memberDelAll(*this, Id::state, state_); }

  static constexpr auto attributes = std::tuple{
      recordCollection<Lanx::IntfId, InterfaceState>(
          "state", Id::state, &OCInterfaceStateDir::state, &OCInterfaceStateDir::stateIs,
          &OCInterfaceStateDir::stateDel, &OCInterfaceStateDir::stateDelAll),
  };

 private:
  RecordCollection<Lanx::IntfId, InterfaceState> state_;
};

/// /stp/mstp/mst-instances/mst-instance/state
struct OCMstiState : OCMstiRecord {
  OCMstiState() = default;
  explicit OCMstiState(std::uint16_t id) { mstId = id; }

  std::uint16_t key() const { return mstId; }
};

/// The state of the MST instances, by instance id.
class STP_API OCMstiStateDir final : public TypedEntity<OCMstiStateDir> {
 public:
  enum class Id : Lumo::FieldId { state = 130 };

  ~OCMstiStateDir() override;

  RecordCollection<std::uint16_t, OCMstiState> const& state() const { return state_; }

  /// The record of an instance, or null; valid until the directory changes.
  OCMstiState const* state(std::uint16_t id) const { return recordFind(state_, id); }
  void stateIs(OCMstiState const& record) {
    recordMemberIs(*this, Id::state, state_, record.mstId, record);
  }

  /// Reads the record of an instance, a fresh one where there is none, lets `edit` change it, and
  /// stores it whole, in one step. `edit` must leave the id.
  template <class Edit>
  void stateAmend(std::uint16_t id, Edit edit) {
    recordMemberAmend(*this, Id::state, state_, id, OCMstiState(id), edit);
  }
  bool stateDel(std::uint16_t id) { return memberDel(*this, Id::state, state_, id); }
  void stateDelAll() { memberDelAll(*this, Id::state, state_); }

  static constexpr auto attributes = std::tuple{
      recordCollection<std::uint16_t, OCMstiState>(
          "state", Id::state, &OCMstiStateDir::state, &OCMstiStateDir::stateIs,
          &OCMstiStateDir::stateDel, &OCMstiStateDir::stateDelAll),
  };

 private:
  RecordCollection<std::uint16_t, OCMstiState> state_;
};

}  // namespace Stp
