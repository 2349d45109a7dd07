// tarn::RequestRunner: the part of a connection that runs on a worker, once
// a request head is complete. It builds the VELHTTPRequest, offers it to the
// adapters and runs the first that takes it with the body streams (reads and
// writes there are synchronous and bounded by the connection's deadlines),
// finishes the response's framing, and then skips what the adapter left of
// the request's body (a little only after a request that was not
// authenticated), so that the connection can serve the next request. A
// client that sends its next request soon (within 20 ms, while another
// worker is free), body and all, is served on the same worker; a next
// request whose body is still coming goes back to the I/O thread, which
// reads it.
#pragma once

#include "http/RequestParser.h"

class VELHTTPRequest;
class VELGenericHTTPIStream;

namespace tarn {

class HTTPConnection;

// How a request leaves its connection.
enum class RequestEnd {
    Keep,   // the request is complete: the connection waits for the next one
    Close,  // the connection cannot go on: it is closed gracefully
    Abort,  // the connection failed: it is closed at once
};

class RequestRunner {
  public:
    struct Outcome {
        RequestEnd end = RequestEnd::Close;
        // With RequestEnd::Keep: what the worker found of the next head
        // (an error is answered by the I/O thread, which then closes; a
        // complete head is taken on by the I/O thread).
        HeadStep next = HeadStep::NeedMore;
    };

    explicit RequestRunner(HTTPConnection& connection) : _c(connection) {}

    // Serves the request whose head the connection has parsed, and those
    // that follow at once.
    Outcome run();

  private:
    RequestEnd serve();
    RequestEnd serveRequest(VELHTTPRequest& request);
    // After the adapter: skips the rest of the request within the drain limit.
    RequestEnd finishRequest(const VELHTTPRequest& request, VELGenericHTTPIStream& in,
                             bool authenticated);
    // A next head the worker read: true when its request may run here at once.
    bool canServeAtOnce();
    // Waits briefly for the next head on the worker (while another worker is
    // free); false when the connection failed.
    bool readHeadQuickly(HeadStep& step);
    void sendRaw(int status);

    HTTPConnection& _c;
};

}  // namespace tarn
