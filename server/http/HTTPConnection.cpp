#include "http/HTTPConnection.h"

#include <sys/socket.h>
#include <unistd.h>

#include <boost/asio/write.hpp>
#include <cstring>
#include <span>

#include "security/ClientAddress.h"
#include "tarn/CIMStatus.h"
#include "vela/AdapterUtils.h"
#include "vela/VELHTTPException.h"
#include "vela/VELNetException.h"

namespace asio = boost::asio;
using boost::system::error_code;

namespace tarn {

namespace {

const char* const WHO = "tarn::HTTPConnection";
// Received bytes are read in pieces of this size at most.
constexpr std::size_t kReadPiece = 16384;
// A body's memory share grows by this much at least, so that the shared
// budget is not touched for every piece of a large body.
constexpr std::uint64_t kShareStep = 1u << 20;

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
      // A head, the body bytes read before a worker takes the request, and
      // one more read piece of the next request.
      _buffer(static_cast<std::size_t>(environment.config.maxHeadSize) +
              environment.config.bodyPreReadSize + 65536),
      _share(environment.requestMemory),
      _acceptedAt(Clock::now()),
      _heads(*this) {
    error_code ec;
    auto peer = _socket.remote_endpoint(ec);
    if (!ec) {
        _peerAddress = VELString(peer.address().to_string());
        _peerPort = peer.port();
        _loopback = isLoopbackAddress(peer.address());
    }
    _fd = _socket.native_handle();
    auto local = _socket.local_endpoint(ec);
    if (!ec) {
        _protocol = local.protocol();
        _localAddress = VELString(local.address().to_string());
        _localPort = local.port();
    }
    _peer = _peerAddress + ":" + VELString::valueOf(static_cast<unsigned>(_peerPort));
    _client = clientKey(_peerAddress.view());
    _socket.set_option(asio::ip::tcp::no_delay(true), ec);
    auto timeout = std::chrono::milliseconds(_env.config.ioTimeoutMs);
    _plain.setTimeout(timeout);
    if (tls) {
        _tls = std::make_unique<asio::ssl::stream<SocketLayer>>(SocketLayer(_socket), *tls);
        _tls->next_layer().setTimeout(timeout);
    }
}

HTTPConnection::~HTTPConnection() = default;

void HTTPConnection::start() {
    _registration.attach(shared_from_this());
    _heads.start();
}

void HTTPConnection::closeNow() {
    std::lock_guard<std::mutex> lock(_fdMutex);
    if (_closed) {
        return;
    }
    _closed = true;
    if (_closeOption == 0) {
        ::linger reset{1, 0};
        ::setsockopt(_fd, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
    }
    if (_outOfLoop) {
        ::close(_fd);  // it could not be put back into the event loop
        _outOfLoop = false;
    } else {
        error_code ignored;
        _socket.close(ignored);
    }
    _share.reset();
    _registration.release();
    _heads.onClosed();
}

void HTTPConnection::forceClose() {
    std::lock_guard<std::mutex> lock(_fdMutex);
    if (!_closed) {
        ::shutdown(_fd, SHUT_RDWR);
    }
}

bool HTTPConnection::leaveEventLoop() {
    std::lock_guard<std::mutex> lock(_fdMutex);
    if (_tls || _closed || _outOfLoop) {
        return false;
    }
    error_code ec;
    _socket.release(ec);
    _outOfLoop = !ec;
    return _outOfLoop;
}

void HTTPConnection::returnToEventLoop() {
    std::lock_guard<std::mutex> lock(_fdMutex);
    if (!_outOfLoop) {
        return;
    }
    error_code ec;
    _socket.assign(_protocol, _fd, ec);
    if (ec) {
        // The descriptor stays ours: the connection then fails its next
        // asynchronous operation and closeNow closes it.
        AdapterUtils::log(WHO,
                          "Connection from " + _peer +
                              " cannot return to the event loop: " + VELString(ec.message()),
                          1);
        return;
    }
    _outOfLoop = false;
}

// ------------------------------------------------------ the request being read

std::string_view HTTPConnection::unparsed() const {
    auto data = _buffer.data();
    return std::string_view(static_cast<const char*>(data.data()) + _framed, data.size() - _framed);
}

bool HTTPConnection::hasPartialRequest() const {
    return _buffer.size() > 0 || (_parser && _parser->got_some());
}

HeadStep HTTPConnection::parseHead() {
    if (!_parser) {
        _parser.emplace(_env.config.maxHeadSize, _env.config.maxChunkedBodySize);
    }
    std::size_t used = 0;
    HeadStep step = _parser->parseHead(unparsed(), used);
    _buffer.consume(used);
    if (step != HeadStep::NeedMore && step != HeadStep::Complete && step != HeadStep::BadVersion) {
        AdapterUtils::log(
            WHO, "Bad request head from " + _peer + ": " + VELString(_parser->error().message()),
            2);
    }
    return step;
}

int HTTPConnection::acceptHead() {
    if (_accepted) {
        return _acceptStatus;
    }
    _accepted = true;
    _served = true;
    _bodyBytes = 0;
    restartBodyClock();
    const HTTPServerConfig& config = _env.config;
    std::uint64_t upfront = 0;
    if (_parser->hasBody()) {
        // A body of known length reserves it at once (up to the size of the
        // largest chunked body, beyond which it grows as it is read).
        auto length = _parser->content_length();
        upfront = std::min<std::uint64_t>(length ? *length : config.bodyPreReadSize,
                                          config.maxChunkedBodySize);
    }
    if (!_share.growTo(upfront)) {
        AdapterUtils::log(
            WHO,
            "Request from " + _peer + " refused: the request memory budget of " +
                VELString::valueOf(static_cast<unsigned long long>(_env.requestMemory.limit())) +
                " bytes is in use",
            2);
        _acceptStatus = 503;
    }
    return _acceptStatus;
}

void HTTPConnection::restartBodyClock() {
    auto now = Clock::now();
    _bodyEnd = now + std::chrono::milliseconds(_env.config.bodyTimeoutMs);
    _bodyPace = now + std::chrono::milliseconds(_env.config.bodyStallMs);
}

void HTTPConnection::resumeBodyPace() {
    _bodyPace =
        std::max(_bodyPace, Clock::now() + std::chrono::milliseconds(_env.config.bodyStallMs));
}

HTTPConnection::Clock::time_point HTTPConnection::bodyDeadline() const {
    return std::min(_bodyEnd, _bodyPace);
}

bool HTTPConnection::chargeBody(std::size_t n) {
    if (n == 0) {
        return true;
    }
    _bodyBytes += n;
    const HTTPServerConfig& config = _env.config;
    auto now = Clock::now();
    auto stall = now + std::chrono::milliseconds(config.bodyStallMs);
    if (config.minBodyRate > 0) {
        auto credit = std::chrono::microseconds(static_cast<std::int64_t>(
            static_cast<std::uint64_t>(n) * 1000000u / config.minBodyRate));
        _bodyPace = std::min(_bodyPace + credit, stall);
    } else {
        _bodyPace = stall;
    }
    if (_bodyBytes > _share.size()) {
        return _share.growTo(std::max(_bodyBytes, _share.size() + kShareStep)) ||
               _share.growTo(_bodyBytes);
    }
    return true;
}

bool HTTPConnection::takeBody() {
    if (_failureStatus != 0) {
        return false;
    }
    if (!_parser->isComplete() && !_parser->failed()) {
        std::size_t n = _parser->parseBody(unparsed());
        _framed += n;
        if (!chargeBody(n)) {
            _failureStatus = 503;
            return false;
        }
    }
    if (_parser->failed()) {
        _failureStatus = _parser->failureStatus();
        return false;
    }
    return true;
}

bool HTTPConnection::isPreReadDone() const {
    return _parser->isComplete() || _bodyBytes >= _env.config.bodyPreReadSize;
}

std::string_view HTTPConnection::beginBody() {
    takeBody();  // a failure shows in failureStatus()
    _lent = true;
    return std::string_view(static_cast<const char*>(_buffer.data().data()), _framed);
}

std::optional<std::uint64_t> HTTPConnection::knownBodyLeft() const {
    if (!_parser || _parser->failed() || !_parser->is_header_done()) {
        return std::nullopt;
    }
    if (_parser->isComplete()) {
        return 0;
    }
    auto left = _parser->content_length_remaining();
    return left ? std::optional<std::uint64_t>(*left) : std::nullopt;
}

void HTTPConnection::endRequest() {
    _buffer.consume(_framed);
    _framed = 0;
    _lent = false;
    _parser.reset();
    dropBody();
    _accepted = false;
    _acceptStatus = 0;
    _continueSent = false;
    _failureStatus = 0;
    _bodyBytes = 0;
}

void HTTPConnection::dropBody() {
    _share.reset();
}

std::size_t HTTPConnection::receive(error_code& ec) {
    std::size_t n = readRaw(_buffer.prepare(std::min(room(), kReadPiece)), ec);
    _buffer.commit(n);
    return n;
}

std::size_t HTTPConnection::readRaw(asio::mutable_buffer into, error_code& ec) {
    return _tls ? _tls->read_some(into, ec) : _plain.read_some(into, ec);
}

std::size_t HTTPConnection::readSome(char* into, std::size_t size) {
    if (_lent) {
        // The body stream asks for more: it has read what beginBody lent.
        _buffer.consume(_framed);
        _framed = 0;
        _lent = false;
    }
    for (;;) {
        if (_framed > 0) {
            std::size_t n = std::min(_framed, size);
            std::memcpy(into, _buffer.data().data(), n);
            _buffer.consume(n);
            _framed -= n;
            return n;
        }
        if (!_parser || _parser->isComplete()) {
            return 0;  // the end of this request's body
        }
        if (_failureStatus != 0) {
            failBody(_failureStatus, "the body was refused before");
        }
        if (_parser->failed()) {
            int status = _parser->failureStatus();
            failBody(status, status == 413 ? "the chunked body is larger than the limit"
                                           : "the body's framing is broken");
        }
        if (_buffer.size() > 0) {
            std::size_t n = _parser->parseBody(unparsed());
            _framed += n;
            if (!chargeBody(n)) {
                failBody(503, "no room in the request memory budget");
            }
            if (_framed > 0 || _parser->failed()) {
                continue;
            }
            if (room() == 0) {
                // A chunk line or trailer that does not fit: the request
                // cannot be delimited.
                _parser->failTooLarge();
                continue;
            }
        }
        error_code ec;
        std::size_t n = 0;
        if (_peerEnded) {
            ec = asio::error::eof;
        } else {
            layer().setReadDeadline(bodyDeadline());
            std::uint64_t ahead = _parser->dataAhead();
            if (_buffer.size() == 0 && ahead > 0) {
                // Body data that needs no look: straight into the reader's memory.
                n = readRaw(asio::buffer(into, static_cast<std::size_t>(
                                                   std::min<std::uint64_t>(size, ahead))),
                            ec);
                if (n > 0) {
                    _parser->parseBody(std::string_view(into, n));
                    if (!chargeBody(n)) {
                        failBody(503, "no room in the request memory budget");
                    }
                    return n;
                }
            } else {
                n = receive(ec);
            }
        }
        if (ec == asio::error::eof || ec == asio::ssl::error::stream_truncated) {
            _peerEnded = true;
            if (_parser->chunked()) {
                failBody(400, "the chunked body ended before its last chunk");
            }
            return 0;  // a body of known length cut short: its reader sees so
        }
        if (ec == asio::error::timed_out) {
            failBody(408, "the body arrived too slowly");
        }
        if (ec) {
            fail("reading from", ec);
        }
    }
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

void HTTPConnection::failBody(int status, const VELString& why) {
    _failureStatus = status;
    throw VELHTTPException(WHO, "Request body from " + _peer + " refused: " + why, 4);
}

void HTTPConnection::fail(const char* what, const error_code& ec) {
    VELString why =
        ec == asio::error::timed_out ? VELString("the deadline passed") : VELString(ec.message());
    throw VELNetException(WHO,
                          VELString("Connection failed while ") + what + " " + _peer + ": " + why,
                          CIM_ERR_FAILED);
}

}  // namespace tarn
