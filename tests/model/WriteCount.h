// Counts what the library's targets announce.
#pragma once

#include <map>
#include <memory>
#include <utility>

#include "Lumo/Ptr.h"
#include "Lumo/Publisher.h"

namespace Harness {

/// Counts the changes of one entity, and may look at the key of each.
template <class Entity>
class Count {
 public:
  explicit Count(Lumo::Ptr<Entity> entity) : entity_(std::move(entity)) {
    slot_.routineIs(&changed, this);
    entity_->publisher().subscriberAdd(slot_, false);
  }
  Count(Count const&) = delete;
  Count& operator=(Count const&) = delete;
  virtual ~Count() { slot_.unsubscribeFrom(entity_->publisher()); }

  Entity& entity() const { return *entity_; }
  int changes() const { return changes_; }

 private:
  virtual void keyChanged(void const* /*key*/) {}

  static void changed(Lumo::Publisher* /*publisher*/, Lumo::Subscriber* slot,
                      Lumo::FieldId /*field*/, void const* key, void const* /*newValue*/) {
    auto& count = *static_cast<Count*>(slot->owner());
    ++count.changes_;
    count.keyChanged(key);
  }

  Lumo::Ptr<Entity> entity_;
  Lumo::Subscriber slot_;
  int changes_ = 0;
};

/// Counts the members that come to and go from a directory of entities, and the records that its
/// members get while they are in it.
template <class Directory, class Key, class Member, Lumo::Ptr<Member> (Directory::*find)(Key) const>
class MemberCount final : public Count<Directory> {
 public:
  using Count<Directory>::Count;

  int records() const {
    int sum = earlier_;
    for (auto const& [key, member] : members_) {
      sum += member->changes();
    }
    return sum;
  }

 private:
  void keyChanged(void const* changed) override {
    Key const key = *static_cast<Key const*>(changed);
    if (auto const known = members_.find(hash(key)); known != members_.end()) {
      earlier_ += known->second->changes();
      members_.erase(known);
    }
    if (auto const member = (this->entity().*find)(key)) {
      members_.emplace(hash(key), std::make_unique<Count<Member>>(member));
    }
  }

  static unsigned hash(std::uint16_t key) { return key; }
  template <class Id>
  static unsigned hash(Id id) {
    return id.value();
  }

  std::map<unsigned, std::unique_ptr<Count<Member>>> members_;
  int earlier_ = 0;
};

}  // namespace Harness
