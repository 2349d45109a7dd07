// tarn::HTTPServerConfig: the limits of the HTTP(S) server, read from section
// "HTTP" of tarn.conf. Each key is documented in README.md's configuration
// table; a missing or invalid value keeps the default below.
#pragma once

#include <cstdint>

#include "vela/VELString.h"

namespace tarn {

struct HTTPServerConfig {
    // Address both ports listen on ("--listen" overrides it).
    VELString listenAddress = "127.0.0.1";
    // Open connections at most; more are answered 503 and closed.
    std::uint32_t maxConnections = 256;
    // Threads that run requests: one per busy connection.
    std::uint32_t workerThreads = 16;
    // Bytes of request line and headers at most; more is answered 431.
    std::uint32_t maxHeadSize = 16384;
    // A whole request head (and the TLS handshake) must arrive within this,
    // counted from the connection or from the first byte after an idle time.
    std::uint32_t headTimeoutMs = 20000;
    // A kept connection may stay idle between requests this long.
    std::uint32_t keepAliveTimeoutMs = 15000;
    // Each read of a body and each write of a response must make progress
    // within this.
    std::uint32_t ioTimeoutMs = 30000;
    // A request body must arrive completely within this after its head.
    std::uint32_t bodyTimeoutMs = 120000;
    // At most this long is spent closing a connection gracefully (TLS close
    // notification, draining what the client still sends).
    std::uint32_t lingerTimeoutMs = 2000;
    // At most this many request bytes are read from the socket for one
    // request (in mebibytes). Bodies with a Content-Length are limited by the
    // protocol adapter; this bounds the others (chunked bodies).
    std::uint32_t maxBodyMB = 256;
    // Unread request body bytes the server skips to keep a connection;
    // with more left it closes the connection instead.
    std::uint32_t drainLimit = 65536;
    // On a stop signal, requests in flight get this long to finish.
    std::uint32_t shutdownGraceMs = 10000;

    // The defaults, overridden by the keys present in the configuration.
    static HTTPServerConfig fromConfiguration();
};

}  // namespace tarn
