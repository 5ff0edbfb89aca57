#include "Vel/AllocTrack.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace Vel {
namespace {

static_assert(!std::is_copy_constructible_v<AllocTrackTypeInfo>);

// The trackers whose class names begin with "Test", the newest first.
std::vector<std::string> walk() {
  std::vector<std::string> names;
  for (auto const* each = AllocTrackTypeInfo::first(); each != nullptr; each = each->next()) {
    if (each->className().starts_with("Test")) {
      names.emplace_back(each->className());
    }
  }
  return names;
}

TEST(AllocTrack, CountsWhatLivesAndWhatEverLived) {
  AllocTrackTypeInfo tracker("TestClass");
  EXPECT_EQ(tracker.className(), "TestClass");
  EXPECT_EQ(tracker.live(), 0U);
  EXPECT_EQ(tracker.total(), 0U);
  tracker.allocated();
  tracker.allocated();
  EXPECT_EQ(tracker.live(), 2U);
  tracker.released();
  EXPECT_EQ(tracker.live(), 1U);
  EXPECT_EQ(tracker.total(), 2U);
  tracker.uncounted();
  EXPECT_EQ(tracker.live(), 0U);
  EXPECT_EQ(tracker.total(), 1U);
}

TEST(AllocTrack, ListsTheTrackersThatExist) {
  using Names = std::vector<std::string>;
  auto first = std::make_unique<AllocTrackTypeInfo>("Test1");
  auto second = std::make_unique<AllocTrackTypeInfo>("Test2");
  auto third = std::make_unique<AllocTrackTypeInfo>("Test3");
  Names names = walk();
  std::ranges::sort(names);
  EXPECT_EQ(names, (Names{"Test1", "Test2", "Test3"}));
  second.reset();
  names = walk();
  std::ranges::sort(names);
  EXPECT_EQ(names, (Names{"Test1", "Test3"}));
  third.reset();
  EXPECT_EQ(walk(), Names{"Test1"});
  first.reset();
  EXPECT_EQ(walk(), Names{});
}

}  // namespace
}  // namespace Vel
