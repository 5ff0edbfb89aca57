// The tracepoint of one block. The tracing library includes this file several times, with another
// meaning of its macros each time.
#undef LTTNG_UST_TRACEPOINT_PROVIDER
#define LTTNG_UST_TRACEPOINT_PROVIDER stp_bench

#undef LTTNG_UST_TRACEPOINT_INCLUDE
#define LTTNG_UST_TRACEPOINT_INCLUDE "bench/LttngBlock.h"

#if !defined(STP_BENCH_LTTNG_BLOCK_H) || defined(LTTNG_UST_TRACEPOINT_HEADER_MULTI_READ)
#define STP_BENCH_LTTNG_BLOCK_H

#include <lttng/tracepoint.h>

#include <cstdint>

LTTNG_UST_TRACEPOINT_EVENT(stp_bench, block, LTTNG_UST_TP_ARGS(std::uint64_t, start),
                           LTTNG_UST_TP_FIELDS(lttng_ust_field_integer(std::uint64_t, start,
                                                                       start)))

#endif

#include <lttng/tracepoint-event.h>
