// How a trace is written for people: times, durations, and texts that may hold any bytes.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace Programs {

/// "2026-01-31T08:00:00.000000001Z". The day of `time` must be representable in nanoseconds.
[[nodiscard]] std::string utcTime(std::chrono::sys_time<std::chrono::nanoseconds> time);

/// "1,234,567".
[[nodiscard]] std::string grouped(std::uint64_t number);

/// `text` on one line that no terminal takes for a command: a backslash is doubled; control
/// characters, those that break or reorder a line, and bytes that are not UTF-8 become "\xHH".
[[nodiscard]] std::string printable(std::string_view text);

}  // namespace Programs
