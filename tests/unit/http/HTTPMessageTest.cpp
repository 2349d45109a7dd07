#include <gtest/gtest.h>

#include <sstream>

#include "vela/VELHTTPRequest.h"

namespace {

using Fields = VELHTTPRequest::Fields;

VELHTTPRequest post(Fields fields, VELHTTPOperation::ProtocolEnum p = VELHTTPOperation::HTTP_1_1,
                    const char* method = "POST") {
    return VELHTTPRequest(method, "/cimom", p, fields);
}

TEST(VELHTTPRequest, HeadersAreFoundWithoutLetterCaseAndRepeatsAreJoined) {
    VELHTTPRequest r = post({{"Content-Type", "application/xml"},
                             {"accept", "text/xml"},
                             {"ACCEPT", "application/xml"},
                             {"Accept-Charset", "utf-8"}});
    ASSERT_NE(r.getContentType(), nullptr);
    EXPECT_EQ(*r.getHeaderField("content-type"), "application/xml");
    ASSERT_NE(r.getAccept(), nullptr);
    EXPECT_EQ(*r.getAccept(), "text/xml, application/xml");
    EXPECT_EQ(*r.getAcceptCharset(), "utf-8");
    EXPECT_EQ(r.getHeaderFields().size(), 3u);
}

TEST(VELHTTPRequest, ContentLengthChunkingKeepAliveAndExpect) {
    struct Case {
        Fields fields;
        VELHTTPOperation::ProtocolEnum protocol;
        std::int64_t length;
        bool chunked;
        bool keepAlive;
        bool expectsContinue;
    };
    const auto v10 = VELHTTPOperation::HTTP_1_0;
    const auto v11 = VELHTTPOperation::HTTP_1_1;
    const Case cases[] = {
        {{}, v11, -1, false, true, false},
        {{{"Content-Length", "52428801"}}, v11, 52428801, false, true, false},
        {{{"Content-Length", "12x"}}, v11, -1, false, true, false},
        {{{"Content-Length", "99999999999999999999999"}}, v11, INT64_MAX, false, true, false},
        {{{"Transfer-Encoding", "gzip, Chunked"}}, v11, -1, true, true, false},
        {{{"Transfer-Encoding", "chunked, gzip"}}, v11, -1, false, true, false},
        {{{"Connection", "Keep-Alive, Close"}}, v11, -1, false, false, false},
        {{{"Connection", "keep-alive"}}, v10, -1, false, true, false},
        {{}, v10, -1, false, false, false},
        {{{"Expect", " 100-Continue "}}, v11, -1, false, true, true},
        {{{"Expect", "100-continue"}}, v10, -1, false, false, false},
    };
    int i = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(i++);
        VELHTTPRequest r = post(c.fields, c.protocol);
        EXPECT_EQ(r.getContentLength(), c.length);
        EXPECT_EQ(r.isChunked(), c.chunked);
        EXPECT_EQ(r.isKeepAlive(), c.keepAlive);
        EXPECT_EQ(r.expectsContinue(), c.expectsContinue);
    }
}

const char* const CIM = "http://www.dmtf.org/cim/mapping/http/v1.0";

TEST(VELHTTPExtHeaderGroup, DeclarationsBindPrefixesToNamespaces) {
    const std::string cim = std::string("\"") + CIM + "\"";
    struct Case {
        const char* name;
        std::string headers;  // "Name: value" lines
        std::size_t groups;
        const char* prefix;  // of the CIM group; null when there is none
        bool mandatory;
        const char* operation;  // its CIMOperation; null when absent
    };
    const Case cases[] = {
        {"unquoted, blanks, other case",
         "opt: " + std::string(CIM) + " ; NS = 07\n07-cimoperation: MethodCall", 1, "07", false,
         "MethodCall"},
        {"two in one header, other prefix ignored",
         "Man: \"http://example.org/x\"; ns=11, " + cim +
             "; ns=12\n11-CIMOperation: wrong\n12-CIMOperation: right",
         2, "12", true, "right"},
        {"hop-by-hop", "C-Man: " + cim + "; ns=5\n5-CIMOperation: c", 1, "5", true, "c"},
        {"no prefix reads plain headers", "Man: " + cim + "\nCIMOperation: MethodCall", 1, "", true,
         "MethodCall"},
        {"group lacks the header", "Man: " + cim + "; ns=73\nCIMOperation: x", 1, "73", true,
         nullptr},
        {"prefix must be followed by a hyphen", "Man: " + cim + "; ns=7\n73-CIMOperation: no", 1,
         "7", true, nullptr},
        {"namespace in another case", "Man: \"HTTP://WWW.DMTF.ORG/cim/mapping/http/v1.0\"; ns=73",
         1, "73", true, nullptr},
        {"malformed: non-numeric prefix", "Man: " + cim + "; ns=x1", 0, nullptr, false, nullptr},
        {"malformed: open quote", "Man: \"" + std::string(CIM) + "; ns=1", 0, nullptr, false,
         nullptr},
        {"malformed: empty", "Man: ", 0, nullptr, false, nullptr},
        {"no declaration", "73-CIMOperation: MethodCall", 0, nullptr, false, nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Fields fields;
        std::istringstream lines(c.headers);
        for (std::string line; std::getline(lines, line);) {
            std::size_t colon = line.find(": ");
            fields.emplace_back(line.substr(0, colon), line.substr(colon + 2));
        }
        VELHTTPRequest r = post(fields, VELHTTPOperation::HTTP_1_1, "M-POST");
        EXPECT_EQ(r.findExtHeaderGroups()->size(), c.groups);
        EXPECT_TRUE(r.getExtHeaderGroup("http://www.dmtf.org/cim/mapping/http/v2.0").isNull());
        auto g = r.getExtHeaderGroup(CIM);
        if (!c.prefix) {
            EXPECT_TRUE(g.isNull());
            continue;
        }
        ASSERT_FALSE(g.isNull());
        EXPECT_EQ(g->getPrefix(), c.prefix);
        EXPECT_EQ(g->getPrefixNumber(), VELString(c.prefix).atoi());
        EXPECT_EQ(g->isMandatory(), c.mandatory);
        const VELString* op = g->getHeaderField("CIMOperation");
        if (c.operation) {
            ASSERT_NE(op, nullptr);
            EXPECT_EQ(*op, c.operation);
        } else {
            EXPECT_EQ(op, nullptr);
        }
    }
}

}  // namespace
