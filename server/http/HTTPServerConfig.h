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
    // Open connections at most; more are answered 503 and closed (after the
    // oldest idle kept-alive connection, if any, has been closed instead).
    std::uint32_t maxConnections = 256;
    // Open connections from one client address (an IPv6 client: its /64) at
    // most; past it the same rules as for maxConnections apply.
    std::uint32_t maxConnectionsPerClient = 32;
    // Threads that run requests: one per busy connection.
    std::uint32_t workerThreads = 16;
    // Bytes of request line and headers at most; more is answered 431.
    std::uint32_t maxHeadSize = 16384;
    // A new connection must complete its TLS handshake and its first request
    // head within this.
    std::uint32_t firstHeadTimeoutMs = 5000;
    // Later heads must arrive completely within this, counted from their
    // first byte.
    std::uint32_t headTimeoutMs = 20000;
    // A kept connection may stay idle between requests this long.
    std::uint32_t keepAliveTimeoutMs = 15000;
    // Each read of a body and each write of a response must make progress
    // within this.
    std::uint32_t ioTimeoutMs = 30000;
    // A request body must arrive completely within this after its head...
    std::uint32_t bodyTimeoutMs = 120000;
    // ...at minBodyRate bytes per second at least, falling behind that pace
    // by bodyStallMs at most (so a body may also pause that long).
    std::uint32_t minBodyRate = 4096;
    std::uint32_t bodyStallMs = 5000;
    // Bodies up to this size (of a chunked body, this much) are read before
    // a worker takes the request; larger ones are read by the worker as the
    // protocol adapter asks for them, and so are all with 0.
    std::uint32_t bodyPreReadSize = 65536;
    // Data bytes of one chunked request body at most (413 past it).
    std::uint32_t maxChunkedBodySize = 52428800;
    // Request body bytes held in memory by all requests together, in
    // mebibytes; a request whose body does not fit is answered 503.
    std::uint32_t requestMemoryMB = 512;
    // At most this long is spent closing a connection gracefully (TLS close
    // notification, draining what the client still sends).
    std::uint32_t lingerTimeoutMs = 2000;
    // Unread request body bytes the server skips to keep a connection;
    // with more left it closes the connection instead...
    std::uint32_t drainLimit = 65536;
    // ...and this many after a request that was not authenticated.
    std::uint32_t unauthenticatedDrainLimit = 1024;
    // On a stop signal, requests in flight get this long to finish.
    std::uint32_t shutdownGraceMs = 10000;

    // The defaults, overridden by the keys present in the configuration.
    static HTTPServerConfig fromConfiguration();
};

}  // namespace tarn
