#include <gtest/gtest.h>

#include "FakeSocket.h"
#include "tarn/LogCapture.h"
#include "tarn/security/SecurityToken.h"
#include "vela/AuthenticationHelper.h"
#include "vela/VELGenericHTTPIStream.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VELHTTPRequest.h"
#include "vela/VELHTTPResponse.h"

namespace {

using tarntest::FakeSocket;

class FakeAuthenticator : public tarn::security::IAuthenticator {
  public:
    int calls = 0;
    VELString address;
    Result verifyFrom(const VELString& clientAddress, const VELString& user,
                      const VELString& password, VELValSlist<VELString>& roles,
                      std::uint32_t& retryAfter) override {
        address = clientAddress;
        retryAfter = user == "throttled" ? 42 : user == "busy" ? 1 : 0;
        return user == "throttled" ? THROTTLED
               : user == "busy"    ? BUSY
                                   : verify(user, password, roles);
    }
    Result verify(const VELString& user, const VELString& password,
                  VELValSlist<VELString>& roles) override {
        ++calls;
        if (user != "alice") {
            return UNKNOWN_USER;
        }
        if (password != "pa:ss word") {
            return WRONG_PASSWORD;
        }
        roles = {"reader", "writer"};
        return OK;
    }
};

class AuthenticationTest : public ::testing::Test {
  protected:
    void SetUp() override { AuthenticationHelper::setAuthenticator(authenticator); }
    void TearDown() override {
        AuthenticationHelper::setAuthenticator(nullptr);
        AuthenticationHelper::setPlainHTTPBasic(AuthenticationHelper::PlainHTTPBasic::Loopback);
    }

    // Runs authenticateRequest on a request with this Authorization header
    // (none when empty); returns the result, the bytes written in written.
    bool run(const std::string& authorization, VELSmrPtr<tarn::security::ISecurityToken> token) {
        VELHTTPRequest::Fields fields;
        if (!authorization.empty()) {
            fields.emplace_back("Authorization", authorization);
        }
        VELHTTPRequest request("POST", "/cimom", VELHTTPOperation::HTTP_1_1, fields);
        VELHTTPResponse response;
        FakeSocket socket;
        socket.secure = secure;
        socket.loopback = loopback;
        VELGenericHTTPIStream in(socket, "");
        VELGenericHTTPOStream out(socket);
        bool ok = AuthenticationHelper::authenticateRequest(request, response, in, out, token);
        written = socket.written;
        return ok;
    }

    std::shared_ptr<FakeAuthenticator> authenticator = std::make_shared<FakeAuthenticator>();
    std::string written;
    bool secure = false;
    bool loopback = true;
};

const char* const kDenied =
    "HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Basic realm=\"tarn\"\r\nContent-Length: "
    "0\r\n\r\n";

TEST_F(AuthenticationTest, FailuresAreAnswered401AndLoggedWithoutThePassword) {
    struct Case {
        const char* name;
        std::string header;
        const char* logged;
        int severity;
    };
    const Case cases[] = {
        {"missing", "", "no credentials", 4},
        {"wrong password", "Basic YWxpY2U6d3Jvbmctc2VjcmV0", "wrong password for user 'alice'", 2},
        {"unknown user", "Basic Ym9iOnBhOnNzIHdvcmQ=", "unknown user 'bob'", 2},
        {"control characters in the name",
         "Basic "
         "Ym9iCgpJbmplY3RlZDp4",
         "unknown user 'bob??Injected'", 2},
        {"not base64", "Basic ***", "credentials that are not HTTP Basic", 2},
        {"no colon", "Basic YWxpY2U=", "credentials that are not HTTP Basic", 2},
        {"other scheme", "Digest abc", "credentials that are not HTTP Basic", 2},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        tarn::LogCapture log;
        auto token = makeVELSmrPtr<tarn::security::SecurityToken>();
        EXPECT_FALSE(run(c.header, token));
        EXPECT_EQ(written, kDenied);
        EXPECT_FALSE(token->isAuthenticated());
        EXPECT_TRUE(log.contains(
            "AuthenticationHelper::authenticateRequest",
            std::string("Authentication failed from 127.0.0.2:40000: ") + c.logged, c.severity));
        EXPECT_FALSE(log.containsText("wrong-secret"));
    }
    // Right credentials, but no token to carry them or no user database.
    tarn::LogCapture log;
    EXPECT_FALSE(run("Basic YWxpY2U6cGE6c3Mgd29yZA==", nullptr));
    EXPECT_EQ(written, kDenied);
    AuthenticationHelper::setAuthenticator(nullptr);
    EXPECT_FALSE(
        run("Basic YWxpY2U6cGE6c3Mgd29yZA==", makeVELSmrPtr<tarn::security::SecurityToken>()));
    EXPECT_EQ(written, kDenied);
    EXPECT_TRUE(log.containsText("no user database to check user 'alice'"));
}

TEST_F(AuthenticationTest, ThrottledAndBusyLoginsAreAnsweredWithRetryAfter) {
    const std::pair<const char*, const char*> cases[] = {
        // throttled:x, busy:x
        {"Basic dGhyb3R0bGVkOng=",
         "HTTP/1.1 429 Too Many Requests\r\nContent-Type: text/plain; charset=utf-8\r\n"
         "Retry-After: 42\r\nConnection: close\r\nContent-Length: 41\r\n\r\n"
         "Too many failed logins; try again later.\n"},
        {"Basic YnVzeTp4",
         "HTTP/1.1 503 Service Unavailable\r\nContent-Type: text/plain; charset=utf-8\r\n"
         "Retry-After: 1\r\nConnection: close\r\nContent-Length: 52\r\n\r\n"
         "Too many logins are being checked; try again later.\n"},
    };
    for (const auto& [header, answer] : cases) {
        auto token = makeVELSmrPtr<tarn::security::SecurityToken>();
        EXPECT_FALSE(run(header, token));
        EXPECT_EQ(written, answer);
        EXPECT_EQ(authenticator->address, "127.0.0.2");  // the login's client
        EXPECT_FALSE(token->isAuthenticated());
    }
}

TEST(AuthenticationHelper, DecodeBasic) {
    struct Case {
        const char* header;
        bool ok;
        const char* user;
        const char* password;
    };
    const Case cases[] = {
        {"basic   YWRtaW46c2VjcmV0  ", true, "admin", "secret"},
        {"Basic YWRtaW46", true, "admin", ""},
        {"Basic OnNlY3JldA==", true, "", "secret"},
        {"Basic YWRtaW46c2VjcmV0=", true, "admin", "secret"},  // padding is not required
        {"Basic", false, "", ""},
        {"BasicYWRtaW46c2VjcmV0", false, "", ""},
        {"Basic YWRtaW46c2VjcmV0A", false, "", ""},
        {"Basic YWRt aW46", false, "", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.header);
        VELString user;
        VELString password;
        EXPECT_EQ(AuthenticationHelper::decodeBasic(c.header, user, password), c.ok);
        if (c.ok) {
            EXPECT_EQ(user, c.user);
            EXPECT_EQ(password, c.password);
        }
    }
    VELString u;
    VELString p;
    EXPECT_FALSE(
        AuthenticationHelper::decodeBasic("Basic " + VELString(std::string(5000, 'A')), u, p));
}

}  // namespace
