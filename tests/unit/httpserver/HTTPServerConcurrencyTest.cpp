// The HTTP server in process, with the test adapter plug-in, under
// concurrent clients and during shutdown. These run again under
// ThreadSanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <sstream>
#include <thread>

#include "HostileSupport.h"
#include "HttpTestSupport.h"
#include "core/AdapterRegistry.h"
#include "core/ObjectManagerContext.h"
#include "http/HTTPServer.h"
#include "security/LoginGuard.h"
#include "security/UsersFile.h"
#include "tarn/CClassSet.h"
#include "vela/AuthenticationHelper.h"

namespace {

using namespace tarntest;

class HTTPServerConcurrencyTest : public ::testing::Test {
  protected:
    // The users file, made once: its hash is slow on purpose.
    static std::shared_ptr<tarn::UsersFile> users() {
        static TempDir dir;
        static auto file = [] {
            auto f = std::make_shared<tarn::UsersFile>(VELString((dir.path() / "users").string()));
            f->addUser("admin", "secret", "admin");
            return f;
        }();
        return file;
    }

    void SetUp() override { AuthenticationHelper::setAuthenticator(users()); }
    void TearDown() override {
        if (server) {
            EXPECT_TRUE(server->stop());
        }
        server.reset();
        AuthenticationHelper::setAuthenticator(nullptr);
    }

    void start(tarn::HTTPServerConfig config) {
        adapters.load(VELString(std::string(TARN_LIB_DIR) + "/libtarn_testadapter.so"));
        server = std::make_unique<tarn::HTTPServer>(config, context, adapters, nullptr);
        port = server->listen("127.0.0.1", 0, false);
        server->start();
        context.setState(IVelaOperationHandlerContext::STARTED);
    }

    // Chunked: the body in two chunks and a trailer field.
    static std::string request(const std::string& op, const std::string& extra = "",
                               const std::string& body = "", bool chunked = false) {
        const std::string head = "POST /t HTTP/1.1\r\nHost: x\r\nTestOp: " + op +
                                 "\r\nAuthorization: " + basicAuth("admin", "secret") + "\r\n" +
                                 extra;
        if (!chunked) {
            return head + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
        }
        auto chunk = [](const std::string& data) {
            std::ostringstream size;
            size << std::hex << data.size();
            return data.empty() ? data : size.str() + "\r\n" + data + "\r\n";
        };
        return head + "Transfer-Encoding: chunked\r\n\r\n" +
               chunk(body.substr(0, body.size() / 2)) + chunk(body.substr(body.size() / 2)) +
               "0\r\nX-Sum: 1\r\n\r\n";
    }

    // One request on a connection of its own: the response.
    Response exchange(const std::string& text) {
        Socket s = Socket::connect(port);
        s.send(text);
        ResponseReader r(s);
        return r.read(in(10s));
    }
    // Connections whose "wait" request lacks its last five bytes; the
    // adapter has begun on each (it starts before the body is complete).
    std::vector<Socket> waiting(int n) {
        std::vector<Socket> out;
        const std::string r = request("wait", "", "0123456789");
        for (int i = 0; i < n; ++i) {
            out.push_back(Socket::connect(port));
            out.back().send(r.substr(0, r.size() - 5));
            EXPECT_NE(out.back().readSome(in(10s)).find("started"), std::string::npos);
        }
        return out;
    }

    tarn::CClassSet schema;
    tarn::ObjectManagerContext context{makeVELSmrPtr<tarn::PortInfo>(), schema};
    tarn::AdapterRegistry adapters{context};
    std::unique_ptr<tarn::HTTPServer> server;
    std::uint16_t port = 0;
};

// Silent connections hold no worker either: they are closed after the
// first-head time while the others are served.
TEST_F(HTTPServerConcurrencyTest, ManyKeepAliveClientsShareFewWorkersSilentOnesHoldNone) {
    tarn::HTTPServerConfig config;
    config.workerThreads = 3;
    config.firstHeadTimeoutMs = 300;
    start(config);
    std::vector<Socket> silent;
    for (int i = 0; i < 8; ++i) {
        silent.push_back(Socket::connect(port));
    }
    constexpr int kClients = 12;
    constexpr int kRequests = 20;
    std::atomic<int> good{0};
    std::vector<std::thread> clients;
    for (int c = 0; c < kClients; ++c) {
        clients.emplace_back([&, c] {
            Socket s = Socket::connect(port);
            ResponseReader reader(s);
            for (int i = 0; i < kRequests; ++i) {
                std::string body(static_cast<std::size_t>((c * 131 + i * 977) % 5000),
                                 char('a' + c));
                std::string extra = i % 3 == 1 ? "X-Framing: Chunked\r\n" : "X-Framing: Full\r\n";
                s.send(request("echo", extra, body, i % 2));
                Response r = reader.read(in(30s));
                if (r.status == 200 && r.body == body) {
                    ++good;
                }
            }
        });
    }
    for (auto& t : clients) {
        t.join();
    }
    EXPECT_EQ(good.load(), kClients * kRequests);
    EXPECT_EQ(context.getRegisteredRequests(), static_cast<std::uint64_t>(kClients * kRequests));
    for (auto& s : silent) {
        EXPECT_TRUE(s.waitClosed(in(5s)));
    }
}

TEST_F(HTTPServerConcurrencyTest, ConnectionsPastTheCapAre503WhileOthersAreServed) {
    tarn::HTTPServerConfig config;
    config.maxConnections = 4;
    start(config);
    // Four connections in the middle of a request fill the cap.
    std::vector<Socket> held;
    const std::string echo = request("echo", "", "0123456789");
    for (int i = 0; i < 4; ++i) {
        held.push_back(Socket::connect(port));
        held.back().send(request("ping"));
        ResponseReader r(held.back());
        ASSERT_EQ(r.read(in(10s)).status, 200);
        held.back().send(echo.substr(0, echo.size() - 5));
    }
    std::atomic<int> refused{0};
    std::atomic<int> other{0};
    std::vector<std::thread> clients;
    for (int i = 0; i < 8; ++i) {
        clients.emplace_back([&] {
            try {
                (exchange(request("ping")).status == 503 ? refused : other)++;
            } catch (const std::exception&) {
                other++;
            }
        });
    }
    for (auto& t : clients) {
        t.join();
    }
    EXPECT_EQ(refused.load(), 8);
    EXPECT_EQ(other.load(), 0);
    // The held ones are still served.
    for (auto& s : held) {
        s.send("56789");
        ResponseReader r(s);
        EXPECT_EQ(r.read(in(10s)).body, "0123456789");
    }
}

TEST_F(HTTPServerConcurrencyTest, StopLetsRequestsInFlightFinishAndClosesStuckOnesAfterGrace) {
    tarn::HTTPServerConfig config;
    config.shutdownGraceMs = 2000;
    config.bodyPreReadSize = 0;
    start(config);
    std::vector<Socket> clients = waiting(4);
    std::vector<Socket> stuck = waiting(2);  // the rest never comes
    Socket idle = Socket::connect(port);     // connected, no request
    const auto begin = Clock::now();
    auto stopped = std::async(std::launch::async, [&] { return server->stop(); });
    // Waits, within a bound, until the server has begun to stop.
    for (auto deadline = in(10s); !server->isStopping() && Clock::now() < deadline;) {
        std::this_thread::yield();
    }
    ASSERT_TRUE(server->isStopping());
    for (auto& c : clients) {
        c.send("56789");
        std::string got;
        // Closed after the response: the server stops.
        for (std::string more; !(more = c.readSome(in(10s))).empty();) {
            got += more;
        }
        EXPECT_NE(got.find("done:10\n"), std::string::npos) << got;
        EXPECT_NE(got.find("0\r\n\r\n"), std::string::npos) << got;
        c.close();
    }
    EXPECT_TRUE(idle.waitClosed(in(10s)));
    for (auto& s : stuck) {
        EXPECT_TRUE(s.waitClosed(in(10s)));
    }
    EXPECT_TRUE(stopped.get());
    EXPECT_GE(Clock::now() - begin, 1500ms);
    EXPECT_LT(Clock::now() - begin, 10s);
    EXPECT_EQ(server->openConnections(), 0u);
    EXPECT_THROW(Socket::connect(port), std::runtime_error);
    server.reset();
}

TEST_F(HTTPServerConcurrencyTest, LoggedInClientsAreServedAmidSlowBodiesLoginFloodsAndNewcomers) {
    tarn::HTTPServerConfig config;
    config.workerThreads = 3;
    config.maxConnections = 40;
    config.bodyStallMs = 400;
    start(config);
    tarn::LoginGuard::Settings settings;
    settings.hashThreads = 1;
    settings.hashQueue = 2;
    AuthenticationHelper::setAuthenticator(std::make_shared<tarn::LoginGuard>(users(), settings));
    ASSERT_EQ(exchange(request("ping")).body, "pong");  // logged in before the attacks start
    std::atomic<bool> stop{false};
    std::atomic<int> cut{0};
    std::atomic<int> refusedLogins{0};
    std::vector<std::thread> attackers;
    // More slow bodies than workers, from other addresses.
    for (int i = 0; i < 6; ++i) {
        attackers.emplace_back([&] {
            while (!stop) {
                Socket s = hostile::connectFrom(port, "127.0.0.2");
                s.send("POST /t HTTP/1.1\r\nTestOp: echo\r\nContent-Length: 1000\r\n\r\nx");
                std::string got;
                try {
                    got = s.readSome(in(10s));  // nothing comes until the stall time
                } catch (const std::exception&) {
                }
                cut += got.rfind("HTTP/1.1 408", 0) == 0;
            }
        });
    }
    // Wrong passwords as fast as they are answered.
    for (int i = 0; i < 4; ++i) {
        attackers.emplace_back([&, i] {
            while (!stop) {
                Socket s = hostile::connectFrom(port, "127.0.0.3");
                s.send("POST /t HTTP/1.1\r\nTestOp: ping\r\nAuthorization: " +
                       basicAuth(i % 2 ? "admin" : "eve", "guess") +
                       "\r\nContent-Length: 0\r\n\r\n");
                ResponseReader r(s);
                int status = 0;
                try {
                    status = r.read(in(30s)).status;
                } catch (const std::exception&) {
                }
                refusedLogins += status == 429 || status == 503;
            }
        });
    }
    // Connections that send nothing, taking the places of each other.
    attackers.emplace_back([&] {
        std::vector<Socket> held;
        while (!stop) {
            try {
                held.push_back(
                    hostile::connectFrom(port, "127.0.0." + std::to_string(4 + held.size() % 8)));
            } catch (const std::exception&) {
            }
            if (held.size() > 60) {
                held.erase(held.begin());
            }
            ::poll(nullptr, 0, 5);
        }
    });
    int served = 0;
    for (int i = 0; i < 40; ++i) {
        Response answer = exchange(request("echo", "", "payload"));
        served += answer.status == 200 && answer.body == "payload";
    }
    stop = true;
    for (auto& t : attackers) {
        t.join();
    }
    EXPECT_EQ(served, 40);
    EXPECT_GT(cut.load(), 0);
    EXPECT_GT(refusedLogins.load(), 0);
}

}  // namespace
