// Indication export from the adapter to listeners on real sockets: the
// request on the wire, retries with the indication service's settings,
// attempt time-outs, outbound local ports, HTTPS verification and tracing.
// An object manager runs in-process (the default schema in a temporary
// repository, served through the operation handler), and a listener records
// each request and answers as told.
#include <gtest/gtest.h>
#include <openssl/ssl.h>

#include <atomic>
#include <mutex>
#include <regex>
#include <thread>

#include "CIMXMLAdapter.h"
#include "HttpTestSupport.h"
#include "core/ObjectManagerContext.h"
#include "handler/OperationHandler.h"
#include "mof/MofCompiler.h"
#include "providers/RepositoryInstanceProvider.h"
#include "repository/DefaultSchema.h"
#include "repository/RepositoryMofSink.h"
#include "security/TLSCertificate.h"
#include "tarn/LogCapture.h"
#include "vela/CVelaInstanceName.h"
#include "vela/CVelaNameSpacePath.h"
#include "vela/CVelaObject.h"
#include "vela/CVelaValue.h"
#include "vela/TARNConfigManager.h"

namespace {

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
    tarn::WorkerPool _pool{2, "test-pool"};
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
    enum Answer { Ok, Silent };
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
        const std::string reply = "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n";
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

using cimxmlpa::CIMXMLAdapter;
const char* const kDeliver = "CIMIndicationDeliveryService::deliverIndication";

VELSmrPtr<IVelaObject> destination(const std::string& url,
                                   const char* cls = "CIM_ListenerDestinationCIMXML") {
    auto d = makeVELSmrPtr<CVelaObject>(
        cls, makeVELSmrPtr<CVelaInstanceName>(
                 cls, VELSmrPtr<IVelaNameSpacePath>(new CVelaNameSpacePath("", "interop"))));
    d->addProperty("Name", CVelaValue::makeString(" listener-1\t\n"));
    d->addProperty("Destination", CVelaValue::makeString(url));
    return d;
}

class Export : public ::testing::Test {
  protected:
    // The adapter reads its outbound ports when made: configure first.
    bool deliver(const std::string& url, const std::string& configuration = "") {
        TARNConfigManager::getInstance().loadFromString(configuration);
        auto indication = makeVELSmrPtr<CVelaObject>("CIM_InstCreation");
        indication->addProperty("IndicationIdentifier", CVelaValue::makeString("42 & <x>"));
        bool delivered = CIMXMLAdapter(context).deliverIndication("interop", indication,
                                                                  destination(url), nullptr);
        TARNConfigManager::getInstance().loadFromString("");
        return delivered;
    }
    // How the last delivery ended, by its final line: "succeeded/4", "failed/1".
    std::string outcome() const {
        std::string found;
        for (const auto& l : log.lines()) {
            if (l.source == kDeliver && l.message.beginsWith("Indication #") &&
                l.message.contains(" delivery to destination 'listener-1' ")) {
                found = l.message.substring(l.message.rfind(' ') + 1).str() + "/" +
                        std::to_string(l.severity);
            }
        }
        return found;
    }
    std::size_t lines(const std::function<bool(const tarn::LogCapture::Line&)>& which) const {
        auto all = log.lines();
        return static_cast<std::size_t>(std::count_if(all.begin(), all.end(), which));
    }

    tarn::ObjectManagerContext& context = ObjectManager::context();
    tarn::LogCapture log;
};

TEST_F(Export, TheListenerReceivesTheWholeExportMessageWithItsThreeHeaders) {
    Listener listener;
    // The trace size applies only while tracing is off: on, all is traced.
    ASSERT_TRUE(deliver(listener.url() + "/cimlistener/one",
                        "[Log]\nTraceIndications = true\nTraceIndicationsBufSize = 10\n"));
    EXPECT_EQ(outcome(), "succeeded/4");
    EXPECT_EQ(lines([](const auto& l) {
                  return l.source == "VELHTTPClient" && l.message.contains("</MESSAGE></CIM>");
              }),
              1u);
    auto requests = listener.requests();
    ASSERT_EQ(requests.size(), 1u);
    const std::string& head = requests[0].head;
    EXPECT_EQ(head.substr(0, head.find("\r\n")), "POST /cimlistener/one HTTP/1.1");
    EXPECT_NE(head.find("\r\nContent-Type: application/xml; charset=\"utf-8\"\r\n"
                        "CIMExport: MethodRequest\r\nCIMExportMethod: ExportIndication\r\n"),
              std::string::npos)
        << head;

    static const std::regex id("MESSAGE ID=\"[0-9]{14}\\.[0-9]{6}\\+000\"");
    EXPECT_EQ(std::regex_replace(requests[0].body, id, "MESSAGE ID=\"@\""),
              "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n"
              "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><MESSAGE ID=\"@\" "
              "PROTOCOLVERSION=\"1.0\">\n"
              "<SIMPLEEXPREQ><EXPMETHODCALL NAME=\"ExportIndication\"> \n"
              "<EXPPARAMVALUE NAME=\"NewIndication\">\n"
              "<INSTANCE CLASSNAME=\"CIM_InstCreation\">\n"
              "<PROPERTY NAME=\"IndicationIdentifier\" TYPE=\"string\"><VALUE>42 &amp; "
              "&lt;x&gt;</VALUE>\n</PROPERTY>\n"
              "</INSTANCE>\n\n"
              "</EXPPARAMVALUE>\n"
              "</EXPMETHODCALL></SIMPLEEXPREQ></MESSAGE></CIM>");
}

TEST_F(Export, AnUnreachableListenerIsTriedAsTheIndicationServiceSaysThenGivenUp) {
    // CIM_IndicationService: 2 retries, 1 second apart. A 500 whose retry
    // gets through, and a listener that never answers, are
    // test_indications.py's (tests/pywbem).
    const Clock::time_point start = Clock::now();
    EXPECT_FALSE(deliver("127.0.0.1:" + std::to_string(tarntest::freePort())));
    EXPECT_GE(Clock::now() - start, std::chrono::seconds(2));
    EXPECT_EQ(outcome(), "failed/1");
    EXPECT_EQ(lines([](const auto& l) { return l.message.beginsWith("Exception: POST to "); }), 3u);
}

TEST_F(Export, DeliveryAttemptTimeoutIsCorrectedAndBoundsEachAttempt) {
    Listener silentFirst({Listener::Silent});
    EXPECT_TRUE(deliver(silentFirst.url(), "[Indication]\nDeliveryAttemptTimeout = 0\n"));
    EXPECT_TRUE(log.contains(kDeliver,
                             "Delivery attempt timeout of 0 (zero) is not allowed and is being "
                             "changed to the default value of 2 seconds",
                             2));
    auto requests = silentFirst.requests();
    ASSERT_EQ(requests.size(), 2u);
    // The silent attempt ends after 2 seconds, the next begins 1 second later.
    EXPECT_GT(requests[1].at - requests[0].at, std::chrono::milliseconds(2700));
    EXPECT_LT(requests[1].at - requests[0].at, std::chrono::milliseconds(4500));

    Listener listener;
    EXPECT_TRUE(deliver(listener.url(), "[Indication]\nDeliveryAttemptTimeout = 5000000\n"));
    EXPECT_TRUE(log.contains(kDeliver,
                             "Requested indication initial delivery timeout of 5000000 is being "
                             "reduced to 4294967 because of implementation limits",
                             2));
    EXPECT_EQ(lines([](const auto& l) { return l.severity == 2; }), 2u);
}

TEST_F(Export, OutboundConnectionsLeaveFromTheFirstFreeConfiguredPort) {
    // A port of the wildcard address, as the client binds them, chosen by
    // the system; busy while the socket lives.
    auto bindAny = [](const tarntest::Socket& s) {
        sockaddr_in a{};
        a.sin_family = AF_INET;
        socklen_t len = sizeof a;
        EXPECT_EQ(::bind(s.fd(), reinterpret_cast<sockaddr*>(&a), len), 0);
        ::getsockname(s.fd(), reinterpret_cast<sockaddr*>(&a), &len);
        return std::to_string(ntohs(a.sin_port));
    };
    auto tcp = [] { return tarntest::Socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)); };
    tarntest::Socket busy = tcp();
    const std::string taken = bindAny(busy);
    // Two that were free a moment ago (another process may have taken one).
    const std::string list = taken + "," + bindAny(tcp()) + "," + bindAny(tcp());
    const std::string ports = "[Indication]\nOutboundConnectionPorts = ";
    Listener listener;

    // Twice: each delivery binds a port of its own, and releases it.
    ASSERT_TRUE(deliver(listener.url(), ports + list));
    ASSERT_TRUE(deliver(listener.url(), ports + list));
    const std::string set = " set for outbound connections";
    EXPECT_EQ(log.count("Local port localhost:" + taken + " unsuccessfully" + set), 2u);
    auto requests = listener.requests();
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].peerPort, requests[1].peerPort);
    for (const auto& r : requests) {
        EXPECT_TRUE(log.contains(
            "CIMIndicationDeliveryService",
            "Local port localhost:" + std::to_string(r.peerPort) + " successfully" + set, 3));
    }

    log.clear();
    EXPECT_FALSE(deliver(listener.url(), ports + taken));
    EXPECT_EQ(log.count("Exception: Error binding to local port."), 3u);
    EXPECT_EQ(outcome(), "failed/1");
    EXPECT_EQ(listener.connections(), 2);

    // A list that does not read is reported, and leaves the port to the system.
    EXPECT_TRUE(deliver(listener.url(), ports + "6000-"));
    EXPECT_TRUE(log.containsText("OutboundConnectionPorts '6000-'"));
}

TEST_F(Export, HttpsVerifiesTheListenersCertificateUnlessToldNotTo) {
    tarntest::TempDir dir;
    const VELString cert = (dir.path() / "listener.crt").string();
    const VELString key = (dir.path() / "listener.key").string();
    tarn::TLSCertificate::generateSelfSigned(cert, key, "listener.example");
    auto tls = tarn::TLSCertificate::makeServerContext(cert, key);
    const std::pair<std::string, bool> cases[] = {
        {"", false},  // the system's trust store does not know the listener
        {"[Indication]\nCACertificateFile = " + cert.str(), true},
        {"[Indication]\nVerifyCertificates = false", true},
    };
    for (const auto& [configuration, delivered] : cases) {
        SCOPED_TRACE(configuration);
        Listener listener({}, tls->native_handle());
        EXPECT_EQ(deliver(listener.url() + "/tls", configuration), delivered);
        EXPECT_EQ(listener.requests().size(), delivered ? 1u : 0u);
        EXPECT_EQ(listener.connections(), delivered ? 1 : 3);
    }
}

TEST_F(Export, DestinationsAreCheckedBeforeAnyAttempt) {
    CIMXMLAdapter adapter(context);
    EXPECT_TRUE(adapter.canDeliverIndication(destination("", "Test_Listener")));
    EXPECT_FALSE(adapter.canDeliverIndication(destination("", "CIM_ListenerDestination")));
    EXPECT_FALSE(deliver(" ftp://x/y "));
    EXPECT_TRUE(log.contains(kDeliver, "Invalid destination: ftp://x/y", 1));
    EXPECT_EQ(outcome(), "");
}

}  // namespace
