#include "http/HTTPServer.h"

#include <pthread.h>

#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <future>

#include "http/HTTPConnection.h"
#include "security/ClientAddress.h"
#include "tarn/CIMStatus.h"
#include "vela/AdapterUtils.h"
#include "vela/VelaBaseException.h"

namespace asio = boost::asio;
using boost::system::error_code;

namespace tarn {

namespace {
const char* const WHO = "tarn::HTTPServer";
// Connections past the cap that are still being answered 503; beyond this
// they are closed at once.
constexpr std::size_t kMaxRejecting = 64;
}  // namespace

HTTPServer::HTTPServer(const HTTPServerConfig& config, ObjectManagerContext& context,
                       AdapterRegistry& adapters, std::shared_ptr<asio::ssl::context> tls)
    : _config(config),
      _context(context),
      _adapters(adapters),
      _tls(std::move(tls)),
      _table(config.maxConnections, config.maxConnectionsPerClient, kMaxRejecting),
      _requestMemory(static_cast<std::uint64_t>(config.requestMemoryMB) << 20) {}

HTTPServer::~HTTPServer() {
    if (_started && !_stopped) {
        stop();
    }
}

std::uint16_t HTTPServer::listen(const VELString& address, std::uint16_t port, bool secure) {
    if (secure && !_tls) {
        throw VelaBaseException("Network", WHO, "listen", "a secure port needs a TLS context",
                                CIM_ERR_FAILED);
    }
    try {
        asio::ip::tcp::endpoint endpoint(asio::ip::make_address(address.str()), port);
        auto listener =
            std::make_unique<Listener>(Listener{asio::ip::tcp::acceptor(_io), secure, nullptr});
        listener->acceptor.open(endpoint.protocol());
        listener->acceptor.set_option(asio::socket_base::reuse_address(true));
        listener->acceptor.bind(endpoint);
        listener->acceptor.listen(asio::socket_base::max_listen_connections);
        listener->retry = std::make_unique<asio::steady_timer>(_io);
        std::uint16_t bound = listener->acceptor.local_endpoint().port();
        _listeners.push_back(std::move(listener));
        AdapterUtils::log(WHO,
                          VELString("Listening on ") + (secure ? "https://" : "http://") +
                              (address.contains(":") ? "[" + address + "]" : address) + ":" +
                              VELString::valueOf(static_cast<unsigned>(bound)),
                          3);
        return bound;
    } catch (const boost::system::system_error& e) {
        throw VelaBaseException("Network", WHO, "listen",
                                "cannot listen on " + address + " port " +
                                    VELString::valueOf(static_cast<unsigned>(port)) + ": " +
                                    VELString(e.code().message()),
                                1);
    }
}

void HTTPServer::start() {
    if (_started) {
        return;
    }
    _started = true;
    _workers = std::make_unique<WorkerPool>(_config.workerThreads, "tarn-worker");
    _environment.emplace(
        ConnectionEnvironment{_config, _adapters, *_workers, _requestMemory, _stopping, _context});
    _work.emplace(asio::make_work_guard(_io));
    for (std::size_t i = 0; i < _listeners.size(); ++i) {
        accept(i);
    }
    _ioThread = std::thread([this] {
        ::pthread_setname_np(::pthread_self(), "tarn-io");
        for (;;) {
            try {
                _io.run();
                break;
            } catch (const std::exception& e) {
                AdapterUtils::log(WHO, VELString("I/O thread: ") + e.what(), 1);
            }
        }
    });
}

void HTTPServer::accept(std::size_t index) {
    _listeners[index]->acceptor.async_accept(
        [this, index](error_code ec, asio::ip::tcp::socket socket) {
            onAccept(index, ec, std::move(socket));
        });
}

void HTTPServer::onAccept(std::size_t index, error_code ec, asio::ip::tcp::socket socket) {
    Listener& listener = *_listeners[index];
    if (isStopping() || ec == asio::error::operation_aborted) {
        return;
    }
    if (ec) {
        // Out of descriptors and the like: try again shortly rather than spin.
        AdapterUtils::log(WHO, "Accepting a connection failed: " + VELString(ec.message()), 1);
        listener.retry->expires_after(std::chrono::milliseconds(100));
        listener.retry->async_wait([this, index](const error_code& e) {
            if (!e && !isStopping()) {
                accept(index);
            }
        });
        return;
    }
    error_code ignored;
    auto peer = socket.remote_endpoint(ignored);
    const std::string client = clientKey(peer.address().to_string());
    ConnectionTable::Full full = ConnectionTable::Full::None;
    auto registration = _table.admit(client, full);
    if (!registration && makeRoom(full == ConnectionTable::Full::Client ? &client : nullptr)) {
        if (auto again = _table.admit(client, full)) {
            registration.emplace(std::move(*again));
        }
    }
    if (!registration) {
        auto rejected = _table.admitRejected();
        if (!rejected) {
            socket.close(ignored);
            accept(index);
            return;
        }
        registration.emplace(std::move(*rejected));
        AdapterUtils::log(
            WHO,
            full == ConnectionTable::Full::Client
                ? "Connection from " + VELString(client) + " refused with 503: it has " +
                      VELString::valueOf(
                          static_cast<unsigned long>(_config.maxConnectionsPerClient)) +
                      " connections open"
                : "Connection refused with 503: " +
                      VELString::valueOf(static_cast<unsigned long>(_config.maxConnections)) +
                      " connections are open",
            2);
    }
    auto connection = std::make_shared<HTTPConnection>(*_environment, std::move(socket),
                                                       listener.secure ? _tls.get() : nullptr,
                                                       std::move(*registration));
    connection->start();
    accept(index);
}

bool HTTPServer::makeRoom(const std::string* client) {
    // A kept connection idle for less than this is not closed for another:
    // a client that pauses between requests is not lost to a flood of
    // newcomers. (A connection without a whole head is closed oldest first:
    // a client that sends its head at once is not.)
    constexpr auto kMinIdle = std::chrono::seconds(1);
    const auto before = HTTPConnection::Clock::now() - kMinIdle;
    std::shared_ptr<HTTPConnection> silent;  // no whole head yet: oldest first
    std::shared_ptr<HTTPConnection> idle;    // between requests: longest idle first
    for (auto& c : _table.live()) {
        if (client && c->client() != *client) {
            continue;
        }
        if (c->heads().awaitsFirstHead()) {
            if (!silent || c->acceptedAt() < silent->acceptedAt()) {
                silent = c;
            }
        } else if (c->heads().isIdle() && c->heads().idleSince() < before &&
                   (!idle || c->heads().idleSince() < idle->heads().idleSince())) {
            idle = c;
        }
    }
    auto& victim = silent ? silent : idle;
    if (!victim) {
        return false;
    }
    AdapterUtils::log(WHO,
                      VELString(silent ? "Connection without a request" : "Idle connection") +
                          " from " + victim->peer() + " closed for a new connection",
                      4);
    victim->closeNow();
    return true;
}

bool HTTPServer::stop() {
    if (!_started || _stopped) {
        return true;
    }
    _stopped = true;
    _stopping.store(true, std::memory_order_release);
    // On the I/O thread: stop accepting, close the idle connections.
    auto done = std::make_shared<std::promise<void>>();
    asio::post(_io, [this, done] {
        for (auto& l : _listeners) {
            error_code ignored;
            l->acceptor.close(ignored);
            l->retry->cancel();
        }
        for (auto& c : _table.live()) {
            c->stopIdle();
        }
        done->set_value();
    });
    const auto grace = std::chrono::milliseconds(_config.shutdownGraceMs);
    done->get_future().wait_for(grace);
    std::size_t open = _table.size();
    AdapterUtils::log(
        WHO,
        "Stopping: " + VELString::valueOf(static_cast<unsigned long>(open)) + " connections open",
        3);
    bool clean = _table.waitUntilEmpty(grace);
    if (!clean) {
        auto live = _table.live();
        AdapterUtils::log(WHO,
                          "Shutdown grace period over: closing " +
                              VELString::valueOf(static_cast<unsigned long>(live.size())) +
                              " connections",
                          2);
        for (auto& c : live) {
            c->forceClose();
        }
        live.clear();
        _table.waitUntilEmpty(std::chrono::milliseconds(_config.lingerTimeoutMs + 2000));
    }
    bool workersEnded = _workers->stop(std::chrono::milliseconds(2000));
    if (!workersEnded) {
        AdapterUtils::log(WHO, "A request did not end after its connection was closed", 1);
        return false;
    }
    _work.reset();
    _io.stop();
    if (_ioThread.joinable()) {
        _ioThread.join();
    }
    AdapterUtils::log(WHO, "HTTP server stopped", 3);
    return true;
}

}  // namespace tarn
