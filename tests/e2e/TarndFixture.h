// A tarnd child process on free loopback ports with a temporary state
// directory, and the requests the end-to-end tests send it: raw HTTP for the
// test adapter plug-in (TestAdapterFixture) or CIM-XML for the default
// adapter (CimXmlFixture), and wbemcli runs.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>

#include "HttpTestSupport.h"

namespace tarntest {

class TarndFixture : public ::testing::Test {
  protected:
    // conf: tarn.conf text after logSection.
    void startTarnd(const std::string& conf = "", bool https = false,
                    std::vector<std::string> extraArgs = {}) {
        std::ofstream(dir.path() / "tarn.conf") << logSection << conf << "\n";
        httpPort = freePort();
        httpsPort = https ? freePort() : 0;
        std::vector<std::string> argv = {tool("tarnd"),
                                         "--state-dir",
                                         dir.path().string(),
                                         "--http-port",
                                         std::to_string(httpPort),
                                         "--https-port",
                                         std::to_string(httpsPort)};
        argv.insert(argv.end(), extraArgs.begin(), extraArgs.end());
        tarnd.start(argv);
        ASSERT_TRUE(tarnd.waitForOutput("running;", in(30s))) << tarnd.output() << trace();
        password = trimmed(readFile(dir.path() / "admin.password"));
        ASSERT_FALSE(password.empty());
    }
    // Loads the MOF files into the state directory before the start.
    void loadMof(const std::vector<std::string>& files) {
        for (const std::string& file : files) {
            auto [status, output] =
                run({tool("tarn-mof"), "--state-dir", dir.path().string(), file});
            ASSERT_EQ(status, 0) << output;
        }
    }

    void TearDown() override {
        if (tarnd.pid() > 0) {
            tarnd.signal(SIGTERM);
            EXPECT_EQ(tarnd.waitExit(in(15s)), std::optional<int>(0)) << tarnd.output();
        }
    }

    static std::string tool(const char* name) { return std::string(TARN_BIN_DIR) + "/" + name; }
    static std::string library(const char* name) { return std::string(TARN_LIB_DIR) + "/" + name; }
    // Runs a program to its end: its exit status and output.
    static std::pair<int, std::string> run(const std::vector<std::string>& argv,
                                           const std::string& input = std::string()) {
        ChildProcess p;
        p.start(argv, input);
        auto status = p.waitExit(in(60s));
        return {status.value_or(-1), p.output()};
    }
    // wbemcli with op, a URL path (namespace[:object path]) and more arguments.
    std::pair<int, std::string> wbemcli(const std::string& op, const std::string& path,
                                        std::vector<std::string> more = {}) {
        std::vector<std::string> argv = {
            "/usr/bin/wbemcli", op,
            "http://admin:" + password + "@127.0.0.1:" + std::to_string(httpPort) + "/" + path};
        argv.insert(argv.end(), more.begin(), more.end());
        return run(argv);
    }

    std::string auth() const { return basicAuth("admin", password); }

    // One request on a new connection.
    Response exchange(const std::string& raw, Clock::time_point deadline = in(10s)) {
        Socket s = Socket::connect(httpPort);
        s.send(raw);
        ResponseReader reader(s);
        return reader.read(deadline);
    }

    std::string trace() const { return readFile(dir.path() / "trace.log"); }
    // A trace line with exactly this severity, source and message (lines
    // read "<time> [<thread>] <severity> source: message").
    bool traced(int severity, const std::string& source, const std::string& message) const {
        return trace().find(" <" + std::to_string(severity) + "> " + source + ": " + message +
                            "\n") != std::string::npos;
    }

    std::string logSection = "[Log]\nLevel = 4\nTraceFile = trace.log\n";
    TempDir dir;
    ChildProcess tarnd;
    std::uint16_t httpPort = 0;
    std::uint16_t httpsPort = 0;
    std::string password;
};

// tarnd with the test adapter plug-in, its trace on its output, and the
// conf text in its [HTTP] section unless it starts a section itself.
class TestAdapterFixture : public TarndFixture {
  protected:
    void startTarnd(const std::string& conf = "", bool https = false,
                    std::vector<std::string> extraArgs = {}) {
        logSection = "[Log]\nLevel = 3\nTraceFile = stderr\n[HTTP]\n";
        extraArgs.insert(extraArgs.begin(), {"--adapter", adapterPath()});
        TarndFixture::startTarnd(conf, https, extraArgs);
    }
    static std::string adapterPath() { return library("libtarn_testadapter.so"); }

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
};

// CIM-XML request messages as clients send them.
namespace cimxml {

inline std::string message(std::string_view content, std::string_view id = "1001",
                           std::string_view cimVersion = "2.0", std::string_view dtdVersion = "2.0",
                           std::string_view protocolVersion = "1.0") {
    return "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"" +
           std::string(cimVersion) + "\" DTDVERSION=\"" + std::string(dtdVersion) +
           "\"><MESSAGE ID=\"" + std::string(id) + "\" PROTOCOLVERSION=\"" +
           std::string(protocolVersion) + "\">" + std::string(content) + "</MESSAGE></CIM>";
}

inline const std::string kRootCimv2 =
    "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"cimv2\"/>"
    "</LOCALNAMESPACEPATH>";

inline std::string iparam(const std::string& name, const std::string& content) {
    return "<IPARAMVALUE NAME=\"" + name + "\">" + content + "</IPARAMVALUE>";
}
inline std::string className(const std::string& name) {
    return iparam("ClassName", "<CLASSNAME NAME=\"" + name + "\"/>");
}
// An intrinsic call (for a SIMPLEREQ or inside a MULTIREQ).
inline std::string intrinsicCall(std::string_view method, std::string_view extra = "") {
    return "<SIMPLEREQ><IMETHODCALL NAME=\"" + std::string(method) + "\">" + kRootCimv2 +
           className("CIM_ManagedElement") + std::string(extra) + "</IMETHODCALL></SIMPLEREQ>";
}
inline std::string simple(std::string_view method, std::string_view id = "1001") {
    return message(intrinsicCall(method), id);
}
inline std::string multi(std::initializer_list<std::string_view> methods,
                         std::string_view id = "1001") {
    std::string s = "<MULTIREQ>";
    for (std::string_view m : methods) {
        s += intrinsicCall(m);
    }
    return message(s + "</MULTIREQ>", id);
}
// One intrinsic call in root/cimv2 with these parameters.
inline std::string call(const std::string& method, const std::string& params) {
    return message("<SIMPLEREQ><IMETHODCALL NAME=\"" + method + "\">" + kRootCimv2 + params +
                   "</IMETHODCALL></SIMPLEREQ>");
}

// What the adapter answers.
inline std::string response(std::string_view content, std::string_view id = "1001") {
    return "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" "
           "DTDVERSION=\"2.0\"><MESSAGE ID=\"" +
           std::string(id) + "\" PROTOCOLVERSION=\"1.0\">\n" + std::string(content) +
           "</MESSAGE></CIM>\n";
}
// The answer to a call that no operation serves.
inline std::string notSupported(std::string_view method) {
    return "<SIMPLERSP><IMETHODRESPONSE NAME=\"" + std::string(method) +
           "\"><ERROR CODE=\"7\" DESCRIPTION=\"The requested operation is not supported.\" />\n"
           "</IMETHODRESPONSE></SIMPLERSP>";
}
inline std::string answer(const std::string& method, const std::string& content,
                          const char* element = "IMETHODRESPONSE") {
    return response("<SIMPLERSP><" + std::string(element) + " NAME=\"" + method + "\">" + content +
                    "</" + element + "></SIMPLERSP>");
}

}  // namespace cimxml

// tarnd with its default CIM-XML adapter.
class CimXmlFixture : public TarndFixture {
  protected:
    // A request head up to, not including, its empty line. headers: the
    // CIM headers and anything else, each line ending in CRLF.
    std::string head(const std::string& headers, const std::string& method = "POST",
                     const std::string& version = "HTTP/1.1") const {
        return method + " /cimom " + version + "\r\nHost: localhost\r\nAuthorization: " + auth() +
               "\r\n" + headers;
    }
    // A whole request with a Content-Length.
    std::string request(const std::string& headers, const std::string& body,
                        const std::string& method = "POST",
                        const std::string& version = "HTTP/1.1") const {
        return head(headers, method, version) + "Content-Length: " + std::to_string(body.size()) +
               "\r\n\r\n" + body;
    }
    // The usual headers of a call of method on object.
    static std::string cimHeaders(const std::string& method,
                                  const std::string& object = "root%2Fcimv2") {
        return "Content-Type: application/xml; charset=\"utf-8\"\r\nCIMOperation: "
               "MethodCall\r\nCIMMethod: " +
               method + "\r\nCIMObject: " + object + "\r\n";
    }
    static std::string multiHeaders() {
        return "Content-Type: application/xml; charset=\"utf-8\"\r\nCIMOperation: "
               "MethodCall\r\nCIMBatch: CIMBatch\r\n";
    }

    // xmllint's verdict on the document against the CIM-XML DTD: empty when
    // it is valid (or the DTD of ../shared is absent, said once), else what
    // xmllint said.
    std::string dtdErrors(const std::string& document) {
        const std::string dtd = std::string(TARN_TEST_DATA_DIR) + "/DSP0203_2.4.0.dtd";
        static const bool absent = !std::filesystem::exists(dtd) &&
                                   (std::cout << "DTD checks skipped: no " << dtd << "\n");
        std::filesystem::path file = dir.path() / "response.xml";
        std::ofstream(file, std::ios::binary) << document;
        auto [status, output] =
            absent
                ? std::pair(0, std::string())
                : run({"/usr/bin/xmllint", "--noout", "--nonet", "--dtdvalid", dtd, file.string()});
        return status == 0 ? std::string() : "xmllint failed:\n" + output;
    }
};

}  // namespace tarntest
