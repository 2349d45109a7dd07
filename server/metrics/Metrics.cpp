#include "metrics/Metrics.h"

#include <stdexcept>

#include "vela/AdapterUtils.h"

namespace tarn {

Metrics::Registration::Registration(Registration&& other) noexcept
    : _metrics(other._metrics), _it(other._it) {
    other._metrics = nullptr;
}

Metrics::Registration& Metrics::Registration::operator=(Registration&& other) noexcept {
    if (this != &other) {
        reset();
        _metrics = other._metrics;
        _it = other._it;
        other._metrics = nullptr;
    }
    return *this;
}

void Metrics::Registration::reset() {
    if (_metrics) {
        std::scoped_lock lock(_metrics->_m);
        _metrics->_collectors.erase(_it);
        _metrics = nullptr;
    }
}

Metrics::Series& Metrics::series(const std::string& name, const std::string& help,
                                 MetricsWriter::Type type, const MetricLabels& labels,
                                 const std::vector<double>* bounds) {
    if (!MetricsWriter::isValidName(name)) {
        throw std::logic_error("not a metric name: " + name);
    }
    std::scoped_lock lock(_m);
    auto [it, made] = _families.try_emplace(name);
    Family& f = it->second;
    if (made) {
        f.type = type;
        f.help = help;
        if (bounds) {
            f.bounds = *bounds;
        }
    } else if (f.type != type || f.help != help || (bounds && f.bounds != *bounds)) {
        throw std::logic_error("metric family " + name + " registered twice differently");
    }
    for (Series& s : f.series) {
        if (s.labels == labels) {
            return s;
        }
    }
    Series& s = f.series.emplace_back();
    s.labels = labels;
    switch (type) {
        case MetricsWriter::Type::Counter:
            s.counter = std::make_unique<Counter>();
            break;
        case MetricsWriter::Type::Gauge:
            s.gauge = std::make_unique<Gauge>();
            break;
        case MetricsWriter::Type::Histogram:
            s.histogram = std::make_unique<Histogram>(f.bounds);
            break;
    }
    return s;
}

Counter& Metrics::counter(const std::string& name, const std::string& help,
                          const MetricLabels& labels) {
    return *series(name, help, MetricsWriter::Type::Counter, labels, nullptr).counter;
}

Gauge& Metrics::gauge(const std::string& name, const std::string& help,
                      const MetricLabels& labels) {
    return *series(name, help, MetricsWriter::Type::Gauge, labels, nullptr).gauge;
}

Histogram& Metrics::histogram(const std::string& name, const std::string& help,
                              const MetricLabels& labels, const std::vector<double>& bounds) {
    return *series(name, help, MetricsWriter::Type::Histogram, labels, &bounds).histogram;
}

Metrics::Registration Metrics::addCollector(Collector collector) {
    std::scoped_lock lock(_m);
    Registration r;
    r._metrics = this;
    r._it = _collectors.insert(_collectors.end(), std::move(collector));
    return r;
}

void Metrics::write(std::ostream& out) const {
    MetricsWriter w(out);
    std::scoped_lock lock(_m);
    for (const auto& [name, f] : _families) {
        w.family(name, f.type, f.help);
        for (const Series& s : f.series) {
            if (s.counter) {
                w.sample(s.labels, s.counter->value());
            } else if (s.gauge) {
                w.sample(s.labels, s.gauge->value());
            } else {
                w.histogram(s.labels, s.histogram->snapshot());
            }
        }
    }
    for (const Collector& c : _collectors) {
        try {
            c(w);
        } catch (const std::exception& e) {
            AdapterUtils::log("tarn::Metrics", VELString("A metrics collector failed: ") + e.what(),
                              2);
        }
    }
}

}  // namespace tarn
