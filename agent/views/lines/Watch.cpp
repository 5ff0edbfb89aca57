#include "agent/views/lines/Watch.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "Lumo/Publisher.h"
#include "StpTypes/Collection.h"
#include "agent/text/Values.h"
#include "agent/views/entities/EntitiesView.h"

namespace Agent {

namespace {

using Path = OrderedJson::array_t;

void showChanged(Output& output, Path const& path, OrderedJson record) {
  OrderedJson line = OrderedJson::object();
  memberAdd(line, "changed", path);
  memberAdd(line, "value", std::move(record));
  output.lineAdd(line.dump());
}

void showDeleted(Output& output, Path const& path) {
  OrderedJson line = OrderedJson::object();
  memberAdd(line, "deleted", path);
  output.lineAdd(line.dump());
}

// A slot on one entity, which calls `Derived::changed` with the key that a change has, or null.
template <class Derived, class Entity>
class EntitySubscription : public Watch::Subscription {
 public:
  EntitySubscription(Lumo::Ptr<Entity const> entity, Path path, Output& output)
      : entity_(std::move(entity)), path_(std::move(path)), output_(output) {
    slot_.routineIs(&dispatch, this);
    entity_->publisher().subscriberAdd(slot_, false);
  }
  ~EntitySubscription() override { slot_.unsubscribeFrom(entity_->publisher()); }

  Entity const& entity() const { return *entity_; }

 protected:
  Path const& path() const { return path_; }
  Output& output() const { return output_; }

 private:
  static void dispatch(Lumo::Publisher* /*publisher*/, Lumo::Subscriber* slot,
                       Lumo::FieldId /*field*/, void const* key, void const* /*value*/) {
    static_cast<Derived*>(static_cast<EntitySubscription*>(slot->owner()))->changed(key);
  }

  Lumo::Ptr<Entity const> entity_;
  Path path_;
  Output& output_;
  Lumo::Subscriber slot_;
};

// An entity that holds one record.
template <class Entity>
class RecordSubscription final : public EntitySubscription<RecordSubscription<Entity>, Entity> {
 public:
  using EntitySubscription<RecordSubscription, Entity>::EntitySubscription;

  void changed(void const* /*key*/) {
    showChanged(this->output(), this->path(), showRecord(this->entity()));
  }
};

// A target that holds records by key.
template <class Entity>
class RecordsSubscription final : public EntitySubscription<RecordsSubscription<Entity>, Entity> {
 public:
  using EntitySubscription<RecordsSubscription, Entity>::EntitySubscription;

  void changed(void const* key) {
    using Key = typename std::remove_cvref_t<decltype(row)>::KeyType;
    auto const& changedKey = *static_cast<Key const*>(key);
    Path path = this->path();
    path.emplace_back(plainKey(changedKey));
    auto const* const record = Stp::recordFind((this->entity().*row.records)(), changedKey);
    if (record != nullptr) {
      showChanged(this->output(), path, showValue(*record));
    } else {
      showDeleted(this->output(), path);
    }
  }

 private:
  static constexpr auto const& row = onlyAttribute<Entity>;
};

// A target whose members hold a record each. A member is watched while it is one.
template <class Entity>
class MembersSubscription final : public EntitySubscription<MembersSubscription<Entity>, Entity> {
 public:
  MembersSubscription(Lumo::Ptr<Entity const> const& entity, Path const& path, Output& output)
      : EntitySubscription<MembersSubscription, Entity>(entity, path, output) {
    for (auto const& member : (this->entity().*row.members)()) {
      watch(member.key, member.value);
    }
  }

  void changed(void const* key) {
    auto const changedKey = *static_cast<Key const*>(key);
    auto const member = Stp::memberFind((this->entity().*row.members)(), changedKey);
    if (member) {
      watch(changedKey, member);
      showChanged(this->output(), pathOf(changedKey), showRecord(*member));
    } else {
      members_.erase(plainKey(changedKey));
      showDeleted(this->output(), pathOf(changedKey));
    }
  }

 private:
  static constexpr auto const& row = onlyAttribute<Entity>;
  using Row = std::remove_cvref_t<decltype(row)>;
  using Key = typename Row::KeyType;
  using Member = typename Row::MemberType;

  Path pathOf(Key key) const {
    Path path = this->path();
    path.emplace_back(plainKey(key));
    return path;
  }

  void watch(Key key, Lumo::Ptr<Member> const& member) {
    auto& watched = members_[plainKey(key)];
    if (watched == nullptr || &watched->entity() != member.get()) {
      watched = std::make_unique<RecordSubscription<Member>>(member, pathOf(key), this->output());
    }
  }

  std::map<decltype(plainKey(std::declval<Key>())), std::unique_ptr<RecordSubscription<Member>>>
      members_;
};

template <class Entity>
std::unique_ptr<Watch::Subscription> watchTarget(std::string_view name,
                                                 Lumo::Ptr<Entity const> const& entity,
                                                 Output& output) {
  constexpr auto const& row = onlyAttribute<Entity>;
  Path path{name, row.name};
  if constexpr (requires { row.get; }) {
    return std::make_unique<RecordSubscription<Entity>>(entity, path, output);
  } else if constexpr (requires { row.records; }) {
    return std::make_unique<RecordsSubscription<Entity>>(entity, path, output);
  } else {
    return std::make_unique<MembersSubscription<Entity>>(entity, path, output);
  }
}

}  // namespace

Watch::Watch(TargetView const& targets, Output& output) {
  std::apply(
      [&](auto const&... root) {
        (subscriptions_.push_back(watchTarget(root.name, targets.*root.entity, output)), ...);
      },
      TargetView::roots());
}

Watch::~Watch() = default;

}  // namespace Agent
