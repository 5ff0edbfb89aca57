#include "agent/views/gnmi/Backlog.h"

#include "agent/views/gnmi/tests/GnmiTestSupport.h"

namespace Agent::Gnmi {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class GnmiBacklog : public testing::Test {
 protected:
  // The leaf `mst-id` of the state of an instance.
  static LeafRef leaf(std::uint64_t id, Nanoseconds created = 1) {
    LeafRow const& row = *schema()
                              .child("stp")
                              ->child("mstp")
                              ->child("mst-instances")
                              ->child("mst-instance")
                              ->child("state")
                              ->child("mst-id")
                              ->row();
    auto const entry = std::make_shared<Entry const>(Entry{
        row.node, {id}, {{row.number, std::make_shared<LeafValue const>(id), created, created}}});
    return {entry, entry->leaves[0]};
  }
  void updated(Nanoseconds time, LeafRef const& which, std::uint32_t duplicates = 0) {
    backlog.add({time, {}, {{which, duplicates}}}, told);
  }
  void deleted(Nanoseconds time, LeafRef const& which) { backlog.add({time, {which}, {}}, told); }
  std::vector<std::string> take() {
    std::vector<std::string> all;
    for (Notification const& notification : backlog.take()) {
      std::string text = textOf(notification);
      for (std::string const part : {"/stp/mstp/mst-instances/mst-instance", "/state/mst-id"}) {
        while (text.find(part) != std::string::npos) {
          text.erase(text.find(part), part.size());
        }
      }
      all.push_back(text);
    }
    return all;
  }

  Backlog backlog;
  Nanoseconds told = 10;
};

TEST_F(GnmiBacklog, LastValueStaysAndTheOthersAreCounted) {
  updated(11, leaf(5));
  updated(12, leaf(6), 2);
  updated(13, leaf(5));
  updated(14, leaf(5), 3);
  updated(15, leaf(6));
  EXPECT_EQ(backlog.size(), 2U);
  EXPECT_THAT(take(), ElementsAre("14: [mst-id=5]=5 (5)", "15: [mst-id=6]=6 (3)"));
  EXPECT_TRUE(backlog.empty());
  EXPECT_THAT(take(), IsEmpty());
}

TEST_F(GnmiBacklog, WhatWentIsTold) {
  updated(11, leaf(5));
  deleted(12, leaf(5));
  EXPECT_THAT(take(), ElementsAre("12: -[mst-id=5]"));
}

TEST_F(GnmiBacklog, WhatWentAndCameBackIsBoth) {
  deleted(11, leaf(5));
  updated(12, leaf(5, 12));
  updated(13, leaf(5, 12));
  EXPECT_THAT(take(), ElementsAre("13: -[mst-id=5], [mst-id=5]=5 (1)"));
}

TEST_F(GnmiBacklog, WhatWentTwiceIsToldOnce) {
  deleted(11, leaf(5));
  updated(12, leaf(5, 12));
  deleted(13, leaf(5, 12));
  EXPECT_THAT(take(), ElementsAre("13: -[mst-id=5]"));
}

TEST_F(GnmiBacklog, WhatTheClientNeverHadIsNotTold) {
  updated(11, leaf(5, 11));
  deleted(12, leaf(5, 11));
  deleted(12, leaf(6, 12));
  EXPECT_TRUE(backlog.empty());
  deleted(13, leaf(7, 10));
  EXPECT_THAT(take(), ElementsAre("13: -[mst-id=7]"));
}

TEST_F(GnmiBacklog, OneTimeIsOneNotificationInTheOrderOfPaths) {
  updated(12, leaf(20));
  updated(11, leaf(100));
  updated(12, leaf(3));
  deleted(12, leaf(50));
  deleted(12, leaf(7));
  EXPECT_THAT(take(), ElementsAre("11: [mst-id=100]=100",
                                  "12: -[mst-id=7], -[mst-id=50], [mst-id=3]=3, [mst-id=20]=20"));
}

}  // namespace
}  // namespace Agent::Gnmi
