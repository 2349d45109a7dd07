// Indication export against real sockets: an object manager in-process (the
// default schema in a temporary repository, served through the operation
// handler) and a listener that records each request and answers as told.
#pragma once

#include <openssl/ssl.h>

#include <atomic>
#include <mutex>
#include <thread>

#include "HttpTestSupport.h"
#include "core/ObjectManagerContext.h"
#include "handler/OperationHandler.h"
#include "mof/MofCompiler.h"
#include "providers/RepositoryInstanceProvider.h"
#include "repository/DefaultSchema.h"
#include "repository/RepositoryMofSink.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaValue.h"

namespace exporttest {

using tarntest::Clock;

// The object manager of the test process, made before its first delivery
// (which reads the retry options once for the whole process): its
// CIM_IndicationService asks for 2 retries, 1 second apart, and
// Test_Listener derives from CIM_ListenerDestinationCIMXML.
class ObjectManager {
  public:
    static tarn::ObjectManagerContext& context() {
        static ObjectManager om;
        return *om._context;
    }

  private:
    ObjectManager() {
        tarn::DefaultSchema::ensure(_repo, TARN_SOURCE_DIR "/schema");
        tarn::MofOptions options;
        options.defaultNameSpace = "interop";
        tarn::MofCompiler mof(options, _repo.catalog().get());
        mof.compileText("class Test_Listener : CIM_ListenerDestinationCIMXML {};");
        tarn::RepositoryMofSink sink(_repo);
        if (!mof.commit(sink)) {
            throw std::runtime_error("test schema not loaded");
        }
        _repo.enumerateInstances("interop", "CIM_IndicationService", false, [&](const auto& s) {
            CVelaObject changed("CIM_IndicationService");
            changed.addProperty("DeliveryRetryAttempts", CVelaValue::makeUint16(2));
            changed.addProperty("DeliveryRetryInterval", CVelaValue::makeUint32(1));
            _repo.modifyInstance("interop", s->getPath(), changed, nullptr);
            return false;
        });
        _providers.setDefaultInstanceProvider(
            std::make_shared<tarn::RepositoryInstanceProvider>(_repo));
        _context->setOperationHandler(&_handler);
    }

    tarntest::TempDir _dir;
    tarn::Repository _repo{(_dir.path() / "repository.db").string()};
    tarn::ProviderRegistry _providers;
    tarn::WorkerPool _pool{2};
    tarn::OperationHandler _handler{*_repo.catalog(), _providers, _pool, nullptr};
    std::unique_ptr<tarn::ObjectManagerContext> _context =
        std::make_unique<tarn::ObjectManagerContext>(nullptr, *_repo.catalog());
};

// A listener on 127.0.0.1 (HTTPS with tls) that serves one connection at a
// time: it reads one request, records it, and answers with the next answer
// of its script (200 once the script is used up). Silent answers nothing
// and waits for the client to give up.
class Listener {
  public:
    enum Answer { Ok, ServerError, Silent };
    struct Request {
        std::string head;
        std::string body;
        std::uint16_t peerPort;
        Clock::time_point at;
    };

    explicit Listener(std::vector<Answer> script = {}, SSL_CTX* tls = nullptr)
        : _script(std::move(script)), _tls(tls) {
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t len = sizeof a;
        if (::bind(_fd, reinterpret_cast<sockaddr*>(&a), len) != 0 || ::listen(_fd, 8) != 0 ||
            ::getsockname(_fd, reinterpret_cast<sockaddr*>(&a), &len) != 0) {
            throw std::runtime_error("listener not started");
        }
        _url =
            (tls ? "https://127.0.0.1:" : "http://127.0.0.1:") + std::to_string(ntohs(a.sin_port));
        _thread = std::thread([this] {
            while (!_stop) {
                pollfd p{_fd, POLLIN, 0};
                sockaddr_in peer{};
                socklen_t n = sizeof peer;
                int c = ::poll(&p, 1, 50) > 0
                            ? ::accept4(_fd, reinterpret_cast<sockaddr*>(&peer), &n, SOCK_CLOEXEC)
                            : -1;
                if (c >= 0) {
                    serve(c, ntohs(peer.sin_port));
                    ::close(c);
                }
            }
        });
    }
    ~Listener() {
        _stop = true;
        _thread.join();
        ::close(_fd);
    }
    const std::string& url() const { return _url; }
    std::vector<Request> requests() const {
        std::lock_guard<std::mutex> lock(_m);
        return _requests;
    }
    int connections() const { return _connections; }

  private:
    void serve(int fd, std::uint16_t peerPort) {
        Request r{"", "", peerPort, Clock::now()};
        const std::size_t n = static_cast<std::size_t>(_connections++);
        const Answer answer = n < _script.size() ? _script[n] : Ok;
        timeval tv{10, 0};
        ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof tv);
        std::unique_ptr<SSL, void (*)(SSL*)> ssl(_tls ? SSL_new(_tls) : nullptr, SSL_free);
        if (ssl && (SSL_set_fd(ssl.get(), fd) != 1 || SSL_accept(ssl.get()) != 1)) {
            return;  // the client refused the handshake
        }
        char buf[16384];
        auto read = [&] {
            int got = ssl ? SSL_read(ssl.get(), buf, sizeof buf)
                          : static_cast<int>(::recv(fd, buf, sizeof buf, 0));
            r.body.append(buf, got > 0 ? static_cast<std::size_t>(got) : 0);
            return got > 0;
        };
        std::size_t end;
        while ((end = r.body.find("\r\n\r\n")) == std::string::npos) {
            if (!read()) {
                return;
            }
        }
        r.head = r.body.substr(0, end + 4);
        r.body.erase(0, end + 4);
        const std::size_t cl = r.head.find("Content-Length: ");
        while (cl != std::string::npos && r.body.size() < std::stoul(r.head.substr(cl + 16)) &&
               read()) {
        }
        {
            std::lock_guard<std::mutex> lock(_m);
            _requests.push_back(r);
        }
        const std::string reply = answer == Ok ? "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"
                                               : "HTTP/1.1 500 Oops\r\nContent-Length: 0\r\n\r\n";
        if (answer == Silent) {
            while (read()) {
            }
        } else if (ssl) {
            SSL_write(ssl.get(), reply.data(), static_cast<int>(reply.size()));
            SSL_shutdown(ssl.get());
        } else {
            ::send(fd, reply.data(), reply.size(), MSG_NOSIGNAL);
        }
    }

    std::vector<Answer> _script;
    SSL_CTX* _tls;
    int _fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    std::string _url;
    std::atomic<bool> _stop{false};
    std::atomic<int> _connections{0};
    mutable std::mutex _m;
    std::vector<Request> _requests;
    std::thread _thread;
};

}  // namespace exporttest
