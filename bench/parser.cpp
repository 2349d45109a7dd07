// Request parser throughput and memory.
//
//   bench_parser                 throughput (Google Benchmark): a 50 MiB
//                                CreateInstance with many properties and large
//                                arrays, and a batch of small GetInstance requests
//   bench_parser --peak-memory[=uint8|string|...]
//                                one parse of the 50 MiB request in this fresh
//                                process: peak resident memory as a multiple
//                                of the body size (body included); with a type,
//                                every array is of that type (arrays of small
//                                numbers are the densest markup)
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "vela/IVelaObject.h"
#include "vela/VELCIMMessage.h"

namespace {

constexpr std::size_t kLargeBody = 50u * 1024 * 1024;

// Deterministic pseudo-random numbers, so every run parses the same text.
struct Random {
    std::uint64_t state = 0x9E3779B97F4A7C15ULL;
    std::uint64_t next() {
        state = state * 6364136223846793005ULL + 1442695040888963407ULL;
        return state >> 17;
    }
};

const char* const kWords[] = {"alpha", "bravo", "charlie", "delta",  "echo", "foxtrot",
                              "golf",  "hotel", "india",   "juliet", "kilo", "lima",
                              "mike",  "&amp;", "oscar",   "papa"};

std::string words(Random& r, int n) {
    std::string s;
    for (int i = 0; i < n; ++i) {
        if (i) {
            s += ' ';
        }
        s += kWords[r.next() % 16];
    }
    return s;
}

// One element text of the given type.
std::string valueText(Random& r, const char* type) {
    char buf[64];
    if (!std::strcmp(type, "uint32")) {
        return std::to_string(r.next() % 4000000000ULL);
    }
    if (!std::strcmp(type, "uint8")) {
        return std::to_string(r.next() % 256);
    }
    if (!std::strcmp(type, "sint64")) {
        return std::to_string(static_cast<std::int64_t>(r.next()) - (1LL << 45));
    }
    if (!std::strcmp(type, "real64")) {
        std::snprintf(buf, sizeof buf, "%.17g", static_cast<double>(r.next() % 1000000) / 977.0);
        return buf;
    }
    if (!std::strcmp(type, "boolean")) {
        return r.next() % 2 ? "TRUE" : "FALSE";
    }
    if (!std::strcmp(type, "datetime")) {
        std::snprintf(buf, sizeof buf, "2024%02d%02d%02d%02d%02d.%06d+000",
                      static_cast<int>(r.next() % 12 + 1), static_cast<int>(r.next() % 28 + 1),
                      static_cast<int>(r.next() % 24), static_cast<int>(r.next() % 60),
                      static_cast<int>(r.next() % 60), static_cast<int>(r.next() % 1000000));
        return buf;
    }
    return words(r, 2 + static_cast<int>(r.next() % 6));
}

// A CreateInstance of about size bytes: scalar properties of every common
// type and array properties of a few thousand elements each, written compact
// as clients write them.
std::string largeCreateInstance(std::size_t size, const char* only = nullptr) {
    static const char* const mixed[] = {"uint32", "string", "real64",  "datetime",
                                        "sint64", "uint8",  "boolean", "string"};
    const char* types[8];
    for (int i = 0; i < 8; ++i) {
        types[i] = only ? only : mixed[i];
    }
    Random r;
    std::string s =
        "<?xml version=\"1.0\" encoding=\"utf-8\" ?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">"
        "<MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL NAME=\"CreateInstance\">"
        "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"cimv2\"/>"
        "</LOCALNAMESPACEPATH><IPARAMVALUE NAME=\"NewInstance\"><INSTANCE CLASSNAME=\"TST_Big\">";
    const std::string tail = "</INSTANCE></IPARAMVALUE></IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
    s.reserve(size + 4096);
    for (int i = 0; i < 200; ++i) {
        const char* type = types[i % 8];
        s += "<PROPERTY NAME=\"Scalar" + std::to_string(i) + "\" TYPE=\"" + type + "\"><VALUE>" +
             valueText(r, type) + "</VALUE></PROPERTY>";
    }
    for (int i = 0; s.size() + tail.size() < size; ++i) {
        const char* type = types[i % 8];
        std::string p = "<PROPERTY.ARRAY NAME=\"Array" + std::to_string(i) + "\" TYPE=\"" + type +
                        "\"><VALUE.ARRAY>";
        int n = 2000 + static_cast<int>(r.next() % 4000);
        for (int k = 0; k < n; ++k) {
            p += "<VALUE>" + valueText(r, type) + "</VALUE>";
        }
        p += "</VALUE.ARRAY></PROPERTY.ARRAY>";
        if (s.size() + p.size() + tail.size() > size) {
            break;
        }
        s += p;
    }
    s += tail;
    return s;
}

std::string getInstance(int i) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\" ?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">"
           "<MESSAGE ID=\"" +
           std::to_string(i) +
           "\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL NAME=\"GetInstance\">"
           "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"cimv2\"/>"
           "</LOCALNAMESPACEPATH><IPARAMVALUE NAME=\"InstanceName\"><INSTANCENAME "
           "CLASSNAME=\"CIM_ComputerSystem\"><KEYBINDING NAME=\"CreationClassName\"><KEYVALUE "
           "VALUETYPE=\"string\">CIM_ComputerSystem</KEYVALUE></KEYBINDING><KEYBINDING "
           "NAME=\"Name\"><KEYVALUE VALUETYPE=\"string\">host" +
           std::to_string(i) +
           ".example.com</KEYVALUE></KEYBINDING></INSTANCENAME></IPARAMVALUE><IPARAMVALUE "
           "NAME=\"LocalOnly\"><VALUE>FALSE</VALUE></IPARAMVALUE><IPARAMVALUE "
           "NAME=\"IncludeQualifiers\"><VALUE>FALSE</VALUE></IPARAMVALUE><IPARAMVALUE "
           "NAME=\"PropertyList\"><VALUE.ARRAY><VALUE>Name</VALUE><VALUE>Status</VALUE>"
           "</VALUE.ARRAY></IPARAMVALUE></IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
}

const std::string& largeBody() {
    static const std::string body = largeCreateInstance(kLargeBody);
    return body;
}

void BM_CreateInstance50MB(benchmark::State& state) {
    const std::string& body = largeBody();
    for (auto _ : state) {
        state.PauseTiming();
        std::string copy = body;
        state.ResumeTiming();
        auto m = std::make_unique<VELCIMMessage>(std::move(copy));
        if (!m->isWellFormed()) {
            state.SkipWithError(m->getErrorText().c_str());
            break;
        }
        benchmark::DoNotOptimize(m->getSimpleRequestList());
        // Releasing the parsed request is not parsing.
        state.PauseTiming();
        m.reset();
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * body.size()));
    state.counters["body_MiB"] = static_cast<double>(body.size()) / (1024.0 * 1024.0);
}
BENCHMARK(BM_CreateInstance50MB)->Unit(benchmark::kMillisecond)->MinTime(3.0);

void BM_GetInstanceBatch(benchmark::State& state) {
    const int count = 10000;
    std::vector<std::string> bodies;
    std::size_t bytes = 0;
    for (int i = 0; i < count; ++i) {
        bodies.push_back(getInstance(i));
        bytes += bodies.back().size();
    }
    std::vector<std::string> copies;
    for (auto _ : state) {
        state.PauseTiming();
        copies = bodies;
        state.ResumeTiming();
        for (auto& b : copies) {
            VELCIMMessage m(std::move(b));
            if (!m.isWellFormed()) {
                state.SkipWithError(m.getErrorText().c_str());
                return;
            }
            benchmark::DoNotOptimize(m.getSimpleRequestList());
        }
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * count));
    state.counters["request_bytes"] = static_cast<double>(bytes) / count;
}
BENCHMARK(BM_GetInstanceBatch)->Unit(benchmark::kMillisecond);

// Resident memory in KiB: "VmRSS" now, "VmHWM" its peak.
long status(const char* field) {
    std::ifstream f("/proc/self/status");
    std::string line;
    std::size_t n = std::strlen(field);
    while (std::getline(f, line)) {
        if (line.compare(0, n, field) == 0 && line[n] == ':') {
            return std::stol(line.substr(n + 1));
        }
    }
    return -1;
}

bool resetPeak() {
    std::ofstream f("/proc/self/clear_refs");
    f << "5";
    f.flush();
    return static_cast<bool>(f);
}

int peakMemory(const char* only) {
    long before = status("VmRSS");
    std::string body = largeCreateInstance(kLargeBody, only);
    double size = static_cast<double>(body.size());
    long withBody = status("VmRSS");
    if (!resetPeak()) {
        std::fprintf(stderr, "cannot reset the peak of resident memory\n");
        return 1;
    }
    VELCIMMessage m(std::move(body));
    long peak = status("VmHWM");
    long after = status("VmRSS");
    if (!m.isWellFormed()) {
        std::fprintf(stderr, "rejected: %s\n", m.getErrorText().c_str());
        return 1;
    }
    auto instance =
        m.getSimpleRequestList()->at(0)->getParameterByName("NewInstance")->getValue()->getObject();
    std::printf("body: %.1f MiB, %zu properties, arrays of %s\n", size / 1048576.0,
                instance->getPropertyCount(), only ? only : "mixed types");
    std::printf("peak resident memory while parsing, body included: %.2f x body\n",
                static_cast<double>(peak - before) * 1024.0 / size);
    std::printf("  of which above the body itself:                  %.2f x body\n",
                static_cast<double>(peak - withBody) * 1024.0 / size);
    std::printf("resident after parsing (the parsed request):       %.2f x body\n",
                static_cast<double>(after - before) * 1024.0 / size);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--peak-memory") == 0) {
            return peakMemory(nullptr);
        }
        if (std::strncmp(argv[i], "--peak-memory=", 14) == 0) {
            return peakMemory(argv[i] + 14);
        }
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
