#include "http/HeadReader.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>
#include <climits>
#include <cstring>

#include "http/HTTPConnection.h"
#include "vela/AdapterUtils.h"
#include "vela/VELHTTPResponse.h"

namespace asio = boost::asio;
using boost::system::error_code;

namespace tarn {

namespace {

const char* const WHO = "tarn::HTTPConnection";

const char* const kContinue = "HTTP/1.1 100 Continue\r\n\r\n";

// Answers the server writes itself, instead of an adapter.
std::string cannedResponse(int status, std::string_view text) {
    std::string r = "HTTP/1.1 ";
    r += std::to_string(status);
    r += ' ';
    r += VELHTTPResponse::standardReasonPhrase(status);
    r += "\r\nContent-Type: text/plain; charset=utf-8\r\nContent-Length: ";
    r += std::to_string(text.size());
    r += "\r\nConnection: close\r\n";
    if (status == 503) {
        r += "Retry-After: 1\r\n";
    }
    r += "\r\n";
    r += text;
    return r;
}

std::string_view cannedText(int status) {
    switch (status) {
        case 408:
            return "The request body did not arrive in time.\n";
        case 413:
            return "The request body is larger than the server accepts.\n";
        case 431:
            return "The request head is too large.\n";
        case 501:
            return "Transfer codings other than chunked are not implemented.\n";
        case 503:
            return "The server has no room for this request now.\n";
        case 505:
            return "Only HTTP/1.0 and HTTP/1.1 are served.\n";
        default:
            return "The request is not valid HTTP: its head or the framing of its body.\n";
    }
}

int statusOf(HeadStep step) {
    switch (step) {
        case HeadStep::TooLarge:
            return 431;
        case HeadStep::BadVersion:
            return 505;
        case HeadStep::NotImplemented:
            return 501;
        default:
            return 400;
    }
}

}  // namespace

HeadReader::HeadReader(HTTPConnection& connection)
    : _c(connection), _timer(connection.socket().get_executor()) {}

std::shared_ptr<HTTPConnection> HeadReader::keep() {
    return _c.shared_from_this();
}

void HeadReader::start() {
    auto next = [this, keep = keep()] {
        if (_c.isServing()) {
            readHead(false);
        } else {
            sendAndClose(cannedResponse(503, "The server has too many connections.\n"));
        }
    };
    if (!_c.tls()) {
        next();
        return;
    }
    armTimerAt(_c.acceptedAt() +
               std::chrono::milliseconds(_c.environment().config.firstHeadTimeoutMs));
    _c.tls()->async_handshake(
        asio::ssl::stream_base::server, [this, next, keep = keep()](const error_code& ec) {
            cancelTimer();
            if (ec) {
                AdapterUtils::log(
                    WHO, "TLS handshake with " + _c.peer() + " failed: " + VELString(ec.message()),
                    _timedOut ? 4 : 2);
                _c.closeNow();
                return;
            }
            next();
        });
}

void HeadReader::armTimer(std::uint32_t milliseconds) {
    _timedOut = false;
    std::uint64_t generation = ++_timerGeneration;
    _timer.expires_after(std::chrono::milliseconds(milliseconds));
    _timer.async_wait([this, generation, keep = keep()](const error_code& ec) {
        // A wait that expired just as it was cancelled or re-armed is stale.
        if (ec || _c.isClosed() || generation != _timerGeneration) {
            return;
        }
        _timedOut = true;
        error_code ignored;
        _c.socket().cancel(ignored);
    });
}

void HeadReader::armTimerAt(Clock::time_point deadline) {
    auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    armTimer(static_cast<std::uint32_t>(std::clamp<std::int64_t>(left.count(), 0, INT32_MAX)));
}

void HeadReader::cancelTimer() {
    ++_timerGeneration;
    _timer.cancel();
}

void HeadReader::readHead(bool idle) {
    if (_c.isClosed()) {
        return;
    }
    const ConnectionEnvironment& env = _c.environment();
    if (env.isStopping()) {
        closeGracefully();
        return;
    }
    if (parseBuffered()) {
        return;  // a pipelined request was already here
    }
    _idleWait = idle && !_c.hasPartialRequest();
    if (_idleWait) {
        _idleSince = Clock::now();
        armTimer(env.config.keepAliveTimeoutMs);
    } else if (!_c.hasServed()) {
        // A connection that has not yet sent one whole head holds its place
        // for a short time only.
        armTimerAt(_c.acceptedAt() + std::chrono::milliseconds(env.config.firstHeadTimeoutMs));
    } else {
        armTimer(env.config.headTimeoutMs);
    }
    readMore();
}

bool HeadReader::isIdle() const {
    return _idleWait && !_busy && !_c.isClosed();
}

bool HeadReader::awaitsFirstHead() const {
    // (_busy first: the worker may have the connection, and its state.)
    return !_busy && !_c.isClosed() && !_c.hasServed();
}

template <class Handler>
void HeadReader::receive(Handler&& handler) {
    auto buffers = _c.received().prepare(std::min<std::size_t>(_c.room(), 16384));
    if (_c.tls()) {
        _c.tls()->async_read_some(buffers, std::forward<Handler>(handler));
    } else {
        _c.socket().async_read_some(buffers, std::forward<Handler>(handler));
    }
}

void HeadReader::readMore() {
    if (_c.room() == 0) {
        cancelTimer();
        answerAndClose(431);
        return;
    }
    receive([this, keep = keep()](const error_code& ec, std::size_t n) { onRead(ec, n); });
}

void HeadReader::onRead(const error_code& ec, std::size_t n) {
    _c.received().commit(n);
    if (_c.isClosed()) {
        return;
    }
    if (ec) {
        cancelTimer();
        if (_timedOut) {
            AdapterUtils::log(
                WHO,
                VELString(_idleWait ? "Idle connection from " : "Incomplete request head from ") +
                    _c.peer() + " closed at its deadline",
                4);
        }
        _c.closeNow();
        return;
    }
    if (_idleWait && n > 0) {
        // The next request begins: its head gets the full head deadline.
        _idleWait = false;
        cancelTimer();
        armTimer(_c.environment().config.headTimeoutMs);
    }
    if (!parseBuffered()) {
        readMore();
    }
}

bool HeadReader::parseBuffered() {
    HeadStep step = _c.parseHead();
    if (step == HeadStep::NeedMore) {
        return false;
    }
    cancelTimer();
    if (step == HeadStep::Complete) {
        onHead();
    } else {
        answerAndClose(statusOf(step));
    }
    return true;
}

void HeadReader::onHead() {
    _idleWait = false;
    int refused = _c.acceptHead();
    if (refused != 0) {
        answerAndClose(refused);
        return;
    }
    const RequestParser& head = _c.head();
    const HTTPServerConfig& config = _c.environment().config;
    auto length = head.content_length();
    if (!head.hasBody() || config.bodyPreReadSize == 0 ||
        (length && *length > config.bodyPreReadSize)) {
        // A large body is read by the worker, within the body's pace: the
        // adapter may answer from the head alone (a failed login, a body too
        // large), and the connection then closes rather than read the body.
        dispatch();
        return;
    }
    if (head.expectsContinue() && !_c.continueSent()) {
        if (head.hasCredentials() && length) {
            sendContinue();
        } else {
            dispatch();  // asked for its body only when the adapter reads it
        }
        return;
    }
    preRead();
}

void HeadReader::sendContinue() {
    armTimer(_c.environment().config.ioTimeoutMs);
    auto done = [this, keep = keep()](const error_code& ec, std::size_t) {
        cancelTimer();
        if (ec || _c.isClosed()) {
            _c.closeNow();
            return;
        }
        _c.setContinueSent();
        _c.restartBodyClock();  // the client sends its body from now on
        preRead();
    };
    if (_c.tls()) {
        asio::async_write(*_c.tls(), asio::buffer(kContinue, std::strlen(kContinue)),
                          std::move(done));
    } else {
        asio::async_write(_c.socket(), asio::buffer(kContinue, std::strlen(kContinue)),
                          std::move(done));
    }
}

void HeadReader::preRead() {
    if (_c.isClosed()) {
        return;
    }
    if (!_c.takeBody()) {
        AdapterUtils::log(WHO,
                          "Request body from " + _c.peer() + " refused with status " +
                              VELString::valueOf(_c.failureStatus()),
                          4);
        answerAndClose(_c.failureStatus());
        return;
    }
    if (_c.isPreReadDone() || _c.room() == 0) {
        dispatch();
        return;
    }
    armTimerAt(_c.bodyDeadline());
    receive([this, keep = keep()](const error_code& ec, std::size_t n) { onBodyRead(ec, n); });
}

void HeadReader::onBodyRead(const error_code& ec, std::size_t n) {
    _c.received().commit(n);
    if (_c.isClosed()) {
        return;
    }
    cancelTimer();
    if (!ec) {
        preRead();
        return;
    }
    if (_timedOut) {
        AdapterUtils::log(
            WHO,
            "Request body from " + _c.peer() + " too slow after " +
                VELString::valueOf(static_cast<unsigned long long>(_c.bodyBytesTaken())) +
                " bytes: not served",
            4);
        answerAndClose(408);
        return;
    }
    if (ec == asio::error::eof || ec == asio::ssl::error::stream_truncated) {
        _c.setPeerEnded();
        if (_c.takeBody() && !_c.head().chunked()) {
            // A body of known length cut short: the reader sees it short.
            dispatch();
            return;
        }
        AdapterUtils::log(
            WHO,
            "Request body from " + _c.peer() + " ended before it was complete: " + "not served", 4);
    }
    _c.closeNow();
}

void HeadReader::dispatch() {
    _idleWait = false;
    _busy = true;
    bool posted = _c.environment().workers.post([this, keep = keep()] {
        RequestRunner::Outcome outcome = RequestRunner(_c).run();
        asio::post(_c.socket().get_executor(), [this, keep, outcome] { resume(outcome); });
    });
    if (!posted) {
        _busy = false;
        _c.closeNow();
    }
}

void HeadReader::resume(const RequestRunner::Outcome& outcome) {
    // The worker is done with the connection.
    _busy = false;
    if (outcome.end == RequestEnd::Keep && outcome.next == HeadStep::Complete) {
        onHead();  // the next head, read on the worker; its body is read here
    } else if (outcome.next != HeadStep::NeedMore && outcome.next != HeadStep::Complete) {
        answerAndClose(statusOf(outcome.next));  // the next head, read on the worker, was bad
    } else if (outcome.end == RequestEnd::Abort) {
        _c.closeNow();
    } else if (outcome.end == RequestEnd::Close || _c.environment().isStopping()) {
        closeGracefully();
    } else {
        readHead(true);
    }
}

void HeadReader::answerAndClose(int status) {
    _c.dropBody();
    sendAndClose(cannedResponse(status, cannedText(status)));
}

void HeadReader::sendAndClose(std::string response) {
    _outgoing = std::move(response);
    armTimer(_c.environment().config.ioTimeoutMs);
    auto done = [this, keep = keep()](const error_code& ec, std::size_t) {
        cancelTimer();
        if (ec || _c.isClosed()) {
            _c.closeNow();
            return;
        }
        closeGracefully();
    };
    if (_c.tls()) {
        asio::async_write(*_c.tls(), asio::buffer(_outgoing), std::move(done));
    } else {
        asio::async_write(_c.socket(), asio::buffer(_outgoing), std::move(done));
    }
}

void HeadReader::closeGracefully() {
    if (_c.isClosed()) {
        return;
    }
    // Nothing more is read into it.
    _c.received().clear();
    _c.received().shrink_to_fit();
    std::uint32_t linger = _c.environment().config.lingerTimeoutMs;
    int option = _c.getCloseOption();
    if (option == 0) {
        linger = 0;
    } else if (option > 0) {
        linger = std::min<std::uint32_t>(linger, static_cast<std::uint32_t>(option) * 1000u);
    }
    if (linger == 0) {
        _c.closeNow();
        return;
    }
    std::uint64_t generation = ++_timerGeneration;
    _timer.expires_after(std::chrono::milliseconds(linger));
    _timer.async_wait([this, generation, keep = keep()](const error_code& ec) {
        if (!ec && generation == _timerGeneration) {
            _c.closeNow();
        }
    });
    if (_c.tls()) {
        _c.tls()->async_shutdown([this, keep = keep()](const error_code&) { drainAndClose(); });
    } else {
        drainAndClose();
    }
}

void HeadReader::drainAndClose() {
    if (_c.isClosed()) {
        return;
    }
    error_code ignored;
    _c.socket().shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
    _c.socket().async_read_some(asio::buffer(_discard),
                                [this, keep = keep()](const error_code& ec, std::size_t) {
                                    if (ec || _c.isClosed()) {
                                        cancelTimer();
                                        _c.closeNow();
                                        return;
                                    }
                                    drainAndClose();
                                });
}

void HeadReader::stopIdle() {
    if (!_busy) {
        cancelTimer();
        _c.closeNow();
    }
}

}  // namespace tarn
