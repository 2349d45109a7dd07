// Attacks on a running tarnd, and the normal client that must still be
// served while they run. Shared by the hostile tests (tests/hostile, short)
// and the soak benchmark (bench/soak, long).
//
// Attackers connect from loopback addresses other than 127.0.0.1 (Linux
// routes all of 127/8 to the loopback interface), so that the per-address
// limits of the server see them as other clients than the normal one.
#pragma once

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <random>
#include <thread>

#include "HttpTestSupport.h"

namespace tarntest::hostile {

// A connection from the loopback address source (such as "127.0.0.2").
inline Socket connectFrom(std::uint16_t port, const std::string& source) {
    return Socket::connect(port, source.c_str());
}

// Waits until the deadline or until stop is set; true when stopped.
class Stopper {
  public:
    bool waitUntil(Clock::time_point deadline) {
        std::unique_lock<std::mutex> lock(_m);
        return _cv.wait_until(lock, deadline, [this] { return _stop; });
    }
    bool stopped() {
        std::lock_guard<std::mutex> lock(_m);
        return _stop;
    }
    void stop() {
        {
            std::lock_guard<std::mutex> lock(_m);
            _stop = true;
        }
        _cv.notify_all();
    }

  private:
    std::mutex _m;
    std::condition_variable _cv;
    bool _stop = false;
};

// CPU time and memory of a process, from /proc.
struct ProcessStats {
    double cpuSeconds = 0;
    long rssKb = 0;
    long peakRssKb = 0;
};

inline ProcessStats statsOf(pid_t pid) {
    ProcessStats s;
    std::string stat = readFile("/proc/" + std::to_string(pid) + "/stat");
    std::size_t close = stat.rfind(')');
    if (close != std::string::npos) {
        std::istringstream fields(stat.substr(close + 2));
        std::string f;
        unsigned long long utime = 0;
        unsigned long long stime = 0;
        for (int i = 3; i <= 15 && fields >> f; ++i) {
            if (i == 14) {
                utime = std::stoull(f);
            } else if (i == 15) {
                stime = std::stoull(f);
            }
        }
        s.cpuSeconds =
            static_cast<double>(utime + stime) / static_cast<double>(::sysconf(_SC_CLK_TCK));
    }
    std::istringstream status(readFile("/proc/" + std::to_string(pid) + "/status"));
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmRSS:", 0) == 0) {
            s.rssKb = std::stol(line.substr(6));
        } else if (line.rfind("VmHWM:", 0) == 0) {
            s.peakRssKb = std::stol(line.substr(6));
        }
    }
    return s;
}

inline double loadAverage() {
    double one = 0;
    std::istringstream(readFile("/proc/loadavg")) >> one;
    return one;
}

// The head of such a request up to (not including) its framing.
inline std::string cimHead(const std::string& authorization, const std::string& method,
                           const std::string& extraHeaders = "") {
    std::string head = "POST /cimom HTTP/1.1\r\nHost: localhost\r\n";
    if (!authorization.empty()) {
        head += "Authorization: " + authorization + "\r\n";
    }
    return head +
           "Content-Type: application/xml; charset=\"utf-8\"\r\nCIMOperation: MethodCall\r\n"
           "CIMMethod: " +
           method + "\r\nCIMObject: root%2Fcimv2\r\n" + extraHeaders;
}

// A CIM-XML request for the default adapter.
inline std::string cimRequest(const std::string& authorization, const std::string& method,
                              const std::string& params, const std::string& extraHeaders = "") {
    std::string body =
        "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\">"
        "<MESSAGE ID=\"1\" PROTOCOLVERSION=\"1.0\"><SIMPLEREQ><IMETHODCALL NAME=\"" +
        method +
        "\"><LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"cimv2\"/>"
        "</LOCALNAMESPACEPATH>" +
        params + "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>";
    return cimHead(authorization, method, extraHeaders) +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

// tarnd as a child process with its default (CIM-XML) adapter, a fresh
// state directory and the given tarn.conf.
class Target {
  public:
    // binDir: where tarnd is (its adapter is in ../lib).
    void start(const std::string& binDir, const std::string& conf) {
        std::ofstream(_dir.path() / "tarn.conf") << conf << "\n";
        port = freePort();
        _process.start({binDir + "/tarnd", "--state-dir", _dir.path().string(), "--http-port",
                        std::to_string(port), "--https-port", "0"});
        if (!_process.waitForOutput("running;", in(30s))) {
            throw std::runtime_error("tarnd did not start: " + _process.output());
        }
        password = trimmed(readFile(_dir.path() / "admin.password"));
    }
    // True when tarnd ended within the deadline after SIGTERM, with status 0.
    bool stop() {
        if (_process.pid() <= 0) {
            return true;
        }
        _process.signal(SIGTERM);
        return _process.waitExit(in(30s)) == std::optional<int>(0);
    }
    pid_t pid() const { return _process.pid(); }
    std::string auth() const { return basicAuth("admin", password); }
    std::string trace() const { return readFile(_dir.path() / "trace.log"); }
    const std::string& output() const { return _process.output(); }

    std::uint16_t port = 0;
    std::string password;

  private:
    TempDir _dir;
    ChildProcess _process;
};

// The normal client: reads a class every interval with good credentials from
// 127.0.0.1, on a kept-alive connection that it replaces by a new one every
// fifth request (as clients that connect per operation do), and measures
// each answer, the connection included.
class Probe {
  public:
    struct Result {
        std::size_t requests = 0;
        std::size_t failures = 0;
        double p50Ms = 0;
        double p99Ms = 0;
        double maxMs = 0;
        std::string firstFailure;
    };

    Probe(std::uint16_t port, std::string authorization,
          std::chrono::milliseconds interval = std::chrono::milliseconds(50))
        : _port(port), _interval(interval) {
        _request = cimRequest(authorization, "GetClass",
                              "<IPARAMVALUE NAME=\"ClassName\"><CLASSNAME "
                              "NAME=\"CIM_ManagedElement\"/></IPARAMVALUE>");
    }
    ~Probe() { stop(); }

    // Logs in once (the first login pays for the password hash; logged-in
    // clients are what is measured), then measures in the background.
    void start() {
        Socket s = connectFrom(_port, "127.0.0.1");
        s.send(_request);
        ResponseReader reader(s);
        Response r = reader.read(in(30s));
        if (r.status != 200) {
            throw std::runtime_error("the normal client's first request got status " +
                                     std::to_string(r.status));
        }
        _thread = std::thread([this] { run(); });
    }
    Result stop() {
        _stopper.stop();
        if (_thread.joinable()) {
            _thread.join();
        }
        std::lock_guard<std::mutex> lock(_m);
        Result r = _result;
        std::vector<double> sorted = _latencies;
        std::sort(sorted.begin(), sorted.end());
        if (!sorted.empty()) {
            auto at = [&](double q) {
                return sorted[std::min(
                    sorted.size() - 1,
                    static_cast<std::size_t>(q * static_cast<double>(sorted.size())))];
            };
            r.p50Ms = at(0.50);
            r.p99Ms = at(0.99);
            r.maxMs = sorted.back();
        }
        return r;
    }

  private:
    void run() {
        std::optional<Socket> socket;
        std::optional<ResponseReader> reader;
        auto next = Clock::now();
        std::size_t sent = 0;
        while (!_stopper.waitUntil(next)) {
            next += _interval;
            auto begin = Clock::now();
            std::string failure;
            try {
                if (sent++ % 5 == 0) {
                    reader.reset();
                    socket.reset();
                }
                if (!socket) {
                    socket.emplace(connectFrom(_port, "127.0.0.1"));
                    reader.emplace(*socket);
                }
                socket->send(_request);
                Response r = reader->read(in(10s));
                if (r.status != 200 || r.body.find("<CLASS ") == std::string::npos) {
                    failure = "status " + std::to_string(r.status) + " " + r.reason;
                }
                if (r.header("Connection") == "close") {
                    reader.reset();
                    socket.reset();
                }
            } catch (const std::exception& e) {
                failure = e.what();
                reader.reset();
                socket.reset();
            }
            double ms = std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
            std::lock_guard<std::mutex> lock(_m);
            ++_result.requests;
            _latencies.push_back(ms);
            if (!failure.empty()) {
                if (_result.failures++ == 0) {
                    _result.firstFailure = failure;
                }
            }
            if (next < Clock::now()) {
                next = Clock::now();
            }
        }
    }

    std::uint16_t _port;
    std::chrono::milliseconds _interval;
    std::string _request;
    Stopper _stopper;
    std::thread _thread;
    std::mutex _m;
    Result _result;
    std::vector<double> _latencies;
};

// Attack threads with shared counters of named outcomes ("status 401",
// "closed by server", ...).
class Attack {
  public:
    virtual ~Attack() { stop(); }
    void start() {
        for (std::size_t i = 0; i < threads(); ++i) {
            _threads.emplace_back([this, i] {
                try {
                    run(i);
                } catch (const std::exception& e) {
                    count(std::string("attacker failed: ") + e.what());
                }
            });
        }
    }
    void stop() {
        _stopper.stop();
        for (auto& t : _threads) {
            t.join();
        }
        _threads.clear();
    }
    std::size_t countOf(const std::string& what) {
        std::lock_guard<std::mutex> lock(_m);
        auto it = _counts.find(what);
        return it == _counts.end() ? 0 : it->second;
    }
    std::string summary() {
        std::lock_guard<std::mutex> lock(_m);
        std::string s;
        for (const auto& [what, n] : _counts) {
            s += (s.empty() ? "" : ", ") + what + ": " + std::to_string(n);
        }
        return s;
    }

  protected:
    virtual std::size_t threads() const = 0;
    virtual void run(std::size_t thread) = 0;
    void count(const std::string& what) {
        std::lock_guard<std::mutex> lock(_m);
        ++_counts[what];
    }
    bool stopped() { return _stopper.stopped(); }
    bool pause(std::chrono::milliseconds d) { return _stopper.waitUntil(Clock::now() + d); }
    // The attacker addresses 127.0.0.2 ... 127.0.0.(1 + n), round robin.
    static std::string source(std::size_t i, std::size_t n) {
        return "127.0.0." + std::to_string(2 + i % std::max<std::size_t>(n, 1));
    }

    Stopper _stopper;

  private:
    std::vector<std::thread> _threads;
    std::mutex _m;
    std::map<std::string, std::size_t> _counts;
};

// Request heads followed by bodies that trickle in: one byte every interval
// after the first `fast` bytes, whatever the server answers meanwhile, until
// it closes the connection. Without credentials (none are needed to be read).
// chunked: the body comes as one-byte chunks instead.
class SlowBodies : public Attack {
  public:
    std::uint16_t port = 0;
    std::size_t connections = 32;
    std::size_t sources = 4;
    std::size_t contentLength = 65536;
    std::size_t fast = 0;
    bool chunked = false;
    std::chrono::milliseconds interval{1000};

  protected:
    std::size_t threads() const override { return connections; }
    void run(std::size_t i) override {
        while (!stopped()) {
            Socket s;
            try {
                s = connectFrom(port, source(i, sources));
            } catch (const std::exception&) {
                count("connect failed");
                pause(std::chrono::milliseconds(200));
                continue;
            }
            count("connections");
            std::string head = cimHead("", "GetClass");
            head += chunked ? "Transfer-Encoding: chunked\r\n\r\n"
                            : "Content-Length: " + std::to_string(contentLength) + "\r\n\r\n";
            try {
                s.send(head);
                if (fast > 0) {
                    s.send(chunked ? chunk(std::string(fast, 'x')) : std::string(fast, 'x'));
                }
                for (std::size_t sent = fast; sent < contentLength && !stopped(); ++sent) {
                    if (pause(interval)) {
                        break;
                    }
                    if (closedByServer(s)) {
                        break;
                    }
                    if (sent + 1 == contentLength) {
                        count("whole body sent");
                    }
                    s.send(chunked ? std::string("1\r\nx\r\n") : std::string("x"));
                }
            } catch (const std::exception&) {
                count("closed by server");
            }
        }
    }

  private:
    static std::string chunk(const std::string& data) {
        std::ostringstream size;
        size << std::hex << data.size();
        return size.str() + "\r\n" + data + "\r\n";
    }
    // True (and counted) when the server closed the connection; answers
    // are counted and passed over.
    bool closedByServer(Socket& s) {
        pollfd p{s.fd(), POLLIN, 0};
        while (::poll(&p, 1, 0) > 0) {
            std::string got = s.readSome(in(1s));
            if (got.empty()) {
                count("closed by server");
                return true;
            }
            if (got.rfind("HTTP/1.", 0) == 0 && got.size() >= 12) {
                count("answered " + got.substr(9, 3));
            }
        }
        return false;
    }
};

// Clients that log in with wrong passwords as fast as they are answered, for
// one user name or for ever new ones.
class LoginFlood : public Attack {
  public:
    std::uint16_t port = 0;
    std::size_t clients = 20;
    std::size_t sources = 1;
    bool randomUsers = false;

  protected:
    std::size_t threads() const override { return clients; }
    void run(std::size_t i) override {
        std::mt19937 random(static_cast<unsigned>(i));
        std::optional<Socket> s;
        std::optional<ResponseReader> reader;
        while (!stopped()) {
            std::string user = randomUsers ? "u" + std::to_string(random()) : "admin";
            std::string request = cimRequest(
                basicAuth(user, "guess" + std::to_string(random())), "GetClass",
                "<IPARAMVALUE NAME=\"ClassName\"><CLASSNAME NAME=\"CIM_ManagedElement\"/>"
                "</IPARAMVALUE>");
            try {
                if (!s) {
                    s.emplace(connectFrom(port, source(i, sources)));
                    reader.emplace(*s);
                }
                s->send(request);
                Response r = reader->read(in(30s));
                count("status " + std::to_string(r.status));
                if (r.header("Connection") == "close") {
                    reader.reset();
                    s.reset();
                }
            } catch (const std::exception&) {
                count("connection lost");
                reader.reset();
                s.reset();
                pause(std::chrono::milliseconds(10));
            }
        }
    }
};

// Connections that send nothing (or half a head) and are opened again as
// soon as the server closes them.
class IdleConnections : public Attack {
  public:
    std::uint16_t port = 0;
    std::size_t connections = 300;
    std::size_t sources = 16;
    std::size_t perThread = 25;
    bool halfHead = false;

  protected:
    std::size_t threads() const override { return (connections + perThread - 1) / perThread; }
    void run(std::size_t t) override {
        std::vector<std::optional<Socket>> held(perThread);
        while (!stopped()) {
            for (std::size_t k = 0; k < held.size() && !stopped(); ++k) {
                auto& s = held[k];
                if (s) {
                    pollfd p{s->fd(), POLLIN, 0};
                    if (::poll(&p, 1, 0) > 0) {
                        std::string got = s->readSome(in(1s));
                        count(got.rfind("HTTP/1.1 503", 0) == 0 ? "refused 503"
                                                                : "closed by server");
                        s.reset();
                    }
                }
                if (!s) {
                    try {
                        s.emplace(connectFrom(port, source(t * perThread + k, sources)));
                        count("connections");
                        if (halfHead) {
                            s->send("POST /cimom HTTP/1.1\r\nHost: x\r\n");
                        }
                    } catch (const std::exception&) {
                        count("connect failed");
                    }
                }
            }
            pause(std::chrono::milliseconds(20));
        }
    }
};

// Clients with good credentials that send large chunked bodies as fast as
// they can.
class LargeChunkedBodies : public Attack {
  public:
    std::uint16_t port = 0;
    std::size_t clients = 8;
    std::size_t sources = 1;
    std::size_t bodySize = 200u << 20;
    std::string authorization;

  protected:
    std::size_t threads() const override { return clients; }
    void run(std::size_t i) override {
        const std::string piece = "1000\r\n" + std::string(0x1000, '<') + "\r\n";
        while (!stopped()) {
            try {
                Socket s = connectFrom(port, source(i, sources));
                s.send(cimHead(authorization, "GetClass", "Transfer-Encoding: chunked\r\n\r\n"));
                std::size_t sent = 0;
                bool answered = false;
                for (; sent < bodySize && !stopped(); sent += 0x1000) {
                    s.send(piece);
                    pollfd p{s.fd(), POLLIN, 0};
                    if (sent % (1u << 20) == 0 && ::poll(&p, 1, 0) > 0) {
                        answered = true;
                        break;
                    }
                }
                if (!answered && !stopped()) {
                    s.send("0\r\n\r\n");
                }
                ResponseReader reader(s);
                count("status " + std::to_string(reader.read(in(60s)).status));
            } catch (const std::exception&) {
                count("closed by server");
            }
        }
    }
};

// Requests without credentials whose large bodies come after the head at a
// steady pace; the server should answer 401 and close rather than read them.
class UnauthenticatedBodies : public Attack {
  public:
    std::uint16_t port = 0;
    std::size_t clients = 16;
    std::size_t sources = 4;
    std::size_t contentLength = 10u << 20;
    std::chrono::milliseconds interval{100};
    std::size_t piece = 16384;
    // Seconds each connection was kept after its answer, summed.
    std::atomic<std::int64_t> keptMs{0};

  protected:
    std::size_t threads() const override { return clients; }
    void run(std::size_t i) override {
        while (!stopped()) {
            std::optional<Clock::time_point> answeredAt;
            std::size_t sent = 0;
            try {
                Socket s = connectFrom(port, source(i, sources));
                s.send(cimHead("", "GetClass") +
                       "Content-Length: " + std::to_string(contentLength) + "\r\n\r\n");
                bool closed = false;
                while (sent < contentLength && !closed && !stopped()) {
                    pollfd p{s.fd(), POLLIN, 0};
                    while (::poll(&p, 1, 0) > 0) {
                        std::string more = s.readSome(in(1s));
                        if (more.empty()) {
                            closed = true;
                            break;
                        }
                        if (!answeredAt) {
                            answeredAt = Clock::now();
                            count("answered " + more.substr(9, 3));
                        }
                    }
                    if (!closed) {
                        s.send(std::string(piece, 'x'));
                        sent += piece;
                        pause(interval);
                    }
                }
            } catch (const std::exception&) {
            }
            if (answeredAt) {
                keptMs += std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() -
                                                                                *answeredAt)
                              .count();
            }
            count(sent >= contentLength ? "whole body sent" : "closed by server");
        }
    }
};

}  // namespace tarntest::hostile
