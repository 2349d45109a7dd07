// tarn::MetricsWriter: writes metric families in the Prometheus text
// exposition format (version 0.0.4): for each family a HELP and a TYPE line,
// then its samples. Label values and help texts are escaped; a family name
// may be written only once per exposition (std::logic_error otherwise, as for
// a name or label name that is not valid), so that two collectors cannot
// split one family.
#pragma once

#include <cstdint>
#include <ostream>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "metrics/Histogram.h"

namespace tarn {

// Label names and values, in the order they are written.
using MetricLabels = std::vector<std::pair<std::string, std::string>>;

class MetricsWriter {
  public:
    enum class Type { Counter, Gauge, Histogram };

    explicit MetricsWriter(std::ostream& out) : _out(out) {}

    // Starts a family; the samples written next belong to it.
    void family(std::string_view name, Type type, std::string_view help);
    // A sample of the current counter or gauge family.
    void sample(const MetricLabels& labels, double value);
    void sample(const MetricLabels& labels, std::uint64_t value);
    void sample(const MetricLabels& labels, std::int64_t value);
    // The series of one histogram of the current histogram family: its
    // buckets (with "le"), sum and count.
    void histogram(const MetricLabels& labels, const Histogram::Snapshot& snapshot);

    static bool isValidName(std::string_view name);

  private:
    void writeSeries(std::string_view suffix, const MetricLabels& labels, const char* extraName,
                     const std::string& extraValue);
    void requireFamily(Type type) const;

    std::ostream& _out;
    std::set<std::string, std::less<>> _written;
    std::string _name;
    Type _type = Type::Gauge;
    bool _open = false;
};

}  // namespace tarn
