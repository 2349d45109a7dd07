// A tarnd child process on free loopback ports with a temporary state
// directory, the test adapter plug-in and the trace log on its output.
#pragma once

#include <gtest/gtest.h>

#include "HttpTestSupport.h"

namespace tarntest {

class TarndFixture : public ::testing::Test {
  protected:
    // httpSection: lines for the [HTTP] section of tarn.conf.
    void startTarnd(const std::string& httpSection = "", bool https = false,
                    std::vector<std::string> extraArgs = {}) {
        std::ofstream(dir.path() / "tarn.conf") << "[Log]\nLevel = 3\nTraceFile = stderr\n[HTTP]\n"
                                                << httpSection << "\n";
        httpPort = freePort();
        httpsPort = https ? freePort() : 0;
        std::vector<std::string> argv = {std::string(TARN_BIN_DIR) + "/tarnd",
                                         "--state-dir",
                                         dir.path().string(),
                                         "--http-port",
                                         std::to_string(httpPort),
                                         "--https-port",
                                         std::to_string(httpsPort),
                                         "--adapter",
                                         adapterPath()};
        argv.insert(argv.end(), extraArgs.begin(), extraArgs.end());
        tarnd.start(argv);
        ASSERT_TRUE(tarnd.waitForOutput("running;", in(30s))) << tarnd.output();
        password = trimmed(readFile(dir.path() / "admin.password"));
        ASSERT_FALSE(password.empty());
    }

    void TearDown() override {
        if (tarnd.pid() > 0) {
            tarnd.signal(SIGTERM);
            auto status = tarnd.waitExit(in(15s));
            EXPECT_EQ(status, std::optional<int>(0)) << tarnd.output();
        }
    }

    static std::string adapterPath() {
        return std::string(TARN_LIB_DIR) + "/libtarn_testadapter.so";
    }

    std::string auth() const { return basicAuth("admin", password); }

    // A request for the test adapter; a body gets a Content-Length unless
    // extra headers frame it themselves.
    std::string request(const std::string& op, const std::string& extra = "",
                        const std::string& body = "", const std::string& version = "HTTP/1.1") {
        std::string r = head(op, extra, version);
        if (extra.find("Transfer-Encoding") == std::string::npos) {
            r += "Content-Length: " + std::to_string(body.size()) + "\r\n";
        }
        return r + "\r\n" + body;
    }
    // The head of such a request without its framing and final empty line.
    std::string head(const std::string& op, const std::string& extra = "",
                     const std::string& version = "HTTP/1.1") {
        return "POST /test " + version + "\r\nHost: localhost\r\nTestOp: " + op +
               "\r\nAuthorization: " + auth() + "\r\n" + extra;
    }

    // One request on a new connection.
    Response exchange(const std::string& raw, Clock::time_point deadline = in(10s)) {
        Socket s = Socket::connect(httpPort);
        s.send(raw);
        ResponseReader reader(s);
        return reader.read(deadline);
    }

    TempDir dir;
    ChildProcess tarnd;
    std::uint16_t httpPort = 0;
    std::uint16_t httpsPort = 0;
    std::string password;
};

}  // namespace tarntest
