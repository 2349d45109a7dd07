// tarn::HTTPServer: the object manager's HTTP and HTTPS front.
//
// One I/O thread accepts connections on every listening port, performs TLS
// handshakes and reads request heads (and small bodies), each with its
// deadline; a bounded pool of workers runs one busy connection each (see
// HTTPConnection). A new connection past the cap, or past the cap of its
// client's address, takes the place of another (of that client, for the
// client's cap): the oldest one that has not sent a whole head yet, else the
// one idle between requests the longest, for a second at least;
// when there is none, it gets "503 Service Unavailable" and is closed.
// Request bodies share one memory budget.
//
// stop() is the graceful shutdown: no new connections, idle connections
// closed, requests in flight given the grace period to finish; after it the
// remaining sockets are shut down so that their workers unwind.
#pragma once

#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "core/AdapterRegistry.h"
#include "core/ObjectManagerContext.h"
#include "core/WorkerPool.h"
#include "http/ConnectionEnvironment.h"
#include "http/ConnectionTable.h"
#include "http/HTTPServerConfig.h"
#include "http/RequestMemoryBudget.h"

namespace tarn {

class HTTPConnection;

class HTTPServer {
  public:
    // tls: the server context for secure ports (null when there are none).
    HTTPServer(const HTTPServerConfig& config, ObjectManagerContext& context,
               AdapterRegistry& adapters, std::shared_ptr<boost::asio::ssl::context> tls);
    ~HTTPServer();
    HTTPServer(const HTTPServer&) = delete;
    HTTPServer& operator=(const HTTPServer&) = delete;

    // Opens a listening socket (port 0: any free port) and returns its port.
    // Throws VelaBaseException ("Network") when it cannot.
    std::uint16_t listen(const VELString& address, std::uint16_t port, bool secure);
    // Starts the worker pool and the I/O thread, which accepts from now on.
    void start();
    // Graceful shutdown (see above). False when a worker did not end within
    // the bounds; the process must then exit without destroying the server.
    bool stop();

    bool isStopping() const { return _stopping.load(std::memory_order_acquire); }
    std::size_t openConnections() const { return _table.size(); }
    // Connections with a request on a worker or waiting for one.
    std::size_t busyConnections() const { return _workers ? _workers->pending() : 0; }
    // Workers running a request.
    std::size_t busyWorkers() const { return _workers ? _workers->running() : 0; }
    std::size_t workerCount() const { return _config.workerThreads; }

  private:
    struct Listener {
        boost::asio::ip::tcp::acceptor acceptor;
        bool secure;
        std::unique_ptr<boost::asio::steady_timer> retry;
    };
    void accept(std::size_t index);
    void onAccept(std::size_t index, boost::system::error_code ec,
                  boost::asio::ip::tcp::socket socket);
    // Closes a connection (of client, when given) for a new one, as above;
    // false when there is none to close.
    bool makeRoom(const std::string* client);

    HTTPServerConfig _config;
    ObjectManagerContext& _context;
    AdapterRegistry& _adapters;
    std::shared_ptr<boost::asio::ssl::context> _tls;
    std::atomic<bool> _stopping{false};

    // Declared before the I/O objects: connections end (and leave it) while
    // the io_context is destroyed.
    ConnectionTable _table;
    RequestMemoryBudget _requestMemory;

    boost::asio::io_context _io;
    std::optional<boost::asio::executor_work_guard<boost::asio::io_context::executor_type>> _work;
    std::vector<std::unique_ptr<Listener>> _listeners;
    std::unique_ptr<WorkerPool> _workers;
    std::optional<ConnectionEnvironment> _environment;  // once the workers exist
    std::thread _ioThread;
    bool _started = false;
    bool _stopped = false;
};

}  // namespace tarn
