#include "Vel/TraceHandle.h"

#include <cstdio>
#include <ctime>
#include <string>
#include <utility>

#include "Vel/TraceHelper.h"

namespace Vel {

namespace {

std::string timeText(std::chrono::system_clock::time_point time) {
  auto const sinceEpoch =
      std::chrono::duration_cast<std::chrono::microseconds>(time.time_since_epoch()).count();
  std::time_t const seconds = sinceEpoch / 1'000'000;
  std::tm utc{};
  gmtime_r(&seconds, &utc);
  char date[32];
  char text[48];
  (void)std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &utc);
  (void)std::snprintf(text, sizeof text, "%s.%06dZ", date,
                      static_cast<int>(sinceEpoch % 1'000'000));
  return text;
}

void writeToStandardError(TraceLine const& line) {
  std::string text = timeText(line.time);
  text.append(" ").append(line.handle).append(" ").append(std::to_string(line.level));
  text.append(" ").append(line.sourcePath).append(":").append(std::to_string(line.sourceLine));
  text.append(" ").append(line.text).append("\n");
  (void)std::fwrite(text.data(), 1, text.size(), stderr);
}

TraceSink& currentSink() {
  static auto& sink = *new TraceSink(writeToStandardError);
  return sink;
}

}  // namespace

TraceSink traceSinkIs(TraceSink sink) {
  return std::exchange(currentSink(), sink ? std::move(sink) : TraceSink(writeToStandardError));
}

TraceHelper::TraceHelper(TraceHandle const& handle, unsigned level, std::string_view sourcePath,
                         unsigned sourceLine, std::string_view function)
    : handle_(handle),
      level_(level),
      sourcePath_(sourcePath),
      sourceLine_(sourceLine),
      function_(function) {
}

TraceHelper::~TraceHelper() {
  std::string const text = text_.str();
  TraceLine const line{std::chrono::system_clock::now(),
                       handle_.name(),
                       level_,
                       sourcePath_,
                       sourceLine_,
                       function_,
                       text};
  currentSink()(line);
}

}  // namespace Vel
