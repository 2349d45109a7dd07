// The HTTP server of a running tarnd, driven with raw HTTP through the test
// adapter plug-in: framing, keep-alive, hostile and slow clients, the
// connection caps, the request memory budget, and the server's own answers.
// (Each response framing read back whole is StateAndSecurityTest's HTTPS test
// through curl; written exactly, the output stream's unit test.)
#include <gtest/gtest.h>

#include "HostileSupport.h"
#include "TarndFixture.h"

namespace tarntest {
namespace {

std::string pattern(std::size_t n) {
    std::string s(n, '\0');
    for (std::size_t i = 0; i < n; ++i) {
        s[i] = "0123456789abcdef"[i % 16];
    }
    return s;
}

// Everything the server sends until it closes the connection.
std::string readToClose(Socket& s, Clock::time_point deadline) {
    std::string got;
    for (std::string more; !(more = s.readSome(deadline)).empty();) {
        got += more;
    }
    return got;
}

// Lets time pass (for deadlines that are the point of a test).
void elapse(std::chrono::milliseconds d) {
    ::poll(nullptr, 0, static_cast<int>(d.count()));
}

class HttpServerTest : public TestAdapterFixture {};

// A chunked body with trailer fields, which the adapter reads or leaves to the server.
const std::string kChunked = "3\r\nabc\r\n2\r\nde\r\n0\r\nX-Checksum: 12\r\nX-More: a\r\n\r\n";

TEST_F(HttpServerTest, PipelinedRequestsAreAnsweredInTurnUntilTheClientCloses) {
    startTarnd();
    Socket s = Socket::connect(httpPort);
    ResponseReader reader(s);
    // Four requests in one write; the adapter does not read the bodies of the pings.
    const std::string chunked = "Transfer-Encoding: chunked\r\n";
    s.send(request("echo", chunked, kChunked) + request("ping", chunked, kChunked) +
           request("ping", "", "ignored body") + request("info"));
    EXPECT_EQ(reader.read(in(10s)).body, "abcde");
    EXPECT_EQ(reader.read(in(10s)).body, "pong");
    Response pong = reader.read(in(10s));
    EXPECT_EQ(pong.body, "pong");
    EXPECT_EQ(pong.find("Connection"), nullptr);
    Response info = reader.read(in(10s));
    EXPECT_NE(info.body.find("persist=1\n"), std::string::npos) << info.body;
    // The adapter's class lookup reaches the repository's classes.
    EXPECT_NE(info.body.find("class=found\n"), std::string::npos) << info.body;
    // "Connection: close" from the client ends it after the answer.
    s.send(request("ping", "Connection: close\r\n"));
    Response last = reader.read(in(10s));
    EXPECT_EQ(last.header("Connection"), "close");
    EXPECT_TRUE(s.waitClosed(in(5s)));
}

TEST_F(HttpServerTest, AChunkedBodySentByteByByteIsFollowedByTheNextRequest) {
    startTarnd();
    Socket s = Socket::connect(httpPort);
    for (char b : request("echo", "Transfer-Encoding: chunked\r\n", kChunked) + request("info")) {
        s.send(std::string_view(&b, 1));
    }
    ResponseReader reader(s);
    EXPECT_EQ(reader.read(in(10s)).body, "abcde");
    Response next = reader.read(in(10s));
    EXPECT_EQ(next.status, 200) << next.body;
    EXPECT_NE(next.body.find("persist=1\n"), std::string::npos) << next.body;
}

TEST_F(HttpServerTest, BadHeadOrFramingGetsOneAnswerAndTheConnectionCloses) {
    startTarnd();
    struct Case {
        const char* name;
        std::string bad;
        int status;
    };
    const Case cases[] = {
        {"bad head", "POST /test HTTP/1.1\r\nContent-Length: x\r\n\r\n", 400},
        {"bad version", "POST /test HTTP/1.7\r\nContent-Length: 0\r\n\r\n", 505},
        {"garbage", "\x01\x02 nonsense\r\n\r\n", 400},
        {"not 1.x", "POST /test HTTP/2.0\r\nTestOp: ping\r\n\r\n", 505},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Socket s = Socket::connect(httpPort);
        s.send(c.bad + request("ping"));
        ResponseReader reader(s);
        EXPECT_EQ(reader.read(in(10s)).status, c.status);
        std::string rest = reader.leftover();
        for (std::string more; !(more = s.readSome(in(10s))).empty();) {
            rest += more;
        }
        EXPECT_EQ(rest, "");
    }
}

TEST_F(HttpServerTest, ExpectContinueIsAnsweredWhenTheBodyIsRead) {
    startTarnd();
    Socket s = Socket::connect(httpPort);
    s.send(head("echo", "Expect: 100-continue\r\nContent-Length: 4\r\n") + "\r\n");
    // The server asks for the body before it answers.
    std::string got = s.readSome(in(10s));
    EXPECT_EQ(got.rfind("HTTP/1.1 100 Continue\r\n\r\n", 0), 0u) << got;
    s.send("data");
    ResponseReader reader(s);
    EXPECT_EQ(reader.read(in(10s)).body, "data");
}

TEST_F(HttpServerTest, HeadLargerThanTheLimitIs431AndOthersAreServed) {
    startTarnd("MaxHeaderSize = 2048\n");
    Response big = exchange(request("ping", "X-Filler: " + std::string(4000, 'x') + "\r\n"));
    EXPECT_EQ(big.status, 431);
    EXPECT_EQ(big.header("Connection"), "close");
    Response fine = exchange(request("ping", "X-Filler: " + std::string(1000, 'x') + "\r\n"));
    EXPECT_EQ(fine.status, 200);
}

TEST_F(HttpServerTest, IdleKeptConnectionIsClosedAfterTheKeepAliveTime) {
    startTarnd("KeepAliveTimeoutMs = 400\n");
    Socket s = Socket::connect(httpPort);
    s.send(request("ping"));
    ResponseReader reader(s);
    EXPECT_EQ(reader.read(in(5s)).body, "pong");
    auto answered = Clock::now();
    EXPECT_TRUE(s.waitClosed(in(5s)));
    EXPECT_GE(Clock::now() - answered, 300ms);
}

TEST_F(HttpServerTest, ServerAnswersWhatNoAdapterServesAndAdapterFailures) {
    startTarnd();
    Response none = exchange("GET / HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_EQ(none.status, 404);
    EXPECT_EQ(none.body, "No protocol adapter serves this request.\n");

    // A VELHTTPException: the adapter's answer, then the connection closes
    // without the server reading the rest of the body.
    Socket s = Socket::connect(httpPort);
    s.send(head("reject", "Content-Length: 1000000\r\n") + "\r\npartial");
    ResponseReader reader(s);
    Response rejected = reader.read(in(10s));
    EXPECT_EQ(rejected.status, 400);
    EXPECT_EQ(rejected.header("Content-Length"), "0");
    EXPECT_TRUE(s.waitClosed(in(5s)));

    Response failed = exchange(request("fail"));
    EXPECT_EQ(failed.status, 500);
    EXPECT_EQ(failed.header("Connection"), "close");
}

TEST_F(HttpServerTest, ClientThatStopsReadingDoesNotHoldTheServer) {
    startTarnd("IOTimeoutMs = 500\nWorkerThreads = 1\n");
    Socket greedy = Socket::connect(httpPort);
    int small = 4096;
    ::setsockopt(greedy.fd(), SOL_SOCKET, SO_RCVBUF, &small, sizeof small);
    greedy.send(request("generate", "X-Size: 50000000\r\nX-Piece: 65536\r\n"));
    // The only worker writes to a client that reads nothing; at the write
    // deadline it gives up and serves the next client.
    Response r = exchange(request("ping"), in(10s));
    EXPECT_EQ(r.body, "pong");
}

TEST_F(HttpServerTest, FramingThatPartiesCouldReadDifferentlyIsRefusedAndCloses) {
    startTarnd("MaxChunkedBodySize = 1000\n");
    const std::string chunked = "3\r\nabc\r\n0\r\n\r\n";
    struct Case {
        const char* name;
        std::string framing;  // header lines
        std::string body;
        int status;
        const char* version = "HTTP/1.1";
    };
    const Case cases[] = {
        {"identity", "Transfer-Encoding: identity\r\n", chunked, 400},
        {"no such coding", "Transfer-Encoding: xchunked\r\n", chunked, 400},
        {"chunked not last", "Transfer-Encoding: chunked, gzip\r\n", chunked, 400},
        {"chunked twice", "Transfer-Encoding: chunked, chunked\r\n", chunked, 400},
        {"chunked in two fields", "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n",
         chunked, 400},
        {"a coding before chunked", "Transfer-Encoding: gzip, chunked\r\n", chunked, 501},
        {"a coding in a field before", "Transfer-Encoding: gzip\r\nTransfer-Encoding: chunked\r\n",
         chunked, 501},
        {"length, then chunked", "Content-Length: 13\r\nTransfer-Encoding: chunked\r\n", chunked,
         400},
        {"chunked, then length", "Transfer-Encoding: chunked\r\nContent-Length: 13\r\n", chunked,
         400},
        {"length and another coding", "Transfer-Encoding: gzip\r\nContent-Length: 13\r\n", chunked,
         400},
        {"two lengths", "Content-Length: 3\r\nContent-Length: 4\r\n", "abcd", 400},
        {"chunked in HTTP/1.0", "Transfer-Encoding: chunked\r\n", chunked, 400, "HTTP/1.0"},
        {"chunk size not hexadecimal", "Transfer-Encoding: chunked\r\n", "0x3\r\nabc\r\n0\r\n\r\n",
         400},
        {"chunk longer than its size", "Transfer-Encoding: chunked\r\n", "3\r\nabcd\r\n0\r\n\r\n",
         400},
        {"chunked body over the limit", "Transfer-Encoding: chunked\r\n",
         "7d0\r\n" + std::string(2000, 'x') + "\r\n0\r\n\r\n", 413},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Socket s = Socket::connect(httpPort);
        // A request follows: were it answered, the two parties would have
        // seen the first one end in different places.
        s.send(head("echo", c.framing, c.version) + "\r\n" + c.body + request("ping"));
        ResponseReader reader(s);
        Response r = reader.read(in(10s));
        EXPECT_EQ(r.status, c.status) << r.body;
        EXPECT_EQ(r.header("Connection"), "close");
        EXPECT_EQ(reader.leftover() + readToClose(s, in(10s)), "");
    }
}

// Bodies that break off before their end (the client ends its side there),
// before a worker takes them and while the adapter reads them.
TEST_F(HttpServerTest, BodyThatBreaksOffIsNeverServed) {
    for (const char* conf : {"", "BodyPreReadSize = 0\n"}) {
        startTarnd(conf);
        const std::string chunked = head("echo", "Transfer-Encoding: chunked\r\n") + "\r\n";
        const std::pair<const char*, std::string> cases[] = {
            {"no last chunk", chunked + "3\r\nabc\r\n"},
            {"chunk cut short", chunked + "5\r\nabc"},
            {"chunk line cut short", chunked + "3\r\nabc\r\n0\r"},
        };
        for (const auto& [name, start] : cases) {
            SCOPED_TRACE(std::string(conf) + name);
            Socket s = Socket::connect(httpPort);
            s.send(start);
            s.shutdownWrite();
            std::string got = readToClose(s, in(10s));
            // Not echoed: closed without an answer, or refused by the body stream.
            if (!got.empty()) {
                EXPECT_EQ(got.rfind("HTTP/1.1 400 Bad Request\r\n", 0), 0u) << got;
            }
            EXPECT_EQ(got.find("abc"), std::string::npos) << got;
        }
        TearDown();
    }
}

TEST_F(HttpServerTest, SlowBodiesHoldNoWorkerAndAreCutOffBelowThePace) {
    startTarnd("WorkerThreads = 1\nBodyStallMs = 800\nMinBodyRate = 1000\n");
    // A body that keeps the pace is read before the only worker is taken,
    // and served.
    Socket paced = Socket::connect(httpPort);
    paced.send(head("echo", "Content-Length: 10\r\n") + "\r\nabcde");
    Socket stalled = Socket::connect(httpPort);
    auto started = Clock::now();
    stalled.send(head("echo", "Content-Length: 10\r\n") + "\r\nabc");
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(exchange(request("ping"), in(2s)).body, "pong");  // the worker is free
    }
    elapse(300ms);
    paced.send("fghij");
    ResponseReader reader(paced);
    EXPECT_EQ(reader.read(in(5s)).body, "abcdefghij");
    // The other falls behind: a few more bytes, then nothing. It is answered
    // 408 once BodyStallMs (and a few milliseconds' credit) have passed
    // without enough bytes.
    stalled.send("d");
    std::string got = readToClose(stalled, in(10s));
    EXPECT_EQ(got.rfind("HTTP/1.1 408 Request Timeout\r\n", 0), 0u) << got;
    EXPECT_GE(Clock::now() - started, 700ms);
}

TEST_F(HttpServerTest, RequestsWithoutCredentialsAreNotAskedForOrDrainedOfTheirBodies) {
    startTarnd();
    const std::string noAuth = "POST /test HTTP/1.1\r\nHost: localhost\r\nTestOp: ping\r\n";
    // Expect: 100-continue and no credentials: refused without the body.
    {
        Socket s = Socket::connect(httpPort);
        s.send(noAuth + "Expect: 100-continue\r\nContent-Length: 100000\r\n\r\n");
        std::string got = readToClose(s, in(10s));
        EXPECT_EQ(got.rfind("HTTP/1.1 401 Unauthorized\r\n", 0), 0u) << got;
        EXPECT_EQ(got.find("100 Continue"), std::string::npos) << got;
    }
    // (A large body sent anyway is answered 401 and closed: HostileTest's
    // UnauthenticatedBodiesAreNotDrained.)
    // A small body, already read: the connection stays for a retry with
    // credentials.
    {
        Socket s = Socket::connect(httpPort);
        s.send(noAuth + "Content-Length: 500\r\n\r\n" + std::string(500, 'x'));
        ResponseReader reader(s);
        EXPECT_EQ(reader.read(in(10s)).status, 401);
        s.send(request("ping"));
        EXPECT_EQ(reader.read(in(10s)).body, "pong");
    }
}

TEST_F(HttpServerTest, BodiesShareTheRequestMemoryBudget) {
    startTarnd("RequestMemoryMB = 1\n");
    const std::string big = pattern(700000);
    EXPECT_EQ(exchange(request("echo", "X-Framing: Full\r\n", big)).body, big);
    // One body holds 700000 bytes of the mebibyte while it arrives...
    Socket first = Socket::connect(httpPort);
    std::string whole = request("echo", "X-Framing: Full\r\n", big);
    first.send(whole.substr(0, whole.size() - 100));
    // ...so another of that size does not fit: 503 at once, and closed.
    Socket second = Socket::connect(httpPort);
    second.send(request("echo", "X-Framing: Full\r\n", big));
    ResponseReader refused(second);
    Response r = refused.read(in(10s));
    EXPECT_EQ(r.status, 503);
    EXPECT_EQ(r.header("Retry-After"), "1");
    EXPECT_TRUE(second.waitClosed(in(5s)));
    // A small one still fits, and once the first is done, a large one again.
    EXPECT_EQ(exchange(request("echo", "", "small")).body, "small");
    first.send(whole.substr(whole.size() - 100));
    ResponseReader reader(first);
    EXPECT_EQ(reader.read(in(10s)).body, big);
    EXPECT_EQ(exchange(request("echo", "X-Framing: Full\r\n", big)).body, big);
}

TEST_F(HttpServerTest, AClientPastItsCapTakesThePlaceOfItsSilentOrIdleConnections) {
    startTarnd("MaxConnectionsPerClient = 2\nKeepAliveTimeoutMs = 60000\n");
    auto ping = [&](Socket& s) {
        s.send(request("ping"));
        ResponseReader reader(s);
        return reader.read(in(10s)).body;
    };
    // A connection that sent nothing goes first, however young...
    Socket silent = Socket::connect(httpPort);
    Socket x = Socket::connect(httpPort);
    ASSERT_EQ(ping(x), "pong");
    elapse(1200ms);  // ...even when another has been idle for over a second
    Socket d = Socket::connect(httpPort);
    EXPECT_EQ(ping(d), "pong");
    EXPECT_TRUE(silent.waitClosed(in(5s)));
    EXPECT_EQ(ping(x), "pong");
    // Then the one idle the longest, for a second at least.
    elapse(1200ms);
    ASSERT_EQ(ping(d), "pong");
    Socket e = Socket::connect(httpPort);
    EXPECT_EQ(ping(e), "pong");
    EXPECT_TRUE(x.waitClosed(in(5s)));
    // Two connections in the middle of a request (or idle for less than a
    // second) are not given up: the newcomer gets 503.
    d.send(head("echo", "Content-Length: 4\r\n") + "\r\nab");
    e.send(head("echo", "Content-Length: 4\r\n") + "\r\nab");
    Socket f = Socket::connect(httpPort);
    f.send(request("ping"));
    ResponseReader refused(f);
    EXPECT_EQ(refused.read(in(10s)).status, 503);
    // Other addresses have caps of their own.
    Socket other = hostile::connectFrom(httpPort, "127.0.0.2");
    EXPECT_EQ(ping(other), "pong");
}

TEST_F(HttpServerTest, NewConnectionsHaveAShortHeadDeadlineAndKeptOnesTheUsualOne) {
    startTarnd("FirstHeadTimeoutMs = 400\nHeaderTimeoutMs = 3000\n");
    auto start = Clock::now();
    Socket fresh = Socket::connect(httpPort);
    fresh.send("POST /test HTTP/1.1\r\n");  // never finished
    Socket kept = Socket::connect(httpPort);
    kept.send(request("ping"));
    ResponseReader reader(kept);
    ASSERT_EQ(reader.read(in(10s)).body, "pong");
    kept.send("POST /test HTTP/1.1\r\nHost: x\r\n");  // half of the next head
    EXPECT_TRUE(fresh.waitClosed(in(5s)));
    EXPECT_GE(Clock::now() - start, 300ms);
    elapse(600ms);  // past the first-head deadline, within the usual one
    kept.send("TestOp: ping\r\nAuthorization: " + auth() + "\r\nContent-Length: 0\r\n\r\n");
    EXPECT_EQ(reader.read(in(10s)).body, "pong");
}

}  // namespace
}  // namespace tarntest
