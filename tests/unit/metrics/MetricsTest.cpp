// The metrics registry and its text exposition: exact output for escaping
// and number forms, histogram bucket edges, misuse refused, collectors
// removed, and counts that stay exact while threads count and scrape.
#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <thread>
#include <vector>

#include "metrics/Metrics.h"

namespace tarn {
namespace {

std::string exposition(const Metrics& m) {
    std::ostringstream out;
    m.write(out);
    return out.str();
}

TEST(MetricsTest, WritesFamiliesWithEscapedTextAndExactNumbers) {
    Metrics m;
    m.counter("b_total", "Counted.\nSecond \\ line", {{"path", "a\"b\\c\nd"}}).inc(3);
    m.gauge("a_gauge", "A gauge.").add(-2);
    Histogram& h = m.histogram("c_seconds", "Timed.", {{"op", "x"}}, {0.5, 1});
    for (double v : {0.5, 0.75, 2.0}) {
        h.observe(v);  // a bound belongs to its own bucket (le: less or equal)
    }
    auto reg = m.addCollector([](MetricsWriter& w) {
        w.family("d_info", MetricsWriter::Type::Gauge, "Collected.");
        w.sample({}, 1.5);
        w.sample({{"k", "v"}}, std::uint64_t{18446744073709551615u});
    });
    EXPECT_EQ(exposition(m),
              "# HELP a_gauge A gauge.\n# TYPE a_gauge gauge\na_gauge -2\n"
              "# HELP b_total Counted.\\nSecond \\\\ line\n# TYPE b_total counter\n"
              "b_total{path=\"a\\\"b\\\\c\\nd\"} 3\n"
              "# HELP c_seconds Timed.\n# TYPE c_seconds histogram\n"
              "c_seconds_bucket{op=\"x\",le=\"0.5\"} 1\nc_seconds_bucket{op=\"x\",le=\"1\"} 2\n"
              "c_seconds_bucket{op=\"x\",le=\"+Inf\"} 3\nc_seconds_sum{op=\"x\"} 3.25\n"
              "c_seconds_count{op=\"x\"} 3\n"
              "# HELP d_info Collected.\n# TYPE d_info gauge\nd_info 1.5\n"
              "d_info{k=\"v\"} 18446744073709551615\n");
}

TEST(MetricsTest, RefusesWhatWouldMakeAnInvalidExposition) {
    Metrics m;
    m.counter("x_total", "X.");
    EXPECT_THROW(m.gauge("x_total", "X."), std::logic_error);        // another type
    EXPECT_THROW(m.counter("x_total", "Other."), std::logic_error);  // another help
    EXPECT_THROW(m.counter("1x", "Bad name."), std::logic_error);
    EXPECT_THROW(Histogram({1, 0.5}), std::invalid_argument);
    EXPECT_EQ(&m.counter("x_total", "X.", {{"a", "1"}}), &m.counter("x_total", "X.", {{"a", "1"}}));

    std::ostringstream out;
    MetricsWriter w(out);
    EXPECT_THROW(w.sample({}, 1.0), std::logic_error);  // no family yet
    w.family("y", MetricsWriter::Type::Gauge, "Y.");
    EXPECT_THROW(w.family("y", MetricsWriter::Type::Gauge, "Y."), std::logic_error);
    EXPECT_THROW(w.sample({{"__reserved", "v"}}, 1.0), std::logic_error);
    EXPECT_THROW(w.histogram({}, Histogram({1}).snapshot()), std::logic_error);
}

TEST(MetricsTest, CollectorFailsAloneAndIsGoneAfterItsRegistration) {
    Metrics m;
    int calls = 0;
    auto failing = m.addCollector([](MetricsWriter&) { throw std::runtime_error("broken"); });
    auto counting = m.addCollector([&calls](MetricsWriter&) { ++calls; });
    exposition(m);
    EXPECT_EQ(calls, 1);
    counting.reset();
    exposition(m);
    EXPECT_EQ(calls, 1);
}

TEST(MetricsTest, CountsStayExactWhileThreadsCountAndScrape) {
    Metrics m;
    Counter& c = m.counter("n_total", "N.");
    Histogram& h = m.histogram("t_seconds", "T.", {}, Histogram::latencyBounds());
    constexpr int kThreads = 4;
    constexpr int kEach = 20000;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < kEach; ++i) {
                c.inc();
                h.observe(0.001 * (i % 7));
            }
        });
    }
    std::thread scraper([&] {
        for (int i = 0; i < 50; ++i) {
            exposition(m);
        }
    });
    for (auto& t : threads) {
        t.join();
    }
    scraper.join();
    EXPECT_EQ(c.value(), std::uint64_t{kThreads * kEach});
    EXPECT_EQ(h.snapshot().cumulative.back(), std::uint64_t{kThreads * kEach});
}

}  // namespace
}  // namespace tarn
