#include "Base/FileDescriptor.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

namespace Base {
namespace {

static_assert(!std::is_copy_constructible_v<FileDescriptor>);
static_assert(std::is_nothrow_move_constructible_v<FileDescriptor>);
static_assert(std::is_nothrow_move_assignable_v<FileDescriptor>);

int openNull() {
  return open("/dev/null", O_RDONLY | O_CLOEXEC);
}
bool isOpen(int number) {
  return fcntl(number, F_GETFD) != -1;
}

TEST(FileDescriptor, OwnsNoneAtFirst) {
  FileDescriptor const none;
  EXPECT_FALSE(none.isOpen());
  EXPECT_LT(none.number(), 0);
  EXPECT_FALSE(FileDescriptor(-1).isOpen());
}

TEST(FileDescriptor, IsClosedAtTheEndOrBefore) {
  int number = -1;
  {
    FileDescriptor const file(openNull());
    number = file.number();
    EXPECT_TRUE(file.isOpen());
    EXPECT_TRUE(isOpen(number));
  }
  EXPECT_FALSE(isOpen(number));

  FileDescriptor file(openNull());
  number = file.number();
  file.close();
  EXPECT_FALSE(file.isOpen());
  EXPECT_FALSE(isOpen(number));
  FileDescriptor const another(openNull());
  EXPECT_EQ(another.number(), number) << "the number is free again";
  file.close();
  EXPECT_TRUE(isOpen(number)) << "it is closed once only";
}

TEST(FileDescriptor, ZeroIsOne) {
  int const kept = dup(STDIN_FILENO);
  close(STDIN_FILENO);
  {
    FileDescriptor const file(openNull());
    EXPECT_EQ(file.number(), 0);
    EXPECT_TRUE(file.isOpen());
  }
  EXPECT_FALSE(isOpen(0));
  if (kept >= 0) {
    dup2(kept, STDIN_FILENO);
    close(kept);
  }
}

TEST(FileDescriptor, HasOneOwner) {
  FileDescriptor first(openNull());
  int const number = first.number();
  FileDescriptor second = std::move(first);
  EXPECT_FALSE(first.isOpen());  // NOLINT(bugprone-use-after-move): one that is moved owns none
  EXPECT_EQ(second.number(), number);
  {
    FileDescriptor third(openNull());
    int const replaced = third.number();
    third = std::move(second);
    EXPECT_EQ(third.number(), number);
    EXPECT_TRUE(isOpen(number));
    second.close();  // NOLINT(bugprone-use-after-move): it may own what was replaced
    EXPECT_FALSE(isOpen(replaced));
  }
  EXPECT_FALSE(isOpen(number));
}

}  // namespace
}  // namespace Base
