// What the metrics cost: one operation measured (the meter attached to the
// operation, then its status and latency recorded when the operation is
// released) on 1 and 2 threads, against the same operation unmeasured; and
// one exposition of the handler's families with every operation used.
#include <benchmark/benchmark.h>

#include <sstream>

#include "handler/OperationMetrics.h"
#include "metrics/Metrics.h"
#include "tarn/CIMStatus.h"
#include "vela/VelaOperationBase.h"

namespace {

class Operation : public VelaOperationBase {
  public:
    Operation() : VelaOperationBase(nullptr, "GetInstance") {}
    void writeResponse(VELGenericHTTPOStream&) override {}
};

std::vector<const char*> operationNames() {
    return {"GetInstance",
            "EnumerateInstances",
            "EnumerateInstanceNames",
            "CreateInstance",
            "ModifyInstance",
            "DeleteInstance",
            "GetClass",
            "EnumerateClasses",
            "Associators",
            "References",
            "ExecQuery",
            "InvokeMethod",
            "OpenEnumerateInstances",
            "PullInstancesWithPath",
            "CloseEnumeration"};
}

tarn::Metrics& registry() {
    static tarn::Metrics metrics;
    return metrics;
}

tarn::OperationMetrics& handlerMetrics() {
    static tarn::OperationMetrics m(registry(), operationNames());
    return m;
}

void BM_Operation(benchmark::State& state) {
    const bool measured = state.range(0) != 0;
    tarn::OperationMetrics& m = handlerMetrics();
    for (auto _ : state) {
        auto op = std::make_shared<Operation>();
        if (measured) {
            m.attach(*op, 3);
            tarn::OperationMetrics::setStatus(*op, tarn::CIM_ERR_NOT_FOUND);
        }
        benchmark::DoNotOptimize(op.get());
    }
}
BENCHMARK(BM_Operation)->ArgName("measured")->Arg(0)->Arg(1)->Threads(1)->Threads(2);

void BM_Exposition(benchmark::State& state) {
    tarn::OperationMetrics& m = handlerMetrics();
    for (std::size_t slot = 0; slot <= operationNames().size(); ++slot) {
        for (int code : {tarn::CIM_SUCCESS, tarn::CIM_ERR_NOT_FOUND, tarn::CIM_ERR_FAILED}) {
            auto op = std::make_shared<Operation>();
            m.attach(*op, slot);
            tarn::OperationMetrics::setStatus(*op, code);
        }
    }
    std::size_t bytes = 0;
    for (auto _ : state) {
        std::ostringstream out;
        registry().write(out);
        bytes = out.str().size();
    }
    state.counters["bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_Exposition);

}  // namespace

BENCHMARK_MAIN();
