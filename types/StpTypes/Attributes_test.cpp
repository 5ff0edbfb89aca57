// What every plain attribute and every target record does when it is set, row by row of the
// entity types' tables, and what a new subscriber is told of them.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "StpTypes/AttributeTable.h"
#include "StpTypes/Input.h"
#include "StpTypes/OpenConfigConfig.h"
#include "StpTypes/OpenConfigState.h"
#include "StpTypes/Status.h"
#include "StpTypes/TestSupport.h"

namespace Stp {
namespace {

using TestSupport::Watcher;

// Another value than the given one.
template <class Value>
Value changed(Value const& value) {
  if constexpr (std::is_same_v<Value, bool>) {
    return !value;
  } else if constexpr (std::is_enum_v<Value>) {
    return static_cast<Value>(changed(static_cast<std::underlying_type_t<Value>>(value)));
  } else {
    return static_cast<Value>(value + 1);
  }
}
template <>
MstConfig changed(MstConfig const& value) {
  MstConfig other = value;
  ++other.revision;
  return other;
}
template <>
InterfaceConfig changed(InterfaceConfig const& value) {
  InterfaceConfig other = value;
  other.edgePort = OcEdgePort::edgeAuto;
  return other;
}
template <>
OCGlobalConfigContainer changed(OCGlobalConfigContainer const& value) {
  OCGlobalConfigContainer other = value;
  other.enabledProtocolPush(OcStpEnabledProtocol::mstp);
  return other;
}
template <>
OCGlobalStateContainer changed(OCGlobalStateContainer const& value) {
  OCGlobalStateContainer other = value;
  other.disabledVlanPush(Bridging::VlanId(1));
  return other;
}
template <>
OCMstiConfig changed(OCMstiConfig const& value) {
  OCMstiConfig other = value;
  other.vlanPush(Bridging::VlanId(1));
  return other;
}

template <class Row>
inline constexpr bool isPlain = false;
template <class Id, class Owner, class Get, class Set>
inline constexpr bool isPlain<Attribute<Id, Owner, Get, Set>> = true;

// Calls `check(row)` for every plain attribute of an entity type.
template <class Entity, class Check>
void forEachPlain(Check check) {
  std::apply(
      [&](auto const&... row) {
        auto const checkPlain = [&](auto const& each) {
          if constexpr (isPlain<std::remove_cvref_t<decltype(each)>>) {
            SCOPED_TRACE(std::string(each.name));
            check(each);
          }
        };
        (checkPlain(row), ...);
      },
      Entity::attributes);
}

template <class Entity>
class PlainAttributes : public testing::Test {
 protected:
  template <class Row>
  auto valueOf(Row const& row) const {
    return ((*entity).*row.get)();
  }

  Lumo::Ptr<Entity> entity = Lumo::make<Entity>();
};

struct Names {
  template <class Entity>
  static std::string GetName(int) {
    std::string name(Lumo::typeName<Entity>());
    std::erase(name, ':');
    return name;
  }
};

using Plain =
    testing::Types<Input::Config, Input::PortConfig, Input::MstiConfig, Config, PortConfig, Status,
                   StpiPortStatus, MstiStatus, OCGlobalConfig, OCGlobalState, OCInterface, OCMsti>;
TYPED_TEST_SUITE(PlainAttributes, Plain, Names);

// A target's record is announced at every call; that of a source only when it changes.
template <class Entity>
inline constexpr bool isTarget =
    std::is_same_v<Entity, OCGlobalConfig> || std::is_same_v<Entity, OCGlobalState> ||
    std::is_same_v<Entity, OCInterface> || std::is_same_v<Entity, OCMsti>;

TYPED_TEST(PlainAttributes, AnnounceOneChangeAfterItHappened) {
  forEachPlain<TypeParam>([this](auto const& row) {
    auto const before = this->valueOf(row);
    auto const after = changed(before);
    int heard = 0;
    Watcher const watcher(*this->entity,
                          [&](Lumo::FieldId field, void const* oldValue, void const* newValue) {
                            ++heard;
                            EXPECT_EQ(field, static_cast<Lumo::FieldId>(row.id));
                            EXPECT_EQ(*static_cast<decltype(after)*>(newValue), after);
                            EXPECT_EQ(this->valueOf(row), after);
                            if constexpr (isTarget<TypeParam>) {
                              EXPECT_EQ(oldValue, nullptr);
                            } else {
                              EXPECT_EQ(*static_cast<decltype(after)*>(oldValue), before);
                            }
                          });
    ((*this->entity).*row.set)(after);
    EXPECT_EQ(heard, 1);
    EXPECT_EQ(this->valueOf(row), after);
  });
}

TYPED_TEST(PlainAttributes, AnnounceAnEqualValueOnlyIfTheyAreRecordsOfTargets) {
  forEachPlain<TypeParam>([this](auto const& row) {
    ((*this->entity).*row.set)(changed(this->valueOf(row)));
    int heard = 0;
    Watcher const watcher(*this->entity, [&](Lumo::FieldId, void const*, void const*) { ++heard; });
    auto const same = this->valueOf(row);
    ((*this->entity).*row.set)(same);
    ((*this->entity).*row.set)(((*this->entity).*row.get)());
    EXPECT_EQ(heard, isTarget<TypeParam> ? 2 : 0);
    EXPECT_EQ(this->valueOf(row), same);
  });
}

TYPED_TEST(PlainAttributes, ChangeAlone) {
  forEachPlain<TypeParam>([this](auto const& row) {
    auto const other = Lumo::make<TypeParam>();
    ((*other).*row.set)(changed(((*other).*row.get)()));
    forEachPlain<TypeParam>([&](auto const& each) {
      bool const same = ((*other).*each.get)() == ((*this->entity).*each.get)();
      EXPECT_EQ(same, each.name != row.name);
    });
  });
}

TYPED_TEST(PlainAttributes, MayBeSetAgainByTheSubscriber) {
  forEachPlain<TypeParam>([this](auto const& row) {
    auto const first = changed(this->valueOf(row));
    auto const before = this->valueOf(row);
    std::vector<decltype(this->valueOf(row))> heard;
    Watcher const watcher(*this->entity, [&](Lumo::FieldId, void const*, void const*) {
      heard.push_back(this->valueOf(row));
      if (heard.size() == 1) {
        ((*this->entity).*row.set)(before);
      }
    });
    ((*this->entity).*row.set)(first);
    EXPECT_EQ(heard, (decltype(heard){first, before}));
    EXPECT_EQ(this->valueOf(row), before);
  });
}

TYPED_TEST(PlainAttributes, SurviveTheirEntityBeingDroppedByASubscriber) {
  forEachPlain<TypeParam>([](auto const& row) {
    auto entity = Lumo::make<TypeParam>();
    int others = 0;
    TypeParam& going = *entity;
    Watcher const watcher(going,
                          [&](Lumo::FieldId, void const*, void const*) { entity = nullptr; });
    Watcher const other(going, [&](Lumo::FieldId, void const*, void const*) { ++others; });
    (going.*row.set)(changed((going.*row.get)()));
    EXPECT_EQ(entity, nullptr);
    EXPECT_EQ(others, 0);
    EXPECT_FALSE(watcher.subscribed() || other.subscribed());
  });
}

TYPED_TEST(PlainAttributes, AreToldToANewSubscriberThatAsks) {
  forEachPlain<TypeParam>(
      [this](auto const& row) { ((*this->entity).*row.set)(changed(this->valueOf(row))); });
  std::vector<Lumo::FieldId> heard;
  std::vector<Lumo::FieldId> expected;
  auto const hear = [&](Lumo::FieldId field, void const* oldValue, void const* newValue) {
    heard.push_back(field);
    forEachPlain<TypeParam>([&](auto const& row) {
      if (field == static_cast<Lumo::FieldId>(row.id)) {
        auto const value = this->valueOf(row);
        EXPECT_EQ(*static_cast<decltype(value)*>(oldValue), value);
        EXPECT_EQ(*static_cast<decltype(value)*>(newValue), value);
      }
    });
  };
  Watcher const asks(*this->entity, hear, true);
  forEachPlain<TypeParam>(
      [&](auto const& row) { expected.push_back(static_cast<Lumo::FieldId>(row.id)); });
  EXPECT_EQ(heard, expected);
  heard.clear();
  Watcher const doesNot(*this->entity, hear, false);
  EXPECT_TRUE(heard.empty());
}

// All kinds of rows together, in the order of the table; members in the order in which they came.
TEST(PresentValues, AreToldRowByRow) {
  auto const input = Lumo::make<Input::Config>();
  input->modeIs(Mode::mstp);
  for (std::uint16_t const vlan : {20, 10}) {
    input->disabledVlanIs(vlan, vlan == 20);
  }
  for (char const* name : {"b", "a", "c"}) {
    input->portConfig.is(name, Lumo::make<Input::PortConfig>());
  }
  input->portConfig.del("a");
  input->stpiConfig.is("Mst", Lumo::make<Input::StpiConfig>());

  std::string told;
  Watcher const watcher(
      *input,
      [&](Lumo::FieldId field, void const* oldValue, void const* newValue) {
        told += std::to_string(field);
        if (field == 303) {
          told += "[" + std::to_string(*static_cast<std::uint16_t const*>(oldValue)) + "]";
          EXPECT_EQ(newValue, nullptr);
        } else if (field >= 386) {
          told += "[" + static_cast<Lumo::String const*>(oldValue)->toString() + "]";
          EXPECT_EQ(newValue, nullptr);
        }
        told += " ";
      },
      true);
  EXPECT_EQ(told, "267 294 298 303[20] 303[10] 386[b] 386[c] 387[Mst] ");
}

TEST(PresentValues, EndWhenTheSubscriberDropsTheEntity) {
  for (int last = 1; last <= 8; ++last) {
    SCOPED_TRACE(last);
    auto input = Lumo::make<Input::Config>();
    input->disabledVlanIs(20, true);
    input->disabledVlanIs(10, true);
    input->portConfig.is("a", Lumo::make<Input::PortConfig>());
    input->portConfig.is("b", Lumo::make<Input::PortConfig>());
    input->stpiConfig.is("Mst", Lumo::make<Input::StpiConfig>());
    int told = 0;
    Watcher const watcher(
        *input,
        [&](Lumo::FieldId, void const*, void const*) {
          if (++told == last) {
            input = nullptr;
          }
        },
        true);
    EXPECT_EQ(input, nullptr);
    EXPECT_FALSE(watcher.subscribed());
  }
}

// An entity that tells when it goes.
class Mortal final : public TypedEntity<Mortal> {
 public:
  enum class Id : Lumo::FieldId { first = 258, second = 259 };

  explicit Mortal(bool& isGone) : isGone_(isGone) {}
  ~Mortal() override { isGone_ = true; }

  int first() const { return first_; }
  void firstIs(int value) { attributeIs(Id::first, first_, value); }
  int second() const { return second_; }
  void secondIs(int value) { attributeIs(Id::second, second_, value); }

  static constexpr auto attributes = std::tuple{
      Attribute{"first", Id::first, &Mortal::first, &Mortal::firstIs},
      Attribute{"second", Id::second, &Mortal::second, &Mortal::secondIs},
  };

 private:
  bool& isGone_;
  int first_ = 1;
  int second_ = 2;
};

TEST(PresentValues, LieInAnEntityThatLivesUntilAllOfThemWereTold) {
  bool isGone = false;
  auto entity = Lumo::make<Mortal>(isGone);
  int told = 0;
  Watcher const watcher(
      *entity,
      [&](Lumo::FieldId, void const* value, void const*) {
        ++told;
        entity = nullptr;
        EXPECT_FALSE(isGone);
        EXPECT_EQ(*static_cast<int const*>(value), told);
      },
      true);
  EXPECT_EQ(told, 2);
  EXPECT_TRUE(isGone);
}

TEST(PresentValues, MayChangeAsTheyAreTold) {
  auto const input = Lumo::make<Input::Config>();
  for (char const* name : {"a", "b", "c"}) {
    input->portConfig.is(name, Lumo::make<Input::PortConfig>());
  }
  std::vector<std::string> told;
  bool changing = false;
  Watcher const watcher(
      *input,
      [&](Lumo::FieldId field, void const* oldValue, void const*) {
        if (field != 386 || changing) {
          return;
        }
        told.push_back(static_cast<Lumo::String const*>(oldValue)->toString());
        changing = true;
        input->portConfig.del(told.back());
        if (told.size() == 1) {
          input->portConfig.del("b");
          for (int count = 0; count < 20; ++count) {
            input->portConfig.is("new " + std::to_string(count), Lumo::make<Input::PortConfig>());
          }
        }
        changing = false;
      },
      true);
  ASSERT_EQ(told.size(), 22U);
  EXPECT_EQ(told[0], "a");
  EXPECT_EQ(told[1], "c");
  EXPECT_EQ(told[21], "new 19");
  EXPECT_TRUE(input->portConfig().empty());
}

}  // namespace
}  // namespace Stp
