// tarnd as a process: first-start files and the repository built from the
// schema, the command line and the starts that fail, the users file's
// administration with tarn-user, HTTPS, and graceful shutdown.
#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <sys/stat.h>

#include <set>

#include "TarndFixture.h"

namespace tarntest {
namespace {

unsigned modeOf(const std::filesystem::path& p) {
    struct stat st {};
    EXPECT_EQ(::stat(p.c_str(), &st), 0) << p;
    return st.st_mode & 0777;
}

class StateAndSecurityTest : public TestAdapterFixture {};

TEST_F(StateAndSecurityTest, FirstStartCreatesStateWithSafeDefaultsAndKeepsItLater) {
    std::filesystem::path state = dir.path() / "state";
    ChildProcess first;
    httpPort = freePort();
    first.start({tool("tarnd"), "--state-dir", state.string(), "--http-port",
                 std::to_string(httpPort), "--https-port", std::to_string(freePort()), "--adapter",
                 adapterPath()});
    ASSERT_TRUE(first.waitForOutput("running;", in(30s))) << first.output();
    EXPECT_EQ(modeOf(state), 0700u);
    // Every file of the state directory is the server's alone, the
    // repository and the files SQLite and tarn-mof keep beside it included.
    std::set<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(state)) {
        files.insert(entry.path().filename().string());
        EXPECT_EQ(modeOf(entry.path()), 0600u) << entry.path();
    }
    for (const char* f : {"admin.password", "users", "server.key", "server.crt", "tarn.conf",
                          "Port_settings.xml", "repository.db", "repository.db-wal",
                          "repository.db-shm", "repository.db-schema", "trace.log"}) {
        EXPECT_EQ(files.count(f), 1u) << f;
    }
    std::string pw = trimmed(readFile(state / "admin.password"));
    EXPECT_GE(pw.size(), 20u);
    std::string users = readFile(state / "users");
    EXPECT_NE(users.find("\nadmin:admin:pbkdf2-sha256$600000$"), std::string::npos) << users;
    EXPECT_EQ(users.find(pw), std::string::npos);
    EXPECT_NE(readFile(state / "Port_settings.xml")
                  .find("number=\"" + std::to_string(httpPort) + "\" secure=\"false\""),
              std::string::npos);
    EXPECT_NE(readFile(state / "tarn.conf").find(";MaxConnections = 256"), std::string::npos);
    std::string log = readFile(state / "trace.log");
    EXPECT_NE(log.find("its password is in " + (state / "admin.password").string()),
              std::string::npos)
        << log;
    EXPECT_NE(log.find("Generated a self-signed TLS certificate"), std::string::npos);
    EXPECT_NE(log.find("SHA-256 fingerprint "), std::string::npos);
    // The repository is built from the schema directory while the object
    // manager is STARTING.
    const std::string db = (state / "repository.db").string();
    std::size_t created = log.find("tarnd: Repository " + db + " created from the schema in " +
                                   std::string(TARN_SOURCE_DIR) + "/schema");
    std::size_t opened = log.find("tarnd: Repository " + db + ": 2 namespaces, 57 classes");
    ASSERT_NE(created, std::string::npos) << log;
    ASSERT_NE(opened, std::string::npos) << log;
    EXPECT_LT(log.find("Object manager state: STARTING"), created);
    EXPECT_LT(opened, log.find("Object manager state: STARTED"));
    first.signal(SIGTERM);
    ASSERT_EQ(first.waitExit(in(15s)), std::optional<int>(0)) << first.output();

    // A second start keeps everything, including the password.
    ChildProcess second;
    second.start({tool("tarnd"), "--state-dir", state.string(), "--https-port", "0", "--adapter",
                  adapterPath()});
    ASSERT_TRUE(second.waitForOutput("running;", in(30s))) << second.output();
    EXPECT_EQ(trimmed(readFile(state / "admin.password")), pw);
    EXPECT_EQ(readFile(state / "users"), users);
    EXPECT_NE(second.output().find("http port " + std::to_string(httpPort)), std::string::npos);
    EXPECT_EQ(second.output().find("https port"), std::string::npos);
    // It opens the repository that is there.
    log = readFile(state / "trace.log");
    std::size_t restart = log.rfind("Object manager state: STARTING");
    EXPECT_EQ(log.find("created from the schema", restart), std::string::npos) << log;
    EXPECT_NE(log.find(": 2 namespaces, 57 classes", restart), std::string::npos) << log;
    second.signal(SIGINT);
    EXPECT_EQ(second.waitExit(in(15s)), std::optional<int>(0));
}

TEST_F(StateAndSecurityTest, CommandLineIsExplainedAndStartsThatCannotServeSayWhy) {
    auto help = run({tool("tarnd"), "--help"});
    EXPECT_EQ(help.first, 0);
    for (const char* option : {"--state-dir", "--listen", "--http-port", "--https-port",
                               "--adapter", "admin.password", "Port_settings.xml", "SIGTERM"}) {
        EXPECT_NE(help.second.find(option), std::string::npos) << option;
    }
    auto tarndWith = [&](std::vector<std::string> args) {
        std::vector<std::string> argv = {
            tool("tarnd"), "--state-dir", dir.path().string(),       "--https-port",
            "0",           "--http-port", std::to_string(freePort())};
        argv.insert(argv.end(), args.begin(), args.end());
        auto result = run(argv);
        EXPECT_EQ(result.second.find("running;"), std::string::npos) << result.second;
        return result;
    };
    const std::filesystem::path bad = dir.path() / "bad";
    std::filesystem::create_directories(bad);
    std::ofstream(bad / "tarn.mof") << "class A : Missing { };\n";
    struct Case {
        const char* name;
        std::vector<std::string> args;
        int status;
        std::string said;
    };
    const Case cases[] = {
        {"port out of range", {"--http-port", "70000"}, 2, ""},
        {"unknown option", {"--frobnicate"}, 2, ""},
        // Nothing is built from a schema that does not compile.
        {"schema that does not compile",
         {"--adapter", adapterPath(), "--schema-dir", bad.string()},
         1,
         "tarnd: the schema " + (bad / "tarn.mof").string() + " cannot be loaded:"},
        {"adapter that does not load",
         {"--adapter", (dir.path() / "missing.so").string()},
         1,
         "cannot load protocol adapter"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto [status, output] = tarndWith(c.args);
        EXPECT_EQ(status, c.status) << output;
        EXPECT_NE(output.find(c.said), std::string::npos) << output;
    }
}

TEST_F(StateAndSecurityTest, TarnUserChangesTakeEffectInTheRunningServer) {
    startTarnd();
    // tarn-user with these arguments and standard input: its status and output.
    auto user = [&](std::vector<std::string> args, const std::string& input = "") {
        args.insert(args.begin(), {tool("tarn-user"), "--state-dir", dir.path().string()});
        return run(args, input);
    };
    // The answer to bob's info request with this password.
    auto asBob = [&](const std::string& pw) {
        return exchange("POST /test HTTP/1.1\r\nHost: x\r\nTestOp: info\r\nAuthorization: " +
                        basicAuth("bob", pw) + "\r\nContent-Length: 0\r\n\r\n");
    };
    auto add = user({"add", "bob"}, "first-pw\n");
    ASSERT_EQ(add.first, 0) << add.second;
    Response r = asBob("first-pw");
    EXPECT_EQ(r.status, 200);
    EXPECT_NE(r.body.find("user=bob\nroles=reader\n"), std::string::npos) << r.body;

    EXPECT_EQ(user({"passwd", "bob"}, "second-pw\n").first, 0);
    EXPECT_EQ(asBob("first-pw").status, 401);
    EXPECT_EQ(user({"role", "bob", "writer"}).first, 0);
    r = asBob("second-pw");
    EXPECT_EQ(r.status, 200);
    EXPECT_NE(r.body.find("roles=reader,writer\n"), std::string::npos) << r.body;
    EXPECT_EQ(user({"list"}).second, "admin admin\nbob writer\n");

    // Mistakes are refused and change nothing.
    EXPECT_EQ(user({"add", "bob"}, "x\n").first, 1);
    EXPECT_EQ(user({"add", "b:ad"}, "x\n").first, 2);
    EXPECT_EQ(user({"add", "eve", "--role", "root"}, "x\n").first, 2);
    EXPECT_EQ(user({"add", "eve"}).first, 2);  // no password

    EXPECT_EQ(user({"remove", "bob"}).first, 0);
    EXPECT_EQ(asBob("second-pw").status, 401);
    EXPECT_EQ(user({"list"}).second, "admin admin\n");
    EXPECT_EQ(modeOf(dir.path() / "users"), 0600u);
}

TEST_F(StateAndSecurityTest, HttpsServesWithTheGeneratedCertificateFromTls12On) {
    startTarnd("", true);
    const std::string cert = (dir.path() / "server.crt").string();
    const std::string url = "https://localhost:" + std::to_string(httpsPort) + "/test";
    const std::string out = (dir.path() / "body").string();
    auto curl = [&](std::vector<std::string> extra) {
        std::vector<std::string> argv = {
            "/usr/bin/curl", "-sS", "--cacert", cert, "-u", "admin:" + password, "-o", out, "-w",
            "%{http_code}",  "-X",  "POST",     "-d", ""};
        argv.insert(argv.end(), extra.begin(), extra.end());
        argv.push_back(url);
        return run(argv);
    };
    auto info = curl({"-H", "TestOp: info"});
    ASSERT_EQ(info.first, 0) << info.second;
    EXPECT_EQ(info.second, "200");
    EXPECT_NE(readFile(out).find("secure=1\n"), std::string::npos) << readFile(out);
    EXPECT_NE(readFile(out).find("url=https://"), std::string::npos);

    for (const char* framing : {"Chunked", "Full", "NotEncoded"}) {
        auto big = curl({"-H", "TestOp: generate", "-H", "X-Size: 300000", "-H", "X-Piece: 7000",
                         "-H", std::string("X-Framing: ") + framing});
        EXPECT_EQ(big.first, 0) << framing << ": " << big.second;
        std::string body = readFile(out);
        EXPECT_EQ(body.size(), 300000u) << framing;
        EXPECT_EQ(body.substr(299984), "0123456789abcdef") << framing;
    }
    // Older protocol versions are refused in the handshake, and so are TLS
    // 1.2 cipher suites without authenticated encryption.
    auto old = curl({"-H", "TestOp: ping", "--tlsv1.1", "--tls-max", "1.1"});
    EXPECT_NE(old.first, 0) << old.second;
    for (const char* suite :
         {"ECDHE-ECDSA-AES128-SHA", "ECDHE-ECDSA-AES256-SHA384", "ECDHE-ECDSA-AES128-SHA256"}) {
        auto cbc =
            curl({"-H", "TestOp: ping", "--tlsv1.2", "--tls-max", "1.2", "--ciphers", suite});
        EXPECT_NE(cbc.first, 0) << suite << ": " << cbc.second;
    }
    for (const char* suite : {"ECDHE-ECDSA-AES128-GCM-SHA256", "ECDHE-ECDSA-CHACHA20-POLY1305"}) {
        auto aead =
            curl({"-H", "TestOp: ping", "--tlsv1.2", "--tls-max", "1.2", "--ciphers", suite});
        EXPECT_EQ(aead.second, "200") << suite;
    }
    // Plain HTTP on the TLS port gets no answer, and the server goes on.
    Socket plain = Socket::connect(httpsPort);
    plain.send(request("ping"));
    EXPECT_TRUE(plain.waitClosed(in(10s)));
    EXPECT_EQ(curl({"-H", "TestOp: ping"}).second, "200");
}

// A local IPv4 address other than a loopback one, if the host has one.
std::optional<std::string> nonLoopbackAddress() {
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0) {
        return std::nullopt;
    }
    std::optional<std::string> found;
    for (ifaddrs* i = list; i && !found; i = i->ifa_next) {
        if (i->ifa_addr && i->ifa_addr->sa_family == AF_INET && !(i->ifa_flags & IFF_LOOPBACK) &&
            (i->ifa_flags & IFF_UP)) {
            char text[INET_ADDRSTRLEN] = {};
            ::inet_ntop(AF_INET, &reinterpret_cast<sockaddr_in*>(i->ifa_addr)->sin_addr, text,
                        sizeof text);
            found = text;
        }
    }
    ::freeifaddrs(list);
    return found;
}

TEST_F(StateAndSecurityTest, PlainHttpBasicIsForLoopbackClientsUnlessConfigured) {
    auto address = nonLoopbackAddress();
    if (!address) {
        GTEST_SKIP() << "the host has no address other than loopback ones";
    }
    startTarnd("", true, {"--listen", "0.0.0.0"});
    Socket remote = Socket::connect(httpPort, address->c_str());  // from that address
    remote.send(request("info"));
    ResponseReader reader(remote);
    Response r = reader.read(in(10s));
    EXPECT_EQ(r.status, 403);
    EXPECT_EQ(r.find("WWW-Authenticate"), nullptr);
    // The same client over TLS, and a loopback client, are served.
    const std::string url = "https://" + *address + ":" + std::to_string(httpsPort) + "/t";
    auto tls = run({"/usr/bin/curl", "-sS", "-k", "-u", "admin:" + password, "-o", "/dev/null",
                    "-w", "%{http_code}", "-X", "POST", "-d", "", "-H", "TestOp: ping", url});
    EXPECT_EQ(tls.second, "200");
    EXPECT_EQ(exchange(request("ping")).status, 200);

    // Configured for any client.
    TearDown();
    startTarnd("[Security]\nBasicOverHTTP = any\n", false, {"--listen", "0.0.0.0"});
    Socket again = Socket::connect(httpPort, address->c_str());
    again.send(request("info"));
    ResponseReader served(again);
    Response any = served.read(in(10s));
    EXPECT_EQ(any.status, 200);
    EXPECT_NE(any.body.find("loopback=0\n"), std::string::npos) << any.body;
}

}  // namespace
}  // namespace tarntest
