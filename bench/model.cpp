// Object-model costs on the encoders' path: printing values and building
// instances of 20 properties, and copying handles to them.
#include <benchmark/benchmark.h>

#include <sstream>
#include <vector>

#include "vela/CVelaInstanceName.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaType.h"
#include "vela/CVelaValue.h"

namespace {

// A stream buffer that only counts, so that the figures show printing alone.
class CountingBuf : public std::streambuf {
  public:
    std::size_t count = 0;

  protected:
    std::streamsize xsputn(const char*, std::streamsize n) override {
        count += static_cast<std::size_t>(n);
        return n;
    }
    int overflow(int c) override {
        ++count;
        return c;
    }
};

void printValues(benchmark::State& state, std::vector<VELSmrPtr<IVelaValue>> values) {
    CountingBuf buf;
    std::ostream os(&buf);
    for (auto _ : state) {
        for (const auto& v : values) {
            v->print(os);
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(values.size()));
    state.SetBytesProcessed(static_cast<int64_t>(buf.count));
}

void BM_PrintIntegers(benchmark::State& state) {
    std::vector<VELSmrPtr<IVelaValue>> v;
    for (int i = 0; i < 1000; ++i) {
        v.push_back(CVelaValue::makeUint32(static_cast<std::uint32_t>(i) * 2654435761u));
        v.push_back(CVelaValue::makeSint64(-static_cast<std::int64_t>(i) * 1234567));
    }
    printValues(state, std::move(v));
}
BENCHMARK(BM_PrintIntegers);

void BM_PrintReals(benchmark::State& state) {
    std::vector<VELSmrPtr<IVelaValue>> v;
    for (int i = 0; i < 1000; ++i) {
        v.push_back(CVelaValue::makeReal64(i / 7.0));
        v.push_back(CVelaValue::makeReal32(static_cast<float>(i) / 3.0f));
    }
    printValues(state, std::move(v));
}
BENCHMARK(BM_PrintReals);

void BM_PrintStringsAndDatetimes(benchmark::State& state) {
    std::vector<VELSmrPtr<IVelaValue>> v;
    for (int i = 0; i < 1000; ++i) {
        v.push_back(CVelaValue::makeString("a string property value number " + std::to_string(i)));
        v.push_back(CVelaValue::makeDateTime("20261122065600.123456+060"));
        v.push_back(CVelaValue::makeBoolean(i % 2 == 0));
    }
    printValues(state, std::move(v));
}
BENCHMARK(BM_PrintStringsAndDatetimes);

VELSmrPtr<IVelaObject> buildInstance(int i, const VELSmrPtr<IVelaNameSpacePath>& ns) {
    auto name = makeVELSmrPtr<CVelaInstanceName>("TARN_Example", ns);
    name->addKeyBinding("Id", CVelaValue::makeUint32(static_cast<std::uint32_t>(i)));
    auto obj = makeVELSmrPtr<CVelaObject>("TARN_Example", name);
    obj->reserve(20);
    obj->addProperty("Id", CVelaValue::makeUint32(static_cast<std::uint32_t>(i)));
    for (int p = 1; p < 20; ++p) {
        static const char* const names[] = {"P01", "P02", "P03", "P04", "P05", "P06", "P07",
                                            "P08", "P09", "P10", "P11", "P12", "P13", "P14",
                                            "P15", "P16", "P17", "P18", "P19"};
        if (p % 3 == 0) {
            obj->addProperty(names[p - 1], CVelaValue::makeString("value of property"));
        } else if (p % 3 == 1) {
            obj->addProperty(names[p - 1],
                             CVelaValue::makeUint64(static_cast<std::uint64_t>(p * i)));
        } else {
            obj->addProperty(names[p - 1], CVelaValue::makeBoolean(true));
        }
    }
    return obj;
}

void BM_BuildInstance20(benchmark::State& state) {
    auto ns = VELSmrPtr<IVelaNameSpacePath>(new CVelaNameSpacePath("", "root/cimv2"));
    int i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(buildInstance(i++, ns));
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_BuildInstance20);

void BM_CopyInstanceHandles(benchmark::State& state) {
    auto ns = VELSmrPtr<IVelaNameSpacePath>(new CVelaNameSpacePath("", "root/cimv2"));
    auto obj = buildInstance(1, ns);
    for (auto _ : state) {
        VELSmrPtr<IVelaObject> copy = obj;
        for (std::size_t p = 0; p < copy->getPropertyCount(); ++p) {
            VELSmrPtr<IVelaProperty> prop = copy->getProperty(p);
            benchmark::DoNotOptimize(prop);
        }
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_CopyInstanceHandles);

}  // namespace

BENCHMARK_MAIN();
