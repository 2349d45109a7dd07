// VELGenericHTTPIStream: the body of a request, as a std::istream. It starts
// with the bytes right after the request head: first those that the head read
// had already received (read in place, not copied), then whatever arrives on
// the socket. Bodies are not decoded: a chunked body is read as it was sent.
// Reads are bounded by the connection's deadlines; a failed connection or a
// passed deadline throws VELNetException out of the read call (badbit is in
// the exception mask). The end of the connection is the end of the stream.
//
// The stream also tells about the connection: loopback and secure flags,
// local and peer address and port, and the socket's close option.
#pragma once

#include <cstdint>
#include <functional>
#include <istream>
#include <memory>
#include <string_view>

#include "vela/VELSocket.h"

class VELGenericHTTPIStream : public std::istream {
  public:
    static constexpr std::size_t DEFAULT_BUFFER_SIZE = 16384;

    // buffered: bytes already received after the head, read in place; they
    // must stay valid and unchanged until the stream first reads from the
    // socket (it asks only once it has taken them all, and never looks at
    // them again).
    VELGenericHTTPIStream(VELSocket& socket, std::string_view buffered,
                          std::size_t bufferSize = DEFAULT_BUFFER_SIZE);
    ~VELGenericHTTPIStream() override;
    VELGenericHTTPIStream(const VELGenericHTTPIStream&) = delete;
    VELGenericHTTPIStream& operator=(const VELGenericHTTPIStream&) = delete;

    VELSocket& getSocket() const { return _socket; }
    bool isLoopback() const { return _socket.isLoopback(); }
    bool isSecure() const { return _socket.isSecure(); }
    VELString getLocalAddress() const { return _socket.getLocalAddress(); }
    std::uint16_t getLocalPort() const { return _socket.getLocalPort(); }
    VELString getPeerAddress() const { return _socket.getPeerAddress(); }
    std::uint16_t getPeerPort() const { return _socket.getPeerPort(); }
    void setCloseOption(int seconds) { _socket.setCloseOption(seconds); }
    int getCloseOption() const { return _socket.getCloseOption(); }

    // Bytes taken out of the stream so far.
    std::uint64_t getBytesRead() const;
    // Bytes received but not yet taken out (the start of a pipelined request).
    std::string_view getUnread() const;
    // True once the stream has read from the socket (not only buffered bytes).
    bool hasReadFromSocket() const;
    // True when the socket reported the end of the connection.
    bool hasReachedEnd() const;
    // Called once, right before the first read from the socket. The server
    // answers "Expect: 100-continue" from here, so that the client sends its
    // body only when the adapter asks for it.
    void setBeforeSocketRead(std::function<void()> hook);
    // At most this many bytes of the request are read from the socket (0: no
    // limit); a read past it throws VELHTTPException. Bodies without a
    // Content-Length (chunked ones) are bounded only by this.
    void setReadLimit(std::uint64_t bytes);

  private:
    class Buffer;
    VELSocket& _socket;
    std::unique_ptr<Buffer> _buffer;
};
