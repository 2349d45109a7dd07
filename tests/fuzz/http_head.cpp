// Fuzz target: requests as the server parses them (head, then the body's
// framing), the request object built from the head (extension-header
// groups, credentials, framing) and the response head written back with the
// request's header values in it. Nothing may crash, the parser may never
// claim more bytes than it was given, and no value may break the response
// head's framing.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "FakeSocket.h"
#include "http/RequestParser.h"
#include "vela/AuthenticationHelper.h"
#include "vela/VELGenericHTTPOStream.h"
#include "vela/VELHTTPRequest.h"
#include "vela/VELHTTPResponse.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view input(reinterpret_cast<const char*>(data), size);
    tarn::RequestParser parser(16384);
    std::size_t used = 0;
    if (parser.parseHead(input, used) != tarn::HeadStep::Complete) {
        return 0;
    }
    if (used > input.size()) {
        std::abort();
    }
    input.remove_prefix(used);
    // The body's framing, fed in two pieces as a socket might deliver it.
    std::string_view first = input.substr(0, input.size() / 2);
    std::size_t framed = parser.parseBody(first);
    if (framed > first.size()) {
        std::abort();
    }
    if (!parser.isComplete() && !parser.failed()) {
        std::size_t more = parser.parseBody(input.substr(framed));
        if (more > input.size() - framed) {
            std::abort();
        }
    }
    VELHTTPRequest request = parser.takeRequest();
    (void)request.isKeepAlive();
    (void)request.isChunked();
    (void)request.getContentLength();
    VELHTTPResponse response(request.getProtocolEnum());
    for (const auto& g : request.getExtHeaderGroups()) {
        auto r = response.addExtHeaderGroup(g->getNamespaceURI(), g->getPrefix(), g->isMandatory());
        for (const auto& f : g->getHeaderFields()) {
            r->setHeaderField(f.first, f.second);
        }
    }
    if (const VELString* a = request.getHeaderField("Authorization")) {
        VELString user;
        VELString password;
        if (AuthenticationHelper::decodeBasic(*a, user, password)) {
            response.setHeaderField("X-User", user);
        }
    }
    response.setHeaderField("TARNErrorDetail", request.getRequestURI());
    response.setStatus(request.getMethod());
    response.setReasonPhrase(request.getRequestURI());

    tarntest::FakeSocket socket;
    VELGenericHTTPOStream out(socket, request.getProtocolEnum(), request.isKeepAlive());
    out.setStreamType(VELGenericHTTPOStream::Full);
    response.writeResponseTo(out);
    out.finish();
    // Exactly one empty line, at the end: no value ended the head early.
    const std::string& head = socket.written;
    if (head.find("\r\n\r\n") != head.size() - 4 || head.find('\0') != std::string::npos) {
        std::abort();
    }
    return 0;
}
