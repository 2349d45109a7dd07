#include "http/RequestRunner.h"

#include <array>
#include <optional>

#include "http/HTTPConnection.h"
#include "tarn/security/SecurityToken.h"
#include "vela/AdapterUtils.h"
#include "vela/VELGenericHTTPIStream.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VELHTTPException.h"
#include "vela/VELHTTPRequest.h"
#include "vela/VELHTTPResponse.h"
#include "vela/VELNetException.h"

namespace asio = boost::asio;
using boost::system::error_code;

namespace tarn {

namespace {

const char* const WHO = "tarn::HTTPConnection";
// How long a worker keeps a connection whose next request has not arrived
// yet, while workers are free, before it hands the connection back to the
// I/O thread; and how often it looks whether another connection needs a
// worker meanwhile.
constexpr std::chrono::milliseconds kHold(20);
constexpr std::chrono::microseconds kHoldSlice(500);

}  // namespace

RequestRunner::Outcome RequestRunner::run() {
    // Back in the I/O thread's event loop before that thread has the
    // connection again, however the run ends.
    struct BackInLoop {
        HTTPConnection& c;
        ~BackInLoop() { c.returnToEventLoop(); }
    } backInLoop{_c};
    for (;;) {
        RequestEnd end = RequestEnd::Close;
        try {
            end = serve();
        } catch (const std::exception& e) {
            AdapterUtils::log(WHO, "Request from " + _c.peer() + " failed: " + VELString(e.what()),
                              1);
            end = RequestEnd::Abort;
        }
        if (end != RequestEnd::Keep) {
            _c.dropBody();
            return {end, HeadStep::NeedMore};
        }
        HeadStep next = HeadStep::NeedMore;
        if (!readHeadQuickly(next)) {
            return {RequestEnd::Abort, HeadStep::NeedMore};
        }
        if (next != HeadStep::Complete || !canServeAtOnce()) {
            return {RequestEnd::Keep, next};
        }
        // The next request is here, body and all: serve it on this thread.
    }
}

bool RequestRunner::canServeAtOnce() {
    if (_c.acceptHead() != 0) {
        return false;  // refused: the I/O thread answers
    }
    if (!_c.head().hasBody() || _c.environment().config.bodyPreReadSize == 0) {
        return true;
    }
    return _c.takeBody() && _c.head().isComplete();
}

bool RequestRunner::readHeadQuickly(HeadStep& step) {
    // A client that sends its next request soon is served by this worker
    // without handing the connection to the I/O thread and back (two thread
    // wake-ups per request). The worker waits only while another worker is
    // free, so that no connection waits for one because of it (one whose
    // request comes meanwhile waits a slice at most), and not for long. What
    // arrives meanwhile stays received, for the I/O thread.
    const ConnectionEnvironment& env = _c.environment();
    step = HeadStep::NeedMore;
    if (_c.tls()) {
        return true;  // records the TLS stream holds are not seen here
    }
    const auto hold = SocketLayer::Clock::now() + kHold;
    bool first = true;
    for (;;) {
        step = _c.parseHead();
        if (step != HeadStep::NeedMore) {
            return true;
        }
        if (_c.room() == 0) {
            step = HeadStep::TooLarge;
            return true;
        }
        const auto now = SocketLayer::Clock::now();
        const bool wait = !env.isStopping() && now < hold && env.workers.hasIdleThread();
        if (!first && !wait) {
            return true;
        }
        if (wait) {
            _c.leaveEventLoop();  // it is held here for a while
        }
        // The first look only takes what has arrived already.
        _c.layer().setReadDeadline(wait ? std::min(now + kHoldSlice, hold) : now);
        first = false;
        error_code ec;
        _c.receive(ec);
        if (ec && ec != asio::error::timed_out) {
            return false;
        }
    }
}

RequestEnd RequestRunner::serve() {
    VELHTTPRequest request = _c.takeRequest();
    RequestEnd end = serveRequest(request);
    if (end == RequestEnd::Keep) {
        _c.endRequest();  // the received bytes left start the next request
    }
    return end;
}

RequestEnd RequestRunner::serveRequest(VELHTTPRequest& request) {
    const ConnectionEnvironment& env = _c.environment();
    int refused = _c.acceptHead();  // done by whoever dispatched it; it tells again
    _c.resumeBodyPace();
    VELGenericHTTPIStream in(_c, _c.beginBody());
    if (refused == 0) {
        refused = _c.failureStatus();
    }
    if (refused != 0) {
        try {
            sendRaw(refused);
        } catch (const VELNetException&) {
            return RequestEnd::Abort;
        }
        return RequestEnd::Close;
    }
    VELGenericHTTPOStream out(_c, request.getProtocolEnum(),
                              request.isKeepAlive() && !env.isStopping());
    VELHTTPResponse response(request.getProtocolEnum());
    out.setResponse(&response);
    if (request.expectsContinue() && !_c.continueSent()) {
        in.setBeforeSocketRead([this, &out] {
            if (!out.hasSentBytes()) {
                _c.writeAll("HTTP/1.1 100 Continue\r\n\r\n");
                _c.setContinueSent();
                _c.restartBodyClock();  // the client sends its body from now on
            }
        });
    }
    VELSmrPtr<security::ISecurityToken> token = makeVELSmrPtr<security::SecurityToken>();
    bool imported = false;
    RequestEnd end = RequestEnd::Keep;
    try {
        IVelaProtocolAdapter* adapter = env.adapters.find(request);
        if (!adapter) {
            AdapterUtils::log(WHO,
                              "No protocol adapter serves " + request.getMethod() + " " +
                                  request.getRequestURI() + " from " + _c.peer(),
                              4);
            response.setStatus(404);
            response.setContentType("text/plain; charset=utf-8");
            out.setStreamType(VELGenericHTTPOStream::Full);
            response.writeResponseTo(out);
            out << "No protocol adapter serves this request.\n";
        } else {
            adapter->processInput(request, response, in, out, token, out.persistConnection(),
                                  imported);
        }
        if (imported) {
            end = RequestEnd::Close;
        } else {
            if (_c.isRequestComplete()) {
                // The adapter is done with the whole body: its share of the
                // memory budget is free before the client sees the end.
                _c.dropBody();
            }
            out.finish();
            end = out.closesConnection() ? RequestEnd::Close : RequestEnd::Keep;
        }
    } catch (const VELHTTPException& e) {
        AdapterUtils::log(WHO, "Request from " + _c.peer() + " rejected: " + e.getMessage(), 4);
        if (!out.hasSentBytes() && !out.isBroken()) {
            try {
                if (out.isHeadWritten()) {
                    out.finish();  // the adapter's own answer, held until now
                } else if (_c.failureStatus() != 0) {
                    sendRaw(_c.failureStatus());  // the body stream failed
                } else {
                    sendRaw(env.isStarted() ? 400 : 503);
                }
            } catch (const VELNetException&) {
                return RequestEnd::Abort;
            }
        }
        return RequestEnd::Close;
    } catch (const VELNetException& e) {
        AdapterUtils::log(WHO, e.getMessage(), 4);
        return RequestEnd::Abort;
    } catch (const std::ios_base::failure& e) {
        if (out.isBroken()) {
            // A write after the client had gone, on the stream left bad by it.
            AdapterUtils::log(WHO, "Connection to " + _c.peer() + " failed while writing", 4);
            return RequestEnd::Abort;
        }
        AdapterUtils::log(WHO, "Request from " + _c.peer() + " failed: " + VELString(e.what()), 1);
        if (!out.hasSentBytes()) {
            try {
                sendRaw(500);
            } catch (const VELNetException&) {
                return RequestEnd::Abort;
            }
        }
        return RequestEnd::Close;
    } catch (const std::exception& e) {
        AdapterUtils::log(WHO, "Request from " + _c.peer() + " failed: " + VELString(e.what()), 1);
        if (!out.hasSentBytes() && !out.isBroken()) {
            try {
                sendRaw(500);
            } catch (const VELNetException&) {
                return RequestEnd::Abort;
            }
        }
        return RequestEnd::Close;
    }
    if (end == RequestEnd::Keep) {
        try {
            end = finishRequest(request, in, token->isAuthenticated());
        } catch (const VELNetException&) {
            return RequestEnd::Abort;
        } catch (const VELHTTPException& e) {
            AdapterUtils::log(WHO, e.getMessage(), 4);  // the rest of the body failed
            return RequestEnd::Close;
        }
    }
    return end;
}

RequestEnd RequestRunner::finishRequest(const VELHTTPRequest& request, VELGenericHTTPIStream& in,
                                        bool authenticated) {
    if (_c.hasFramingError()) {
        // Where this request ends is unknown, so nothing after it is read.
        AdapterUtils::log(WHO, "Bad request body framing from " + _c.peer(), 4);
        return RequestEnd::Close;
    }
    if (_c.isRequestComplete()) {
        return RequestEnd::Keep;
    }
    if (request.expectsContinue() && !in.hasReadFromSocket()) {
        // The client waits for "100 Continue" before it sends the rest.
        return RequestEnd::Close;
    }
    // Bytes the body stream holds and the adapter left are skipped too. A
    // client that did not authenticate gets little of that service.
    const HTTPServerConfig& config = _c.environment().config;
    const std::uint64_t limit = authenticated
                                    ? config.drainLimit
                                    : std::min(config.drainLimit, config.unauthenticatedDrainLimit);
    const std::uint64_t held = in.getUnread().size();
    std::optional<std::uint64_t> left = _c.knownBodyLeft();
    if (held > limit || (left && *left > limit - held)) {
        return RequestEnd::Close;  // too much to skip
    }
    std::uint64_t budget = limit - held;
    std::array<char, 16384> scratch;
    while (!_c.isRequestComplete()) {
        std::size_t n = _c.readSome(
            scratch.data(), static_cast<std::size_t>(std::min<std::uint64_t>(
                                scratch.size(), budget + 1)));  // one more tells it is too much
        if (n == 0) {
            break;
        }
        if (n > budget) {
            return RequestEnd::Close;
        }
        budget -= n;
    }
    return _c.isRequestComplete() ? RequestEnd::Keep : RequestEnd::Close;
}

void RequestRunner::sendRaw(int status) {
    std::string head = "HTTP/1.1 " + std::to_string(status) + " " +
                       VELHTTPResponse::standardReasonPhrase(status) +
                       (status == 503 ? "\r\nRetry-After: 1" : "") +
                       "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
    _c.writeAll(head);
}

}  // namespace tarn
