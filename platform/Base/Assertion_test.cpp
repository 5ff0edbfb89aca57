#include "Base/Assertion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <string>

namespace Base {
namespace {

TEST(AssertionDeathTest, SaysWhoWhereAndWhatAndAborts) {
  EXPECT_EXIT(assertionFailed("false && \"Unknown content\"", "/src/Some/File", 285, "void f()"),
              testing::KilledBySignal(SIGABRT),
              testing::HasSubstr(std::string(program_invocation_short_name) +
                                 ": /src/Some/File:285: void f(): Assertion "
                                 "`false && \"Unknown content\"' failed.\n"));
}

}  // namespace
}  // namespace Base
