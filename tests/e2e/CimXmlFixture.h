// A tarnd child process that loads its default protocol adapter (the CIM-XML
// adapter next to the binary), on a free loopback port with a temporary state
// directory and a trace file at per-request detail; CIM-XML request builders;
// checks of trace lines and of DTD validity.
#pragma once

#include <gtest/gtest.h>

#include "HttpTestSupport.h"

namespace tarntest {

// Request messages as clients send them.
namespace cimxml {

inline std::string message(std::string_view content, std::string_view id = "1001",
                           std::string_view cimVersion = "2.0", std::string_view dtdVersion = "2.0",
                           std::string_view protocolVersion = "1.0") {
    std::string s = "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"";
    s += cimVersion;
    s += "\" DTDVERSION=\"";
    s += dtdVersion;
    s += "\"><MESSAGE ID=\"";
    s += id;
    s += "\" PROTOCOLVERSION=\"";
    s += protocolVersion;
    s += "\">";
    s += content;
    s += "</MESSAGE></CIM>";
    return s;
}

inline const std::string kRootCimv2 =
    "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"cimv2\"/>"
    "</LOCALNAMESPACEPATH>";

// An intrinsic call (for a SIMPLEREQ or inside a MULTIREQ).
inline std::string intrinsicCall(std::string_view method, std::string_view extra = "") {
    std::string s = "<SIMPLEREQ><IMETHODCALL NAME=\"";
    s += method;
    s += "\">" + kRootCimv2;
    s += "<IPARAMVALUE NAME=\"ClassName\"><CLASSNAME NAME=\"CIM_ManagedElement\"/></IPARAMVALUE>";
    s += extra;
    s += "</IMETHODCALL></SIMPLEREQ>";
    return s;
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

// What the adapter answers for a call that no operation serves.
inline std::string notSupported(std::string_view method, bool intrinsic = true) {
    std::string element = intrinsic ? "IMETHODRESPONSE" : "METHODRESPONSE";
    return "<SIMPLERSP><" + element + " NAME=\"" + std::string(method) +
           "\"><ERROR CODE=\"7\" DESCRIPTION=\"The requested operation is not supported.\" />\n"
           "</" +
           element + "></SIMPLERSP>";
}

inline std::string response(std::string_view content, std::string_view id = "1001") {
    return "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" "
           "DTDVERSION=\"2.0\"><MESSAGE ID=\"" +
           std::string(id) + "\" PROTOCOLVERSION=\"1.0\">\n" + std::string(content) +
           "</MESSAGE></CIM>\n";
}

}  // namespace cimxml

class CimXmlFixture : public ::testing::Test {
  protected:
    // sections: more tarn.conf text ([HTTP], [TARN] ... sections).
    void startTarnd(const std::string& sections = "") {
        std::ofstream(dir.path() / "tarn.conf") << "[Log]\nLevel = 4\nTraceFile = trace.log\n"
                                                << sections << "\n";
        httpPort = freePort();
        tarnd.start({std::string(TARN_BIN_DIR) + "/tarnd", "--state-dir", dir.path().string(),
                     "--http-port", std::to_string(httpPort), "--https-port", "0"});
        ASSERT_TRUE(tarnd.waitForOutput("running;", in(30s))) << tarnd.output() << trace();
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

    // A request head up to, not including, its empty line. headers: the
    // CIM headers and anything else, each line ending in CRLF.
    std::string head(const std::string& headers, const std::string& method = "POST",
                     const std::string& version = "HTTP/1.1") const {
        return method + " /cimom " + version +
               "\r\nHost: localhost\r\nAuthorization: " + basicAuth("admin", password) + "\r\n" +
               headers;
    }
    // A whole request with a Content-Length.
    std::string request(const std::string& headers, const std::string& body,
                        const std::string& method = "POST",
                        const std::string& version = "HTTP/1.1") const {
        return head(headers, method, version) + "Content-Length: " + std::to_string(body.size()) +
               "\r\n\r\n" + body;
    }
    // The usual headers of a call of method.
    static std::string cimHeaders(const std::string& method) {
        return "Content-Type: application/xml; charset=\"utf-8\"\r\nCIMOperation: "
               "MethodCall\r\nCIMMethod: " +
               method + "\r\nCIMObject: root%2Fcimv2\r\n";
    }
    static std::string multiHeaders() {
        return "Content-Type: application/xml; charset=\"utf-8\"\r\nCIMOperation: "
               "MethodCall\r\nCIMBatch: CIMBatch\r\n";
    }

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

    // xmllint's verdict on the document against the CIM-XML DTD: empty when
    // it is valid, else what xmllint said.
    std::string dtdErrors(const std::string& document) {
        std::filesystem::path file = dir.path() / "response.xml";
        std::ofstream(file, std::ios::binary) << document;
        ChildProcess xmllint;
        xmllint.start({"/usr/bin/xmllint", "--noout", "--nonet", "--dtdvalid",
                       std::string(TARN_TEST_DATA_DIR) + "/DSP0203_2.4.0.dtd", file.string()});
        auto status = xmllint.waitExit(in(30s));
        if (status == std::optional<int>(0)) {
            return std::string();
        }
        return "xmllint failed:\n" + xmllint.output();
    }

    TempDir dir;
    ChildProcess tarnd;
    std::uint16_t httpPort = 0;
    std::string password;
};

}  // namespace tarntest
