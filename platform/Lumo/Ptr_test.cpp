#include "Lumo/Ptr.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Lumo {

class PtrTestNode : public Node {
 public:
  explicit PtrTestNode(int& alive) : alive_(alive) { ++alive_; }
  ~PtrTestNode() override {
    --alive_;
    if (resetAtEnd != nullptr) {
      *resetAtEnd = nullptr;
    }
  }

  int value = 0;
  Ptr<PtrTestNode> next;
  Ptr<PtrTestNode>* resetAtEnd = nullptr;

 private:
  int& alive_;
};

namespace {

class Derived final : public PtrTestNode {
  using PtrTestNode::PtrTestNode;
};

static_assert(sizeof(Ptr<Node>) == sizeof(void*));
static_assert(std::is_nothrow_copy_constructible_v<Ptr<Node>>);
static_assert(std::is_nothrow_move_constructible_v<Ptr<Node>>);
static_assert(std::is_nothrow_copy_assignable_v<Ptr<Node>>);
static_assert(std::is_nothrow_move_assignable_v<Ptr<Node>>);
static_assert(!std::is_convertible_v<Node*, Ptr<Node>>, "a reference is never taken unnoticed");
static_assert(std::is_convertible_v<Ptr<Derived>, Ptr<PtrTestNode const>>);
static_assert(!std::is_convertible_v<Ptr<PtrTestNode const>, Ptr<PtrTestNode>>);
static_assert(!std::is_convertible_v<Ptr<PtrTestNode>, Ptr<Derived>>);

class PtrTest : public testing::Test {
 protected:
  ~PtrTest() override { EXPECT_EQ(alive, 0); }

  int alive = 0;
};

TEST_F(PtrTest, AdoptsTheReferenceOfANewNode) {
  auto const made = make<PtrTestNode>(alive);
  EXPECT_EQ(made->references(), 1U);
  auto const adopted = Ptr<PtrTestNode>::adopt(new PtrTestNode(alive));
  EXPECT_EQ(adopted->references(), 1U);
  EXPECT_EQ(alive, 2);
}

TEST_F(PtrTest, HoldsOneReferenceACopy) {
  auto first = make<PtrTestNode>(alive);
  {
    Ptr<PtrTestNode> const second = first;
    Ptr<PtrTestNode> const third(first.get());
    Ptr<PtrTestNode const> const fourth = second;
    EXPECT_EQ(first->references(), 4U);
  }
  EXPECT_EQ(first->references(), 1U);
  first = nullptr;
  EXPECT_EQ(alive, 0);
}

TEST_F(PtrTest, MovesWithoutCounting) {
  auto first = make<PtrTestNode>(alive);
  Ptr<PtrTestNode> second = std::move(first);
  EXPECT_EQ(first, nullptr);  // NOLINT(bugprone-use-after-move): a moved pointer is absent
  EXPECT_EQ(second->references(), 1U);
  first = std::move(second);
  EXPECT_EQ(second, nullptr);  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(first->references(), 1U);
}

TEST_F(PtrTest, SurvivesAssignmentToItself) {
  auto pointer = make<PtrTestNode>(alive);
  auto& same = pointer;
  pointer = same;
  EXPECT_EQ(pointer->references(), 1U);
  pointer = std::move(same);
  ASSERT_NE(pointer, nullptr);
  EXPECT_EQ(pointer->references(), 1U);
}

TEST_F(PtrTest, ReleasesWhatItHeldWhenAssigned) {
  auto pointer = make<PtrTestNode>(alive);
  auto const other = make<PtrTestNode>(alive);
  pointer = other;
  EXPECT_EQ(alive, 1);
  EXPECT_EQ(other->references(), 2U);
}

TEST_F(PtrTest, MayBeAssignedFromWithinTheNodeThatGoes) {
  auto head = make<PtrTestNode>(alive);
  head->next = make<PtrTestNode>(alive);
  head = head->next;
  EXPECT_EQ(alive, 1);
  EXPECT_EQ(head->references(), 1U);
}

TEST_F(PtrTest, MayBeResetByTheDestructorThatItsOwnResetRuns) {
  auto pointer = make<PtrTestNode>(alive);
  pointer->resetAtEnd = &pointer;
  pointer = nullptr;
  EXPECT_EQ(alive, 0);
  EXPECT_EQ(pointer, nullptr);
}

TEST_F(PtrTest, ComparesByIdentity) {
  auto const a = make<Derived>(alive);
  auto const b = make<Derived>(alive);
  Ptr<PtrTestNode> const base = a;
  Ptr<PtrTestNode const> const reader = a;
  EXPECT_TRUE(a == a && a == base && base == a && base == reader && reader == base);
  EXPECT_TRUE(a != b && base != b && b != reader);
  EXPECT_TRUE(a != nullptr && nullptr != a && !(a == nullptr));
  EXPECT_TRUE(Ptr<Derived>() == nullptr && Ptr<Derived>(nullptr) == Ptr<PtrTestNode>());
  EXPECT_TRUE(a && !Ptr<Derived>());
}

TEST_F(PtrTest, ReachesItsNode) {
  auto const pointer = make<PtrTestNode>(alive);
  pointer->value = 7;
  EXPECT_EQ((*pointer).value, 7);
  EXPECT_EQ(pointer.get()->value, 7);
  EXPECT_EQ(Ptr<PtrTestNode>().get(), nullptr);
}

template <class Use>
std::string messageOf(Use use) {
  try {
    use();
  } catch (AbsentPointerException const& exception) {
    return exception.what();
  }
  return "no exception";
}

TEST_F(PtrTest, NamesItsTypeWhenAbsent) {
  Ptr<PtrTestNode> const absent;
  Ptr<PtrTestNode const> const absentReader;
  constexpr auto expected = "the Lumo::Ptr to Lumo::PtrTestNode is absent";
  EXPECT_EQ(messageOf([&] { absent->value = 1; }), expected);
  EXPECT_EQ(messageOf([&] { static_cast<void>(*absent); }), expected);
  EXPECT_THAT(messageOf([&] { static_cast<void>(absentReader->value); }),
              testing::HasSubstr("Lumo::PtrTestNode"));
}

TEST_F(PtrTest, FreesALongChain) {
  auto head = make<PtrTestNode>(alive);
  for (int length = 1; length < 1000; ++length) {
    auto longer = make<PtrTestNode>(alive);
    longer->next = std::move(head);
    head = std::move(longer);
  }
  EXPECT_EQ(alive, 1000);
}

TEST_F(PtrTest, MovesThroughContainers) {
  std::vector<Ptr<PtrTestNode>> pointers;
  for (int count = 0; count < 100; ++count) {
    pointers.push_back(make<PtrTestNode>(alive));
    pointers.insert(pointers.begin(), pointers.back());
  }
  EXPECT_EQ(alive, 100);
  std::erase_if(pointers, [&](auto const& pointer) { return pointer->references() == 2; });
  EXPECT_LT(alive, 100);
}

}  // namespace
}  // namespace Lumo
