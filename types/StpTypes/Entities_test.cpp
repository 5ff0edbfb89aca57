// What only some collections and tables of the entity types do.

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <vector>

#include "StpTypes/Input.h"
#include "StpTypes/OpenConfigConfig.h"
#include "StpTypes/OpenConfigState.h"
#include "StpTypes/Status.h"
#include "StpTypes/TestSupport.h"

namespace Stp {
namespace {

using TestSupport::Watcher;

TEST(Members, AreNotAnnouncedWhenTheyAreThereAlready) {
  auto const input = Lumo::make<Input::Config>();
  auto const member = Lumo::make<Input::PortConfig>();
  Watcher const watcher(*input);
  input->portConfig.is("a", member);
  input->portConfig.is("a", member);
  EXPECT_EQ(watcher.changes(), 1);
  EXPECT_EQ(watcher.lastField(), 386);
  EXPECT_EQ(input->portConfig("a"), member);
  input->portConfig.is("b", member);
  EXPECT_EQ(watcher.changes(), 2) << "one entity under two names";
  input->portConfig.is("a", Lumo::make<Input::PortConfig>());
  EXPECT_EQ(watcher.changes(), 3);
  EXPECT_NE(input->portConfig("a"), member);
  EXPECT_EQ(member->references(), 2U);
}

TEST(Members, MustNotBeAbsent) {
  auto const status = Lumo::make<Status>();
  Watcher const watcher(*status);
  EXPECT_THROW(status->stpiStatus.is("Mst", nullptr), Lumo::AbsentPointerException);
  EXPECT_TRUE(status->stpiStatus().empty());
  status->stpiStatus.is("Mst", Lumo::make<StpiStatus>());
  auto const member = status->stpiStatus("Mst");
  EXPECT_THROW(status->stpiStatus.is("Mst", nullptr), Lumo::AbsentPointerException);
  EXPECT_EQ(status->stpiStatus("Mst"), member);
  EXPECT_EQ(watcher.changes(), 1);
}

TEST(Members, AreAbsentUnderAnUnknownKey) {
  EXPECT_EQ(Lumo::make<Status>()->stpiStatus("Mst"), nullptr);
  EXPECT_EQ(Lumo::make<OCInterfaceConfigDir>()->interface(Lanx::IntfId::of("a")), nullptr);
  EXPECT_EQ(Lumo::make<OCInterfaceStateDir>()->state(Lanx::IntfId::of("a")), nullptr);
  EXPECT_EQ(Lumo::make<OCMstiStateDir>()->state(std::uint16_t{5}), nullptr);
}

TEST(Members, TellTheirOwnSubscribersNothingWhenTheyAreRemoved) {
  auto const input = Lumo::make<Input::Config>();
  auto const port = Lumo::make<Input::PortConfig>();
  input->portConfig.is("a", port);
  Watcher const watcher(*port);
  input->portConfig.del("a");
  EXPECT_EQ(watcher.changes(), 0);
  port->edgePortAutoIs(true);
  EXPECT_EQ(watcher.changes(), 1) << "it lives on for those who hold it";
}

TEST(CreatedMembers, AreFreshAndMadeOnce) {
  auto const dir = Lumo::make<OCInterfaceConfigDir>();
  Watcher const watcher(*dir);
  auto const member = dir->interfaceIs(Lanx::IntfId::of("Ethernet1"));
  EXPECT_EQ(member->config(), InterfaceConfig());
  EXPECT_EQ(dir->interfaceIs(Lanx::IntfId::of("Ethernet1")), member);
  EXPECT_EQ(watcher.changes(), 1);
  dir->interfaceDel(Lanx::IntfId::of("Ethernet1"));
  EXPECT_NE(dir->interfaceIs(Lanx::IntfId::of("Ethernet1")), member) << "it comes back as new";
}

TEST(CreatedMembers, AreReturnedThoughASubscriberRemovesThem) {
  auto dir = Lumo::make<OCMstiConfigDir>();
  Watcher watcher(*dir);
  watcher.heardIs([&](Lumo::FieldId, void const* key, void const*) {
    watcher.heardIs({});
    dir->mstInstanceDel(*static_cast<std::uint16_t const*>(key));
  });
  auto const removed = dir->mstInstanceIs(5);
  ASSERT_NE(removed, nullptr);
  EXPECT_EQ(dir->mstInstance(5), nullptr);
  EXPECT_EQ(removed->references(), 1U);

  watcher.heardIs([&](Lumo::FieldId, void const*, void const*) { dir = nullptr; });
  OCMstiConfigDir& going = *dir;
  auto const orphan = going.mstInstanceIs(6);
  ASSERT_NE(orphan, nullptr);
  EXPECT_EQ(orphan->references(), 1U);
}

TEST(Records, AreAnnouncedAlwaysAndTakeTheirOwnPlace) {
  auto const dir = Lumo::make<OCMstiStateDir>();
  OCMstiState record(5);
  record.vlanPush(Bridging::VlanId(10));
  dir->stateIs(record);
  Watcher const watcher(*dir);
  dir->stateIs(record);
  dir->stateIs(*dir->state(std::uint16_t{5}));
  EXPECT_EQ(watcher.changes(), 2);
  EXPECT_EQ(*dir->state(std::uint16_t{5}), record);
  record.bridgePriority = OCBridgePriority(4096);
  dir->stateIs(record);
  EXPECT_EQ(dir->state(std::uint16_t{5})->bridgePriority.value(), 4096);
  EXPECT_EQ(dir->state().size(), 1U);
}

// The disabled VLANs of both configurations.
template <class Entity>
class DisabledVlan : public testing::Test {
 protected:
  Lumo::Ptr<Entity> entity = Lumo::make<Entity>();
};
using Configurations = testing::Types<Input::Config, Config>;
TYPED_TEST_SUITE(DisabledVlan, Configurations);

TYPED_TEST(DisabledVlan, AnnounceEveryEntryThatChanges) {
  struct Case {
    char const* what;
    bool value;
    int changes;
  };
  auto& entity = *this->entity;
  Watcher watcher(entity);
  for (Case const& given :
       {Case{"false where there was none", false, 1}, Case{"false again", false, 1},
        Case{"true", true, 2}, Case{"true again", true, 2}, Case{"false", false, 3}}) {
    SCOPED_TRACE(given.what);
    watcher.heardIs([&](Lumo::FieldId, void const* key, void const*) {
      EXPECT_EQ(*static_cast<std::uint16_t const*>(key), 10);
      EXPECT_EQ(entity.disabledVlan(10), given.value);
    });
    entity.disabledVlanIs(10, given.value);
    EXPECT_EQ(watcher.changes(), given.changes);
    EXPECT_EQ(watcher.lastField(), 303);
    EXPECT_EQ(entity.disabledVlan(10), given.value);
  }
  watcher.heardIs([&](Lumo::FieldId, void const*, void const*) {
    EXPECT_EQ(entity.disabledVlan(10), std::nullopt);
  });
  EXPECT_TRUE(entity.disabledVlanDel(10));
  EXPECT_FALSE(entity.disabledVlanDel(10));
  EXPECT_FALSE(entity.disabledVlanDel(65535));
  EXPECT_EQ(watcher.changes(), 4);
}

TYPED_TEST(DisabledVlan, TakesTheReservedIdsButNoneAbove) {
  auto& entity = *this->entity;
  entity.disabledVlanIs(0, true);
  entity.disabledVlanIs(4095, true);
  Watcher const watcher(entity);
  EXPECT_THROW(entity.disabledVlanIs(4096, true), Lumo::RangeException);
  EXPECT_THROW(entity.disabledVlanIs(65535, false), Lumo::RangeException);
  EXPECT_EQ(watcher.changes(), 0);
  EXPECT_EQ(entity.disabledVlan(0), true);
  EXPECT_EQ(entity.disabledVlan(4095), true);
  EXPECT_EQ(entity.disabledVlan(4096), std::nullopt);
}

using Ids = std::vector<std::uint16_t>;

// Both tables of VLANs, as one.
struct DisabledTable {
  using Entity = Input::Config;
  static void put(Entity& entity, std::uint16_t vlan) {
    entity.disabledVlanIs(vlan, !entity.disabledVlan(vlan).value_or(vlan % 2 == 0));
  }
  static void remove(Entity& entity, std::uint16_t vlan) { entity.disabledVlanDel(vlan); }
  static void removeAll(Entity& entity) { entity.disabledVlanDelAll(); }
  static Ids ids(Entity const& entity) { return entity.disabledVlanEntries().inOrder(); }
};
struct ExistingTable {
  using Entity = VlanConfigDir;
  static void put(Entity& entity, std::uint16_t vlan) { entity.vlanConfigIs(vlan); }
  static void remove(Entity& entity, std::uint16_t vlan) { entity.vlanConfigDel(vlan); }
  static void removeAll(Entity& entity) { entity.vlanConfigDelAll(); }
  static Ids ids(Entity const& entity) { return entity.vlanConfigEntries().inOrder(); }
};

template <class Table>
class VlanTables : public testing::Test {
 protected:
  void put(Ids const& ids) {
    for (std::uint16_t const vlan : ids) {
      Table::put(*entity, vlan);
    }
  }

  Lumo::Ptr<typename Table::Entity> entity = Lumo::make<typename Table::Entity>();
  Ids heard;
};
using Tables = testing::Types<DisabledTable, ExistingTable>;
TYPED_TEST_SUITE(VlanTables, Tables);

TYPED_TEST(VlanTables, RemoveAllInTheOrderOfArrivalEachAnnouncedAsItGoes) {
  this->put({20, 10, 4094, 30, 1});
  TypeParam::remove(*this->entity, 10);
  this->put({10, 20});
  std::vector<Ids> rest;
  Watcher watcher(*this->entity);
  watcher.heardIs([&](Lumo::FieldId, void const* key, void const*) {
    this->heard.push_back(*static_cast<std::uint16_t const*>(key));
    rest.push_back(TypeParam::ids(*this->entity));
  });
  TypeParam::removeAll(*this->entity);
  EXPECT_EQ(this->heard, (Ids{20, 4094, 30, 1, 10}));
  EXPECT_EQ(rest, (std::vector<Ids>{{4094, 30, 1, 10}, {30, 1, 10}, {1, 10}, {10}, {}}));
}

TYPED_TEST(VlanTables, RemoveOnlyWhatWasThereWhenAllAreRemoved) {
  this->put({1, 2, 3});
  Watcher watcher(*this->entity);
  bool reacting = true;
  watcher.heardIs([&](Lumo::FieldId, void const* key, void const*) {
    this->heard.push_back(*static_cast<std::uint16_t const*>(key));
    if (reacting) {
      reacting = false;
      this->put({1, 7});
      TypeParam::remove(*this->entity, 2);
    }
  });
  TypeParam::removeAll(*this->entity);
  EXPECT_EQ(this->heard, (Ids{1, 1, 7, 2, 3}));
  EXPECT_EQ(TypeParam::ids(*this->entity), (Ids{1, 7}));
}

TYPED_TEST(VlanTables, SurviveTheirEntityBeingDroppedByASubscriber) {
  for (int change = 0; change < 3; ++change) {
    SCOPED_TRACE(change);
    auto entity = Lumo::make<typename TypeParam::Entity>();
    TypeParam::put(*entity, 1);
    TypeParam::put(*entity, 2);
    auto& going = *entity;
    Watcher watcher(going);
    Watcher const other(going);
    watcher.heardIs([&](Lumo::FieldId, void const*, void const*) { entity = nullptr; });
    if (change == 0) {
      TypeParam::put(going, 3);
    } else if (change == 1) {
      TypeParam::remove(going, 1);
    } else {
      TypeParam::removeAll(going);
    }
    EXPECT_EQ(entity, nullptr);
    EXPECT_EQ(other.changes(), change == 2 ? 2 : 0);
  }
}

TEST(VlanConfigDir, TakesVlanIdsOnly) {
  auto const dir = Lumo::make<VlanConfigDir>();
  Watcher const watcher(*dir);
  for (unsigned const id : {0U, 4095U, 4096U, 65535U}) {
    auto const vlan = static_cast<std::uint16_t>(id);
    try {
      dir->vlanConfigIs(vlan);
      ADD_FAILURE() << id << " was accepted";
    } catch (Lumo::RangeException const& exception) {
      EXPECT_STREQ(exception.what(), "Bridging::VlanId::value < 1 or > 4094 not allowed");
    }
    EXPECT_FALSE(dir->vlanConfig(vlan));
    EXPECT_FALSE(dir->vlanConfigDel(vlan));
  }
  EXPECT_EQ(watcher.changes(), 0);
  dir->vlanConfigIs(1);
  dir->vlanConfigIs(4094);
  dir->vlanConfigIs(1);
  EXPECT_EQ(watcher.changes(), 2);
  EXPECT_EQ(watcher.lastField(), 258);
  EXPECT_TRUE(dir->vlanConfig(1));
  EXPECT_TRUE(dir->vlanConfig().contains(4094));
  EXPECT_TRUE(dir->vlanConfigDel(1));
  EXPECT_EQ(watcher.changes(), 3);
}

}  // namespace
}  // namespace Stp
