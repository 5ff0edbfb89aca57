// What every keyed collection of every entity type does when members come and go.

#include "StpTypes/Collection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
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

template <class Key>
Key keyOf(unsigned number) {
  if constexpr (std::is_same_v<Key, std::uint16_t>) {
    return static_cast<Key>(number);
  } else if constexpr (std::is_same_v<Key, Lanx::IntfId>) {
    return Lanx::IntfId::of("Ethernet" + std::to_string(number));
  } else {
    return "name " + std::to_string(number);
  }
}

// One collection: `Entity` has it in the row `place` of its table. Members are known by number.
template <class Entity, std::size_t place>
class Subject {
 public:
  static constexpr auto row = std::get<place>(Entity::attributes);
  using Row = std::remove_const_t<decltype(row)>;
  using Key = typename Row::KeyType;

  static std::string name() {
    std::string name = std::string(Lumo::typeName<Entity>()) + "_" + std::string(row.name);
    std::erase(name, ':');
    return name;
  }

  // A new member, also in the place of another.
  static void putUnder(Entity& entity, Key const& key) {
    if constexpr (hasRecords) {
      typename Row::RecordType record;
      setKey(record, key);
      (entity.*row.recordIs)(record);
    } else if constexpr (createsMembers) {
      EXPECT_NE((entity.*row.memberIs)(key), nullptr);
    } else {
      (entity.*row.members).is(key, Lumo::make<typename Row::MemberType>());
    }
  }
  static void put(Entity& entity, unsigned number) { putUnder(entity, keyOf<Key>(number)); }

  static bool removeUnder(Entity& entity, Key const& key) {
    if constexpr (hasRecords) {
      return (entity.*row.recordDel)(key);
    } else if constexpr (createsMembers) {
      return (entity.*row.memberDel)(key);
    } else {
      return (entity.*row.members).del(key);
    }
  }
  static bool remove(Entity& entity, unsigned number) {
    return removeUnder(entity, keyOf<Key>(number));
  }

  static void removeAll(Entity& entity) {
    if constexpr (hasRecords) {
      (entity.*row.recordDelAll)();
    } else if constexpr (createsMembers) {
      (entity.*row.memberDelAll)();
    } else {
      (entity.*row.members).delAll();
    }
  }

  static auto const& members(Entity const& entity) {
    if constexpr (hasRecords) {
      return (entity.*row.records)();
    } else {
      return (entity.*row.members)();
    }
  }
  static std::vector<unsigned> numbers(Entity const& entity) {
    std::vector<unsigned> result;
    for (auto const& member : members(entity)) {
      result.push_back(numberOf(&member.key));
    }
    return result;
  }
  static bool contains(Entity const& entity, unsigned number) {
    return members(entity).find(keyOf<Key>(number)) != nullptr;
  }

  // The number of the key that a change names.
  static unsigned numberOf(void const* key) {
    for (unsigned number = 0; number < 100; ++number) {
      if (*static_cast<Key const*>(key) == keyOf<Key>(number)) {
        return number;
      }
    }
    ADD_FAILURE() << "an unknown key";
    return 0;
  }

  // What is put where something is: an entity that is created stays, others are replaced.
  static constexpr bool createsMembers = requires(Entity & entity, Key key) {
    (entity.*row.memberIs)(key);
  };
  static constexpr bool hasRecords = requires { typename Row::RecordType; };

 private:
  static void setKey(InterfaceState& record, Lanx::IntfId key) { record.name = key; }
  static void setKey(OCMstiState& record, std::uint16_t key) { record.mstId = key; }
};

// Hands the key of each change of its collection to a function.
template <class Collection>
class Watcher {
 public:
  using Heard = std::function<void(void const*)>;

  Watcher(Lumo::Entity const& entity, Heard heard)
      : watcher_(entity, [heard = std::move(heard)](Lumo::FieldId field, void const* key,
                                                    void const* newValue) {
          EXPECT_EQ(field, static_cast<Lumo::FieldId>(Collection::row.id));
          EXPECT_EQ(newValue, nullptr);
          heard(key);
        }) {}

 private:
  TestSupport::Watcher watcher_;
};

template <class Collection>
struct EntityOf;
template <class Entity, std::size_t place>
struct EntityOf<Subject<Entity, place>> {
  using Type = Entity;
};

using Numbers = std::vector<unsigned>;

template <class Collection>
class CollectionTest : public testing::Test {
 protected:
  using Entity = typename EntityOf<Collection>::Type;

  void put(Numbers const& numbers) {
    for (unsigned const number : numbers) {
      Collection::put(*entity, number);
    }
  }

  Lumo::Ptr<Entity> entity = Lumo::make<Entity>();
  Numbers heard;
  typename Watcher<Collection>::Heard hear = [this](void const* key) {
    heard.push_back(Collection::numberOf(key));
  };
};

struct Names {
  template <class Collection>
  static std::string GetName(int) {
    return Collection::name();
  }
};

using Collections =
    testing::Types<Subject<Input::Config, 4>, Subject<Input::Config, 5>,
                   Subject<Input::StpiConfig, 0>, Subject<Config, 3>, Subject<Status, 1>,
                   Subject<StpiStatus, 0>, Subject<StpiStatus, 1>, Subject<OCInterfaceConfigDir, 0>,
                   Subject<OCInterfaceStateDir, 0>, Subject<OCMstiConfigDir, 0>,
                   Subject<OCMstiStateDir, 0>>;
TYPED_TEST_SUITE(CollectionTest, Collections, Names);

TYPED_TEST(CollectionTest, AnnouncesWhatComesAfterItCame) {
  Watcher<TypeParam> const watcher(*this->entity, [this](void const* key) {
    this->hear(key);
    EXPECT_TRUE(TypeParam::contains(*this->entity, TypeParam::numberOf(key)));
  });
  this->put({3, 1, 2});
  EXPECT_EQ(this->heard, (Numbers{3, 1, 2}));
  EXPECT_EQ(TypeParam::numbers(*this->entity), (Numbers{3, 1, 2}));
}

TYPED_TEST(CollectionTest, KeepsThePlaceOfWhatIsReplaced) {
  this->put({3, 1, 2});
  Watcher<TypeParam> const watcher(*this->entity, this->hear);
  this->put({1});
  EXPECT_EQ(this->heard, TypeParam::createsMembers ? Numbers{} : Numbers{1});
  EXPECT_EQ(TypeParam::numbers(*this->entity), (Numbers{3, 1, 2}));
}

TYPED_TEST(CollectionTest, AnnouncesWhatGoesAfterItWent) {
  this->put({3, 1, 2});
  Watcher<TypeParam> const watcher(*this->entity, [this](void const* key) {
    this->hear(key);
    EXPECT_FALSE(TypeParam::contains(*this->entity, TypeParam::numberOf(key)));
  });
  EXPECT_TRUE(TypeParam::remove(*this->entity, 1));
  EXPECT_FALSE(TypeParam::remove(*this->entity, 1));
  EXPECT_FALSE(TypeParam::remove(*this->entity, 9));
  EXPECT_EQ(this->heard, Numbers{1});
  EXPECT_EQ(TypeParam::numbers(*this->entity), (Numbers{3, 2}));
}

TYPED_TEST(CollectionTest, RemovesAllInOrderEachAnnouncedAsItGoes) {
  this->put({3, 1, 2, 5});
  TypeParam::remove(*this->entity, 1);
  this->put({1, 3});
  std::vector<Numbers> rest;
  Watcher<TypeParam> const watcher(*this->entity, [&](void const* key) {
    this->hear(key);
    rest.push_back(TypeParam::numbers(*this->entity));
  });
  TypeParam::removeAll(*this->entity);
  EXPECT_EQ(this->heard, (Numbers{3, 2, 5, 1}));
  EXPECT_EQ(rest, (std::vector<Numbers>{{2, 5, 1}, {5, 1}, {1}, {}}));
  TypeParam::removeAll(*this->entity);
  EXPECT_EQ(this->heard.size(), 4U);
}

TYPED_TEST(CollectionTest, RemovesOnlyWhatWasThereWhenAllAreRemoved) {
  this->put({1, 2, 3});
  bool reacting = true;
  Watcher<TypeParam> const watcher(*this->entity, [&](void const* key) {
    this->hear(key);
    if (reacting) {
      reacting = false;
      this->put({1, 7});
      TypeParam::remove(*this->entity, 2);
    }
  });
  TypeParam::removeAll(*this->entity);
  EXPECT_EQ(this->heard, (Numbers{1, 1, 7, 2, 3}));
  EXPECT_EQ(TypeParam::numbers(*this->entity), (Numbers{1, 7}));
}

// The first subscriber removes what came, and so much comes after it that the place is used anew.
TYPED_TEST(CollectionTest, ShowsLaterSubscribersTheKeyOfWhatAnEarlierOneRemoved) {
  bool reacting = false;
  Watcher<TypeParam> const first(*this->entity, [&](void const* key) {
    if (!reacting) {
      reacting = true;
      TypeParam::remove(*this->entity, TypeParam::numberOf(key));
      this->put({50, 51, 52, 53, 54});
      TypeParam::removeAll(*this->entity);
      reacting = false;
    }
  });
  Watcher<TypeParam> const second(*this->entity, [&](void const* key) {
    if (!reacting) {
      this->hear(key);
    }
  });
  this->put({7, 8});
  EXPECT_EQ(this->heard, (Numbers{7, 8}));
  EXPECT_TRUE(TypeParam::members(*this->entity).empty());
}

TYPED_TEST(CollectionTest, SurvivesItsEntityBeingDroppedByASubscriber) {
  enum class Change { put, replace, remove, removeAll };
  for (Change const change : {Change::put, Change::replace, Change::remove, Change::removeAll}) {
    SCOPED_TRACE(static_cast<int>(change));
    if (TypeParam::createsMembers && change == Change::replace) {
      continue;
    }
    auto entity = Lumo::make<typename EntityOf<TypeParam>::Type>();
    for (unsigned const number : {1U, 2U, 3U}) {
      TypeParam::put(*entity, number);
    }
    auto& going = *entity;
    int others = 0;
    Watcher<TypeParam> const drops(going, [&](void const*) { entity = nullptr; });
    Watcher<TypeParam> const other(going, [&](void const*) { ++others; });
    switch (change) {
      case Change::put: TypeParam::put(going, 7); break;
      case Change::replace: TypeParam::put(going, 2); break;
      case Change::remove: TypeParam::remove(going, 2); break;
      case Change::removeAll: TypeParam::removeAll(going); break;
    }
    EXPECT_EQ(entity, nullptr);
    EXPECT_EQ(others, change == Change::removeAll ? 3 : 0)
        << "removing all keeps the entity until it is done";
  }
}

TYPED_TEST(CollectionTest, TakesAKeyThatLiesInIt) {
  this->put({1, 2, 3});
  Watcher<TypeParam> const watcher(*this->entity, this->hear);
  auto const& key = TypeParam::members(*this->entity).begin().key();
  TypeParam::putUnder(*this->entity, key);
  this->heard.clear();
  EXPECT_TRUE(TypeParam::removeUnder(*this->entity, key));
  EXPECT_EQ(this->heard, Numbers{1});
  EXPECT_EQ(TypeParam::numbers(*this->entity), (Numbers{2, 3}));
}

TYPED_TEST(CollectionTest, IsWalkedOnWhileMembersComeAndGo) {
  this->put({1, 2, 3, 4});
  Numbers walked;
  for (auto const& member : TypeParam::members(*this->entity)) {
    unsigned const number = TypeParam::numberOf(&member.key);
    walked.push_back(number);
    TypeParam::remove(*this->entity, number);
    if (number == 1) {
      TypeParam::remove(*this->entity, 3);
      this->put({10, 11, 12, 13, 14, 15, 16});
    }
  }
  EXPECT_EQ(walked, (Numbers{1, 2, 4, 10, 11, 12, 13, 14, 15, 16}));
  EXPECT_EQ(TypeParam::members(*this->entity).size(), 0U);
}

// While the first is told, it goes and others come, so that its place is used anew.
TYPED_TEST(CollectionTest, TellsANewSubscriberOfPresentMembersByKeysThatStay) {
  this->put({1, 2, 3, 4});
  Numbers told;
  bool changing = false;
  TestSupport::Watcher const watcher(
      *this->entity,
      [&](Lumo::FieldId field, void const* key, void const*) {
        if (changing || field != static_cast<Lumo::FieldId>(TypeParam::row.id)) {
          return;
        }
        if (told.empty()) {
          changing = true;
          for (unsigned const number : {1U, 2U, 3U}) {
            TypeParam::remove(*this->entity, number);
          }
          this->put({5});
          changing = false;
        }
        told.push_back(TypeParam::numberOf(key));
      },
      true);
  EXPECT_EQ(told, (Numbers{1, 4, 5}));
}

// A member that tells when it goes.
class Mortal final : public TypedEntity<Mortal> {
 public:
  ~Mortal() override { ++gone; }

  static constexpr auto attributes = std::tuple{};
  static inline int gone = 0;
};
class Owner final : public TypedEntity<Owner> {
 public:
  enum class Id : Lumo::FieldId { member = 130 };

  Members<Lumo::String, Mortal> member{*this, Id::member};

  static constexpr auto attributes = std::tuple{
      CollectionAttribute{"member", Id::member, &Owner::member},
  };
};

TEST(Collection, MemberLivesUntilItsEndWasAnnounced) {
  auto const owner = Lumo::make<Owner>();
  owner->member.is("one", Lumo::make<Mortal>());
  owner->member.is("two", Lumo::make<Mortal>());
  std::vector<int> gone;
  TestSupport::Watcher const watcher(*owner, [&](auto...) { gone.push_back(Mortal::gone); });
  Mortal::gone = 0;
  owner->member.del("one");
  owner->member.delAll();
  EXPECT_THAT(gone, testing::ElementsAre(0, 1));
  EXPECT_EQ(Mortal::gone, 2);
}

// How a record is amended, in a directory of records with a `change` to each.
template <class Directory, class Key>
void expectAmendedWholeOrNotAtAll(Key key, Key other, auto change) {
  auto const directory = Lumo::make<Directory>();
  int heard = 0;
  using Watched = std::conditional_t<std::is_same_v<Directory, OCMstiStateDir>,
                                     Subject<OCMstiStateDir, 0>, Subject<OCInterfaceStateDir, 0>>;
  Watcher<Watched> const watcher(*directory, [&](void const*) { ++heard; });
  directory->stateAmend(key, change);
  EXPECT_EQ(heard, 1);
  auto const stored = *directory->state(key);
  EXPECT_EQ(stored.key(), key);

  auto const fails = [&](auto& record) {
    change(record);
    throw std::runtime_error("no more");
  };
  EXPECT_THROW(directory->stateAmend(key, fails), std::runtime_error);
  EXPECT_EQ(*directory->state(key), stored) << "what was changed before it failed is not stored";
  EXPECT_THROW(directory->stateAmend(other, fails), std::runtime_error);
  EXPECT_EQ(directory->state(other), nullptr);
  EXPECT_EQ(heard, 1);

  directory->stateAmend(key, change);
  EXPECT_NE(*directory->state(key), stored);
  directory->stateAmend(key, [](auto&) {});
  EXPECT_EQ(heard, 3) << "an equal record is announced, too";
}

TEST(Collection, RecordsAreAmendedWholeOrNotAtAll) {
  expectAmendedWholeOrNotAtAll<OCInterfaceStateDir>(
      Lanx::IntfId::of("Ethernet1"), Lanx::IntfId::of("Ethernet2"), [](InterfaceState& state) {
        state.linkType = state.linkType == OcLinkType::p2p ? OcLinkType::shared : OcLinkType::p2p;
      });
  expectAmendedWholeOrNotAtAll<OCMstiStateDir>(
      std::uint16_t{3}, std::uint16_t{4},
      [](OCMstiState& state) { state.vlan.push(Bridging::VlanId(7)); });
}

}  // namespace
}  // namespace Stp
