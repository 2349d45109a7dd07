// tarn::ConnectionEnvironment: what a connection of the HTTP server needs
// from around it, and no more: the limits, the adapters that serve requests,
// the workers that run them, the memory budget of request bodies, whether
// the server stops, and whether the object manager has started. HTTPServer builds it once its
// workers exist; it outlives every connection. (A connection's place in the server's connection
// table is its ConnectionTable::Registration.)
#pragma once

#include <atomic>

#include "core/AdapterRegistry.h"
#include "core/WorkerPool.h"
#include "http/HTTPServerConfig.h"
#include "http/RequestMemoryBudget.h"
#include "vela/IVelaOperationHandlerContext.h"

namespace tarn {

struct ConnectionEnvironment {
    const HTTPServerConfig& config;
    AdapterRegistry& adapters;
    WorkerPool& workers;
    RequestMemoryBudget& requestMemory;
    const std::atomic<bool>& stopping;
    const IVelaOperationHandlerContext& objectManager;

    bool isStopping() const { return stopping.load(std::memory_order_acquire); }
    bool isStarted() const {
        return objectManager.getCurrentState() == IVelaOperationHandlerContext::STARTED;
    }
};

}  // namespace tarn
