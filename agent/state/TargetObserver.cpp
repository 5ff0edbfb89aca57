#include "agent/state/TargetObserver.h"

#include <algorithm>
#include <tuple>
#include <type_traits>
#include <unordered_map>
#include <utility>

#include "Lumo/Publisher.h"
#include "StpTypes/Collection.h"

namespace Agent {

namespace {

// A slot on one entity, which calls `Derived::changed` with the key that a change has, or null.
template <class Derived, class Entity>
class EntitySubscription : public ObservedTargets::Subscription {
 public:
  EntitySubscription(ObservedTargets& observed, Lumo::Ptr<Entity const> entity, TargetPlace place)
      : observed_(observed), entity_(std::move(entity)), place_(std::move(place)) {
    slot_.routineIs(&dispatch, this);
    entity_->publisher().subscriberAdd(slot_, false);
  }
  ~EntitySubscription() override { slot_.unsubscribeFrom(entity_->publisher()); }

  Entity const& entity() const { return *entity_; }

 protected:
  TargetPlace placeOf(Key key) const { return {place_.target, place_.attribute, std::move(key)}; }
  TargetPlace const& place() const { return place_; }
  ObservedTargets& observed() const { return observed_; }

 private:
  static void dispatch(Lumo::Publisher* /*publisher*/, Lumo::Subscriber* slot,
                       Lumo::FieldId /*field*/, void const* key, void const* /*value*/) {
    static_cast<Derived*>(static_cast<EntitySubscription*>(slot->owner()))->changed(key);
  }

  ObservedTargets& observed_;
  Lumo::Ptr<Entity const> entity_;
  TargetPlace place_;
  Lumo::Subscriber slot_;
};

// An entity that holds one record.
template <class Entity>
class RecordSubscription final : public EntitySubscription<RecordSubscription<Entity>, Entity> {
 public:
  using EntitySubscription<RecordSubscription, Entity>::EntitySubscription;

  void changed(void const* /*key*/) {
    TargetPlace const place = this->place();
    this->observed().happened(place, recordOf(this->entity()));
  }
};

// A target that holds records by key.
template <class Entity>
class RecordsSubscription final : public EntitySubscription<RecordsSubscription<Entity>, Entity> {
 public:
  using EntitySubscription<RecordsSubscription, Entity>::EntitySubscription;

  void changed(void const* key) {
    using RecordKey = typename std::remove_cvref_t<decltype(row)>::KeyType;
    auto const changedKey = *static_cast<RecordKey const*>(key);
    auto const* const record = Stp::recordFind((this->entity().*row.records)(), changedKey);
    this->observed().happened(
        this->placeOf(changedKey),
        record == nullptr ? std::nullopt : std::optional<TargetRecord>(*record));
  }

 private:
  static constexpr auto const& row = onlyAttribute<Entity>;
};

std::uint64_t number(std::uint16_t key) {
  return key;
}
template <class Key>
std::uint64_t number(Key key) {
  return key.value();
}

// A target whose members hold a record each. A member is watched while it is one.
template <class Entity>
class MembersSubscription final : public EntitySubscription<MembersSubscription<Entity>, Entity> {
 public:
  MembersSubscription(ObservedTargets& observed, Lumo::Ptr<Entity const> const& entity,
                      TargetPlace const& place)
      : EntitySubscription<MembersSubscription, Entity>(observed, entity, place) {
    for (auto const& member : (this->entity().*row.members)()) {
      watch(member.key, member.value);
    }
  }

  void changed(void const* key) {
    auto const changedKey = *static_cast<MemberKey const*>(key);
    auto const member = Stp::memberFind((this->entity().*row.members)(), changedKey);
    if (member) {
      watch(changedKey, member);
      this->observed().happened(this->placeOf(changedKey), recordOf(*member));
    } else {
      members_.erase(number(changedKey));
      this->observed().happened(this->placeOf(changedKey), std::nullopt);
    }
  }

 private:
  static constexpr auto const& row = onlyAttribute<Entity>;
  using Row = std::remove_cvref_t<decltype(row)>;
  using MemberKey = typename Row::KeyType;
  using Member = typename Row::MemberType;

  void watch(MemberKey key, Lumo::Ptr<Member const> const& member) {
    auto& watched = members_[number(key)];
    if (watched == nullptr || &watched->entity() != member.get()) {
      watched = std::make_unique<RecordSubscription<Member>>(this->observed(), member,
                                                             this->placeOf(key));
    }
  }

  std::unordered_map<std::uint64_t, std::unique_ptr<RecordSubscription<Member>>> members_;
};

template <class Entity>
std::unique_ptr<ObservedTargets::Subscription> subscriptionTo(
    ObservedTargets& observed, std::string_view name, Lumo::Ptr<Entity const> const& entity) {
  constexpr auto const& row = onlyAttribute<Entity>;
  TargetPlace const place{name, row.name, {}};
  if constexpr (requires { row.get; }) {
    return std::make_unique<RecordSubscription<Entity>>(observed, entity, place);
  } else if constexpr (requires { row.records; }) {
    return std::make_unique<RecordsSubscription<Entity>>(observed, entity, place);
  } else {
    return std::make_unique<MembersSubscription<Entity>>(observed, entity, place);
  }
}

}  // namespace

ObservedTargets::~ObservedTargets() = default;

void ObservedTargets::observerAdd(TargetObserver& observer, From from) {
  if (subscriptions_.empty()) {
    std::apply(
        [&](auto const&... root) {
          (subscriptions_.push_back(subscriptionTo(*this, root.name, targets_.*root.entity)), ...);
        },
        TargetView::roots());
  }
  seats_.push_back({&observer, last_});
  if (from == From::presentState) {
    auto const isObserver = [&] { return std::ranges::count(seats_, &observer, &Seat::observer); };
    bool const outermost = !std::exchange(telling_, true);
    for (Event const& event : presentState()) {
      if (isObserver() != 0) {
        observer.recordIs(event.place, *event.record);
      }
    }
    if (outermost) {
      tellWaiting();
    }
  }
}

void ObservedTargets::observerDel(TargetObserver& observer) {
  for (Seat& seat : seats_) {
    if (seat.observer == &observer) {
      seat.observer = nullptr;
    }
  }
  if (!telling_) {
    settle();
  }
}

void ObservedTargets::happened(TargetPlace const& place, std::optional<TargetRecord> record) {
  Event event{place, std::move(record), ++last_};
  if (telling_) {
    waiting_.push_back(std::move(event));
    return;
  }
  telling_ = true;
  tell(event);
  tellWaiting();
}

void ObservedTargets::changeSetEnds() {
  if (seats_.empty()) {
    return;
  }
  telling_ = true;
  // NOLINTNEXTLINE(modernize-loop-convert): more may come meanwhile
  for (std::size_t at = 0; at < seats_.size(); ++at) {
    if (auto* const observer = seats_[at].observer) {
      observer->changeSetEnds();
    }
  }
  tellWaiting();
}

void ObservedTargets::tell(Event const& event) {
  // NOLINTNEXTLINE(modernize-loop-convert): more may come meanwhile
  for (std::size_t at = 0; at < seats_.size(); ++at) {
    auto const [observer, since] = seats_[at];
    if (observer == nullptr || event.number <= since) {
      continue;
    }
    if (event.record) {
      observer->recordIs(event.place, *event.record);
    } else {
      observer->recordGone(event.place);
    }
  }
}

void ObservedTargets::tellWaiting() {
  while (!waiting_.empty()) {
    Event const event = std::move(waiting_.front());
    waiting_.pop_front();
    tell(event);
  }
  telling_ = false;
  settle();
}

// Those who left while something was told go, and with the last one the subscriptions.
void ObservedTargets::settle() {
  std::erase_if(seats_, [](Seat const& seat) { return seat.observer == nullptr; });
  if (seats_.empty()) {
    subscriptions_.clear();
  }
}

std::vector<ObservedTargets::Event> ObservedTargets::presentState() const {
  std::vector<Event> events;
  eachRecord(targets_, [&](TargetPlace const& place, TargetRecord const& record) {
    events.push_back({place, record, last_});
  });
  return events;
}

}  // namespace Agent
