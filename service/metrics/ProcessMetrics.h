// The metrics of the process that every Prometheus client library has.
#pragma once

#include "service/metrics/Metrics.h"

namespace kelvo::metrics {

/** Adds process_cpu_seconds_total, process_open_fds and so on. Call it at the start. */
void showProcess(Metrics& metrics);

} // namespace kelvo::metrics
