// VELSocket: one connected socket as the platform sees it, plain TCP or TLS.
// The server's connections and the HTTP client implement it; the body streams
// read and write through it. Every blocking call is bounded by the owner's
// deadlines: a client that stops reading or writing, or goes away, surfaces
// as a VELNetException, never as a hang.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "vela/VELString.h"

class VELSocket {
  public:
    // The close option when nobody set one: the owner's default close.
    static constexpr int CLOSE_OPTION_DEFAULT = -1;

    virtual ~VELSocket();

    // Reads at least one byte and at most size bytes into buffer. Returns 0
    // when the peer has closed its side. Throws VELNetException on a failed
    // connection or when the read deadline passes.
    virtual std::size_t readSome(char* buffer, std::size_t size) = 0;
    // Writes all parts, in order, as one gathered write where the transport
    // allows it. Throws VELNetException when the peer is gone or the write
    // deadline passes; the socket is then unusable.
    virtual void writeAll(const std::string_view* parts, std::size_t count) = 0;
    void writeAll(std::string_view data) { writeAll(&data, 1); }

    // True when the connection is encrypted (TLS).
    virtual bool isSecure() const = 0;
    // True when the peer address is a loopback address (127.0.0.0/8, ::1,
    // or an IPv4-mapped loopback address).
    virtual bool isLoopback() const = 0;
    // Numeric addresses ("127.0.0.1", "::1") and ports of both ends.
    virtual VELString getLocalAddress() const = 0;
    virtual std::uint16_t getLocalPort() const = 0;
    virtual VELString getPeerAddress() const = 0;
    virtual std::uint16_t getPeerPort() const = 0;

    // The close option: how many seconds closing the connection may spend
    // delivering what was written and draining what the peer still sends
    // (a lingering close), so that a close-delimited response is not cut off
    // by a reset. 0 closes abortively at once (the peer sees a reset);
    // CLOSE_OPTION_DEFAULT leaves the owner's default. The owner may cap the
    // time by its own limit.
    virtual void setCloseOption(int seconds) = 0;
    virtual int getCloseOption() const = 0;
};
