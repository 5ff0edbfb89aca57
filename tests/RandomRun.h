// The command line of tests that run random operations: --steps N, --seed S.
#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string_view>

namespace Harness {

/// Takes both values from the command line, then runs all tests. Returns the process's status.
inline int runRandomly(int argc, char** argv, std::uint64_t& steps, std::uint64_t& seed) {
  testing::InitGoogleTest(&argc, argv);
  for (int at = 1; at < argc; at += 2) {
    std::string_view const flag = argv[at];
    if ((flag != "--steps" && flag != "--seed") || at + 1 == argc) {
      std::cerr << ::program_invocation_short_name << ": " << flag
                << ": expected --steps N or --seed S\n";
      return 2;
    }
    (flag == "--steps" ? steps : seed) = std::strtoull(argv[at + 1], nullptr, 10);
  }
  return RUN_ALL_TESTS();
}

}  // namespace Harness
