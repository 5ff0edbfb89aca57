// The end of a process whose invariant broke: the library lets no exception out of a handler.
#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

namespace Agent {

/// Makes an exception that nobody catches end the process by SIGABRT, after a line on standard
/// error with its message and with what was being applied.
void installFatalHandler();

/// What is being applied from now on, for that line. `source` must outlive it; line 0 stands for
/// the source as a whole, an empty source for nothing.
void applyingIs(std::string_view source, std::size_t line) noexcept;

/// What is to be done before the process ends that way, after its line is written; nothing for
/// null. It must not throw.
void beforeFatalEnd(std::function<void()> act);

}  // namespace Agent
