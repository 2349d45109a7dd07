// VELHTTPResponse: the head of the HTTP response to one request: status code,
// reason phrase, header fields and extension-header groups. The server makes
// it with status 200 "OK" and the request's protocol version; the adapter
// changes what it needs and has it written with writeResponseTo, before any
// byte of the body.
#pragma once

#include "vela/VELHTTPOperation.h"

class VELGenericHTTPOStream;

class VELHTTPResponse : public VELHTTPOperation {
  public:
    VELHTTPResponse() = default;
    explicit VELHTTPResponse(ProtocolEnum protocol) { _protocol = protocol; }

    // The status code as text ("200"). Setting a code that is not three
    // digits makes the response a 500 when written.
    const VELString& getStatus() const { return _status; }
    int getStatusCode() const { return _status.atoi(); }
    void setStatus(const VELString& status) { _status = status; }
    void setStatus(int status) { _status = VELString::valueOf(status); }
    // The reason phrase; when none was set, the standard phrase of the status.
    VELString getReasonPhrase() const;
    void setReasonPhrase(const VELString& reason) { _reason = reason; }
    static const char* standardReasonPhrase(int status);

    // Writes the response head to out; it goes to the client before any byte
    // of the body, framed by out's stream type at the time of writing:
    //  - Chunked: "Transfer-Encoding: chunked" is added and a Content-Length
    //    header dropped; the head is sent with the first chunk or flush.
    //  - Full: the head is held and sent when the response ends, with a
    //    Content-Length of the buffered body replacing any set here.
    //  - NotEncoded: the head is sent as set (a Content-Length only if one was
    //    set); without a Content-Length the body ends when the connection
    //    closes, so "Connection: close" is added for HTTP/1.1 and the
    //    connection is not kept.
    // A "Connection" header is added when none was set: "close" when the
    // connection will not be kept, "keep-alive" for a kept HTTP/1.0 one.
    // Each extension-header group is written as its declaration header
    // followed by its headers with the prefix. Line breaks in values are
    // written as blanks. A second call does nothing: a response has one head.
    void writeResponseTo(VELGenericHTTPOStream& out) const;

    // The head as text up to, not including, the empty line that ends it,
    // with the framing headers of out's stream type and keep-alive state.
    VELString formatHead(const VELGenericHTTPOStream& out) const;

  private:
    VELString _status = "200";
    VELString _reason;
};
