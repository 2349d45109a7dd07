#include "metrics/MetricsWriter.h"

#include <charconv>
#include <cmath>
#include <stdexcept>

namespace tarn {

namespace {

const char* typeName(MetricsWriter::Type t) {
    switch (t) {
        case MetricsWriter::Type::Counter:
            return "counter";
        case MetricsWriter::Type::Gauge:
            return "gauge";
        default:
            return "histogram";
    }
}

std::string number(double v) {
    if (std::isnan(v)) {
        return "NaN";
    }
    if (std::isinf(v)) {
        return v > 0 ? "+Inf" : "-Inf";
    }
    char buf[32];
    auto r = std::to_chars(buf, buf + sizeof buf, v);
    return std::string(buf, r.ptr);
}

// Help text: backslash and line feed escaped; label values: also the quote.
void escape(std::ostream& out, std::string_view text, bool quote) {
    for (char c : text) {
        if (c == '\\') {
            out << "\\\\";
        } else if (c == '\n') {
            out << "\\n";
        } else if (c == '"' && quote) {
            out << "\\\"";
        } else {
            out << c;
        }
    }
}

bool isLabelName(std::string_view name) {
    return MetricsWriter::isValidName(name) && name.find(':') == std::string_view::npos &&
           name.substr(0, 2) != "__";
}

}  // namespace

bool MetricsWriter::isValidName(std::string_view name) {
    if (name.empty()) {
        return false;
    }
    for (std::size_t i = 0; i < name.size(); ++i) {
        char c = name[i];
        bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':' ||
                  (i > 0 && c >= '0' && c <= '9');
        if (!ok) {
            return false;
        }
    }
    return true;
}

void MetricsWriter::family(std::string_view name, Type type, std::string_view help) {
    if (!isValidName(name)) {
        throw std::logic_error("not a metric name: " + std::string(name));
    }
    if (!_written.emplace(name).second) {
        throw std::logic_error("metric family written twice: " + std::string(name));
    }
    _name = name;
    _type = type;
    _open = true;
    _out << "# HELP " << name << ' ';
    escape(_out, help, false);
    _out << "\n# TYPE " << name << ' ' << typeName(type) << '\n';
}

void MetricsWriter::requireFamily(Type type) const {
    if (!_open || (type == Type::Histogram) != (_type == Type::Histogram)) {
        throw std::logic_error("sample outside a family of its type: " + _name);
    }
}

void MetricsWriter::writeSeries(std::string_view suffix, const MetricLabels& labels,
                                const char* extraName, const std::string& extraValue) {
    _out << _name << suffix;
    bool first = true;
    auto label = [&](std::string_view name, std::string_view value) {
        if (!isLabelName(name)) {
            throw std::logic_error("not a label name: " + std::string(name));
        }
        _out << (first ? '{' : ',') << name << "=\"";
        escape(_out, value, true);
        _out << '"';
        first = false;
    };
    for (const auto& [name, value] : labels) {
        label(name, value);
    }
    if (extraName) {
        label(extraName, extraValue);
    }
    if (!first) {
        _out << '}';
    }
    _out << ' ';
}

void MetricsWriter::sample(const MetricLabels& labels, double value) {
    requireFamily(Type::Gauge);
    writeSeries("", labels, nullptr, {});
    _out << number(value) << '\n';
}

void MetricsWriter::sample(const MetricLabels& labels, std::uint64_t value) {
    requireFamily(Type::Gauge);
    writeSeries("", labels, nullptr, {});
    _out << value << '\n';
}

void MetricsWriter::sample(const MetricLabels& labels, std::int64_t value) {
    requireFamily(Type::Gauge);
    writeSeries("", labels, nullptr, {});
    _out << value << '\n';
}

void MetricsWriter::histogram(const MetricLabels& labels, const Histogram::Snapshot& s) {
    requireFamily(Type::Histogram);
    for (std::size_t i = 0; i < s.cumulative.size(); ++i) {
        std::string le = i < s.bounds.size() ? number(s.bounds[i]) : "+Inf";
        writeSeries("_bucket", labels, "le", le);
        _out << s.cumulative[i] << '\n';
    }
    writeSeries("_sum", labels, nullptr, {});
    _out << number(s.sum) << '\n';
    writeSeries("_count", labels, nullptr, {});
    _out << (s.cumulative.empty() ? 0 : s.cumulative.back()) << '\n';
}

}  // namespace tarn
