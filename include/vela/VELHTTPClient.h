// VELHTTPClient: the platform's outbound HTTP and HTTPS client, on libcurl.
// One client talks to one server (its base URL) from one thread at a time;
// the CIM-XML adapter posts its export requests with it.
//
// Every exchange is bounded by the client's time-out: connecting, the TLS
// handshake, sending the request and reading the whole response must fit in
// it. Redirects are not followed and no proxy is used. Of the response, the
// status line and headers and at most MAX_RESPONSE_BODY bytes of body are
// kept (the rest is read and dropped).
//
// HTTPS: the server's certificate and host name are verified, by default
// against the system's trust store. The configuration can change that:
//   [Indication] VerifyCertificates = false   no verification at all
//   [Indication] CACertificateFile = FILE     trust the PEM certificates of
//                FILE (relative to the configuration file's directory)
//                instead of the system store
//
// Local ports: bindToLocalPort reserves a local port at once (a socket bound
// to it, for IPv4 and, where the host has it, IPv6), so that concurrent
// clients cannot take the same port; post connects from it. The sockets are
// closed by close() (or the destructor) as the close option of getSocket()
// says, so that an abortive close (0) frees the port at once.
#pragma once

#include <cstdint>
#include <istream>
#include <memory>

#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"
#include "vela/VELValSlist.h"

class VELHTTPClient {
  public:
    // The client's connection as its user sees it: tracing of the bytes it
    // carries and how it is closed. It exists from the client's creation;
    // its settings apply to the connections the client makes.
    class Socket {
      public:
        // When enabled, the bytes sent and received are written to the trace
        // log (severity 4, source "VELHTTPClient"), at most maxBytes bytes
        // in each direction; 0 means no limit.
        void setTrace(bool enabled, std::uint32_t maxBytes) {
            _trace = enabled;
            _traceMaxBytes = maxBytes;
        }
        bool isTraced() const { return _trace; }
        std::uint32_t getTraceMaxBytes() const { return _traceMaxBytes; }

        // Seconds closing may linger to deliver what is unsent; 0 closes
        // abortively (the peer sees a reset and the local port is free at
        // once); CLOSE_OPTION_DEFAULT closes normally.
        static constexpr int CLOSE_OPTION_DEFAULT = -1;
        void setCloseOption(int seconds) { _closeOption = seconds; }
        int getCloseOption() const { return _closeOption; }

      private:
        bool _trace = false;
        std::uint32_t _traceMaxBytes = 0;
        int _closeOption = CLOSE_OPTION_DEFAULT;
    };

    // Response body bytes kept for the caller.
    static constexpr std::size_t MAX_RESPONSE_BODY = 1u << 20;
    // Response head bytes accepted; a longer head fails the exchange.
    static constexpr std::size_t MAX_RESPONSE_HEAD = 64u * 1024u;

    // baseURL: scheme and authority ("https://host:5989"); requests go to
    // baseURL + path. timeoutMilliseconds bounds each exchange (at least 1).
    // secure: the scheme must be https (else http).
    // Throws VELNetException when no client can be made.
    VELHTTPClient(const VELString& baseURL, std::uint32_t timeoutMilliseconds, bool secure);
    ~VELHTTPClient();
    VELHTTPClient(const VELHTTPClient&) = delete;
    VELHTTPClient& operator=(const VELHTTPClient&) = delete;

    // Never null while the client lives.
    Socket* getSocket() { return &_socket; }

    // Reserves the local port for the client's connections; false when it
    // is not free (or not a port number). A new call replaces the previous
    // reservation.
    bool bindToLocalPort(std::uint32_t port);
    // The reserved local port, 0 when none.
    std::uint32_t getLocalPort() const;

    // Certificate checks of HTTPS, overriding the configuration.
    void setVerifyCertificates(bool verify);
    void setCACertificateFile(const VELString& path);

    // POSTs body to baseURL + path with the given header lines ("Name:
    // value"), in their order; the client adds Host and Content-Length.
    // Returns the response: its status line and header lines as received,
    // each ending in CR LF, an empty line, and the (possibly cut) body.
    // Throws VELNetException when the exchange fails (no connection, TLS
    // refused, time-out, malformed response).
    VELSmrPtr<std::istream> post(const VELString& path, const VELString& body,
                                 const VELValSlist<VELString>& headers);

    // Ends the connection and releases the reserved port. Idempotent.
    void close();

  private:
    struct Impl;
    std::unique_ptr<Impl> _impl;
    Socket _socket;
};
