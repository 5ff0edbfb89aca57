// What others cost for one traced block: the start, the duration and which block it was.
#include "Flashlog/Clock.h"
#include "bench/World.h"

#ifdef PEER_SPDLOG
#include <spdlog/async.h>
#include <spdlog/sinks/basic_file_sink.h>
#endif
#ifdef PEER_LTTNG
#define LTTNG_UST_TRACEPOINT_CREATE_PROBES
#define LTTNG_UST_TRACEPOINT_DEFINE
#include "bench/LttngBlock.h"
#endif

namespace Bench {

namespace {

[[maybe_unused]] constexpr unsigned blocks = 64;

#ifdef PEER_SPDLOG
// Asynchronous, so that the caller pays for the hand-over alone, not for formatting and writing.
void spdlogBlocks(benchmark::State& state) {
  auto const pool = std::make_shared<spdlog::details::thread_pool>(8192, 1);
  auto const sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>("/dev/null", true);
  auto const log = std::make_shared<spdlog::async_logger>(
      "bench", sink, pool, spdlog::async_overflow_policy::overrun_oldest);
  for ([[maybe_unused]] auto const& iteration : state) {
    for (unsigned block = 0; block < blocks; ++block) {
      auto const start = Flashlog::timestamp();
      benchmark::ClobberMemory();
      log->info("Stp::OCPortConfigSm::handleBpduguard():383 {}", Flashlog::timestamp() - start);
    }
  }
  state.counters["items"] = blocks;
}
#endif

#ifdef PEER_LTTNG
// Recorded only while a session has the event enabled; the counter tells.
void lttngBlocks(benchmark::State& state) {
  state.counters["recording"] = lttng_ust_tracepoint_enabled(stp_bench, block) ? 1 : 0;
  for ([[maybe_unused]] auto const& iteration : state) {
    for (unsigned block = 0; block < blocks; ++block) {
      auto const start = Flashlog::timestamp();
      benchmark::ClobberMemory();
      lttng_ust_tracepoint(stp_bench, block, start);  // its own time stamp is the end
    }
  }
  state.counters["items"] = blocks;
}
#endif

}  // namespace

#ifdef PEER_SPDLOG
BENCHMARK(spdlogBlocks)->Name("trace/spdlog");
#endif
#ifdef PEER_LTTNG
BENCHMARK(lttngBlocks)->Name("trace/LTTng-UST");
#endif

}  // namespace Bench
