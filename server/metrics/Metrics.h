// tarn::Metrics: the object manager's metrics, exposed at GET /metrics.
//
// An area adds series in one of two ways:
//  - it asks for a Counter, Gauge or Histogram by family name and labels and
//    keeps the reference (stable for the registry's life); updating it is
//    one relaxed atomic operation, so it suits the request path;
//  - it adds a collector, a function called at each exposition that writes
//    whole families of its own (values it already keeps, such as a queue's
//    length, or series whose labels are known only then). The collector
//    stays until its Registration is destroyed, which waits for an
//    exposition in progress: after that it is never called again.
// Asking for metrics takes a lock and is meant for start-up or for the first
// use of a label set; collectors must not call back into the registry.
#pragma once

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>

#include "metrics/Counter.h"
#include "metrics/Histogram.h"
#include "metrics/MetricsWriter.h"

namespace tarn {

class Metrics {
  public:
    using Collector = std::function<void(MetricsWriter&)>;

    class Registration {
      public:
        Registration() = default;
        Registration(Registration&& other) noexcept;
        Registration& operator=(Registration&& other) noexcept;
        ~Registration() { reset(); }
        // Removes the collector (idempotent).
        void reset();

      private:
        friend class Metrics;
        Metrics* _metrics = nullptr;
        std::list<Collector>::iterator _it;
    };

    Metrics() = default;
    Metrics(const Metrics&) = delete;
    Metrics& operator=(const Metrics&) = delete;

    // The series of that family and labels, made on first use. A name used
    // with another type, another help text or (histograms) other bounds
    // throws std::logic_error.
    Counter& counter(const std::string& name, const std::string& help,
                     const MetricLabels& labels = {});
    Gauge& gauge(const std::string& name, const std::string& help, const MetricLabels& labels = {});
    Histogram& histogram(const std::string& name, const std::string& help,
                         const MetricLabels& labels, const std::vector<double>& bounds);

    [[nodiscard]] Registration addCollector(Collector collector);

    // The exposition: the registered families by name, then what the
    // collectors write, in the order they were added. A collector that
    // throws is logged and skipped (what it wrote stays).
    void write(std::ostream& out) const;

  private:
    struct Series {
        MetricLabels labels;
        std::unique_ptr<Counter> counter;
        std::unique_ptr<Gauge> gauge;
        std::unique_ptr<Histogram> histogram;
    };
    struct Family {
        MetricsWriter::Type type;
        std::string help;
        std::vector<double> bounds;
        std::list<Series> series;
    };
    Series& series(const std::string& name, const std::string& help, MetricsWriter::Type type,
                   const MetricLabels& labels, const std::vector<double>* bounds);

    mutable std::mutex _m;
    std::map<std::string, Family> _families;
    std::list<Collector> _collectors;
};

}  // namespace tarn
