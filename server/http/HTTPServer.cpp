#include "http/HTTPServer.h"

#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <future>

#include "http/HTTPConnection.h"
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
      _table(config.maxConnections, kMaxRejecting) {}

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
    _workers = std::make_unique<WorkerPool>(_config.workerThreads);
    _environment.emplace(ConnectionEnvironment{_config, _adapters, *_workers, _stopping, _context});
    _work.emplace(asio::make_work_guard(_io));
    for (std::size_t i = 0; i < _listeners.size(); ++i) {
        accept(i);
    }
    _ioThread = std::thread([this] {
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
    auto registration = _table.admit();
    if (!registration) {
        error_code ignored;
        socket.close(ignored);
        accept(index);
        return;
    }
    if (!registration->isServing()) {
        AdapterUtils::log(
            WHO,
            "Connection refused with 503: " +
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
