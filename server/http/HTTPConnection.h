// tarn::HTTPConnection: one client connection of the HTTP(S) server.
//
// While it waits for a request head (and during the TLS handshake) the
// connection lives on the server's I/O thread with asynchronous reads and a
// deadline timer; it occupies no worker. Once a head is complete it goes to a
// worker, which builds the request, offers it to the adapters and runs the
// chosen one with the body streams; reads and writes there are synchronous
// and bounded (SocketLayer). Afterwards the connection returns to the I/O
// thread for the next head, or is closed gracefully: a TLS close
// notification, then its sending side shut and what the client still sends
// drained, all within the linger time.
#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
// Beast 1.74's parser trips GCC 12's maybe-uninitialized analysis in
// sanitizer builds (a boost::optional returned as none); the code is fine.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "http/ConnectionEnvironment.h"
#include "http/ConnectionTable.h"
#include "http/SocketLayer.h"
#include "vela/VELSocket.h"

class VELHTTPRequest;
class VELGenericHTTPIStream;

namespace tarn {

class HTTPConnection : public VELSocket, public std::enable_shared_from_this<HTTPConnection> {
  public:
    // A registration that is not serving: the connection only gets a 503.
    HTTPConnection(const ConnectionEnvironment& environment, boost::asio::ip::tcp::socket socket,
                   boost::asio::ssl::context* tls, ConnectionTable::Registration registration);
    ~HTTPConnection() override;

    // I/O thread: begins the TLS handshake or the first head read (or, when
    // not serving, the 503 answer).
    void start();
    // I/O thread: the server stops; an idle connection closes now, a busy
    // one after its request.
    void stopIdle();
    // Any thread: shuts the socket down so that blocked reads and writes of
    // the worker fail at once (after the shutdown grace period).
    void forceClose();

    bool isServing() const { return _registration.isServing(); }

    // VELSocket
    std::size_t readSome(char* buffer, std::size_t size) override;
    void writeAll(const std::string_view* parts, std::size_t count) override;
    using VELSocket::writeAll;
    bool isSecure() const override { return _tls != nullptr; }
    bool isLoopback() const override { return _loopback; }
    VELString getLocalAddress() const override { return _localAddress; }
    std::uint16_t getLocalPort() const override { return _localPort; }
    VELString getPeerAddress() const override { return _peerAddress; }
    std::uint16_t getPeerPort() const override { return _peerPort; }
    void setCloseOption(int seconds) override { _closeOption = seconds; }
    int getCloseOption() const override { return _closeOption; }

  private:
    enum class End { Keep, Close, Abort };
    using Parser = boost::beast::http::request_parser<boost::beast::http::empty_body>;

    // I/O thread
    void readHead(bool idle);
    void readMore();
    void onRead(const boost::system::error_code& ec, std::size_t n);
    // 0: more bytes needed; 200: a head is complete; else the status of the
    // server's error answer.
    int parseStep();
    bool parseBuffered();
    static std::string errorResponse(int status);
    void armTimer(std::uint32_t milliseconds);
    void cancelTimer();
    void sendAndClose(std::string response);
    void closeGracefully();
    void drainAndClose();
    void closeNow();
    void afterRequest(End end);

    // worker
    void serve();
    End serveParsedRequest();
    End serveRequest(VELHTTPRequest& request);
    // Waits briefly for the next head on the worker: as parseStep, or -1 when
    // the connection failed.
    int readHeadQuickly();
    End skipRestOfBody(const VELHTTPRequest& request, VELGenericHTTPIStream& in);
    void sendRaw(int status);
    SocketLayer& layer();
    [[noreturn]] void fail(const char* what, const boost::system::error_code& ec);

    const ConnectionEnvironment& _env;
    ConnectionTable::Registration _registration;  // left last, once the socket is closed
    boost::asio::ip::tcp::socket _socket;
    SocketLayer _plain;
    std::unique_ptr<boost::asio::ssl::stream<SocketLayer>> _tls;
    boost::asio::steady_timer _timer;
    boost::beast::flat_buffer _buffer;
    std::optional<Parser> _parser;
    std::string _outgoing;  // what sendAndClose is writing
    std::array<char, 4096> _discard{};

    // Touched on the I/O thread only (or by the worker that owns the connection).
    bool _busy = false;
    bool _idleWait = false;
    bool _timedOut = false;
    std::uint64_t _timerGeneration = 0;
    int _closeOption = CLOSE_OPTION_DEFAULT;

    std::mutex _fdMutex;  // guards closing the socket against forceClose
    bool _closed = false;

    bool _loopback = false;
    VELString _localAddress;
    std::uint16_t _localPort = 0;
    VELString _peerAddress;
    std::uint16_t _peerPort = 0;
    VELString _peer;  // "address:port" for log lines
};

}  // namespace tarn
