#include "vela/AuthenticationHelper.h"

#include <algorithm>
#include <atomic>
#include <mutex>

#include "vela/AdapterUtils.h"
#include "vela/VELGenericHTTPIStream.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VELHTTPRequest.h"
#include "vela/VELHTTPResponse.h"

namespace {

const char* const WHO = "AuthenticationHelper::authenticateRequest";
// Longer credentials are refused before decoding.
constexpr std::size_t kMaxCredentials = 4096;

std::mutex g_mutex;
std::shared_ptr<tarn::security::IAuthenticator> g_authenticator;
std::atomic<AuthenticationHelper::PlainHTTPBasic> g_plainHTTPBasic{
    AuthenticationHelper::PlainHTTPBasic::Loopback};

int base64Value(char c) {
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (c >= '0' && c <= '9')
        return c - '0' + 52;
    if (c == '+')
        return 62;
    if (c == '/')
        return 63;
    return -1;
}

// Strict base64 (RFC 4648, with padding optional).
bool decodeBase64(std::string_view in, std::string& out) {
    while (!in.empty() && in.back() == '=') {
        in.remove_suffix(1);
    }
    if (in.size() % 4 == 1) {
        return false;
    }
    out.clear();
    out.reserve(in.size() * 3 / 4);
    std::uint32_t acc = 0;
    int bits = 0;
    for (char c : in) {
        int v = base64Value(c);
        if (v < 0) {
            return false;
        }
        acc = (acc << 6) | static_cast<std::uint32_t>(v);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            out.push_back(static_cast<char>((acc >> bits) & 0xff));
        }
    }
    return true;
}

// The user name as it may appear in the log: printable, bounded.
VELString printable(const VELString& s) {
    VELString out;
    for (char c : s.view().substr(0, 64)) {
        out += (c < 0x20 || c == 0x7f) ? '?' : c;
    }
    return s.length() > 64 ? out + "..." : out;
}

VELString peerOf(const VELGenericHTTPIStream& in) {
    return in.getPeerAddress() + ":" + VELString::valueOf(static_cast<unsigned>(in.getPeerPort()));
}

// An answer other than 401, with a short text body.
void answer(VELHTTPResponse& response, VELGenericHTTPOStream& out, int status,
            std::uint32_t retryAfter, bool close, const char* text) {
    response.setStatus(status);
    response.setReasonPhrase(VELHTTPResponse::standardReasonPhrase(status));
    response.setContentType("text/plain; charset=utf-8");
    if (retryAfter > 0) {
        response.setHeaderField("Retry-After", VELString::valueOf(retryAfter));
    }
    if (close) {
        response.setConnection("close");
    }
    out.setStreamType(VELGenericHTTPOStream::Full);
    response.writeResponseTo(out);
    out << text;
    out.finish();
}

}  // namespace

bool AuthenticationHelper::decodeBasic(const VELString& authorization, VELString& user,
                                       VELString& password) {
    VELString value = authorization.trim();
    if (value.length() > kMaxCredentials || value.length() < 6 ||
        !value.substring(0, 5).equalsIgnoreCase("Basic") || (value[5] != ' ' && value[5] != '\t')) {
        return false;
    }
    std::string decoded;
    if (!decodeBase64(value.substring(6).trim().view(), decoded)) {
        return false;
    }
    std::size_t colon = decoded.find(':');
    if (colon == std::string::npos) {
        return false;
    }
    user = VELString(decoded.substr(0, colon));
    password = VELString(decoded.substr(colon + 1));
    return true;
}

bool AuthenticationHelper::authenticateRequest(
    VELHTTPRequest& request, VELHTTPResponse& response, VELGenericHTTPIStream& in,
    VELGenericHTTPOStream& out, const VELSmrPtr<tarn::security::ISecurityToken>& token) {
    if (token && token->isAuthenticated()) {
        return true;
    }
    const PlainHTTPBasic plain = g_plainHTTPBasic.load();
    if (!in.isSecure() && plain != PlainHTTPBasic::Any &&
        (plain == PlainHTTPBasic::Never || !in.isLoopback())) {
        // Credentials sent in the clear could be read on the way: no
        // challenge invites them, and any that come are not looked at.
        AdapterUtils::log(WHO,
                          "Authentication refused from " + peerOf(in) +
                              ": Basic credentials are not accepted over plain HTTP from there",
                          2);
        answer(response, out, 403, 0, false,
               "Credentials are not accepted over plain HTTP from this address; use HTTPS.\n");
        return false;
    }
    VELString user;
    VELString password;
    VELString failure;
    int severity = 2;
    const VELString* authorization = request.getHeaderField("Authorization");
    if (!token) {
        failure = "no security token for the request";
        severity = 1;
    } else if (!authorization) {
        failure = "no credentials";
        severity = 4;  // the usual first try of a client
    } else if (!decodeBasic(*authorization, user, password)) {
        failure = "credentials that are not HTTP Basic";
    } else {
        auto authenticator = getAuthenticator();
        VELValSlist<VELString> roles;
        std::uint32_t retryAfter = 0;
        auto result = authenticator ? authenticator->verifyFrom(in.getPeerAddress(), user, password,
                                                                roles, retryAfter)
                                    : tarn::security::IAuthenticator::UNAVAILABLE;
        switch (result) {
            case tarn::security::IAuthenticator::THROTTLED:
                AdapterUtils::log(WHO,
                                  "Login of user '" + printable(user) + "' from " + peerOf(in) +
                                      " refused: too many failed logins",
                                  4);
                answer(response, out, 429, std::max<std::uint32_t>(retryAfter, 1), true,
                       "Too many failed logins; try again later.\n");
                return false;
            case tarn::security::IAuthenticator::BUSY:
                AdapterUtils::log(WHO,
                                  "Login of user '" + printable(user) + "' from " + peerOf(in) +
                                      " refused: too many logins are being checked",
                                  4);
                answer(response, out, 503, std::max<std::uint32_t>(retryAfter, 1), true,
                       "Too many logins are being checked; try again later.\n");
                return false;
            case tarn::security::IAuthenticator::OK:
                token->setAuthenticated(user, roles, BASIC);
                AdapterUtils::log(WHO, "User '" + user + "' authenticated from " + peerOf(in), 4);
                return true;
            case tarn::security::IAuthenticator::UNKNOWN_USER:
                failure = "unknown user '" + printable(user) + "'";
                break;
            case tarn::security::IAuthenticator::WRONG_PASSWORD:
                failure = "wrong password for user '" + printable(user) + "'";
                break;
            default:
                failure = "no user database to check user '" + printable(user) + "'";
                severity = 1;
                break;
        }
    }
    AdapterUtils::log(WHO, "Authentication failed from " + peerOf(in) + ": " + failure, severity);
    response.setStatus("401");
    response.setReasonPhrase("Unauthorized");
    response.setHeaderField("WWW-Authenticate", VELString("Basic realm=\"") + REALM + "\"");
    out.setStreamType(VELGenericHTTPOStream::Full);
    response.writeResponseTo(out);
    out.finish();
    return false;
}

bool AuthenticationHelper::getUserNameRoles(const VELSmrPtr<tarn::security::ISecurityToken>& token,
                                            VELString& userName,
                                            VELSmrPtr<VELValSlist<VELString>>& roles) {
    if (!token || !token->isAuthenticated()) {
        userName.clear();
        roles = makeVELSmrPtr<VELValSlist<VELString>>();
        return false;
    }
    userName = token->getUserName();
    roles = token->getRoles();
    return true;
}

void AuthenticationHelper::setPlainHTTPBasic(PlainHTTPBasic policy) {
    g_plainHTTPBasic.store(policy);
}

bool AuthenticationHelper::parsePlainHTTPBasic(const VELString& text, PlainHTTPBasic& policy) {
    VELString t = text.trim();
    if (t.equalsIgnoreCase("loopback")) {
        policy = PlainHTTPBasic::Loopback;
    } else if (t.equalsIgnoreCase("any")) {
        policy = PlainHTTPBasic::Any;
    } else if (t.equalsIgnoreCase("never")) {
        policy = PlainHTTPBasic::Never;
    } else {
        return false;
    }
    return true;
}

void AuthenticationHelper::setAuthenticator(
    std::shared_ptr<tarn::security::IAuthenticator> authenticator) {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_authenticator = std::move(authenticator);
}

std::shared_ptr<tarn::security::IAuthenticator> AuthenticationHelper::getAuthenticator() {
    std::lock_guard<std::mutex> lock(g_mutex);
    return g_authenticator;
}
