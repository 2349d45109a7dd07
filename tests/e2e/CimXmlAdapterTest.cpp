// The CIM-XML adapter in a running tarnd, driven with raw HTTP: the default
// plug-in load, header validation, body reading and its limits, the response
// head and framing, the CIM-XML envelope with one response element per call,
// and clients whose bodies trickle.
#include <gtest/gtest.h>

#include <future>
#include <map>
#include <thread>

#include "TarndFixture.h"

namespace tarntest {
namespace {

using namespace cimxml;

const std::string kProcessInput = "cimxmlpa::CIMXMLAdapter::processInput";
const std::string kProcessOperation = "cimxmlpa::CIMXMLAdapter::processOperation";
const std::string kMapping = "http://www.dmtf.org/cim/mapping/http/v1.0";

class CimXmlAdapterTest : public CimXmlFixture {
  protected:
    // A rejection: the status and reason, an empty body, and the connection
    // closed by the server.
    void expectRejected(Socket& s, ResponseReader& reader, int status,
                        const char* cimError = nullptr, const char* detail = nullptr) {
        static const std::map<int, std::string> reasons = {
            {400, "Bad Request"},     {405, "Method Not Allowed"},
            {406, "Not Acceptable"},  {413, "Request Entity Too Large"},
            {501, "Not Implemented"}, {510, "Not Extended"}};
        Response r = reader.read(in(10s));
        EXPECT_EQ(r.status, status);
        EXPECT_EQ(r.reason, reasons.at(status));
        EXPECT_EQ(r.header("Content-Length"), "0");
        EXPECT_EQ(r.body, "");
        EXPECT_EQ(r.header("Connection"), "close");
        if (cimError) {
            EXPECT_EQ(r.header("CIMError"), cimError);
        } else {
            EXPECT_EQ(r.find("CIMError"), nullptr) << r.header("CIMError");
        }
        if (detail) {
            EXPECT_EQ(r.header("TARNErrorDetail"), detail);
        } else {
            EXPECT_EQ(r.find("TARNErrorDetail"), nullptr) << r.header("TARNErrorDetail");
        }
        EXPECT_TRUE(s.waitClosed(in(5s)));
    }
    void expectRejected(const std::string& raw, int status, const char* cimError = nullptr,
                        const char* detail = nullptr) {
        Socket s = Socket::connect(httpPort);
        s.send(raw);
        ResponseReader reader(s);
        expectRejected(s, reader, status, cimError, detail);
    }
    // A served call: the head of a CIM-XML response and a DTD-valid body.
    void expectAnswer(const Response& r, int status, const std::string& body) {
        EXPECT_EQ(r.status, status);
        EXPECT_EQ(r.header("Content-Type"), "application/xml; charset=\"utf-8\"");
        EXPECT_EQ(r.header("Cache-Control"), "no-cache");
        EXPECT_EQ(r.body, body);
        EXPECT_EQ(dtdErrors(r.body), "");
    }
};

TEST_F(CimXmlAdapterTest, LoadedByDefaultAndAnswersCallsNoOperationServesAsNotSupported) {
    startTarnd();
    EXPECT_TRUE(traced(
        3, "tarn::AdapterRegistry",
        "Loaded protocol adapter 'cim-xml Adapter' (cim-xml) from " + library("libcimxmlpa.so")))
        << trace();
    const std::string async = message(
        intrinsicCall("DeleteClass",
                      "<RESPONSEDESTINATION><INSTANCE CLASSNAME=\"CIM_ListenerDestinationCIMXML\"/>"
                      "</RESPONSEDESTINATION>"));
    struct Case {
        const char* name;
        std::string headers;
        std::string body;
        int status;
        const char* reason;
        std::string expected;
        const char* logged;  // the trace line of the refusal
    };
    const Case cases[] = {
        // A standard name (its operation class is not part of the adapter
        // yet) and an unknown one get the same answer.
        {"standard name", cimHeaders("DeleteClass"), simple("DeleteClass", "42"), 200, "OK",
         response(notSupported("DeleteClass"), "42"), "Unsupported method name: DeleteClass"},
        {"unknown name", cimHeaders("Frobnicate"), simple("Frobnicate", "42"), 200, "OK",
         response(notSupported("Frobnicate"), "42"), "Unsupported method name: Frobnicate"},
        // The ID (a&b<c") is echoed escaped: any ID leaves a well-formed document.
        {"odd message ID", cimHeaders("DeleteClass"), simple("DeleteClass", "a&amp;b&lt;c&quot;"),
         200, "OK", response(notSupported("DeleteClass"), "a&amp;b&lt;c&quot;"), nullptr},
        {"multiple request", multiHeaders(), multi({"DeleteClass", "Frobnicate", "DeleteClass"}),
         207, "Multistatus",
         response("<MULTIRSP>" + notSupported("DeleteClass") + notSupported("Frobnicate") +
                  notSupported("DeleteClass") + "</MULTIRSP>"),
         "Unsupported method name: Frobnicate"},
        {"asynchronous call", cimHeaders("DeleteClass"), async, 200, "OK",
         response(notSupported("DeleteClass")), "Asynchronous operations are not supported"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Response r = exchange(request(c.headers, c.body));
        EXPECT_EQ(r.reason, c.reason);
        EXPECT_EQ(r.header("CIMOperation"), "MethodResponse");
        EXPECT_EQ(r.framing, Response::Chunked);
        EXPECT_EQ(r.find("Connection"), nullptr);
        expectAnswer(r, c.status, c.expected);
        if (c.logged) {
            EXPECT_TRUE(traced(1, kProcessOperation, c.logged));
        }
    }
    EXPECT_TRUE(traced(4, kProcessOperation, "Processing DeleteClass request"));
    EXPECT_TRUE(traced(4, kProcessInput, "Request received"));
    EXPECT_TRUE(traced(4, kProcessInput, "Request processing completed normally"));
}

TEST_F(CimXmlAdapterTest, HeaderRejectionsSetStatusReasonAndCimErrorAndCloseTheConnection) {
    startTarnd();
    const std::string body = simple("DeleteClass");
    const std::string xml = "Content-Type: application/xml; charset=\"utf-8\"\r\n";
    const std::string op = "CIMOperation: MethodCall\r\n";
    const std::string target = "CIMMethod: DeleteClass\r\nCIMObject: root%2Fcimv2\r\n";
    const std::string man = "Man: \"" + kMapping + "\"; ns=73\r\n";
    const std::string group = "73-CIMOperation: MethodCall\r\n73-CIMMethod: DeleteClass\r\n";
    struct Case {
        const char* name;
        const char* method;
        std::string headers;
        int status;
        const char* cimError = nullptr;
        const char* detail = nullptr;
        const char* logSource = nullptr;  // the rejection's trace line, when it has one
    };
    const char* aux = "cimxmlpa::CIMXMLAdapter::_validateHTTPHeadersAux";
    const char* ext = "cimxmlpa::CIMXMLAdapter::validateHTTPExtHeaders";
    const char* mismatch = "header-mismatch";
    const char* needed =
        "CIMMethod and CIMObject or CIMBatch header need to be present for CIMOperation";
    const char* oldProtocol = "TARN does not support CIM protocol version less than 1.0";
    const Case cases[] = {
        // Method and content negotiation: no CIMError.
        {"GET", "GET", xml + op + target, 405},
        {"PUT", "PUT", xml + op + target, 405},
        {"JSON only", "POST", xml + op + target + "Accept: application/json\r\n", 406},
        {"charset", "POST", xml + op + target + "Accept-Charset: iso-8859-1\r\n", 406},
        {"empty encoding", "POST", xml + op + target + "Accept-Encoding:\r\n", 406},
        {"no identity", "POST", xml + op + target + "Accept-Encoding: gzip, identity; q=0\r\n",
         406},
        {"language", "POST", xml + op + target + "Accept-Language: de-de\r\n", 406},
        {"ranges", "POST", xml + op + target + "Accept-Ranges: none\r\n", 406},
        {"if-range", "POST", xml + op + target + "If-Range: \"x\"\r\n", 400},
        {"content type", "POST", "Content-Type: text/plain\r\n" + op + target, 400},
        {"content charset", "POST", "Content-Type: text/xml; charset=iso-8859-1\r\n" + op + target,
         400},
        // CIM extension headers of a POST.
        {"operation and export", "POST", xml + op + target + "CIMExport: MethodRequest\r\n", 400,
         mismatch, "Can not have CIMOperation AND CIMExport headers at the same time.", aux},
        {"method and batch", "POST", xml + op + target + "CIMBatch: CIMBatch\r\n", 400, mismatch,
         "Can not have CIMMethod and CIMBatch headers at the same time.", aux},
        {"no object", "POST", xml + op + "CIMMethod: DeleteClass\r\n", 400, mismatch, needed, aux},
        {"empty method", "POST", xml + op + "CIMMethod:\r\nCIMObject: root%2Fcimv2\r\n", 400,
         mismatch, needed, aux},
        {"no operation", "POST", xml + "CIMOperation: MethodResponse\r\n" + target, 400, mismatch,
         "No valid header(s) are present in the request", aux},
        {"export method and batch", "POST",
         xml + "CIMOperation: x\r\nCIMExport: methodrequest\r\nCIMExportMethod: "
               "ExportIndication\r\nCIMExportBatch: CIMExportBatch\r\n",
         400, mismatch, "Can not have CIMExportMethod AND CIMExportBatch headers with CIMExport",
         aux},
        {"export without method", "POST", xml + "CIMOperation: x\r\nCIMExport: MethodRequest\r\n",
         400, mismatch, "Need to have CIMExportMethod OR CIMExportBatch headers with CIMExport",
         aux},
        {"protocol 0.5", "POST", xml + op + target + "CIMProtocolVersion: 0.5\r\n", 501,
         "unsupported-protocol-version", oldProtocol, aux},
        {"protocol 0.9 beats other errors", "POST",
         xml + op + "CIMMethod: DeleteClass\r\nCIMProtocolVersion: 0.9\r\n", 501,
         "unsupported-protocol-version", oldProtocol, aux},
        // The extension headers are checked before the method.
        {"GET with bad CIM headers", "GET", xml + op + "CIMMethod: DeleteClass\r\n", 400, mismatch,
         needed, aux},
        // M-POST: the groups' headers.
        {"M-POST without extension", "M-POST", xml + op + target, 510},
        {"M-POST group without object", "M-POST", xml + man + group, 400, mismatch, needed, ext},
        {"M-POST with an empty second group", "M-POST",
         xml + man + group + "73-CIMObject: root%2Fcimv2\r\nOpt: http://example.org/x; ns=12\r\n",
         400, mismatch, "No valid extended header(s) are present in the request", ext},
        {"M-POST protocol 0.5", "M-POST",
         xml + man + group + "73-CIMObject: root%2Fcimv2\r\n73-CIMProtocolVersion: 0.5\r\n", 501,
         "unsupported-protocol-version", oldProtocol, ext},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        expectRejected(request(c.headers, body, c.method), c.status, c.cimError, c.detail);
        if (c.logSource) {
            EXPECT_TRUE(
                traced(1, c.logSource, std::string("Rejecting request due to:  ") + c.detail));
        }
    }

    // A GET over HTTP/1.0 is forbidden rather than not allowed.
    Response forbidden = exchange(request(xml + op + target, body, "GET", "HTTP/1.0"));
    EXPECT_EQ(forbidden.status, 403);
    EXPECT_EQ(forbidden.reason, "Forbidden");
    EXPECT_EQ(forbidden.header("Allow"), "M-POST, POST");
    EXPECT_EQ(forbidden.header("Content-Length"), "0");
    Response notAllowed = exchange(request(xml + op + target, body, "GET"));
    EXPECT_EQ(notAllowed.header("Allow"), "M-POST, POST");

    // Substring tests pass what a parser of quality values would refuse, and
    // values of the extension headers ignore letter case.
    const std::string accepted[] = {
        xml + op + target + "Accept: text/xml;q=0\r\n",
        xml + op + target + "Accept-Encoding: gzip\r\nAccept-Language: fr, en-us\r\n",
        xml + op + target + "Accept-Charset: utf-8\r\nAccept: */*\r\n",
        "Content-Type: text/xml; charset=utf-8\r\n" + op + target,
        op + target,  // no Content-Type at all
        xml + "CIMOperation: methodcall\r\n" + target + "CIMProtocolVersion: 1.0\r\n",
        xml + "CIMOperation: MethodCall\r\nCIMMethod: deleteclass\r\nCIMObject: x\r\n",
    };
    for (const std::string& headers : accepted) {
        SCOPED_TRACE(headers);
        Response r = exchange(request(headers, body));
        EXPECT_EQ(r.status, 200);
        EXPECT_EQ(r.body, response(notSupported("DeleteClass")));
    }
}

TEST_F(CimXmlAdapterTest, BodyAndMessageRejections) {
    startTarnd();
    const std::string headers = cimHeaders("DeleteClass");
    const std::string lengthWas = "Rejecting request due to invalid Content-Length: ";
    const std::string notWellFormed =
        "Rejecting message which is not well-formed XML. Verify if content lenght is correct and "
        "the XML is well-formed.";
    struct Case {
        std::string raw;
        int status;
        const char* cimError;
        std::string detail;  // TARNErrorDetail, when there is one
        std::string source;  // and message of the trace line
        std::string logged;
    };
    // A CIM-XML message that its headers contradict, with the detail answered.
    auto mismatch = [](std::string raw, const char* validated, const std::string& detail) {
        return Case{std::move(raw),
                    400,
                    "header-mismatch",
                    detail,
                    "processOperation",
                    std::string("Rejecting request due to failure in validating ") + validated +
                        " : " + detail};
    };
    const Case cases[] = {
        {head(headers) + "Content-Length: 0\r\n\r\n", 400, nullptr, "", kProcessOperation,
         lengthWas + "0"},
        // The length is read as a signed 32-bit number.
        {head(headers) + "Content-Length: 2147483648\r\n\r\n", 400, nullptr, "", kProcessOperation,
         lengthWas + "-2147483648"},
        {head(headers) + "Content-Length: 4294967296\r\n\r\n", 400, nullptr, "", kProcessOperation,
         lengthWas + "0"},
        {head(headers) + "\r\n", 400, nullptr, "", kProcessOperation, lengthWas + "-1"},
        {request(headers, "<CIM CIMVERSION=\"2.0\">"), 400, "request-not-well-formed", "",
         kProcessOperation, notWellFormed},
        {request(headers, message(intrinsicCall("DeleteClass"), "1", "1.0")), 501,
         "unsupported-cim-version", "", kProcessOperation, "Unsupported CIM Version: 1.0"},
        {request(headers, message(intrinsicCall("DeleteClass"), "1", "2.0", "1.9")), 501,
         "unsupported-dtd-version", "", kProcessOperation, "Unsupported DTD Version: 1.9"},
        mismatch(request(headers + "CIMProtocolVersion: 1.1\r\n", simple("DeleteClass")),
                 "PROTOCOLVERSION",
                 "message PROTOCOLVERSION (1.0) does not match CIMProtocolVersion value (1.1)"),
        mismatch(request(cimHeaders("GetInstance"), simple("DeleteClass")), "CIMMethod",
                 "CIM request method (DeleteClass) does not match CIMMethod value (GetInstance)"),
        mismatch(request(multiHeaders(), simple("DeleteClass")), "CIMMethod",
                 "CIMMethod and CIMObject must be present for a simple operation request"),
        mismatch(request(headers, multi({"DeleteClass", "DeleteClass"})), "CIMMethod",
                 "CIMMethod and CIMObject must not be present for a multi operation request"),
        // Well-formed CIM-XML that asks for nothing.
        {request(headers,
                 "<?xml version=\"1.0\"?><CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><DECLARATION>"
                 "<DECLGROUP/></DECLARATION></CIM>"),
         400, nullptr, "", "cimxmlpa::CIMXMLAdapter::processOperation()",
         "Rejecting message which contains neither SIMPLEREQ or SIMPLEEXPREQ"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.logged);
        expectRejected(c.raw, c.status, c.cimError, c.detail.empty() ? nullptr : c.detail.c_str());
        EXPECT_TRUE(traced(1, c.source, c.logged)) << trace();
    }
    // The line after the one that says the XML is not well-formed is the rejection itself.
    const std::string log = trace();
    const std::size_t next = log.find(notWellFormed + "\n") + notWellFormed.size() + 1;
    EXPECT_NE(log.substr(next, log.find('\n', next) - next)
                  .find("Caught HTTP: Input stream may have data remaining"),
              std::string::npos)
        << log;

    // 60 bytes of 100, then the client's side ends.
    Socket s = Socket::connect(httpPort);
    s.send(head(headers) + "Content-Length: 100\r\n\r\n" + simple("DeleteClass").substr(0, 60));
    s.shutdownWrite();
    ResponseReader reader(s);
    expectRejected(s, reader, 400);
    EXPECT_TRUE(
        traced(2, kProcessOperation, "Content Length mismatch:  Expected 100 bytes; Received 60"));

    // The same version in header and message passes, whatever the version.
    EXPECT_EQ(exchange(request(headers + "CIMProtocolVersion: 1.1\r\n",
                               message(intrinsicCall("DeleteClass"), "1", "2.0", "2.0", "1.1")))
                  .status,
              200);
}

TEST_F(CimXmlAdapterTest, BodiesUpToTheSizeLimitAreRead) {
    startTarnd();
    const std::string headers = cimHeaders("DeleteClass");
    // One byte over: refused from the head alone, without waiting for the body.
    {
        Socket s = Socket::connect(httpPort);
        s.send(head(headers) + "Content-Length: 52428801\r\n\r\n<?xml");
        ResponseReader reader(s);
        expectRejected(s, reader, 413);
        EXPECT_TRUE(traced(1, kProcessOperation,
                           "Rejecting request that exceeds maximum supported size. Max = "
                           "52428800; Request = 52428801"));
    }
    // Exactly the limit: a message followed by white space.
    std::string body = simple("DeleteClass", "big");
    body.resize(52428800, ' ');
    Socket s = Socket::connect(httpPort);
    s.send(request(headers, body));
    body.clear();
    body.shrink_to_fit();
    ResponseReader reader(s);
    Response r = reader.read(in(30s));
    expectAnswer(r, 200, response(notSupported("DeleteClass"), "big"));
}

TEST_F(CimXmlAdapterTest, ChunkedRequestBodyIsReadAndTheConnectionKept) {
    startTarnd();
    const std::string body = simple("DeleteClass", "7");
    // Chunks of three sizes, one with an extension, sizes in upper case.
    std::string chunked;
    std::size_t at = 0;
    for (std::size_t size : {std::size_t{1}, std::size_t{0x1A}, std::size_t{100}}) {
        char line[32];
        std::snprintf(line, sizeof line, "%zX%s\r\n", size, size == 0x1A ? ";ext=1" : "");
        chunked += line + body.substr(at, size) + "\r\n";
        at += size;
    }
    char line[32];
    std::snprintf(line, sizeof line, "%zx\r\n", body.size() - at);
    chunked += line + body.substr(at) + "\r\n0\r\n\r\n";

    Socket s = Socket::connect(httpPort);
    ResponseReader reader(s);
    s.send(head(cimHeaders("DeleteClass")) + "Transfer-Encoding: chunked\r\n\r\n" + chunked);
    expectAnswer(reader.read(in(10s)), 200, response(notSupported("DeleteClass"), "7"));
    // The next request on the same connection.
    s.send(request(cimHeaders("DeleteClass"), simple("DeleteClass", "8")));
    expectAnswer(reader.read(in(10s)), 200, response(notSupported("DeleteClass"), "8"));
}

TEST_F(CimXmlAdapterTest, ConditionalChunkingFramesByTheRequest) {
    startTarnd("[TARN]\nHTTPTransferEncoding = ConditionalChunked\n");
    Socket s = Socket::connect(httpPort);
    ResponseReader reader(s);
    // Kept connection without TE: buffered with a Content-Length.
    s.send(request(cimHeaders("DeleteClass"), simple("DeleteClass")));
    Response full = reader.read(in(10s));
    EXPECT_EQ(full.framing, Response::Length);
    expectAnswer(full, 200, response(notSupported("DeleteClass")));
    EXPECT_EQ(full.header("Content-Length"), std::to_string(full.body.size()));
    // TE asks for chunks.
    s.send(request(cimHeaders("DeleteClass") + "TE: trailers\r\n", simple("DeleteClass")));
    EXPECT_EQ(reader.read(in(10s)).framing, Response::Chunked);
    // Not kept: written as it comes and ended by the close.
    s.send(request(cimHeaders("DeleteClass") + "Connection: close\r\n", simple("DeleteClass")));
    Response closing = reader.read(in(10s));
    EXPECT_EQ(closing.framing, Response::Close);
    EXPECT_EQ(closing.header("Connection"), "close");
    expectAnswer(closing, 200, response(notSupported("DeleteClass")));
}

TEST_F(CimXmlAdapterTest, MPostIsAnsweredInAGroupWithTheRequestsPrefix) {
    startTarnd();
    std::string headers =
        "Content-Type: application/xml; charset=\"utf-8\"\r\nMan: \"" + kMapping +
        "\"; ns=73\r\n73-CIMOperation: MethodCall\r\n73-CIMMethod: DeleteClass\r\n"
        "73-CIMObject: root%2Fcimv2\r\n";
    Response r = exchange(request(headers, simple("DeleteClass"), "M-POST"));
    expectAnswer(r, 200, response(notSupported("DeleteClass")));
    ASSERT_NE(r.find("Ext"), nullptr);
    EXPECT_EQ(r.header("Ext"), "");
    EXPECT_EQ(r.header("Man"), "\"" + kMapping + "\"; ns=73");
    EXPECT_EQ(r.header("73-CIMOperation"), "MethodResponse");
    EXPECT_EQ(r.find("CIMOperation"), nullptr);

    // A declaration without a prefix: the plain headers are the group's.
    headers = "Man: " + kMapping + "\r\n" + cimHeaders("DeleteClass");
    Response plain = exchange(request(headers, simple("DeleteClass"), "M-POST"));
    expectAnswer(plain, 200, response(notSupported("DeleteClass")));
    EXPECT_EQ(plain.header("Man"), "\"" + kMapping + "\"; ns=00");
    EXPECT_EQ(plain.header("00-CIMOperation"), "MethodResponse");
}

TEST_F(CimXmlAdapterTest, ATricklingBodyDoesNotHoldTheWorkerPastTheBodyDeadline) {
    startTarnd("[HTTP]\nWorkerThreads = 1\nIOTimeoutMs = 500\nBodyTimeoutMs = 1500\n");
    const std::string headers = cimHeaders("DeleteClass");
    // A byte at a time, each within the read deadline: the body deadline
    // ends it, and the only worker serves another client.
    auto start = Clock::now();
    Socket trickling = Socket::connect(httpPort);
    trickling.send(head(headers) + "Content-Length: 1000\r\n\r\n");
    auto other = std::async(std::launch::async, [&] {
        return exchange(request(headers, simple("DeleteClass")), in(10s)).status;
    });
    try {
        for (int i = 0; i < 40; ++i) {
            std::this_thread::sleep_for(200ms);  // the client's pace
            trickling.send(" ");
        }
    } catch (const std::runtime_error&) {
        // the server closed the connection
    }
    EXPECT_TRUE(trickling.waitClosed(in(5s)));
    EXPECT_LT(Clock::now() - start, 6s);
    EXPECT_EQ(other.get(), 200);
}

}  // namespace
}  // namespace tarntest
