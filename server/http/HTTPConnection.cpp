#include "http/HTTPConnection.h"

#include <netinet/in.h>
#include <netinet/tcp.h>

#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/http/error.hpp>
#include <cstring>
#include <limits>
#include <span>

#include "tarn/CIMStatus.h"
#include "tarn/security/SecurityToken.h"
#include "vela/AdapterUtils.h"
#include "vela/VELGenericHTTPIStream.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VELHTTPException.h"
#include "vela/VELHTTPRequest.h"
#include "vela/VELHTTPResponse.h"
#include "vela/VELNetException.h"

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::system::error_code;

namespace tarn {

namespace {

const char* const WHO = "tarn::HTTPConnection";
// How long a worker waits for a kept connection's next request before it
// hands the connection back to the I/O thread.
constexpr std::chrono::microseconds kQuickWait(1000);

// Answers the server writes itself, before or instead of an adapter.
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

bool isLoopbackAddress(const asio::ip::address& a) {
    if (a.is_loopback()) {
        return true;
    }
    if (a.is_v6()) {
        auto v6 = a.to_v6();
        return v6.is_v4_mapped() &&
               asio::ip::make_address_v4(asio::ip::v4_mapped, v6).is_loopback();
    }
    return false;
}

}  // namespace

HTTPConnection::HTTPConnection(const ConnectionEnvironment& environment,
                               asio::ip::tcp::socket socket, asio::ssl::context* tls,
                               ConnectionTable::Registration registration)
    : _env(environment),
      _registration(std::move(registration)),
      _socket(std::move(socket)),
      _plain(_socket),
      _timer(_socket.get_executor()),
      _buffer(environment.config.maxHeadSize + 65536) {
    error_code ec;
    auto peer = _socket.remote_endpoint(ec);
    if (!ec) {
        _peerAddress = VELString(peer.address().to_string());
        _peerPort = peer.port();
        _loopback = isLoopbackAddress(peer.address());
    }
    auto local = _socket.local_endpoint(ec);
    if (!ec) {
        _localAddress = VELString(local.address().to_string());
        _localPort = local.port();
    }
    _peer = _peerAddress + ":" + VELString::valueOf(static_cast<unsigned>(_peerPort));
    _socket.set_option(asio::ip::tcp::no_delay(true), ec);
    auto timeout = std::chrono::milliseconds(_env.config.ioTimeoutMs);
    _plain.setTimeout(timeout);
    if (tls) {
        _tls = std::make_unique<asio::ssl::stream<SocketLayer>>(SocketLayer(_socket), *tls);
        _tls->next_layer().setTimeout(timeout);
    }
}

HTTPConnection::~HTTPConnection() = default;

SocketLayer& HTTPConnection::layer() {
    return _tls ? _tls->next_layer() : _plain;
}

// ---------------------------------------------------------------- I/O thread

void HTTPConnection::start() {
    _registration.attach(shared_from_this());
    auto next = [self = shared_from_this()] {
        if (self->isServing()) {
            self->readHead(false);
        } else {
            self->sendAndClose(cannedResponse(503, "The server has too many connections.\n"));
        }
    };
    if (!_tls) {
        next();
        return;
    }
    armTimer(_env.config.headTimeoutMs);
    _tls->async_handshake(asio::ssl::stream_base::server, [self = shared_from_this(),
                                                           next](const error_code& ec) {
        self->cancelTimer();
        if (ec) {
            AdapterUtils::log(
                WHO, "TLS handshake with " + self->_peer + " failed: " + VELString(ec.message()),
                self->_timedOut ? 4 : 2);
            self->closeNow();
            return;
        }
        next();
    });
}

void HTTPConnection::armTimer(std::uint32_t milliseconds) {
    _timedOut = false;
    std::uint64_t generation = ++_timerGeneration;
    _timer.expires_after(std::chrono::milliseconds(milliseconds));
    _timer.async_wait([self = shared_from_this(), generation](const error_code& ec) {
        // A wait that expired just as it was cancelled or re-armed is stale.
        if (ec || self->_closed || generation != self->_timerGeneration) {
            return;
        }
        self->_timedOut = true;
        error_code ignored;
        self->_socket.cancel(ignored);
    });
}

void HTTPConnection::cancelTimer() {
    ++_timerGeneration;
    _timer.cancel();
}

void HTTPConnection::readHead(bool idle) {
    if (_closed) {
        return;
    }
    if (_env.isStopping()) {
        closeGracefully();
        return;
    }
    _parser.emplace();
    _parser->header_limit(_env.config.maxHeadSize);
    // Bodies are the adapter's to read and limit. (Not boost::none: Beast 1.74
    // compares the length with the optional limit and then always refuses.)
    _parser->body_limit(std::numeric_limits<std::uint64_t>::max());
    if (parseBuffered()) {
        return;  // a pipelined request was already here
    }
    _idleWait = idle && _buffer.size() == 0;
    armTimer(_idleWait ? _env.config.keepAliveTimeoutMs : _env.config.headTimeoutMs);
    readMore();
}

void HTTPConnection::readMore() {
    std::size_t room = _buffer.max_size() - _buffer.size();
    if (room == 0) {
        cancelTimer();
        sendAndClose(errorResponse(431));
        return;
    }
    auto buffers = _buffer.prepare(std::min<std::size_t>(room, 16384));
    auto handler = [self = shared_from_this()](const error_code& ec, std::size_t n) {
        self->onRead(ec, n);
    };
    if (_tls) {
        _tls->async_read_some(buffers, std::move(handler));
    } else {
        _socket.async_read_some(buffers, std::move(handler));
    }
}

void HTTPConnection::onRead(const error_code& ec, std::size_t n) {
    _buffer.commit(n);
    if (_closed) {
        return;
    }
    if (ec) {
        cancelTimer();
        if (_timedOut) {
            AdapterUtils::log(
                WHO,
                VELString(_idleWait ? "Idle connection from " : "Incomplete request head from ") +
                    _peer + " closed at its deadline",
                4);
        }
        closeNow();
        return;
    }
    if (_idleWait && n > 0) {
        // The next request begins: its head gets the full head deadline.
        _idleWait = false;
        cancelTimer();
        armTimer(_env.config.headTimeoutMs);
    }
    if (!parseBuffered()) {
        readMore();
    }
}

int HTTPConnection::parseStep() {
    // Line ends between requests are ignored (and what a chunked body's
    // reader left of its last line).
    std::size_t skip = 0;
    auto data = _buffer.data();
    const char* p = static_cast<const char*>(data.data());
    while (skip < data.size() && (p[skip] == '\r' || p[skip] == '\n')) {
        ++skip;
    }
    _buffer.consume(skip);
    if (_buffer.size() == 0) {
        return 0;
    }
    error_code ec;
    std::size_t used = _parser->put(_buffer.data(), ec);
    _buffer.consume(used);
    if (ec == http::error::need_more) {
        return 0;
    }
    if (ec == http::error::bad_version) {
        return 505;
    }
    if (ec) {
        AdapterUtils::log(WHO, "Bad request head from " + _peer + ": " + VELString(ec.message()),
                          2);
        return ec == http::error::header_limit ? 431 : 400;
    }
    if (!_parser->is_header_done()) {
        return 0;
    }
    return _parser->get().version() / 10 == 1 ? 200 : 505;
}

std::string HTTPConnection::errorResponse(int status) {
    switch (status) {
        case 431:
            return cannedResponse(431, "The request head is too large.\n");
        case 505:
            return cannedResponse(505, "Only HTTP/1.0 and HTTP/1.1 are served.\n");
        default:
            return cannedResponse(400, "The request head is not valid HTTP.\n");
    }
}

bool HTTPConnection::parseBuffered() {
    int result = parseStep();
    if (result == 0) {
        return false;
    }
    cancelTimer();
    if (result != 200) {
        sendAndClose(errorResponse(result));
        return true;
    }
    _busy = true;
    if (!_env.workers.post([self = shared_from_this()] { self->serve(); })) {
        _busy = false;
        closeNow();
    }
    return true;
}

void HTTPConnection::sendAndClose(std::string response) {
    _outgoing = std::move(response);
    armTimer(_env.config.ioTimeoutMs);
    auto done = [self = shared_from_this()](const error_code& ec, std::size_t) {
        self->cancelTimer();
        if (ec || self->_closed) {
            self->closeNow();
            return;
        }
        self->closeGracefully();
    };
    if (_tls) {
        asio::async_write(*_tls, asio::buffer(_outgoing), std::move(done));
    } else {
        asio::async_write(_socket, asio::buffer(_outgoing), std::move(done));
    }
}

void HTTPConnection::closeGracefully() {
    if (_closed) {
        return;
    }
    std::uint32_t linger = _env.config.lingerTimeoutMs;
    if (_closeOption == 0) {
        linger = 0;
    } else if (_closeOption > 0) {
        linger = std::min<std::uint32_t>(linger, static_cast<std::uint32_t>(_closeOption) * 1000u);
    }
    if (linger == 0) {
        closeNow();
        return;
    }
    std::uint64_t generation = ++_timerGeneration;
    _timer.expires_after(std::chrono::milliseconds(linger));
    _timer.async_wait([self = shared_from_this(), generation](const error_code& ec) {
        if (!ec && generation == self->_timerGeneration) {
            self->closeNow();
        }
    });
    if (_tls) {
        _tls->async_shutdown(
            [self = shared_from_this()](const error_code&) { self->drainAndClose(); });
    } else {
        drainAndClose();
    }
}

void HTTPConnection::drainAndClose() {
    if (_closed) {
        return;
    }
    error_code ignored;
    _socket.shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
    _socket.async_read_some(asio::buffer(_discard),
                            [self = shared_from_this()](const error_code& ec, std::size_t) {
                                if (ec || self->_closed) {
                                    self->cancelTimer();
                                    self->closeNow();
                                    return;
                                }
                                self->drainAndClose();
                            });
}

void HTTPConnection::closeNow() {
    std::lock_guard<std::mutex> lock(_fdMutex);
    if (_closed) {
        return;
    }
    _closed = true;
    error_code ignored;
    if (_closeOption == 0) {
        _socket.set_option(asio::socket_base::linger(true, 0), ignored);
    }
    _socket.close(ignored);
}

void HTTPConnection::stopIdle() {
    if (!_busy) {
        cancelTimer();
        closeNow();
    }
}

void HTTPConnection::forceClose() {
    std::lock_guard<std::mutex> lock(_fdMutex);
    if (!_closed) {
        ::shutdown(_socket.native_handle(), SHUT_RDWR);
    }
}

void HTTPConnection::afterRequest(End end) {
    // Runs on the I/O thread: the worker is done with the connection.
    _busy = false;
    if (end == End::Abort) {
        closeNow();
    } else if (end == End::Close || _env.isStopping()) {
        closeGracefully();
    } else {
        readHead(true);
    }
}

// -------------------------------------------------------------------- worker

std::size_t HTTPConnection::readSome(char* buffer, std::size_t size) {
    error_code ec;
    std::size_t n = _tls ? _tls->read_some(asio::buffer(buffer, size), ec)
                         : _plain.read_some(asio::buffer(buffer, size), ec);
    if (ec == asio::error::eof || ec == asio::ssl::error::stream_truncated) {
        return 0;
    }
    if (ec) {
        fail("reading from", ec);
    }
    return n;
}

void HTTPConnection::writeAll(const std::string_view* parts, std::size_t count) {
    error_code ec;
    if (_tls) {
        // Small pieces go in one TLS record rather than one record each.
        std::size_t total = 0;
        for (std::size_t i = 0; i < count; ++i) {
            total += parts[i].size();
        }
        if (count > 1 && total <= 16384) {
            std::string joined;
            joined.reserve(total);
            for (std::size_t i = 0; i < count; ++i) {
                joined.append(parts[i]);
            }
            asio::write(*_tls, asio::buffer(joined), ec);
        } else {
            for (std::size_t i = 0; i < count && !ec; ++i) {
                asio::write(*_tls, asio::buffer(parts[i].data(), parts[i].size()), ec);
            }
        }
    } else {
        std::array<asio::const_buffer, 8> buffers;
        std::size_t n = 0;
        for (std::size_t i = 0; i <= count && !ec; ++i) {
            if (n == buffers.size() || (i == count && n > 0)) {
                asio::write(_plain, std::span<const asio::const_buffer>(buffers.data(), n), ec);
                n = 0;
            }
            if (i < count) {
                buffers[n++] = asio::buffer(parts[i].data(), parts[i].size());
            }
        }
    }
    if (ec) {
        fail("writing to", ec);
    }
}

void HTTPConnection::fail(const char* what, const error_code& ec) {
    VELString why =
        ec == asio::error::timed_out ? VELString("the deadline passed") : VELString(ec.message());
    throw VELNetException(WHO,
                          VELString("Connection failed while ") + what + " " + _peer + ": " + why,
                          CIM_ERR_FAILED);
}

void HTTPConnection::serve() {
    for (;;) {
        End end = End::Close;
        try {
            end = serveParsedRequest();
        } catch (const std::exception& e) {
            AdapterUtils::log(WHO, "Request from " + _peer + " failed: " + VELString(e.what()), 1);
            end = End::Abort;
        }
        int next = end == End::Keep ? readHeadQuickly() : 0;
        if (next == 200) {
            continue;  // the next request is here: serve it on this thread
        }
        if (next < 0) {
            end = End::Abort;
        }
        asio::post(_socket.get_executor(), [self = shared_from_this(), end, next] {
            if (next > 200) {
                self->_busy = false;
                self->sendAndClose(self->errorResponse(next));
            } else {
                self->afterRequest(end);
            }
        });
        return;
    }
}

int HTTPConnection::readHeadQuickly() {
    // A client that sends its next request at once is served by this worker
    // without handing the connection to the I/O thread and back; the worker
    // waits only briefly, and only when no other connection waits for one.
    if (_tls || _env.isStopping() || _env.workers.queued() > 0) {
        return 0;
    }
    _parser.emplace();
    _parser->header_limit(_env.config.maxHeadSize);
    _parser->body_limit(std::numeric_limits<std::uint64_t>::max());
    const auto deadline = SocketLayer::Clock::now() + kQuickWait;
    for (;;) {
        int result = parseStep();
        if (result != 0) {
            return result;
        }
        std::size_t room = _buffer.max_size() - _buffer.size();
        if (room == 0) {
            return 431;
        }
        _plain.setReadDeadline(deadline);
        error_code ec;
        std::size_t n = _plain.read_some(_buffer.prepare(std::min<std::size_t>(room, 16384)), ec);
        _buffer.commit(n);
        if (ec == asio::error::timed_out) {
            return 0;  // what arrived stays in the buffer for the I/O thread
        }
        if (ec) {
            return -1;
        }
    }
}

HTTPConnection::End HTTPConnection::serveParsedRequest() {
    auto& message = _parser->get();
    VELHTTPRequest::Fields fields;
    fields.reserve(16);
    for (const auto& f : message) {
        fields.emplace_back(
            VELString(std::string_view(f.name_string().data(), f.name_string().size())),
            VELString(std::string_view(f.value().data(), f.value().size())));
    }
    auto method = message.method_string();
    auto target = message.target();
    VELHTTPRequest request(
        VELString(std::string_view(method.data(), method.size())),
        VELString(std::string_view(target.data(), target.size())),
        message.version() == 10 ? VELHTTPOperation::HTTP_1_0 : VELHTTPOperation::HTTP_1_1, fields);
    _parser.reset();
    return serveRequest(request);
}

HTTPConnection::End HTTPConnection::serveRequest(VELHTTPRequest& request) {
    const HTTPServerConfig& config = _env.config;
    layer().setReadDeadline(SocketLayer::Clock::now() +
                            std::chrono::milliseconds(config.bodyTimeoutMs));
    auto body = _buffer.data();
    VELGenericHTTPIStream in(*this,
                             std::string_view(static_cast<const char*>(body.data()), body.size()));
    in.setReadLimit(static_cast<std::uint64_t>(config.maxBodyMB) * 1024 * 1024);
    VELGenericHTTPOStream out(*this, request.getProtocolEnum(),
                              request.isKeepAlive() && !_env.isStopping());
    VELHTTPResponse response(request.getProtocolEnum());
    out.setResponse(&response);
    if (request.expectsContinue()) {
        in.setBeforeSocketRead([this, &out] {
            if (!out.hasSentBytes()) {
                writeAll("HTTP/1.1 100 Continue\r\n\r\n");
            }
        });
    }
    VELSmrPtr<security::ISecurityToken> token = makeVELSmrPtr<security::SecurityToken>();
    bool imported = false;
    End end = End::Keep;
    try {
        IVelaProtocolAdapter* adapter = _env.adapters.find(request);
        if (!adapter) {
            AdapterUtils::log(WHO,
                              "No protocol adapter serves " + request.getMethod() + " " +
                                  request.getRequestURI() + " from " + _peer,
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
            end = End::Close;
        } else {
            out.finish();
            end = out.closesConnection() ? End::Close : End::Keep;
        }
    } catch (const VELHTTPException& e) {
        AdapterUtils::log(WHO, "Request from " + _peer + " rejected: " + e.getMessage(), 4);
        if (!out.hasSentBytes() && !out.isBroken()) {
            try {
                if (out.isHeadWritten()) {
                    out.finish();  // the adapter's own answer, held until now
                } else {
                    sendRaw(_env.isStarted() ? 400 : 503);
                }
            } catch (const VELNetException&) {
                return End::Abort;
            }
        }
        return End::Close;
    } catch (const VELNetException& e) {
        AdapterUtils::log(WHO, e.getMessage(), 4);
        return End::Abort;
    } catch (const std::ios_base::failure& e) {
        if (out.isBroken()) {
            // A write after the client had gone, on the stream left bad by it.
            AdapterUtils::log(WHO, "Connection to " + _peer + " failed while writing", 4);
            return End::Abort;
        }
        AdapterUtils::log(WHO, "Request from " + _peer + " failed: " + VELString(e.what()), 1);
        if (!out.hasSentBytes()) {
            try {
                sendRaw(500);
            } catch (const VELNetException&) {
                return End::Abort;
            }
        }
        return End::Close;
    } catch (const std::exception& e) {
        AdapterUtils::log(WHO, "Request from " + _peer + " failed: " + VELString(e.what()), 1);
        if (!out.hasSentBytes() && !out.isBroken()) {
            try {
                sendRaw(500);
            } catch (const VELNetException&) {
                return End::Abort;
            }
        }
        return End::Close;
    }
    if (end == End::Keep) {
        try {
            end = skipRestOfBody(request, in);
        } catch (const VELNetException&) {
            return End::Abort;
        }
    }
    if (end == End::Keep) {
        // Bytes past this request (a pipelined one) start the next head.
        std::string next(in.getUnread());
        _buffer.consume(_buffer.size());
        if (!next.empty()) {
            auto room = _buffer.prepare(next.size());
            std::memcpy(room.data(), next.data(), next.size());
            _buffer.commit(next.size());
        }
    }
    return end;
}

HTTPConnection::End HTTPConnection::skipRestOfBody(const VELHTTPRequest& request,
                                                   VELGenericHTTPIStream& in) {
    const HTTPServerConfig& config = _env.config;
    layer().clearReadDeadline();
    std::uint64_t read = in.getBytesRead();
    if (request.isChunked()) {
        if (read > 0) {
            return End::Keep;  // the adapter read the chunks
        }
        // Skip an unread chunked body, within the drain limit.
        std::uint64_t skipped = 0;
        std::string line;
        for (;;) {
            line.clear();
            char c;
            while (in.get(c) && c != '\n' && line.size() < 256) {
                line.push_back(c);
            }
            if (!in || line.size() >= 256) {
                return End::Close;
            }
            unsigned long long size = std::strtoull(line.c_str(), nullptr, 16);
            if (size == 0) {
                // Trailer fields up to the empty line.
                do {
                    line.clear();
                    while (in.get(c) && c != '\n' && line.size() < 1024) {
                        line.push_back(c);
                    }
                    if (!in || line.size() >= 1024) {
                        return End::Close;
                    }
                } while (line != "\r" && !line.empty());
                return End::Keep;
            }
            skipped += size;
            if (skipped > config.drainLimit) {
                return End::Close;
            }
            in.ignore(static_cast<std::streamsize>(size + 2));
            if (static_cast<unsigned long long>(in.gcount()) != size + 2) {
                return End::Close;
            }
        }
    }
    std::int64_t length = request.getContentLength();
    if (length <= 0) {
        return End::Keep;
    }
    std::uint64_t total = static_cast<std::uint64_t>(length);
    if (read > total) {
        return End::Close;  // read into what follows: the stream is out of step
    }
    std::uint64_t left = total - read;
    if (left == 0) {
        return End::Keep;
    }
    if (left > config.drainLimit ||
        (request.expectsContinue() && !in.hasReadFromSocket() && in.getUnread().size() < left)) {
        // Too much to skip, or a client that waits for "100 Continue".
        return End::Close;
    }
    in.ignore(static_cast<std::streamsize>(left));
    return static_cast<std::uint64_t>(in.gcount()) == left ? End::Keep : End::Close;
}

void HTTPConnection::sendRaw(int status) {
    std::string head = "HTTP/1.1 " + std::to_string(status) + " " +
                       VELHTTPResponse::standardReasonPhrase(status) +
                       "\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
    writeAll(head);
}

}  // namespace tarn
