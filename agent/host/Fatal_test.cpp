// The last line of a process whose invariant broke.
#include "agent/host/Fatal.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string_view>

namespace Agent {
namespace {

using testing::KilledBySignal;

template <class Failure>
[[noreturn]] void failWhileApplying(std::string_view source, std::size_t line, Failure failure) {
  installFatalHandler();
  applyingIs(source, line);
  [&]() noexcept { failure(); }();
  std::exit(0);
}

void fail() {
  throw std::runtime_error("the reason");
}

TEST(FatalDeathTest, NamesTheLineThatWasBeingApplied) {
  EXPECT_EXIT(failWhileApplying("stdin", 3, &fail), KilledBySignal(SIGABRT),
              "^stp-openconfig-agent: fatal: stdin:3: the reason\n$");
}

TEST(FatalDeathTest, NamesASourceAsAWhole) {
  EXPECT_EXIT(failWhileApplying("captures/01", 0, &fail), KilledBySignal(SIGABRT),
              "^stp-openconfig-agent: fatal: captures/01: the reason\n$");
}

TEST(FatalDeathTest, NamesTheReasonAloneWhereNothingWasBeingApplied) {
  EXPECT_EXIT(failWhileApplying("", 0, &fail), KilledBySignal(SIGABRT),
              "^stp-openconfig-agent: fatal: the reason\n$");
}

TEST(FatalDeathTest, TellsWhatThrewNoException) {
  EXPECT_EXIT(failWhileApplying("", 0, [] { throw 7; }), KilledBySignal(SIGABRT),
              "^stp-openconfig-agent: fatal: an exception of an unknown type\n$");
  EXPECT_EXIT(failWhileApplying("", 0, &std::terminate), KilledBySignal(SIGABRT),
              "^stp-openconfig-agent: fatal: terminated without an exception\n$");
}

}  // namespace
}  // namespace Agent
