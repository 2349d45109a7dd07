// tarn::OperationMetrics: the handler's series: operations by name and CIM
// status, and their latency (from the handler receiving the operation until
// the last holder of the operation lets it go, which for a streaming
// operation is after its last result was written).
//
// Each operation of the route table has its own fixed slots (a counter per
// status and a histogram), so counting is a few relaxed atomic operations
// and never a lock; the registry's collector writes the slots that were used.
#pragma once

#include <array>
#include <chrono>
#include <memory>
#include <vector>

#include "metrics/Metrics.h"
#include "vela/IVelaOperation.h"

namespace tarn {

class OperationMetrics {
  public:
    // operations: the names of the operation slots; one more slot, "other",
    // counts operations no route serves.
    OperationMetrics(Metrics& metrics, std::vector<const char*> operations);
    OperationMetrics(const OperationMetrics&) = delete;
    OperationMetrics& operator=(const OperationMetrics&) = delete;

    std::size_t otherSlot() const { return _names.size(); }

    // Starts measuring an operation of the slot: the meter goes into the
    // operation's context and records when it is released.
    void attach(IVelaOperation& operation, std::size_t slot);
    // The CIM status the operation ends with, when it fails (the latest wins).
    static void setStatus(const IVelaOperation& operation, int code);

  private:
    static constexpr std::size_t kStatuses = 30;  // 0..28, then "unknown"
    struct Slot {
        std::array<Counter, kStatuses> statuses;
        Histogram latency{Histogram::latencyBounds()};
    };
    class Meter;
    void record(std::size_t slot, int code, double seconds) noexcept;
    void collect(MetricsWriter& w) const;

    std::vector<const char*> _names;
    std::unique_ptr<Slot[]> _slots;
    Metrics::Registration _registration;
};

}  // namespace tarn
