#include "http/HTTPServerConfig.h"

#include "vela/TARNConfigManager.h"

namespace tarn {

HTTPServerConfig HTTPServerConfig::fromConfiguration() {
    HTTPServerConfig c;
    auto& cfg = TARNConfigManager::getInstance();
    VELString address;
    if (cfg.getString("HTTP", "ListenAddress", address) && !address.isNull()) {
        c.listenAddress = address;
    }
    struct Key {
        const char* name;
        std::uint32_t* value;
        std::uint32_t min;
    };
    const Key keys[] = {{"MaxConnections", &c.maxConnections, 1},
                        {"MaxConnectionsPerClient", &c.maxConnectionsPerClient, 1},
                        {"WorkerThreads", &c.workerThreads, 1},
                        {"MaxHeaderSize", &c.maxHeadSize, 1024},
                        {"FirstHeadTimeoutMs", &c.firstHeadTimeoutMs, 10},
                        {"HeaderTimeoutMs", &c.headTimeoutMs, 10},
                        {"KeepAliveTimeoutMs", &c.keepAliveTimeoutMs, 10},
                        {"IOTimeoutMs", &c.ioTimeoutMs, 10},
                        {"BodyTimeoutMs", &c.bodyTimeoutMs, 10},
                        {"MinBodyRate", &c.minBodyRate, 0},
                        {"BodyStallMs", &c.bodyStallMs, 10},
                        {"BodyPreReadSize", &c.bodyPreReadSize, 0},
                        {"MaxChunkedBodySize", &c.maxChunkedBodySize, 1},
                        {"RequestMemoryMB", &c.requestMemoryMB, 1},
                        {"LingerTimeoutMs", &c.lingerTimeoutMs, 0},
                        {"DrainLimit", &c.drainLimit, 0},
                        {"UnauthenticatedDrainLimit", &c.unauthenticatedDrainLimit, 0},
                        {"ShutdownGraceMs", &c.shutdownGraceMs, 0}};
    for (const Key& k : keys) {
        std::uint32_t v = 0;
        if (cfg.getUint32("HTTP", k.name, v)) {
            *k.value = v < k.min ? k.min : v;
        }
    }
    if (c.workerThreads > 1024) {
        c.workerThreads = 1024;
    }
    // Each connection's receive buffer may grow to hold that much.
    if (c.bodyPreReadSize > 16 * 1024 * 1024) {
        c.bodyPreReadSize = 16 * 1024 * 1024;
    }
    return c;
}

}  // namespace tarn
