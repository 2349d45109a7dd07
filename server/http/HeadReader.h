// tarn::HeadReader: the part of a connection that runs on the server's I/O
// thread, where it occupies no worker: the TLS handshake, request heads read
// asynchronously within their deadlines (the head time, or the keep-alive
// time while the connection is idle), the server's own answers to bad heads
// and to connections past the cap, and the graceful close: a TLS close
// notification, then the sending side shut and what the client still sends
// drained, all within the linger time.
//
// A complete head goes to a worker (RequestRunner); the worker's outcome
// comes back here, and the connection waits for its next head or closes.
#pragma once

#include <array>
#include <boost/asio/steady_timer.hpp>
#include <cstdint>
#include <memory>
#include <string>

#include "http/RequestParser.h"
#include "http/RequestRunner.h"

namespace tarn {

class HTTPConnection;

class HeadReader {
  public:
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

  private:
    std::shared_ptr<HTTPConnection> keep();
    void readHead(bool idle);
    void readMore();
    void onRead(const boost::system::error_code& ec, std::size_t n);
    // True when the received bytes completed a head (or failed to be one).
    bool parseBuffered();
    void dispatch();
    void resume(const RequestRunner::Outcome& outcome);
    void armTimer(std::uint32_t milliseconds);
    void cancelTimer();
    void answerAndClose(HeadStep step);
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
    std::uint64_t _timerGeneration = 0;
};

}  // namespace tarn
