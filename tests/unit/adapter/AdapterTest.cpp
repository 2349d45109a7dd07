// The CIM-XML adapter on in-memory connections: the plug-in entry, its
// advertised URLs, and request processing that the server's loopback test
// connections cannot show (the object manager's state for remote clients,
// how the body is read) with the adapter's own guards.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CIMXMLAdapter.h"
#include "FakeSocket.h"
#include "core/ObjectManagerContext.h"
#include "tarn/CClassSet.h"
#include "tarn/LogCapture.h"
#include "tarn/security/SecurityToken.h"

namespace {

using cimxmlpa::CIMXMLAdapter;
using tarntest::FakeSocket;

VELSmrPtr<tarn::PortInfo> portInfo(const tarn::PortInfo::PortDataList& ports = {},
                                   const VELValSlist<VELString>& interfaces = {}) {
    auto info = makeVELSmrPtr<tarn::PortInfo>();
    info->setHostName("cimom.example.org");
    info->setPortData(ports);
    info->setIpV4InterfaceList(interfaces);
    return info;
}

// The schema of contexts that need none.
const tarn::CClassSet& noClasses() {
    static const tarn::CClassSet empty;
    return empty;
}

std::string message(std::string_view content, std::string_view id = "1001") {
    return "<?xml version=\"1.0\" encoding=\"utf-8\" ?>\n<CIM CIMVERSION=\"2.0\" "
           "DTDVERSION=\"2.0\"><MESSAGE ID=\"" +
           std::string(id) + "\" PROTOCOLVERSION=\"1.0\">" + std::string(content) +
           "</MESSAGE></CIM>";
}

std::string deleteClass(std::string_view id = "1001") {
    return message(
        "<SIMPLEREQ><IMETHODCALL NAME=\"DeleteClass\"><LOCALNAMESPACEPATH><NAMESPACE "
        "NAME=\"root\"/></LOCALNAMESPACEPATH></IMETHODCALL></SIMPLEREQ>",
        id);
}

// The answer to one call that no operation serves, in the whole message.
std::string notSupportedResponse(std::string_view id = "1001") {
    return message(
               "\n<SIMPLERSP><IMETHODRESPONSE NAME=\"DeleteClass\"><ERROR CODE=\"7\" "
               "DESCRIPTION=\"The requested operation is not supported.\" />\n"
               "</IMETHODRESPONSE></SIMPLERSP>",
               id) +
           "\n";
}

const VELHTTPRequest::Fields kDeleteClassHeaders = {
    {"Host", "localhost"},          {"Content-Type", "application/xml; charset=\"utf-8\""},
    {"CIMOperation", "MethodCall"}, {"CIMMethod", "DeleteClass"},
    {"CIMObject", "root"},
};

// The head and the body of what went to the socket (a chunked body decoded).
struct Written {
    std::string head;
    std::string body;

    explicit Written(const std::string& raw) {
        std::size_t end = std::min(raw.find("\r\n\r\n"), raw.size());
        head = raw.substr(0, end + 2);
        const std::string rest = end < raw.size() ? raw.substr(end + 4) : "";
        if (rest.empty() || head.find("Transfer-Encoding: chunked\r\n") == std::string::npos) {
            body = rest;
            return;
        }
        for (std::size_t at = 0, size; (size = std::stoul(rest.substr(at), nullptr, 16)) != 0;
             at = rest.find("\r\n", at) + 4 + size) {
            body += rest.substr(rest.find("\r\n", at) + 2, size);
        }
    }
    bool hasHeader(const std::string& line) const {
        return head.find("\r\n" + line + "\r\n") != std::string::npos;
    }
};

// One request through the adapter's processInput on an in-memory connection,
// as the HTTP server runs it (the body follows the head in the input).
class Exchange {
  public:
    Exchange(VELString method, VELHTTPRequest::Fields fields, std::string body,
             VELHTTPOperation::ProtocolEnum protocol = VELHTTPOperation::HTTP_1_1,
             bool loopback = true)
        : request(std::move(method), "/cimom", protocol, withLength(fields, body)),
          _body(std::move(body)),
          in(socket, _body),
          out(socket, protocol, request.isKeepAlive()),
          response(protocol) {
        socket.loopback = loopback;
        out.setResponse(&response);
        token->setAuthenticated("admin", VELValSlist<VELString>{"admin"}, "Basic");
    }

    // Runs the request; the exception the adapter threw, if any.
    std::optional<VelaBaseException> run(CIMXMLAdapter& adapter) {
        bool imported = false;
        try {
            adapter.processInput(request, response, in, out, token, out.persistConnection(),
                                 imported);
            out.finish();
        } catch (const VelaBaseException& e) {
            return e;
        }
        return std::nullopt;
    }
    Written written() const { return Written(socket.written); }

    FakeSocket socket;
    VELHTTPRequest request;

  private:
    static VELHTTPRequest::Fields withLength(VELHTTPRequest::Fields fields,
                                             const std::string& body) {
        for (const auto& f : fields) {
            if (f.first.equalsIgnoreCase("Content-Length") ||
                f.first.equalsIgnoreCase("Transfer-Encoding")) {
                return fields;
            }
        }
        fields.emplace_back("Content-Length", VELString::valueOf(body.size()));
        return fields;
    }
    std::string _body;

  public:
    VELGenericHTTPIStream in;
    VELGenericHTTPOStream out;
    VELHTTPResponse response;
    VELSmrPtr<tarn::security::SecurityToken> token = makeVELSmrPtr<tarn::security::SecurityToken>();
};

using tarn::PortData;

const char* const kBuildURL = "cimxmlpa::CIMXMLAdapter::buildVelaURL";

PortData::InterfaceList interfaces(std::initializer_list<const char*> names) {
    PortData::InterfaceList list;
    for (const char* n : names) {
        list.push_back(makeVELSmrPtr<PortData::Interface>(n));
    }
    return list;
}

TEST(CIMXMLAdapter, EntryPointMakesTheAdapterWhichLogsItsStart) {
    tarn::ObjectManagerContext context(portInfo(), noClasses());
    tarn::LogCapture log;
    std::unique_ptr<IVelaProtocolAdapter> adapter(getVelaProtocolAdapter(context));
    ASSERT_NE(dynamic_cast<CIMXMLAdapter*>(adapter.get()), nullptr);
    EXPECT_TRUE(log.contains("cimxmlpa::CIMXMLAdapter",
                             "Adapter initialized: Name='cim-xml Adapter'; Protocol='cim-xml'", 3));
    EXPECT_EQ(log.lines().size(), 1u);
}

TEST(CIMXMLAdapter, UrlsOfAdvertisedPortsWithTheInterfaceFilter) {
    struct Case {
        const char* name;
        tarn::PortInfo::PortDataList ports;
        VELValSlist<VELString> filter;
        std::vector<std::string> urls;
        std::vector<std::string> lines;  // the log lines, in order
    };
    const std::string notListed =
        ", because it is not listed on the <interfaces> array from Port_settings.xml";
    const Case cases[] = {
        {"nothing advertised",
         {PortData(5988, false, false), PortData(5989, true, false)},
         {},
         {},
         {}},
        {"both ports in order",
         {PortData(5988, false, true), PortData(5989, true, true)},
         {},
         {"http://cimom.example.org:5988", "https://cimom.example.org:5989"},
         {"PortInfo Hostname-cimom.example.org, Port-5988, visibility-1, isSecure-0",
          "PortInfo Hostname-cimom.example.org, Port-5989, visibility-1, isSecure-1"}},
        {"filter against a port that lists one name (letter case ignored)",
         {PortData(5988, false, true, interfaces({"HOST-A.example.org"}))},
         {"host-a.example.org", "10.0.0.6"},
         {"http://host-a.example.org:5988"},
         {"PortInfo Hostname-cimom.example.org, Port-5988, visibility-1, isSecure-0",
          "NOT adding Interface-10.0.0.6 for Port-5988" + notListed}},
        {"filter against a port that lists none",
         {PortData(5989, true, true)},
         {"10.0.0.5", "10.0.0.6"},
         {"https://10.0.0.5:5989", "https://10.0.0.6:5989"},
         {"PortInfo Hostname-cimom.example.org, Port-5989, visibility-1, isSecure-1"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        tarn::ObjectManagerContext context(portInfo(c.ports, c.filter), noClasses());
        CIMXMLAdapter adapter(context);
        tarn::LogCapture log;
        auto urls = adapter.getURL();
        std::vector<std::string> got;
        for (const auto& url : *urls) {
            got.push_back(url->toString().str());
            EXPECT_EQ(url->getInteropNamespace(), "interop");
        }
        EXPECT_EQ(got, c.urls);
        std::vector<std::string> lines;
        for (const auto& line : log.lines()) {
            EXPECT_EQ(line.source, kBuildURL);
            EXPECT_EQ(line.severity, 4);
            lines.push_back(line.message.str());
        }
        EXPECT_EQ(lines, c.lines);
    }
}

TEST(CIMXMLAdapter, NullIndicationsAndDestinationsAreRefusedBeforeAnyAttempt) {
    tarn::ObjectManagerContext context(portInfo(), noClasses());
    CIMXMLAdapter adapter(context);
    tarn::LogCapture log;
    // A null destination is simply not one the adapter can deliver to.
    EXPECT_FALSE(adapter.canDeliverIndication(nullptr));
    EXPECT_FALSE(adapter.deliverIndication("root/cimv2", nullptr, nullptr, nullptr));
    EXPECT_EQ(log.lines().size(), 0u);
    std::ostringstream os;
    adapter.encodeIndication(os, "root/cimv2", nullptr, nullptr);
    EXPECT_EQ(os.str(), "");
    const char* source = "CIMIndicationDeliveryService::deliverIndication";
    EXPECT_TRUE(log.contains(source, "Indication Delivery failed due to null indication", 1));
    cimxmlpa::CIMIndicationDeliveryService service(context);
    EXPECT_FALSE(service.deliverIndication("root/cimv2", nullptr, nullptr, nullptr));
    EXPECT_TRUE(log.contains(source, "Indication Delivery failed due to null destination", 1));
    EXPECT_EQ(log.count("Indication Delivery failed due to null indication"), 2u);
}

using State = IVelaOperationHandlerContext::CIMOMState;
const char* const kProcessInput = "cimxmlpa::CIMXMLAdapter::processInput";

class AdapterRequestTest : public ::testing::Test {
  protected:
    tarn::ObjectManagerContext context{portInfo(), noClasses()};
    CIMXMLAdapter adapter{context};
};

TEST_F(AdapterRequestTest, RemoteClientsWaitForTheStartLocalOnesForNothingButShutdown) {
    struct Case {
        State state;
        bool loopback;
        const char* refusal;  // the log line of a refused request; null when served
    };
    const char* shuttingDown = "A request was thrown out, the CIMOM is shutting down.";
    const char* notStarted = "A non loopback request was thrown out, the CIMOM is not started.";
    const Case cases[] = {
        {State::STARTING, true, nullptr},           {State::STARTING, false, notStarted},
        {State::STARTED, false, nullptr},           {State::STARTED, true, nullptr},
        {State::SHUTTING_DOWN, true, shuttingDown}, {State::SHUTTING_DOWN, false, notStarted},
        {State::SHUT_DOWN, true, shuttingDown},
    };
    std::uint64_t registered = context.getRegisteredRequests();
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(IVelaOperationHandlerContext::stateName(c.state)) +
                     (c.loopback ? " local" : " remote"));
        context.setState(c.state);
        tarn::LogCapture log;
        Exchange x("POST", kDeleteClassHeaders, deleteClass(), VELHTTPOperation::HTTP_1_1,
                   c.loopback);
        auto error = x.run(adapter);
        EXPECT_EQ(context.getRegisteredRequests(), ++registered);
        if (!c.refusal) {
            EXPECT_FALSE(error) << error->getMessage();
            EXPECT_EQ(x.written().body, notSupportedResponse());
            EXPECT_TRUE(log.contains(kProcessInput, "Request processing completed normally", 4));
            continue;
        }
        ASSERT_TRUE(error);
        EXPECT_EQ(error->getType(), "HTTP");
        EXPECT_EQ(error->getMessage(), "The CIMOM is not fully initialized or shutting down.");
        EXPECT_TRUE(log.contains(kProcessInput, c.refusal, 4));
        EXPECT_EQ(log.count("Request processing completed normally"), 0u);
        EXPECT_EQ(x.socket.written, "");  // the server answers for the adapter
        EXPECT_EQ(x.in.getBytesRead(), 0u);
    }
}

TEST_F(AdapterRequestTest, BodyGoesFromTheSocketStraightIntoTheMessage) {
    context.setState(State::STARTED);
    // Nothing of the body came with the head: it arrives in pieces.
    std::string body = deleteClass();
    body.resize(300000, ' ');
    VELHTTPRequest::Fields fields = kDeleteClassHeaders;
    fields.emplace_back("Content-Length", VELString::valueOf(body.size()));
    Exchange x("POST", fields, "");
    for (std::size_t at = 0; at < body.size(); at += 65536) {
        x.socket.reads.push_back(body.substr(at, 65536));
    }
    ASSERT_FALSE(x.run(adapter));
    EXPECT_EQ(x.written().body, notSupportedResponse());
    // The socket was asked for all of the body at once, into the string the
    // parser takes over, and then for the rest of it each time.
    ASSERT_FALSE(x.socket.readRequests.empty());
    EXPECT_EQ(x.socket.readRequests.front(), body.size());
    for (std::size_t size : x.socket.readRequests) {
        EXPECT_GE(size, VELGenericHTTPIStream::DEFAULT_BUFFER_SIZE);
    }
}

TEST_F(AdapterRequestTest, ChunkedBodyStopsAtTheLastChunkOrAnUnreadableSize) {
    context.setState(State::STARTED);
    const std::string body = deleteClass("9");
    struct Case {
        const char* name;
        std::string chunked;
        bool parsed;
    };
    auto hex = [](std::size_t n) { return (std::ostringstream() << std::hex << n).str(); };
    const Case cases[] = {
        {"with 0x and blanks", "  0x" + hex(body.size()) + " \r\n" + body + "\r\n0\r\n\r\n", true},
        {"size line not a number", "zz\r\n" + body + "\r\n0\r\n\r\n", false},
        {"size beyond 32 bits", "100000000\r\n" + body + "\r\n0\r\n\r\n", false},
        {"data cut short", hex(body.size()) + "\r\n" + body.substr(0, body.size() - 10), false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        VELHTTPRequest::Fields fields = kDeleteClassHeaders;
        fields.emplace_back("Transfer-Encoding", "chunked");
        Exchange x("POST", fields, c.chunked);
        auto error = x.run(adapter);
        if (c.parsed) {
            EXPECT_FALSE(error);
            EXPECT_EQ(x.written().body, notSupportedResponse("9"));
        } else {
            ASSERT_TRUE(error);
            EXPECT_NE(x.written().head.find("HTTP/1.1 400 Bad Request\r\n"), std::string::npos);
            EXPECT_TRUE(x.written().hasHeader("CIMError: request-not-well-formed"));
        }
    }
}

TEST_F(AdapterRequestTest, RequestsThatFailCanProcessAreRefused) {
    tarn::LogCapture log;
    Exchange x("POST", {{"Host", "x"}}, deleteClass());
    auto error = x.run(adapter);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->getMessage(), "Input stream may have data remaining");
    EXPECT_TRUE(log.contains(kProcessInput,
                             "Adapter Invocation Error: processInput() invoked for request which "
                             "fails canProcess()",
                             1));
    EXPECT_EQ(x.socket.written, "");
}

// Multiple operation requests and declarations through tarnd are e2e
// CimXmlAdapterTest's.
TEST_F(AdapterRequestTest, MethodCallsOfOperationRequestsElseOfExportRequests) {
    struct Case {
        const char* name;
        std::string body;
        std::size_t calls;
        bool simple;
        bool exported;
    };
    const std::string exportCall =
        "<SIMPLEEXPREQ><EXPMETHODCALL NAME=\"ExportIndication\"/></SIMPLEEXPREQ>";
    const Case cases[] = {
        {"simple", deleteClass(), 1, true, false},
        {"export", message(exportCall), 1, false, true},
        {"multi export", message("<MULTIEXPREQ>" + exportCall + exportCall + "</MULTIEXPREQ>"), 2,
         false, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        VELCIMMessage m{std::string(c.body)};
        ASSERT_TRUE(m.isWellFormed()) << m.getErrorText();
        bool simple = false;
        bool exported = false;
        auto calls = adapter.getMethodCalls(m, simple, exported);
        ASSERT_FALSE(calls.isNull());
        EXPECT_EQ(calls->size(), c.calls);
        EXPECT_EQ(simple, c.simple);
        EXPECT_EQ(exported, c.exported);
        // The flags are only ever set.
        simple = exported = true;
        adapter.getMethodCalls(m, simple, exported);
        EXPECT_TRUE(simple && exported);
    }
}

}  // namespace
