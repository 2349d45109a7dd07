#include "http/HeadReader.h"

#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>

#include "http/HTTPConnection.h"
#include "vela/AdapterUtils.h"
#include "vela/VELHTTPResponse.h"

namespace asio = boost::asio;
using boost::system::error_code;

namespace tarn {

namespace {

const char* const WHO = "tarn::HTTPConnection";

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
    armTimer(_c.environment().config.headTimeoutMs);
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
    armTimer(_idleWait ? env.config.keepAliveTimeoutMs : env.config.headTimeoutMs);
    readMore();
}

void HeadReader::readMore() {
    if (_c.room() == 0) {
        cancelTimer();
        answerAndClose(HeadStep::TooLarge);
        return;
    }
    auto buffers = _c.received().prepare(std::min<std::size_t>(_c.room(), 16384));
    auto handler = [this, keep = keep()](const error_code& ec, std::size_t n) { onRead(ec, n); };
    if (_c.tls()) {
        _c.tls()->async_read_some(buffers, std::move(handler));
    } else {
        _c.socket().async_read_some(buffers, std::move(handler));
    }
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
        dispatch();
    } else {
        answerAndClose(step);
    }
    return true;
}

void HeadReader::dispatch() {
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
    if (outcome.next != HeadStep::NeedMore && outcome.next != HeadStep::Complete) {
        answerAndClose(outcome.next);  // the next head, read on the worker, was bad
    } else if (outcome.end == RequestEnd::Abort) {
        _c.closeNow();
    } else if (outcome.end == RequestEnd::Close || _c.environment().isStopping()) {
        closeGracefully();
    } else {
        readHead(true);
    }
}

void HeadReader::answerAndClose(HeadStep step) {
    switch (step) {
        case HeadStep::TooLarge:
            sendAndClose(cannedResponse(431, "The request head is too large.\n"));
            break;
        case HeadStep::BadVersion:
            sendAndClose(cannedResponse(505, "Only HTTP/1.0 and HTTP/1.1 are served.\n"));
            break;
        default:
            sendAndClose(cannedResponse(400, "The request head is not valid HTTP.\n"));
            break;
    }
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
