// Request processing on in-memory connections: what the server's loopback
// test connections cannot show (the object manager's state for remote
// clients, how the body is read) and the adapter's own guards.
#include <gtest/gtest.h>

#include "AdapterTestSupport.h"
#include "tarn/LogCapture.h"

namespace adaptertest {
namespace {

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

TEST_F(AdapterRequestTest, MethodCallsOfOperationRequestsElseOfExportRequests) {
    struct Case {
        const char* name;
        std::string body;
        std::size_t calls;
        bool simple;
        bool exported;
    };
    const std::string call =
        "<IMETHODCALL NAME=\"DeleteClass\"><LOCALNAMESPACEPATH><NAMESPACE "
        "NAME=\"root\"/></LOCALNAMESPACEPATH></IMETHODCALL>";
    const std::string exportCall =
        "<SIMPLEEXPREQ><EXPMETHODCALL NAME=\"ExportIndication\"/></SIMPLEEXPREQ>";
    const Case cases[] = {
        {"simple", deleteClass(), 1, true, false},
        {"multi",
         message("<MULTIREQ><SIMPLEREQ>" + call + "</SIMPLEREQ><SIMPLEREQ>" + call +
                 "</SIMPLEREQ></MULTIREQ>"),
         2, true, false},
        {"export", message(exportCall), 1, false, true},
        {"multi export", message("<MULTIEXPREQ>" + exportCall + exportCall + "</MULTIEXPREQ>"), 2,
         false, true},
        {"declaration",
         "<CIM CIMVERSION=\"2.0\" DTDVERSION=\"2.0\"><DECLARATION><DECLGROUP/></DECLARATION></CIM>",
         0, false, false},
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
}  // namespace adaptertest
