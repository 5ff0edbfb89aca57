// What is named when the process has to end: the place of the operation under way, and no other.
#include "agent/program/OperationFiles.h"

#include <gtest/gtest.h>

#include <csignal>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>

#include "agent/host/Fatal.h"
#include "agent/program/SnapshotFolders.h"

namespace Agent {
namespace {

Settings quiet() {
  Settings settings;
  settings.show = Show::none;
  return settings;
}

TEST(OperationFilesDeathTest, PlaceIsForgottenBehindTheLastOperation) {
  std::string const file = testing::TempDir() + "OperationFilesDeathTest.jsonl";
  std::ofstream(file) << R"({"op":"set","path":["input","mode"],"value":3})";
  Settings const settings = quiet();
  EXPECT_EXIT(
      {
        installFatalHandler();
        Agent::Run(settings).execute([&](Agent::Run& run) {
          applyOperationFiles(run, {file});
          std::terminate();
        });
      },
      testing::KilledBySignal(SIGABRT),
      "^stp-openconfig-agent: fatal: terminated without an exception\n$");
  std::filesystem::remove(file);
}

TEST(SnapshotFoldersDeathTest, PlaceIsForgottenBehindTheLastSnapshot) {
  Settings const settings = quiet();
  EXPECT_EXIT(
      {
        installFatalHandler();
        Agent::Run(settings).execute([&](Agent::Run& run) {
          applySnapshotFolders(run, "br0", {STP_CAPTURES_DIR "/01-converged"}, false);
          std::terminate();
        });
      },
      testing::KilledBySignal(SIGABRT),
      "^stp-openconfig-agent: fatal: terminated without an exception\n$");
}

}  // namespace
}  // namespace Agent
