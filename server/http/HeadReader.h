// tarn::HeadReader: the part of a connection that runs on the server's I/O
// thread, where it occupies no worker: the TLS handshake, request heads read
// asynchronously within their deadlines (a short one for a new connection's
// first head, the head time later, the keep-alive time while the connection
// is idle), the body of a request as far as it is read before a worker
// takes the request (a body up to the pre-read size wholly, a chunked one up
// to that size; within the body's pace, see HTTPConnection), the
// server's own answers to bad requests and to connections past the caps,
// and the graceful close: a TLS close notification, then the sending side
// shut and what the client still sends drained, all within the linger time.
//
// A request whose head is complete and whose body is read as far as the
// server reads it goes to a worker (RequestRunner); the worker's outcome
// comes back here, and the connection waits for its next head or closes.
//
// "Expect: 100-continue": the client waits to be asked for its body. A
// request with credentials and a body within the pre-read size is asked at
// once and its body read here; any other goes to a worker without its body,
// and is asked only when the protocol adapter reads the body, so a request
// that is refused (a failed login, say) is answered without its body ever
// being sent.
#pragma once

#include <array>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "http/RequestParser.h"
#include "http/RequestRunner.h"

namespace tarn {

class HTTPConnection;

class HeadReader {
  public:
    using Clock = std::chrono::steady_clock;

    // Part of the connection, which must outlive it.
    explicit HeadReader(HTTPConnection& connection);
    HeadReader(const HeadReader&) = delete;
    HeadReader& operator=(const HeadReader&) = delete;

    // Begins the TLS handshake or the first head read (or, when not
    // serving, the 503 answer).
    void start();
    // The server stops: an idle connection closes now, a busy one after its
    // request.
    void stopIdle();
    // The connection is kept between requests and nothing of the next one
    // has arrived (it may be closed for a new connection); since when.
    bool isIdle() const;
    Clock::time_point idleSince() const { return _idleSince; }
    // The connection waits for its first request head (or TLS handshake).
    bool awaitsFirstHead() const;
    // The socket was closed: nothing is waited for any more (so that the
    // connection ends now, not when its deadline would have passed).
    void onClosed() { cancelTimer(); }

  private:
    std::shared_ptr<HTTPConnection> keep();
    void readHead(bool idle);
    void readMore();
    void onRead(const boost::system::error_code& ec, std::size_t n);
    // True when the received bytes completed a head (or failed to be one).
    bool parseBuffered();
    // A complete head: admits the request and reads its body or dispatches.
    void onHead();
    void sendContinue();
    void preRead();
    void onBodyRead(const boost::system::error_code& ec, std::size_t n);
    template <class Handler>
    void receive(Handler&& handler);
    void dispatch();
    void resume(const RequestRunner::Outcome& outcome);
    void armTimer(std::uint32_t milliseconds);
    void armTimerAt(Clock::time_point deadline);
    void cancelTimer();
    void answerAndClose(int status);
    void sendAndClose(std::string response);
    void closeGracefully();
    void drainAndClose();

    HTTPConnection& _c;
    boost::asio::steady_timer _timer;
    std::string _outgoing;  // what sendAndClose is writing
    std::array<char, 4096> _discard{};
    bool _busy = false;  // a worker has the connection
    bool _idleWait = false;
    bool _timedOut = false;
    Clock::time_point _idleSince;
    std::uint64_t _timerGeneration = 0;
};

}  // namespace tarn
