#include "metrics/MetricsAdapter.h"

#include <sstream>

#include "vela/AuthenticationHelper.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VELHTTPRequest.h"
#include "vela/VELHTTPResponse.h"

namespace tarn {

namespace {

bool mayRead(const VELSmrPtr<security::ISecurityToken>& token) {
    VELString user;
    VELSmrPtr<VELValSlist<VELString>> roles;
    if (!AuthenticationHelper::getUserNameRoles(token, user, roles)) {
        return false;
    }
    for (const VELString& role : *roles) {
        if (role.equalsIgnoreCase("reader") || role.equalsIgnoreCase("writer") ||
            role.equalsIgnoreCase("admin")) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool MetricsAdapter::canProcess(const VELHTTPRequest& request) const {
    if (request.getMethod() != "GET") {
        return false;
    }
    std::string_view uri = request.getRequestURI().view();
    return uri.substr(0, uri.find('?')) == PATH;
}

void MetricsAdapter::processInput(VELHTTPRequest& request, VELGenericHTTPIStream& in,
                                  VELGenericHTTPOStream& out,
                                  VELSmrPtr<security::ISecurityToken> securityToken,
                                  bool& persistConnection, bool& clientStreamsImported) {
    VELHTTPResponse response(request.getProtocolEnum());
    out.setResponse(&response);
    processInput(request, response, in, out, std::move(securityToken), persistConnection,
                 clientStreamsImported);
}

void MetricsAdapter::processInput(VELHTTPRequest& request, VELHTTPResponse& response,
                                  VELGenericHTTPIStream& in, VELGenericHTTPOStream& out,
                                  VELSmrPtr<security::ISecurityToken> securityToken,
                                  bool& /*persistConnection*/, bool& /*clientStreamsImported*/) {
    if (!AuthenticationHelper::authenticateRequest(request, response, in, out, securityToken)) {
        return;  // answered
    }
    out.setStreamType(VELGenericHTTPOStream::Full);
    if (!mayRead(securityToken)) {
        response.setStatus(403);
        response.setContentType("text/plain; charset=utf-8");
        response.writeResponseTo(out);
        out << "This user has no role that may read the metrics.\n";
        return;
    }
    // Written whole before the head: a collector failing half-way still
    // leaves a complete answer.
    std::ostringstream text;
    _metrics.write(text);
    response.setContentType(CONTENT_TYPE);
    response.writeResponseTo(out);
    out << text.str();
}

}  // namespace tarn
