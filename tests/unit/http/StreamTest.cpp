#include <gtest/gtest.h>

#include "FakeSocket.h"
#include "vela/VELGenericHTTPIStream.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VELHTTPException.h"
#include "vela/VELHTTPResponse.h"
#include "vela/VelaBaseException.h"

namespace {

using tarntest::FakeSocket;
using Out = VELGenericHTTPOStream;
const auto V10 = VELHTTPOperation::HTTP_1_0;
const auto V11 = VELHTTPOperation::HTTP_1_1;

TEST(VELGenericHTTPOStream, EachStreamTypeFramesTheBodyAfterTheHead) {
    struct Case {
        const char* name;
        Out::StreamType type;
        VELHTTPOperation::ProtocolEnum protocol;
        bool keepAlive;
        bool setLength;
        std::string expected;
        bool closes;
    };
    const std::string v11 = "HTTP/1.1 200 OK\r\nContent-Type: application/xml\r\n";
    const std::string v10 = "HTTP/1.0 200 OK\r\nContent-Type: application/xml\r\n";
    const std::string close = "Connection: close\r\n";
    const Case cases[] = {
        {"chunked", Out::Chunked, V11, true, true,
         v11 + "Transfer-Encoding: chunked\r\n\r\n3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n", false},
        {"full", Out::Full, V11, true, true, v11 + "Content-Length: 5\r\n\r\nabcde", false},
        {"full, HTTP/1.0 kept", Out::Full, V10, true, false,
         v10 + "Connection: keep-alive\r\nContent-Length: 5\r\n\r\nabcde", false},
        {"full, not kept", Out::Full, V11, false, false,
         v11 + close + "Content-Length: 5\r\n\r\nabcde", true},
        {"not encoded", Out::NotEncoded, V11, true, false, v11 + close + "\r\nabcde", true},
        {"not encoded with length", Out::NotEncoded, V11, true, true,
         v11 + "Content-Length: 5\r\n\r\nabcde", false},
        {"chunked asked for HTTP/1.0", Out::Chunked, V10, false, false, v10 + close + "\r\nabcde",
         true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        FakeSocket socket;
        VELHTTPResponse response(c.protocol);
        response.setContentType("application/xml");
        if (c.setLength) {
            response.setContentLength(5);
        }
        Out out(socket, c.protocol, c.keepAlive);
        out.setStreamType(c.type);
        response.writeResponseTo(out);
        out << "abc";
        out.flush();
        out << "de";
        out.finish();
        EXPECT_EQ(socket.written, c.expected);
        EXPECT_EQ(out.closesConnection(), c.closes);
        EXPECT_EQ(out.getBodyBytes(), 5u);
    }
}

TEST(VELGenericHTTPOStream, BodyBeforeAnyHeadSendsTheBoundResponseFirst) {
    FakeSocket socket;
    VELHTTPResponse response;
    response.setStatus(207);
    response.setReasonPhrase("Multistatus");
    Out out(socket);
    out.setResponse(&response);
    out << "body";
    out.finish();
    EXPECT_EQ(
        socket.written,
        "HTTP/1.1 207 Multistatus\r\nTransfer-Encoding: chunked\r\n\r\n4\r\nbody\r\n0\r\n\r\n");
    EXPECT_THROW(out << "late" << std::flush, VelaBaseException);  // the response has ended
}

TEST(VELHTTPResponse, HeadIsSanitisedAndCarriesExtensionGroups) {
    FakeSocket socket;
    VELHTTPResponse response;
    response.setStatus("400");
    response.setHeaderField("TARNErrorDetail", "line one\r\nInjected: yes");
    response.setHeaderField("Bad Name", "dropped");
    response.setHeaderField("Ext", " ");
    response.addExtHeaderGroup("http://www.dmtf.org/cim/mapping/http/v1.0", 7)
        ->setHeaderField("CIMOperation", "MethodResponse");
    Out out(socket);
    out.setStreamType(Out::NotEncoded);
    response.setContentLength(0);
    response.writeResponseTo(out);
    response.writeResponseTo(out);  // one head only
    out.finish();
    EXPECT_EQ(socket.written,
              "HTTP/1.1 400 Bad Request\r\n"
              "TARNErrorDetail: line one  Injected: yes\r\n"
              "Ext:  \r\n"
              "Content-Length: 0\r\n"
              "Man: \"http://www.dmtf.org/cim/mapping/http/v1.0\"; ns=07\r\n"
              "07-CIMOperation: MethodResponse\r\n\r\n");

    FakeSocket bad;
    VELHTTPResponse broken;
    broken.setStatus("2000");
    Out o2(bad);
    o2.setStreamType(Out::Full);
    broken.writeResponseTo(o2);
    o2.finish();
    EXPECT_EQ(bad.written.rfind("HTTP/1.1 500 Internal Server Error\r\n", 0), 0u);
}

TEST(VELGenericHTTPOStream, ClientGoneSurfacesAsAnErrorEveryTime) {
    FakeSocket socket;
    socket.failAfter = 100;
    Out out(socket);
    VELHTTPResponse().writeResponseTo(out);
    EXPECT_THROW(out << std::string(20000, 'x'), VELNetException);
    EXPECT_TRUE(out.isBroken());
    EXPECT_TRUE(out.bad());
    std::size_t sent = socket.written.size();
    EXPECT_THROW(out << "more" << std::flush, std::ios_base::failure);  // the stream stays bad
    EXPECT_EQ(socket.written.size(), sent);
    EXPECT_THROW(out.finish(), VELNetException);
    EXPECT_TRUE(out.closesConnection());
}

TEST(VELGenericHTTPIStream, ReadsBufferedBytesFirstThenTheSocket) {
    FakeSocket socket;
    socket.reads = {"defgh", "ij"};
    std::string head = "HEADabc";
    bool hookCalled = false;
    VELGenericHTTPIStream in(socket, std::string_view(head).substr(4));
    in.setBeforeSocketRead([&] { hookCalled = true; });
    char buf[3];
    in.read(buf, 3);
    EXPECT_EQ(std::string(buf, 3), "abc");
    EXPECT_FALSE(hookCalled);  // the buffered bytes sufficed
    EXPECT_FALSE(in.hasReadFromSocket());
    EXPECT_EQ(in.get(), 'd');
    EXPECT_TRUE(hookCalled);
    EXPECT_EQ(in.getBytesRead(), 4u);
    EXPECT_EQ(in.getUnread(), "efgh");
    std::string rest((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(rest, "efghij");
    EXPECT_EQ(in.getBytesRead(), 10u);
    EXPECT_TRUE(in.hasReachedEnd());
    EXPECT_EQ(in.get(), std::char_traits<char>::eof());
    EXPECT_EQ(in.getPeerAddress(), "127.0.0.2");
    in.setCloseOption(30);
    EXPECT_EQ(socket.closeOption, 30);
}

// Large reads going straight into the caller's memory: AdapterRequestTest
// (tests/unit/adapter).
TEST(VELGenericHTTPIStream, ReadLimitAndReadFailuresStopTheRead) {
    FakeSocket socket;
    socket.reads = {"0123456789", "abcdef"};
    std::string head = "HEADxy";
    VELGenericHTTPIStream in(socket, std::string_view(head).substr(4));
    in.setReadLimit(12);
    char buf[12];
    in.read(buf, 12);  // the two buffered bytes do not count
    EXPECT_EQ(std::string(buf, 12), "xy0123456789");
    char more[4];
    in.read(more, 2);  // "ab": 12 bytes from the socket in all, still within the limit
    EXPECT_EQ(std::string(more, 2), "ab");
    EXPECT_THROW(in.read(more, 1), VELHTTPException);

    // A failing socket read throws out of the read.
    socket.failReads = true;
    VELGenericHTTPIStream failing(socket, "");
    EXPECT_THROW(failing.read(buf, 10), VELNetException);
}

}  // namespace
