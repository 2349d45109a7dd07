// Indication delivery through tarnd and its CIM-XML adapter: 10,000 creates
// in root/cimv2 on one keep-alive connection, each raising a CIM_InstCreation
// that 1, then 3, subscribed listeners on loopback receive. Reports the
// indications delivered per second, the latency from the create's answer to
// a listener's receipt (p50, p99; negative when the listener had it before
// the client had its answer), and the indications lost and duplicated.
//
// tarnd and the adapter are taken from the build tree next to this program.
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <thread>

#include "../tests/support/HttpTestSupport.h"
#include "BenchSupport.h"

namespace {

using namespace tarntest;
using tarnbench::buildDir;

constexpr int kCreates = 10000;

// A listener that answers every export request 200 OK and notes when each
// "bench-<n>" arrived.
class Listener {
  public:
    Listener() {
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t len = sizeof a;
        if (::bind(_fd, reinterpret_cast<sockaddr*>(&a), len) != 0 || ::listen(_fd, 64) != 0 ||
            ::getsockname(_fd, reinterpret_cast<sockaddr*>(&a), &len) != 0) {
            throw std::runtime_error("listener not started");
        }
        _port = ntohs(a.sin_port);
        _arrivals.assign(kCreates, {});
        _thread = std::thread([this] { run(); });
    }
    ~Listener() {
        _stop = true;
        _thread.join();
        ::close(_fd);
    }
    std::uint16_t port() const { return _port; }
    int received() const { return _received; }
    int duplicated() const { return _duplicated; }
    // Receipt times by create number (empty optional: never received).
    std::vector<std::optional<Clock::time_point>> arrivals() const {
        std::lock_guard<std::mutex> lock(_m);
        return _arrivals;
    }

  private:
    void run() {
        while (!_stop) {
            pollfd p{_fd, POLLIN, 0};
            if (::poll(&p, 1, 50) <= 0) {
                continue;
            }
            int c = ::accept4(_fd, nullptr, nullptr, SOCK_CLOEXEC);
            if (c >= 0) {
                serve(Socket(c));
            }
        }
    }
    // One request per connection, as the adapter sends them.
    void serve(Socket s) {
        std::string data;
        std::size_t end;
        while ((end = data.find("\r\n\r\n")) == std::string::npos) {
            if (!more(s, data)) {
                return;
            }
        }
        std::size_t cl = data.find("Content-Length: ");
        std::size_t length = cl < end ? std::stoul(data.substr(cl + 16)) : 0;
        while (data.size() < end + 4 + length) {
            if (!more(s, data)) {
                return;
            }
        }
        note(data.substr(end + 4, length), Clock::now());
        s.send("HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
    }
    static bool more(Socket& s, std::string& data) {
        try {
            data += s.readSome(in(5s));
            return true;
        } catch (const std::exception&) {
            return false;
        }
    }
    void note(const std::string& body, Clock::time_point at) {
        std::size_t p = body.find("bench-");
        if (p == std::string::npos) {
            return;
        }
        int n = std::atoi(body.c_str() + p + 6);
        std::lock_guard<std::mutex> lock(_m);
        if (n < 0 || n >= kCreates) {
            return;
        }
        if (_arrivals[static_cast<std::size_t>(n)]) {
            ++_duplicated;
        } else {
            _arrivals[static_cast<std::size_t>(n)] = at;
        }
        ++_received;
    }

    int _fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    std::uint16_t _port = 0;
    std::atomic<bool> _stop{false};
    mutable std::mutex _m;
    std::vector<std::optional<Clock::time_point>> _arrivals;
    std::atomic<int> _received{0};
    std::atomic<int> _duplicated{0};
    std::thread _thread;
};

std::string keyValue(const char* name, const std::string& value) {
    return "<KEYBINDING NAME=\"" + std::string(name) + "\"><KEYVALUE VALUETYPE=\"string\">" +
           value + "</KEYVALUE></KEYBINDING>";
}

std::string property(const char* name, const std::string& value) {
    return "<PROPERTY NAME=\"" + std::string(name) + "\" TYPE=\"string\"><VALUE>" + value +
           "</VALUE></PROPERTY>";
}

// The keys the benchmark gives filters and destinations.
std::string systemKeys(const char* cls, const std::string& name) {
    return keyValue("SystemCreationClassName", "CIM_ComputerSystem") +
           keyValue("SystemName", "bench") + keyValue("CreationClassName", cls) +
           keyValue("Name", name);
}

std::string systemProperties(const char* cls, const std::string& name) {
    return property("SystemCreationClassName", "CIM_ComputerSystem") +
           property("SystemName", "bench") + property("CreationClassName", cls) +
           property("Name", name);
}

class Tarnd {
  public:
    Tarnd() {
        std::ofstream(_dir.path() / "tarn.conf") << "[Log]\nLevel = 1\nTraceFile = trace.log\n";
        _port = freePort();
        _process.start({(buildDir() / "bin" / "tarnd").string(), "--state-dir",
                        _dir.path().string(), "--http-port", std::to_string(_port), "--https-port",
                        "0", "--adapter", (buildDir() / "lib" / "libcimxmlpa.so").string()});
        if (!_process.waitForOutput("running;", in(120s))) {
            throw std::runtime_error("tarnd did not start: " + _process.output());
        }
        _auth = basicAuth("admin", trimmed(readFile(_dir.path() / "admin.password")));
        _socket = Socket::connect(_port);
        _reader = std::make_unique<ResponseReader>(_socket);
    }
    ~Tarnd() {
        _process.signal(SIGTERM);
        _process.waitExit(in(30s));
    }

    // CreateInstance of the instance (INSTANCE element) in nameSpace ("root/cimv2").
    void create(const std::string& nameSpace, const std::string& instance) {
        std::string path;
        for (std::size_t b = 0, e; b <= nameSpace.size(); b = e + 1) {
            e = std::min(nameSpace.find('/', b), nameSpace.size());
            path += "<NAMESPACE NAME=\"" + nameSpace.substr(b, e - b) + "\"/>";
        }
        const std::string body =
            "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" "
            "DTDVERSION=\"2.0\"><MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL "
            "NAME=\"CreateInstance\"><LOCALNAMESPACEPATH>" +
            path + "</LOCALNAMESPACEPATH><IPARAMVALUE NAME=\"NewInstance\">" + instance +
            "</IPARAMVALUE></IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
        std::string encoded;
        for (char c : nameSpace) {
            encoded += c == '/' ? std::string("%2F") : std::string(1, c);
        }
        _socket.send("POST /cimom HTTP/1.1\r\nHost: localhost\r\nAuthorization: " + _auth +
                     "\r\nContent-Type: application/xml; charset=\"utf-8\"\r\nCIMOperation: "
                     "MethodCall\r\nCIMMethod: CreateInstance\r\nCIMObject: " +
                     encoded + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
                     body);
        Response r = _reader->read(in(60s));
        if (r.status != 200 || r.body.find("<ERROR") != std::string::npos) {
            throw std::runtime_error("CreateInstance failed: " + r.body);
        }
    }

    void subscribe(const std::vector<std::uint16_t>& listeners) {
        create("interop", "<INSTANCE CLASSNAME=\"CIM_IndicationFilter\">" +
                              systemProperties("CIM_IndicationFilter", "all") +
                              property("Query", "SELECT * FROM CIM_InstCreation") +
                              property("QueryLanguage", "WQL") +
                              property("SourceNamespace", "root/cimv2") + "</INSTANCE>");
        for (std::uint16_t port : listeners) {
            const std::string name = "listener" + std::to_string(port);
            create("interop",
                   "<INSTANCE CLASSNAME=\"CIM_ListenerDestinationCIMXML\">" +
                       systemProperties("CIM_ListenerDestinationCIMXML", name) +
                       property("Destination", "http://127.0.0.1:" + std::to_string(port)) +
                       "</INSTANCE>");
            create("interop",
                   "<INSTANCE CLASSNAME=\"CIM_IndicationSubscription\">"
                   "<PROPERTY.REFERENCE NAME=\"Filter\"><VALUE.REFERENCE><INSTANCENAME "
                   "CLASSNAME=\"CIM_IndicationFilter\">" +
                       systemKeys("CIM_IndicationFilter", "all") +
                       "</INSTANCENAME></VALUE.REFERENCE></PROPERTY.REFERENCE>"
                       "<PROPERTY.REFERENCE NAME=\"Handler\"><VALUE.REFERENCE><INSTANCENAME "
                       "CLASSNAME=\"CIM_ListenerDestinationCIMXML\">" +
                       systemKeys("CIM_ListenerDestinationCIMXML", name) +
                       "</INSTANCENAME></VALUE.REFERENCE></PROPERTY.REFERENCE></INSTANCE>");
        }
    }

  private:
    TempDir _dir;
    ChildProcess _process;
    std::uint16_t _port = 0;
    std::string _auth;
    Socket _socket;
    std::unique_ptr<ResponseReader> _reader;
};

void run(int listenerCount) {
    std::vector<std::unique_ptr<Listener>> listeners;
    std::vector<std::uint16_t> ports;
    for (int i = 0; i < listenerCount; ++i) {
        listeners.push_back(std::make_unique<Listener>());
        ports.push_back(listeners.back()->port());
    }
    Tarnd tarnd;
    tarnd.subscribe(ports);

    std::vector<Clock::time_point> answered(kCreates);
    const auto start = Clock::now();
    for (int n = 0; n < kCreates; ++n) {
        tarnd.create("root/cimv2", "<INSTANCE CLASSNAME=\"TARN_ComputerSystem\">" +
                                       property("CreationClassName", "TARN_ComputerSystem") +
                                       property("Name", "bench-" + std::to_string(n)) +
                                       "</INSTANCE>");
        answered[static_cast<std::size_t>(n)] = Clock::now();
    }
    const auto createsDone = Clock::now();
    // Bounded wait for the stragglers: a lost indication must not hang the run.
    const auto deadline = in(120s);
    auto all = [&] {
        return std::all_of(listeners.begin(), listeners.end(),
                           [](const auto& l) { return l->received() >= kCreates; });
    };
    while (!all() && Clock::now() < deadline) {
        ::poll(nullptr, 0, 10);
    }

    std::vector<double> latencies;
    Clock::time_point last = start;
    int lost = 0;
    int duplicated = 0;
    for (const auto& l : listeners) {
        auto arrivals = l->arrivals();
        duplicated += l->duplicated();
        for (int n = 0; n < kCreates; ++n) {
            const auto& a = arrivals[static_cast<std::size_t>(n)];
            if (!a) {
                ++lost;
                continue;
            }
            last = std::max(last, *a);
            latencies.push_back(std::chrono::duration<double, std::micro>(
                                    *a - answered[static_cast<std::size_t>(n)])
                                    .count());
        }
    }
    std::sort(latencies.begin(), latencies.end());
    auto pct = [&](double p) {
        return latencies.empty() ? 0.0
                                 : latencies[static_cast<std::size_t>(
                                       p * static_cast<double>(latencies.size() - 1))];
    };
    const double seconds = std::chrono::duration<double>(last - start).count();
    const double createSeconds = std::chrono::duration<double>(createsDone - start).count();
    std::printf(
        "%d listener(s): %d creates in %.2f s (%.0f/s); %zu indications delivered in %.2f s "
        "(%.0f/s); latency answer->receipt p50 %.0f us, p99 %.0f us; lost %d, duplicated %d\n",
        listenerCount, kCreates, createSeconds, kCreates / createSeconds, latencies.size(), seconds,
        static_cast<double>(latencies.size()) / seconds, pct(0.5), pct(0.99), lost, duplicated);
    std::fflush(stdout);
}

}  // namespace

int main() {
    try {
        run(1);
        run(3);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "bench_indications: %s\n", e.what());
        return 1;
    }
    return 0;
}
