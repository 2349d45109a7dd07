// tarn::ProcessMetrics: the process's own series under the names Prometheus
// gives them everywhere: resident memory, CPU time, open file descriptors,
// start time.
#pragma once

#include "metrics/MetricsWriter.h"

namespace tarn {

class ProcessMetrics {
  public:
    // Writes the families (a collector for Metrics::addCollector).
    static void collect(MetricsWriter& w);
};

}  // namespace tarn
