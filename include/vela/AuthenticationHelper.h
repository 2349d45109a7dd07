// AuthenticationHelper: HTTP Basic authentication of requests, for protocol
// adapters. The credentials are checked by the installed
// tarn::security::IAuthenticator (the server's users file).
#pragma once

#include <memory>

#include "tarn/security/IAuthenticator.h"
#include "tarn/security/ISecurityToken.h"
#include "vela/VELSmrPtr.h"
#include "vela/VELString.h"
#include "vela/VELValSlist.h"

class VELHTTPRequest;
class VELHTTPResponse;
class VELGenericHTTPIStream;
class VELGenericHTTPOStream;

class AuthenticationHelper {
  public:
    static constexpr const char* REALM = "tarn";
    static constexpr const char* BASIC = "Basic";

    // Checks the request's "Authorization: Basic ..." credentials. On success
    // records user and roles in the token and returns true (also at once when
    // the token is already authenticated). Otherwise it answers the client
    // itself (Full framing), returns false, and the caller returns without
    // writing anything more:
    //  - no or malformed credentials, unknown user, wrong password, no token:
    //    status 401 "Unauthorized", header WWW-Authenticate: Basic
    //    realm="tarn", an empty body;
    //  - the authenticator throttles the login: 429 "Too Many Requests" with
    //    Retry-After; the authenticator is busy: 503 "Service Unavailable"
    //    with Retry-After; either way the connection closes;
    //  - a plain HTTP connection where Basic is not allowed (see
    //    setPlainHTTPBasic): 403 "Forbidden", without looking at the
    //    credentials and without a challenge.
    // Failed logins are logged (severity 2) with user and peer, never the
    // password. Throws VELNetException when the client is gone while the
    // answer is written.
    static bool authenticateRequest(VELHTTPRequest& request, VELHTTPResponse& response,
                                    VELGenericHTTPIStream& in, VELGenericHTTPOStream& out,
                                    const VELSmrPtr<tarn::security::ISecurityToken>& token);

    // The user name and roles of an authenticated token. False (and an empty
    // name and list) for a null or unauthenticated token. roles is never null
    // afterwards.
    static bool getUserNameRoles(const VELSmrPtr<tarn::security::ISecurityToken>& token,
                                 VELString& userName, VELSmrPtr<VELValSlist<VELString>>& roles);

    // Decodes the value of an Authorization header of the Basic scheme into
    // user and password. False when it is not one or not valid base64, or
    // has no colon.
    static bool decodeBasic(const VELString& authorization, VELString& user, VELString& password);

    // Where Basic credentials are accepted on plain HTTP connections (on
    // TLS ones they always are): from loopback clients only (the default),
    // from any client, or never.
    enum class PlainHTTPBasic { Loopback, Any, Never };
    static void setPlainHTTPBasic(PlainHTTPBasic policy);
    // "loopback", "any" or "never" (any letter case); false for another text.
    static bool parsePlainHTTPBasic(const VELString& text, PlainHTTPBasic& policy);

    // Installs the authenticator (null removes it). Thread-safe.
    static void setAuthenticator(std::shared_ptr<tarn::security::IAuthenticator> authenticator);
    static std::shared_ptr<tarn::security::IAuthenticator> getAuthenticator();
};
