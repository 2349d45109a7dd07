// tarn::HTTPConnection: one client connection of the HTTP(S) server. It owns
// the socket (and the TLS stream over it), the bytes received and not yet
// taken, and the parser of the request being read, which splits that byte
// stream into requests: a head, then a body whose framing the parser follows.
//
// While it waits for a request head (and during the TLS handshake) the
// connection lives on the server's I/O thread (HeadReader); it occupies no
// worker. Once a head is complete a worker runs the request (RequestRunner)
// and then hands the connection back, or closes it.
//
// As the VELSocket of the body streams, readSome gives the bytes of the
// current request's body as they were sent (a chunked body with its chunk
// lines) and ends exactly where the request ends, so no reader can take the
// next request's bytes. A body that breaks off is an error of the stream,
// not its end: broken chunk framing, a chunked body cut short, a body over
// its limit or too slow, or one the request memory budget has no room for
// (the status to answer is then failureStatus()). Only a Content-Length body
// whose client ends the connection early ends the stream short, so that its
// reader sees fewer bytes than announced.
//
// A body must arrive at a minimum pace (HTTPServerConfig: minBodyRate,
// bodyStallMs, bodyTimeoutMs): its deadline moves ahead by one second for
// every minBodyRate bytes received, but never further than bodyStallMs from
// now, and never past bodyTimeoutMs after the head.
#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "http/ConnectionEnvironment.h"
#include "http/ConnectionTable.h"
#include "http/HeadReader.h"
#include "http/RequestMemoryBudget.h"
#include "http/RequestParser.h"
#include "http/SocketLayer.h"
#include "vela/VELSocket.h"

namespace tarn {

class HTTPConnection : public VELSocket, public std::enable_shared_from_this<HTTPConnection> {
  public:
    // A registration that is not serving: the connection only gets a 503.
    HTTPConnection(const ConnectionEnvironment& environment, boost::asio::ip::tcp::socket socket,
                   boost::asio::ssl::context* tls, ConnectionTable::Registration registration);
    using Clock = SocketLayer::Clock;
    ~HTTPConnection() override;

    // I/O thread: begins the TLS handshake or the first head read (or, when
    // not serving, the 503 answer).
    void start();
    // I/O thread: the server stops; an idle connection closes now, a busy
    // one after its request.
    void stopIdle() { _heads.stopIdle(); }
    // Any thread: shuts the socket down so that blocked reads and writes of
    // the worker fail at once (after the shutdown grace period).
    void forceClose();

    const ConnectionEnvironment& environment() const { return _env; }
    bool isServing() const { return _registration.isServing(); }
    // "address:port" of the client, for log lines.
    const VELString& peer() const { return _peer; }
    // The key the connection counts under (see clientKey).
    const std::string& client() const { return _client; }
    Clock::time_point acceptedAt() const { return _acceptedAt; }
    // True once a request of the connection has been served.
    bool hasServed() const { return _served; }
    HeadReader& heads() { return _heads; }

    // ------------------------------------------------------------ transport
    boost::asio::ip::tcp::socket& socket() { return _socket; }
    // Null on a plain connection.
    boost::asio::ssl::stream<SocketLayer>* tls() { return _tls.get(); }
    // The synchronous layer (under TLS when there is TLS): its deadlines
    // bound the worker's reads.
    SocketLayer& layer() { return _tls ? _tls->next_layer() : _plain; }
    // I/O thread: closes the socket (with a reset when the close option is 0)
    // and frees the connection's place in the table.
    void closeNow();
    // Worker, plain connections: takes the socket out of the I/O thread's
    // event loop while the worker serves request after request on it, so
    // that each arriving request does not wake the I/O thread too (its
    // registration reports every arrival). False when it stays in.
    bool leaveEventLoop();
    // Worker: puts it back, before the I/O thread has the connection again.
    void returnToEventLoop();
    // I/O thread.
    bool isClosed() const { return _closed; }

    // -------------------------------------------------- the request being read
    // Received bytes not yet taken; HeadReader reads into it.
    boost::beast::flat_buffer& received() { return _buffer; }
    // Room left for received bytes (a head or chunk line must fit).
    std::size_t room() const { return _buffer.max_size() - _buffer.size(); }
    // Worker: reads more bytes into the received ones; n and ec as read_some.
    std::size_t receive(boost::system::error_code& ec);
    // True once bytes of a request beyond empty lines have arrived.
    bool hasPartialRequest() const;
    // Parses the received bytes as the head of the request (a new request
    // begins when none is being read). Bad heads are logged.
    HeadStep parseHead();
    // Of the request whose head parseHead found complete: what the server
    // must know before a worker takes it.
    const RequestParser& head() const { return *_parser; }
    // Once per request, after its head: starts the body's clock and reserves
    // the body's memory. 0, or the status that refuses the request (503 when
    // the budget has no room); later calls return the same.
    int acceptHead();
    // Takes the received bytes that belong to the body (they stay received
    // until beginBody lends them): true while that goes well (false: see
    // failureStatus).
    bool takeBody();
    // Body bytes taken so far (as sent, chunk lines included).
    std::uint64_t bodyBytesTaken() const { return _bodyBytes; }
    // The body is taken as far as the server takes it before a worker does.
    bool isPreReadDone() const;
    // When the body must have arrived (so far) at the latest.
    Clock::time_point bodyDeadline() const;
    // For a request that waited for "100 Continue": its body starts now.
    void restartBodyClock();
    // A worker takes the request: the time it waited for one (when the
    // client could not send) does not count against the body's pace.
    void resumeBodyPace();
    // "100 Continue" has been sent for the current request.
    bool continueSent() const { return _continueSent; }
    void setContinueSent() { _continueSent = true; }
    // The status to answer after the body stream failed (0: none).
    int failureStatus() const { return _failureStatus; }
    // The request whose head parseHead found complete.
    VELHTTPRequest takeRequest() { return _parser->takeRequest(); }
    // Worker, after the head: takes the received bytes that belong to the
    // body and returns them for the body stream to read in place. They stay
    // valid until the next readSome.
    std::string_view beginBody();
    // The request has been received up to its last byte.
    bool isRequestComplete() const {
        return _parser && _parser->isComplete() && !_parser->failed();
    }
    // The request's framing is broken: where it ends cannot be known.
    bool hasFramingError() const { return _parser && _parser->failed(); }
    // Body bytes still to come when the request says how many (Content-Length).
    std::optional<std::uint64_t> knownBodyLeft() const;
    // Worker: the request is complete; drops what is left of it. The bytes
    // after it are the next request.
    void endRequest();
    // I/O thread: the client ended the connection while the body was being
    // taken.
    void setPeerEnded() { _peerEnded = true; }
    // Frees the memory share of the current request's body (the connection
    // will not read it).
    void dropBody();

    // ------------------------------------------------------------ VELSocket
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
    std::size_t readRaw(boost::asio::mutable_buffer into, boost::system::error_code& ec);
    std::string_view unparsed() const;
    // Counts n more body bytes; false when the memory budget has no room.
    bool chargeBody(std::size_t n);
    [[noreturn]] void fail(const char* what, const boost::system::error_code& ec);
    [[noreturn]] void failBody(int status, const VELString& why);

    const ConnectionEnvironment& _env;
    ConnectionTable::Registration _registration;  // left last, once the socket is closed
    boost::asio::ip::tcp::socket _socket;
    SocketLayer _plain;
    std::unique_ptr<boost::asio::ssl::stream<SocketLayer>> _tls;
    boost::beast::flat_buffer _buffer;
    std::optional<RequestParser> _parser;  // while a request is being read
    // The first _framed received bytes belong to the current request's body
    // and have not been handed out; _lent: beginBody lent them in place.
    std::size_t _framed = 0;
    bool _lent = false;
    int _closeOption = CLOSE_OPTION_DEFAULT;

    // The current request's body.
    RequestMemoryBudget::Share _share;
    bool _accepted = false;
    int _acceptStatus = 0;
    bool _continueSent = false;
    bool _peerEnded = false;
    int _failureStatus = 0;
    std::uint64_t _bodyBytes = 0;
    Clock::time_point _bodyEnd;   // bodyTimeoutMs after the head
    Clock::time_point _bodyPace;  // the pace deadline (minBodyRate, bodyStallMs)
    bool _served = false;
    Clock::time_point _acceptedAt;
    std::string _client;

    std::mutex _fdMutex;  // guards closing the socket against forceClose
    bool _closed = false;
    int _fd = -1;  // the socket's descriptor
    boost::asio::ip::tcp::socket::protocol_type _protocol = boost::asio::ip::tcp::v4();
    bool _outOfLoop = false;  // released from the event loop; _fd is ours

    bool _loopback = false;
    VELString _localAddress;
    std::uint16_t _localPort = 0;
    VELString _peerAddress;
    std::uint16_t _peerPort = 0;
    VELString _peer;

    HeadReader _heads;  // last: it uses the members above
};

}  // namespace tarn
