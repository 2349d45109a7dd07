// VELGenericHTTPOStream: the body of a response, as a std::ostream. Every
// encoder writes to it. Its stream type frames the body on the wire:
//
//  - Chunked: HTTP/1.1 chunked transfer coding. Each flush, and each full
//    buffer, goes out as one chunk; finish() writes the last chunk.
//  - Full: the body is buffered whole and sent, after the head with a
//    Content-Length, when the response ends (finish()).
//  - NotEncoded: the body goes out as written, without framing; unless the
//    head carried a Content-Length, its end is the closing of the connection.
//
// The head (VELHTTPResponse::writeResponseTo) always goes out before the first
// byte of the body. If body bytes are written before any head, the head of
// the bound response is written first. The stream type can be changed until
// the head has been written; later changes are ignored and logged.
//
// Writes are bounded by the connection's write deadline; a client that goes
// away or stops reading makes the write throw VELNetException (badbit is in
// the exception mask); the stream then stays bad: later writes throw
// std::ios_base::failure and send nothing, finish() throws VELNetException.
#pragma once

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>

#include "vela/VELHTTPOperation.h"
#include "vela/VELSocket.h"

class VELHTTPResponse;

class VELGenericHTTPOStream : public std::ostream {
  public:
    enum StreamType { Chunked, Full, NotEncoded };
    static constexpr std::size_t DEFAULT_CHUNK_SIZE = 16384;

    // protocol: the request's version (a chunked body needs HTTP/1.1);
    // keepAlive: whether the server means to keep the connection after this
    // response (the adapter's persistConnection flag, see persistConnection()).
    // The initial stream type is Chunked for HTTP/1.1, NotEncoded otherwise.
    VELGenericHTTPOStream(VELSocket& socket,
                          VELHTTPOperation::ProtocolEnum protocol = VELHTTPOperation::HTTP_1_1,
                          bool keepAlive = true, std::size_t chunkSize = DEFAULT_CHUNK_SIZE);
    ~VELGenericHTTPOStream() override;
    VELGenericHTTPOStream(const VELGenericHTTPOStream&) = delete;
    VELGenericHTTPOStream& operator=(const VELGenericHTTPOStream&) = delete;

    void setStreamType(StreamType type);
    StreamType getStreamType() const { return _type; }

    VELSocket& getSocket() const { return _socket; }
    bool isLoopback() const { return _socket.isLoopback(); }
    bool isSecure() const { return _socket.isSecure(); }
    VELString getLocalAddress() const { return _socket.getLocalAddress(); }
    std::uint16_t getLocalPort() const { return _socket.getLocalPort(); }
    VELString getPeerAddress() const { return _socket.getPeerAddress(); }
    std::uint16_t getPeerPort() const { return _socket.getPeerPort(); }
    void setCloseOption(int seconds) { _socket.setCloseOption(seconds); }
    int getCloseOption() const { return _socket.getCloseOption(); }

    VELHTTPOperation::ProtocolEnum getProtocolEnum() const { return _protocol; }
    // The keep-alive flag. The server passes it to the adapter as
    // persistConnection; clearing it before the head is written makes the
    // head say "Connection: close" and the server close the connection.
    bool& persistConnection() { return _keepAlive; }
    bool getPersistConnection() const { return _keepAlive; }

    // The response whose head is written when body bytes come first.
    void setResponse(const VELHTTPResponse* response) { _response = response; }

    // Used by VELHTTPResponse::writeResponseTo: head is the status line and
    // header lines (each ending in CRLF) without the final empty line;
    // closesConnection: the connection ends after this response.
    void sendHead(std::string head, bool closesConnection);
    // True once a head was given (it may still be held, see Full).
    bool isHeadWritten() const { return _headWritten; }
    // True once any byte of this response went to the socket.
    bool hasSentBytes() const { return _sentBytes; }

    // Ends the response as its framing requires (writes a missing head, the
    // buffered Full body, the last chunk). Idempotent. Throws VELNetException
    // when the client is gone.
    void finish();
    bool isFinished() const { return _finished; }
    // True when the connection must close after this response (close-delimited
    // body, "Connection: close", keep-alive flag cleared, or a failed write).
    bool closesConnection() const;
    // Body bytes written so far (before framing).
    std::uint64_t getBodyBytes() const;
    // True after a write to the socket failed.
    bool isBroken() const;

  private:
    class Buffer;
    friend class Buffer;
    void writeDefaultHead();

    VELSocket& _socket;
    std::unique_ptr<Buffer> _buffer;
    StreamType _type;
    VELHTTPOperation::ProtocolEnum _protocol;
    bool _keepAlive;
    bool _headWritten = false;
    bool _sentBytes = false;
    bool _finished = false;
    bool _closeAfter = false;
    const VELHTTPResponse* _response = nullptr;
};
