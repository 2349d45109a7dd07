#include "handler/OperationMetrics.h"

#include <atomic>
#include <string_view>

#include "tarn/CIMStatus.h"

namespace tarn {

class OperationMetrics::Meter {
  public:
    Meter(OperationMetrics& owner, std::size_t slot)
        : _owner(owner), _slot(slot), _start(std::chrono::steady_clock::now()) {}
    ~Meter() {
        std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - _start;
        _owner.record(_slot, _code.load(std::memory_order_relaxed), elapsed.count());
    }
    void setCode(int code) { _code.store(code, std::memory_order_relaxed); }

  private:
    OperationMetrics& _owner;
    std::size_t _slot;
    std::chrono::steady_clock::time_point _start;
    std::atomic<int> _code{CIM_SUCCESS};
};

OperationMetrics::OperationMetrics(Metrics& metrics, std::vector<const char*> operations)
    : _names(std::move(operations)), _slots(std::make_unique<Slot[]>(_names.size() + 1)) {
    _registration = metrics.addCollector([this](MetricsWriter& w) { collect(w); });
}

void OperationMetrics::attach(IVelaOperation& operation, std::size_t slot) {
    // The handler owns the operation's context slot; only meters go there.
    operation.setContext(std::make_shared<Meter>(*this, slot));
}

void OperationMetrics::setStatus(const IVelaOperation& operation, int code) {
    if (auto meter = std::static_pointer_cast<Meter>(operation.getContext())) {
        meter->setCode(code);
    }
}

void OperationMetrics::record(std::size_t slot, int code, double seconds) noexcept {
    Slot& s = _slots[slot];
    std::size_t index = code >= 0 && static_cast<std::size_t>(code) < kStatuses - 1
                            ? static_cast<std::size_t>(code)
                            : kStatuses - 1;
    s.statuses[index].inc();
    s.latency.observe(seconds);
}

void OperationMetrics::collect(MetricsWriter& w) const {
    auto name = [this](std::size_t slot) { return slot < _names.size() ? _names[slot] : "other"; };
    w.family("tarn_cim_operations_total", MetricsWriter::Type::Counter,
             "CIM operations handled, by operation and CIM status.");
    for (std::size_t slot = 0; slot <= _names.size(); ++slot) {
        // Codes without a name (and those out of range) share one series.
        std::uint64_t unknown = 0;
        for (std::size_t code = 0; code < kStatuses; ++code) {
            std::uint64_t n = _slots[slot].statuses[code].value();
            const char* status =
                code < kStatuses - 1 ? cimStatusName(static_cast<int>(code)) : "CIM_ERR_UNKNOWN";
            if (std::string_view(status) == "CIM_ERR_UNKNOWN") {
                unknown += n;
            } else if (n > 0) {
                w.sample({{"operation", name(slot)}, {"status", status}}, n);
            }
        }
        if (unknown > 0) {
            w.sample({{"operation", name(slot)}, {"status", "CIM_ERR_UNKNOWN"}}, unknown);
        }
    }
    w.family("tarn_cim_operation_duration_seconds", MetricsWriter::Type::Histogram,
             "Time from receiving a CIM operation until its last result was written.");
    for (std::size_t slot = 0; slot <= _names.size(); ++slot) {
        Histogram::Snapshot s = _slots[slot].latency.snapshot();
        if (s.cumulative.back() > 0) {
            w.histogram({{"operation", name(slot)}}, s);
        }
    }
}

}  // namespace tarn
