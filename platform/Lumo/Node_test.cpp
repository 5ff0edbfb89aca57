#include "Lumo/Node.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

namespace Lumo {
namespace {

static_assert(sizeof(Node) == 16);
static_assert(!std::is_copy_constructible_v<Node> && !std::is_move_constructible_v<Node>);
static_assert(!std::is_destructible_v<Node>, "only the last reference destroys");

class Probe final : public Node {
 public:
  explicit Probe(int& destroyed) : destroyed_(destroyed) {}
  ~Probe() override { ++destroyed_; }

  // The word behind the virtual table, whose layout other software relies on.
  std::uint64_t word() const {
    std::uint64_t word = 0;
    std::memcpy(&word, reinterpret_cast<char const*>(this) + sizeof(void*), sizeof word);
    return word;
  }

 private:
  int& destroyed_;
};

struct NodeTest : testing::Test {
  ~NodeTest() override { node->referenceRelease(); }

  int destroyed = 0;
  Probe* node = new Probe(destroyed);
};

TEST_F(NodeTest, IsBornWithOneReferenceAndClearFlags) {
  EXPECT_EQ(node->references(), 1U);
  EXPECT_FALSE(node->hasNotificationActive());
  EXPECT_FALSE(node->markAndSweepFlag());
  EXPECT_EQ(node->word(), 1U);
}

TEST_F(NodeTest, GoesWithItsLastReference) {
  int gone = 0;
  auto* const other = new Probe(gone);
  other->referenceAdd();
  other->referenceRelease();
  EXPECT_EQ(gone, 0);
  EXPECT_EQ(other->references(), 1U);
  other->referenceRelease();
  EXPECT_EQ(gone, 1);
}

TEST_F(NodeTest, GoesWithItsLastReferenceWhateverItsFlags) {
  int gone = 0;
  auto* const other = new Probe(gone);
  hasNotificationActiveSet(*other, true);
  other->markAndSweepFlagSet(true);
  other->referenceAdd();
  other->referenceRelease();
  EXPECT_EQ(gone, 0);
  other->referenceRelease();
  EXPECT_EQ(gone, 1);
}

TEST_F(NodeTest, KeepsItsFlagsAboveTheCount) {
  constexpr std::uint64_t active = std::uint64_t{1} << 29;
  constexpr std::uint64_t zombie = std::uint64_t{1} << 30;

  hasNotificationActiveSet(*node, true);
  EXPECT_EQ(node->word(), active + 1);
  node->markAndSweepFlagSet(true);
  EXPECT_EQ(node->word(), active + zombie + 1);
  node->referenceAdd();
  EXPECT_EQ(node->word(), active + zombie + 2);
  EXPECT_EQ(node->references(), 2U);
  hasNotificationActiveSet(*node, false);
  EXPECT_EQ(node->word(), zombie + 2);
  node->referenceRelease();
  EXPECT_EQ(node->word(), zombie + 1);
  node->markAndSweepFlagSet(false);
  EXPECT_EQ(node->word(), 1U);
}

TEST_F(NodeTest, TakesTheSameFlagTwice) {
  for (bool const value : {true, true, false, false, true}) {
    node->markAndSweepFlagSet(value);
    EXPECT_EQ(node->markAndSweepFlag(), value);
    EXPECT_FALSE(node->hasNotificationActive());
    hasNotificationActiveSet(*node, value);
    hasNotificationActiveSet(*node, value);
    EXPECT_EQ(node->hasNotificationActive(), value);
    hasNotificationActiveSet(*node, false);
    EXPECT_EQ(node->markAndSweepFlag(), value);
    EXPECT_EQ(node->references(), 1U);
  }
}

TEST_F(NodeTest, BelongsToNoModuleByItself) {
  EXPECT_EQ(node->typeData(), VelTypeBase());
  EXPECT_EQ(node->typeData().module, nullptr);
}

}  // namespace
}  // namespace Lumo
