// The look into the library, as its user meets it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "Process.h"

namespace Test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

std::string wiring() {
  return runAgent({"inspect", "--wiring"}).out;
}

TEST(Inspect, WiringStandsAlone) {
  EXPECT_THAT(wiring(), StartsWith("# Wiring\n"));
  EXPECT_THAT(wiring(), HasSubstr("OCGlobalConfigSm::handleEnabledProtocol"));
}

TEST(Inspect, WiringIsAGraphWhereAskedFor) {
  std::string const graph = runAgent({"inspect", "--wiring", "--dot"}).out;
  EXPECT_THAT(graph, StartsWith("digraph wiring {\n"));
  EXPECT_THAT(graph, HasSubstr("\"Input::Config\":267:e -> \"OCGlobalConfigSm\":132:w;\n"));
  EXPECT_EQ(runAgent({"inspect", "--dot"}).status, 2);
}

TEST(Inspect, ShowsObjectsCountsAndWiringAfterTheOperations) {
  Outcome const outcome =
      runAgent({"inspect"}, R"({"op":"create","path":["input","portConfig","Ethernet1"]})");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(outcome.out, StartsWith("# Objects\n\nOCGlobalConfigSm: active\n"));
  EXPECT_THAT(outcome.out, HasSubstr("    OCPortConfigSm [Ethernet1]: active\n"));
  EXPECT_THAT(outcome.out, HasSubstr("\n# Allocations\n\n"));
  EXPECT_THAT(outcome.out, testing::EndsWith("\n" + wiring()));
}

TEST(Inspect, ShowsThemAfterSnapshots) {
  Outcome const outcome =
      runAgent({"inspect", "--bridge", "br0", STP_CAPTURES_DIR "/01-converged"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, HasSubstr("OCMstiConfigSm [MST5]: active\n"));
}

TEST(Inspect, RefusedLinesAndFoldersMakeTheStatus) {
  EXPECT_EQ(runAgent({"inspect"}, "{}").status, 1);
  EXPECT_EQ(runAgent({"inspect", "--bridge", "br0", "/nonexistent"}).status, 1);
  EXPECT_EQ(runAgent({"inspect", "/nonexistent"}).status, 2);
  EXPECT_EQ(runAgent({"inspect", "--wiring", "."}).status, 2);
  EXPECT_EQ(runAgent({"inspect", "--bridge", "br0"}).status, 2);
}

}  // namespace
}  // namespace Test
