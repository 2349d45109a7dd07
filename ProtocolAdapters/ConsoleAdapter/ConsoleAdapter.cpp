#include "ConsoleAdapter.h"

#include <string_view>

#include "EmbeddedFile.h"
#include "vela/AdapterUtils.h"
#include "vela/AuthenticationHelper.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VELHTTPRequest.h"
#include "vela/VELHTTPResponse.h"

namespace consolepa {

namespace {

// The request's path, without its query.
std::string_view pathOf(const VELHTTPRequest& request) {
    std::string_view uri = request.getRequestURI().view();
    return uri.substr(0, uri.find('?'));
}

void answer(VELHTTPResponse& response, VELGenericHTTPOStream& out, int status,
            std::string_view text) {
    response.setStatus(status);
    response.setContentType("text/plain; charset=utf-8");
    response.writeResponseTo(out);
    out << text;
}

}  // namespace

bool ConsoleAdapter::canProcess(const VELHTTPRequest& request) const {
    if (request.getMethod() != "GET") {
        return false;
    }
    std::string_view path = pathOf(request);
    std::string_view prefix(PREFIX);
    return path.substr(0, prefix.size()) == prefix &&
           (path.size() == prefix.size() || path[prefix.size()] == '/');
}

void ConsoleAdapter::processInput(VELHTTPRequest& request, VELGenericHTTPIStream& in,
                                  VELGenericHTTPOStream& out,
                                  VELSmrPtr<tarn::security::ISecurityToken> securityToken,
                                  bool& persistConnection, bool& clientStreamsImported) {
    VELHTTPResponse response(request.getProtocolEnum());
    out.setResponse(&response);
    processInput(request, response, in, out, std::move(securityToken), persistConnection,
                 clientStreamsImported);
}

void ConsoleAdapter::processInput(VELHTTPRequest& request, VELHTTPResponse& response,
                                  VELGenericHTTPIStream& in, VELGenericHTTPOStream& out,
                                  VELSmrPtr<tarn::security::ISecurityToken> securityToken,
                                  bool& /*persistConnection*/, bool& /*clientStreamsImported*/) {
    if (!AuthenticationHelper::authenticateRequest(request, response, in, out, securityToken)) {
        return;  // answered: 401 with the Basic challenge, or a refusal
    }
    out.setStreamType(VELGenericHTTPOStream::Full);
    std::string_view path = pathOf(request).substr(std::string_view(PREFIX).size());
    if (path.empty()) {
        // Relative links of the pages resolve under /console/ only.
        response.setStatus(301);
        response.setHeaderField("Location", "/console/");
        response.writeResponseTo(out);
        return;
    }
    std::string_view name = path.substr(1);
    if (name.empty()) {
        name = "index.html";
    }
    const EmbeddedFile* file = EmbeddedFile::find(name);
    if (!file) {
        answer(response, out, 404, "No such page of the console.\n");
        return;
    }
    response.setContentType(file->contentType);
    response.setHeaderField("Cache-Control", "no-cache");
    response.setHeaderField("X-Content-Type-Options", "nosniff");
    response.setHeaderField("Referrer-Policy", "no-referrer");
    // The pages run only their own scripts and reach only this server.
    response.setHeaderField("Content-Security-Policy",
                            "default-src 'self'; img-src 'self' data:; frame-ancestors 'none'");
    response.writeResponseTo(out);
    out.write(reinterpret_cast<const char*>(file->data), static_cast<std::streamsize>(file->size));
    AdapterUtils::log(
        "consolepa::ConsoleAdapter",
        "Served /console/" + VELString(std::string(name)) + " to " + out.getPeerAddress(), 4);
}

}  // namespace consolepa

extern "C" IVelaProtocolAdapter* getVelaProtocolAdapter(IVelaOperationHandlerContext& context) {
    return new consolepa::ConsoleAdapter(context);
}
